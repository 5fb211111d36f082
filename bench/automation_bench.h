// What a script pays: making objects, resolving names, late-bound calls.
#pragma once

#include "platform/com/unknown.h"

namespace tallowbrook::bench {

// Prints times beside what they are held to. `factory` is the class object of messages.
void automation_speeds(IClassFactory* factory);

}  // namespace tallowbrook::bench
