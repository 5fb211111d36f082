// The system's socket calls, of which the n-th can be made to fail.
#pragma once

#include <cstddef>

namespace tallowbrook::test {

// While it lives, the `nth` socket call of this thread (1 is the next one) fails with `error`;
// those after it succeed again.
class FailingSocketCall {
 public:
  FailingSocketCall(std::size_t nth, int error);
  ~FailingSocketCall();
  FailingSocketCall(const FailingSocketCall&) = delete;
  FailingSocketCall& operator=(const FailingSocketCall&) = delete;

  [[nodiscard]] bool happened() const;
};

}  // namespace tallowbrook::test
