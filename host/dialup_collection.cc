#include "host/dialup_collection.h"

#include "core/creators.h"

namespace tallowbrook {

HRESULT create_dialup_collection(REFIID iid, void** object) {
  return create_instance<CDialupCollection>(iid, object);
}

}  // namespace tallowbrook
