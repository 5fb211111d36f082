// The coders alone, from memory to memory.
#pragma once

namespace tallowbrook::bench {

// Prints MB/s of the larger side and the ratio to a memcpy of as many bytes in the same run.
void coding_speeds();

}  // namespace tallowbrook::bench
