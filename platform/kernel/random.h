// A small pseudo-random generator of the layer's own, for boundaries and ids; no secrets.
//
// One process-wide sequence that any thread may draw from: a counter that is mixed (splitmix64).
#pragma once

namespace tallowbrook::platform {

// Starts the sequence anew from the time and the process id. The first draw does it by itself.
void SeedRandom();

// The next number, 0 to 32767.
[[nodiscard]] int NextRandom();

}  // namespace tallowbrook::platform
