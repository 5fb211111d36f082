#include "cli/envelope.h"

#include <algorithm>
#include <stdexcept>
#include <unordered_set>

#include "cli/outgoing.h"
#include "cli/routes.h"
#include "platform/automation/late_bound.h"
#include "platform/kernel/code_page.h"

namespace tallowbrook::cli {
namespace {

using platform::Variant;

constexpr DISPID kSender = 1;
constexpr DISPID kTo = 2;

// The mailboxes in all fields of this name.
std::vector<std::string> routes_of(std::string_view header, std::string_view name) {
  std::vector<std::string> routes;
  while (!header.empty()) {
    std::size_t end = 0;  // of the field: behind a line that no folded one follows
    do {
      end = std::min(header.find('\n', end), header.size() - 1) + 1;
    } while (end < header.size() && (header[end] == ' ' || header[end] == '\t'));
    const std::string_view field = header.substr(0, end);
    header.remove_prefix(end);
    if (!is_field(field, name)) continue;
    for (std::string& route : routes_in(field.substr(field.find(':') + 1))) {
      routes.push_back(std::move(route));
    }
  }
  return routes;
}

Object address_object(const std::string& route) {
  Object address = create(u"Tallowbrook.MailAddress");
  if (FAILED(address.put(u"Address", platform::widen(CP_ACP, route)))) {
    throw std::runtime_error("the component's address object takes no address");
  }
  return address;
}

}  // namespace

Envelope::Envelope(std::string_view header, Object list) : list_(std::move(list)) {
  for (const char* field : {"sender", "from"}) {
    const std::vector<std::string> senders = routes_of(header, field);
    if (sender_.empty() && !senders.empty()) sender_ = senders.front();
  }
  if (!sender_.empty()) address_ = address_object(sender_);
  std::unordered_set<std::string> known;
  for (const char* field : {"to", "cc", "bcc"}) {
    for (const std::string& route : routes_of(header, field)) {
      if (route == "<>" || !known.insert(route).second) continue;
      const Object address = address_object(route);
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
  const std::u16string_view name(names[0]);
  if (name == u"Sender" || name == u"To") {
    ids[0] = name == u"To" ? kTo : kSender;
    return S_OK;
  }
  ids[0] = DISPID_UNKNOWN;
  return DISP_E_UNKNOWNNAME;
}

HRESULT Envelope::Invoke(DISPID member, REFIID, LCID, WORD flags, DISPPARAMS*, VARIANT* result,
                         EXCEPINFO*, UINT*) {
  if (result == nullptr) return E_POINTER;
  VariantInit(result);
  if ((member != kSender && member != kTo) || (flags & DISPATCH_PROPERTYGET) == 0) {
    return DISP_E_MEMBERNOTFOUND;
  }
  Variant((member == kTo ? list_ : address_).dispatch().get()).detach_to(result);
  return S_OK;
}

}  // namespace tallowbrook::cli
