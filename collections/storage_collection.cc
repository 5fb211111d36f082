#include "collections/storage_collection.h"

namespace tallowbrook {
namespace {

// Reads items from `next` on and moves it behind them; passes over those that are gone.
HRESULT read_items(const StorageItems& items, StorageItems::iterator& next, ULONG wanted,
                   VARIANT* values, ULONG& copied) {
  for (copied = 0; copied < wanted && !next.at_end(); ++next) {
    const HRESULT status = items.read(*next, &values[copied]);
    if (status == STG_E_FILENOTFOUND) continue;
    if (FAILED(status)) return status;
    ++copied;
  }
  return copied < wanted ? S_FALSE : S_OK;
}

}  // namespace

HRESULT MyVariantCopy::copy_items(const StorageItems& items, ULONG index, ULONG wanted,
                                  VARIANT* values, ULONG& copied) {
  auto next = items.at(index);
  return read_items(items, next, wanted, values, copied);
}

HRESULT CComEnumWithIDOnSTL::Next(ULONG wanted, VARIANT* values, ULONG* fetched) {
  if (fetched != nullptr) *fetched = 0;
  if (values == nullptr || (fetched == nullptr && wanted != 1)) return E_POINTER;
  if (!owner_) return E_FAIL;
  ULONG count = 0;
  StorageItems::iterator next = next_;
  const HRESULT status = guarded([&] { return read_items(items_, next, wanted, values, count); });
  if (FAILED(status)) {
    for (ULONG i = 0; i < count; ++i) VariantClear(&values[i]);
    return status;
  }
  next_ = std::move(next);
  if (fetched != nullptr) *fetched = count;
  return status;
}

HRESULT CComEnumWithIDOnSTL::Skip(ULONG count) {
  for (; count > 0 && !next_.at_end(); --count) ++next_;
  return count == 0 ? S_OK : S_FALSE;
}

HRESULT CComEnumWithIDOnSTL::Reset() {
  next_ = items_.begin();
  return S_OK;
}

HRESULT CComEnumWithIDOnSTL::Clone(IEnumVARIANT** clone) {
  if (clone == nullptr) return E_POINTER;
  *clone = nullptr;
  return guarded([&] {
    *clone = make_object<CComEnumWithIDOnSTL>(owner_.get(), items_, next_).detach();
    return S_OK;
  });
}

platform::ComPtr<IComCollection> make_storage_collection(IStorage* storage, REFCLSID item_class) {
  return make_object<CStorageCollection>(
      StorageItems(platform::ComPtr<IStorage>(storage), CItemHelper{item_class}));
}

}  // namespace tallowbrook
