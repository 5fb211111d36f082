// Lets the n-th allocation from now on fail, in this thread and in the component's own code.
#pragma once

#include <cstddef>

namespace tallowbrook::test {

class FailingAllocation {
 public:
  // The allocation that fails; the first is 1. Those after it succeed again.
  explicit FailingAllocation(std::size_t nth);
  ~FailingAllocation();
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;

  // True once the allocation was asked for.
  [[nodiscard]] bool happened() const;
};

}  // namespace tallowbrook::test
