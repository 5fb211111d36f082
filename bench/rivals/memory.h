// What a job costs in memory.
#pragma once

#include <cstddef>
#include <functional>

namespace tallowbrook::bench {

// Calls of malloc, calloc, realloc and the aligned forms while `job` runs, of this thread.
[[nodiscard]] std::size_t allocations_of(const std::function<void()>& job);

// By how many bytes the process grows at most while `job` runs, as the system sees it (pages that
// the allocator keeps from earlier are given back first).
[[nodiscard]] std::size_t peak_of(const std::function<void()>& job);

}  // namespace tallowbrook::bench
