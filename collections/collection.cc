#include "collections/collection.h"

#include "core/creators.h"

namespace tallowbrook {

HRESULT create_collection(REFIID iid, void** object) {
  return create_instance<CCollection>(iid, object);
}

}  // namespace tallowbrook
