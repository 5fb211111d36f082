// CCollection: a list of arbitrary values that a script creates and fills itself.
#pragma once

#include "collections/variant_collection.h"

namespace tallowbrook {

class CCollection final
    : public IVariantCollectionImpl<
          Object<Confined, Dispatching<ICollection>, IPersistStreamInit, IPersistStream>> {};

}  // namespace tallowbrook
