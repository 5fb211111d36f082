// Letting the items of a collection go.
#pragma once

#include "core/erasable_vector.h"
#include "platform/automation/variant.h"

namespace tallowbrook {

// Releases the items. Those of a collection that dies because of it are released afterwards instead
// of from inside its destructor: collections may hold one another a million deep.
void discard(ErasableVector<platform::Variant> items);

}  // namespace tallowbrook
