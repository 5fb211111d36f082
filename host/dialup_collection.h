// CDialupCollection: the machine's connections as the shell's connections folder listed them when
// the collection was made. A string index is a connection's name.
#pragma once

#include "collections/variant_collection.h"
#include "tallowbrook/class_ids.h"

namespace tallowbrook {

class CDialupCollection final : public IVariantWithStandardIDCollectionImpl<
                                    Object<Shared, Dispatching<IDialupCollection>,
                                           IPersistStreamInit, IPersistStream, IStoredItem>> {
 public:
  // Keeps what could be listed. Empty when it is made to be loaded: a stream may hold thousands.
  CDialupCollection();

  HRESULT item_class(CLSID* clsid) override { return class_as_item(CLSID_DialupCollection, clsid); }

 private:
  void fill();
};

}  // namespace tallowbrook
