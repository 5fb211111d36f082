#include "collections/storage_iterator.h"

#include <algorithm>
#include <limits>

#include "platform/automation/dispatch.h"
#include "platform/automation/late_bound.h"

namespace tallowbrook {
namespace {

using platform::ComPtr;

constexpr std::size_t kDigits = 10;
constexpr DWORD kAnyServer = CLSCTX_INPROC_SERVER | CLSCTX_LOCAL_SERVER;
constexpr DWORD kRead = STGM_READ | STGM_SHARE_EXCLUSIVE;
constexpr DWORD kWrite = STGM_READWRITE | STGM_SHARE_EXCLUSIVE;

// The object of a VT_DISPATCH or VT_UNKNOWN; null for any other value.
IUnknown* object_of(const VARIANT& item) {
  if (item.vt == VT_DISPATCH) return item.pdispVal;
  return item.vt == VT_UNKNOWN ? item.punkVal : nullptr;
}

HRESULT load_storage(IStorage& storage, const OLECHAR* name, IUnknown& object) {
  ComPtr<IStorage> element;
  HRESULT status = storage.OpenStorage(name, nullptr, kRead, nullptr, 0, element.out());
  status = status_with(status, element);
  if (FAILED(status)) return status;
  const auto persist = platform::query<IPersistStorage>(&object);
  return persist ? persist->Load(element.get()) : E_NOINTERFACE;
}

HRESULT load_stream(IStorage& storage, const OLECHAR* name, IUnknown& object) {
  ComPtr<IStream> element;
  HRESULT status = storage.OpenStream(name, nullptr, kRead, 0, element.out());
  status = status_with(status, element);
  if (FAILED(status)) return status;
  if (const auto persist = platform::query<IPersistStream>(&object)) {
    return persist->Load(element.get());
  }
  const auto init = platform::query<IPersistStreamInit>(&object);
  return init ? init->Load(element.get()) : E_NOINTERFACE;
}

// Commits the element after a good save, and forgets it after a bad one.
template <class Element>
HRESULT finish(Element& element, HRESULT saved) {
  if (SUCCEEDED(saved)) saved = element.Commit(STGC_DEFAULT);
  if (FAILED(saved)) element.Revert();
  return saved;
}

HRESULT save_storage(IStorage& storage, const OLECHAR* name, DWORD mode, IPersistStorage& object) {
  ComPtr<IStorage> element;
  HRESULT status = storage.CreateStorage(name, mode, 0, 0, element.out());
  status = status_with(status, element);
  if (FAILED(status)) return status;
  status = finish(*element, object.Save(element.get(), FALSE));
  object.SaveCompleted(nullptr);
  return status;
}

template <class Persist>
HRESULT save_stream(IStorage& storage, const OLECHAR* name, DWORD mode, Persist& object) {
  ComPtr<IStream> element;
  HRESULT status = storage.CreateStream(name, mode, 0, 0, element.out());
  status = status_with(status, element);
  if (FAILED(status)) return status;
  return finish(*element, object.Save(element.get(), TRUE));
}

}  // namespace

std::u16string element_name(ULONG id) {
  std::u16string name(kDigits, u'0');
  for (std::size_t i = kDigits; id > 0; id /= 10) {
    name[--i] = static_cast<char16_t>(u'0' + id % 10);
  }
  return name;
}

std::optional<ULONG> element_id(std::u16string_view name) {
  if (name.size() != kDigits) return std::nullopt;
  ULONGLONG id = 0;
  for (const char16_t digit : name) {
    if (digit < u'0' || digit > u'9') return std::nullopt;
    id = id * 10 + static_cast<ULONGLONG>(digit - u'0');
  }
  if (id > std::numeric_limits<ULONG>::max()) return std::nullopt;
  return static_cast<ULONG>(id);
}

HRESULT CItemHelper::load(IStorage& storage, const StoredItem& element, VARIANT* item) const {
  VariantInit(item);
  ComPtr<IUnknown> object;
  HRESULT status =
      CoCreateInstance(item_class, nullptr, kAnyServer, IUnknown::kIid, object.out_void());
  if (FAILED(status)) return status;
  const std::u16string name = element_name(element.id);
  status = element.type == STGTY_STORAGE ? load_storage(storage, name.c_str(), *object)
                                         : load_stream(storage, name.c_str(), *object);
  if (FAILED(status)) return status;
  if (auto dispatch = object.query<IDispatch>()) {
    item->vt = VT_DISPATCH;
    item->pdispVal = dispatch.detach();
  } else {
    item->vt = VT_UNKNOWN;
    item->punkVal = object.detach();
  }
  return S_OK;
}

HRESULT CItemHelper::save(IStorage& storage, ULONG id, const VARIANT& item, bool replaces,
                          DWORD& type) const {
  IUnknown* const object = object_of(item);
  if (object == nullptr) return E_INVALIDARG;
  const std::u16string name = element_name(id);
  const DWORD mode = kWrite | (replaces ? STGM_CREATE : 0);
  type = STGTY_STREAM;
  HRESULT status = E_NOINTERFACE;
  if (const auto whole = platform::query<IPersistStorage>(object)) {
    type = STGTY_STORAGE;
    status = save_storage(storage, name.c_str(), mode, *whole);
  } else if (const auto persist = platform::query<IPersistStream>(object)) {
    status = save_stream(storage, name.c_str(), mode, *persist);
  } else if (const auto init = platform::query<IPersistStreamInit>(object)) {
    status = save_stream(storage, name.c_str(), mode, *init);
  }
  return FAILED(status) ? status : storage.Commit(STGC_DEFAULT);
}

void CItemHelper::tell_id(const VARIANT& item, LONG id) {
  if (const auto object = platform::query<IDispatch>(object_of(item))) {
    static_cast<void>(platform::put(object.get(), u"ItemData", platform::Variant(id)));
  }
}

}  // namespace tallowbrook
