// CComEnumOnSTL: an IEnumVARIANT over a live collection.
//
// It copies no items. It holds a reference to the collection and a position; what stands at that
// position when `Next` is called is what a host gets. So a collection may change while it is
// walked: an item that is gone is never read, removing an item before the position passes one over,
// and items added behind the position are met.
#pragma once

#include "core/object.h"

namespace tallowbrook {

// What an enumerator walks.
class ItemSource {
 public:
  // Copies up to `wanted` items, from position `index` on, into `values`, which hold no values yet;
  // `copied` tells how many. S_FALSE when these are fewer than wanted. A failing status when an
  // item cannot be copied; those before it were.
  virtual HRESULT copy_items(ULONG index, ULONG wanted, VARIANT* values, ULONG& copied) = 0;
  [[nodiscard]] virtual ULONG item_count() = 0;

 protected:
  ~ItemSource() = default;
};

class CComEnumOnSTL final : public Object<Shared, IEnumVARIANT> {
 public:
  // `owner` is the object that `items` is a part of; without one every call answers E_FAIL.
  CComEnumOnSTL(IUnknown* owner, ItemSource* items, ULONG position = 0)
      : owner_(owner), items_(items), position_(position) {}

  // S_FALSE when fewer than `wanted` items are left. `fetched` may be null when `wanted` is 1. When
  // an item cannot be copied, those of the same call are cleared and the position stays.
  HRESULT Next(ULONG wanted, VARIANT* values, ULONG* fetched) override;
  HRESULT Skip(ULONG count) override;
  HRESULT Reset() override;
  HRESULT Clone(IEnumVARIANT** clone) override;

 private:
  platform::ComPtr<IUnknown> owner_;
  ItemSource* items_;
  ULONG position_;
};

}  // namespace tallowbrook
