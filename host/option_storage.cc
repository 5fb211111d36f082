// Option values in structured storage: a storage for each option, an element in it for each value.
#include <algorithm>

#include "collections/storage_collection.h"
#include "core/guard.h"
#include "host/host_objects.h"
#include "host/option_supplier.h"
#include "platform/com/activation.h"

namespace tallowbrook {

using platform::ComPtr;
using platform::Variant;

namespace {

// The names of the storages in `storage`, in their order.
HRESULT list_storages(IStorage& storage, std::vector<std::u16string>& names) {
  ComPtr<IEnumSTATSTG> elements;
  HRESULT status = storage.EnumElements(0, nullptr, 0, elements.out());
  status = status_with(status, elements);
  if (FAILED(status)) return status;
  for (STATSTG element{}; elements->Next(1, &element, nullptr) == S_OK; element = {}) {
    const std::unique_ptr<OLECHAR, void (*)(void*)> name(element.pwcsName, &CoTaskMemFree);
    if (name == nullptr) break;
    if (element.type == STGTY_STORAGE) names.emplace_back(name.get());
  }
  return S_OK;
}

// Calls `action` with every item of the list, in linear time; the first failure to read one.
template <class Action>
HRESULT for_each_item(IComCollection& items, Action action) {
  ComPtr<IUnknown> unknown;
  HRESULT first = items.get__NewEnum(unknown.out());
  const auto enumerator = unknown.query<IEnumVARIANT>();
  while (enumerator) {
    Variant item;
    const HRESULT status = enumerator->Next(1, &item, nullptr);
    if (status == S_FALSE) break;
    if (FAILED(status)) {
      if (SUCCEEDED(first)) first = status;
      if (enumerator->Skip(1) != S_OK) break;
    } else if (item.vt == VT_DISPATCH && item.pdispVal != nullptr) {
      action(*item.pdispVal);
    }
  }
  return first;
}

}  // namespace

HRESULT COptionSupplier::load_options(IStorage& storage) {
  if (!attached()) return E_UNEXPECTED;
  CLSID value_class{};
  std::vector<std::u16string> names;
  HRESULT first = host_class(kOptionValueClass, &value_class);
  if (SUCCEEDED(first)) first = list_storages(storage, names);
  if (FAILED(first)) return first;
  for (const std::u16string& name : names) {
    ComPtr<IStorage> values;
    HRESULT status = storage.OpenStorage(name.c_str(), nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE,
                                         nullptr, 0, values.out());
    status = status_with(status, values);
    if (SUCCEEDED(status)) {
      status = for_each_item(*make_storage_collection(values.get(), value_class),
                             [this](IDispatch& value) { reread_item(value); });
    }
    if (FAILED(status) && SUCCEEDED(first)) first = status;
  }
  return first;
}

HRESULT COptionSupplier::save_options(IStorage& storage) {
  if (!attached()) return E_UNEXPECTED;
  CLSID value_class{};
  HRESULT first = host_class(kOptionValueClass, &value_class);
  if (FAILED(first)) return first;
  for (const OptionRow& row : option_table()) {
    const HRESULT status = row.chains() ? S_OK : save_values(storage, row, value_class);
    if (FAILED(status) && SUCCEEDED(first)) first = status;
  }
  return first;
}

HRESULT COptionSupplier::save_values(IStorage& storage, const OptionRow& row,
                                     REFCLSID value_class) {
  ComPtr<IStorage> values;
  constexpr DWORD kReplace = STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE;
  HRESULT status = storage.CreateStorage(row.short_name, kReplace, 0, 0, values.out());
  status = status_with(status, values);
  if (FAILED(status)) return status;
  const auto items = make_storage_collection(values.get(), value_class);
  const Filled filled = fill_values(*items, row.short_name, &COptionSupplier::current_value);
  status = FAILED(filled.created) ? filled.created : filled.added;
  if (SUCCEEDED(status)) return values->Commit(STGC_DEFAULT);
  values->Revert();  // what stood there before is better than nothing
  return status;
}

}  // namespace tallowbrook
