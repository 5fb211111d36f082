// CCollection: a list of arbitrary values that a script creates and fills itself.
#pragma once

#include <utility>

#include "collections/variant_collection.h"
#include "tallowbrook/class_ids.h"

namespace tallowbrook {

class CCollection final
    : public IVariantCollectionImpl<Object<Confined, Dispatching<ICollection>, IPersistStreamInit,
                                           IPersistStream, IStoredItem>> {
 public:
  CCollection() = default;
  // Holds the items from the start.
  explicit CCollection(ErasableVector<platform::Variant> items) { items_ = std::move(items); }

  HRESULT item_class(CLSID* clsid) override { return class_as_item(CLSID_Collection, clsid); }
};

}  // namespace tallowbrook
