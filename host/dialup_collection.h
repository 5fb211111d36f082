// CDialupCollection: the machine's connections.
#pragma once

#include "collections/variant_collection.h"
#include "tallowbrook/class_ids.h"

namespace tallowbrook {

class CDialupCollection final
    : public IVariantWithStandardIDCollectionImpl<Object<
          Shared, Dispatching<IDialupCollection>, IPersistStreamInit, IPersistStream, IOwnClass>> {
 public:
  HRESULT own_class(CLSID* clsid) override { return class_as_item(CLSID_DialupCollection, clsid); }
};

}  // namespace tallowbrook
