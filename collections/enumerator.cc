#include "collections/enumerator.h"

#include <algorithm>

#include "core/guard.h"

namespace tallowbrook {

HRESULT CComEnumOnSTL::Next(ULONG wanted, VARIANT* values, ULONG* fetched) {
  if (fetched != nullptr) *fetched = 0;
  if (values == nullptr || (fetched == nullptr && wanted != 1)) return E_POINTER;
  if (!owner_) return E_FAIL;
  ULONG count = 0;
  const HRESULT status = items_->copy_items(position_, wanted, values, count);
  if (FAILED(status)) {
    for (ULONG i = 0; i < count; ++i) VariantClear(&values[i]);
    return status;
  }
  position_ += count;
  if (fetched != nullptr) *fetched = count;
  return status;
}

HRESULT CComEnumOnSTL::Skip(ULONG count) {
  if (!owner_) return E_FAIL;
  const ULONG items = items_->item_count();
  const ULONG left = items - std::min(items, position_);
  position_ += std::min(count, left);
  return count <= left ? S_OK : S_FALSE;
}

HRESULT CComEnumOnSTL::Reset() {
  if (!owner_) return E_FAIL;
  position_ = 0;
  return S_OK;
}

HRESULT CComEnumOnSTL::Clone(IEnumVARIANT** clone) {
  if (clone == nullptr) return E_POINTER;
  *clone = nullptr;
  return guarded([&] {
    *clone = make_object<CComEnumOnSTL>(owner_.get(), items_, position_).detach();
    return S_OK;
  });
}

}  // namespace tallowbrook
