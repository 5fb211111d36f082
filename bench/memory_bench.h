// What a large attachment holds of memory on its way in and out.
#pragma once

#include "tallowbrook/tallowbrook.h"

namespace tallowbrook::bench {

// Prints, for each step, what is held after it and at most during it, in copies of the content.
// `factory` makes messages.
void memory_of_a_large_part(const platform::ComPtr<IClassFactory>& factory);

}  // namespace tallowbrook::bench
