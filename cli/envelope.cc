#include "cli/envelope.h"

#include <array>
#include <stdexcept>
#include <string_view>
#include <unordered_set>

#include "platform/automation/late_bound.h"

namespace tallowbrook::cli {
namespace {

using platform::Variant;

constexpr std::array<const char16_t*, 3> kMembers = {u"Sender", u"From", u"To"};
constexpr DISPID kTo = 3;  // members count from 1

constexpr char16_t kRoute[] = u"RouteAddress";

std::string sender_of(const Object& message) {
  const Object sender = message.object(u"Sender");
  return sender ? sender.text(kRoute) : message.object(u"From").item(0).text(kRoute);
}

}  // namespace

Envelope::Envelope(const Object& message, Object list)
    : message_(message), list_(std::move(list)), sender_(sender_of(message)) {
  std::unordered_set<std::string> known;
  for (const char16_t* field : {u"To", u"CC", u"BCC"}) {
    const Object addresses = message.object(field);
    const std::int32_t count = addresses.count();
    for (std::int32_t i = 0; i < count; ++i) {
      const Object address = addresses.item(i);
      const std::string route = address.text(kRoute);
      if (route.empty() || route == "<>" || !known.insert(route).second) continue;
      if (FAILED(platform::call(list_.dispatch().get(), u"Add", address.dispatch().get()).status)) {
        throw std::runtime_error("the component's list takes no address");
      }
      recipients_.push_back(route);
    }
  }
}

HRESULT Envelope::QueryInterface(REFIID iid, void** object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  if (iid != IUnknown::kIid && iid != IDispatch::kIid) return E_NOINTERFACE;
  *object = static_cast<IDispatch*>(this);
  AddRef();
  return S_OK;
}

ULONG Envelope::Release() {
  const ULONG left = --references_;
  if (left == 0) delete this;
  return left;
}

HRESULT Envelope::GetTypeInfoCount(UINT* count) {
  if (count == nullptr) return E_POINTER;
  *count = 0;
  return S_OK;
}

HRESULT Envelope::GetTypeInfo(UINT, LCID, ITypeInfo** info) {
  if (info != nullptr) *info = nullptr;
  return E_NOTIMPL;
}

HRESULT Envelope::GetIDsOfNames(REFIID, OLECHAR** names, UINT count, LCID, DISPID* ids) {
  if (names == nullptr || ids == nullptr || count != 1) return E_INVALIDARG;
  for (std::size_t i = 0; i < kMembers.size(); ++i) {
    if (std::u16string_view(names[0]) == kMembers[i]) {
      ids[0] = static_cast<DISPID>(i + 1);
      return S_OK;
    }
  }
  ids[0] = DISPID_UNKNOWN;
  return DISP_E_UNKNOWNNAME;
}

HRESULT Envelope::Invoke(DISPID member, REFIID, LCID, WORD flags, DISPPARAMS*, VARIANT* result,
                         EXCEPINFO*, UINT*) {
  if (result == nullptr) return E_POINTER;
  VariantInit(result);
  if (member < 1 || member > kTo || (flags & DISPATCH_PROPERTYGET) == 0) {
    return DISP_E_MEMBERNOTFOUND;
  }
  try {
    Variant value = member == kTo ? Variant(list_.dispatch().get())
                                  : message_.get(kMembers[static_cast<std::size_t>(member - 1)]);
    value.detach_to(result);
    return S_OK;
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

}  // namespace tallowbrook::cli
