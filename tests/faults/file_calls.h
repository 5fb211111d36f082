// The system's file calls, of which the n-th can be made to fail.
#pragma once

#include <cstddef>

namespace tallowbrook::test {

// While it lives, the `nth` file call of this thread (1 is the next one) fails with `error`, and so
// does every later one: a disk that is full or gone stays so.
class FailingFileCall {
 public:
  FailingFileCall(std::size_t nth, int error);
  ~FailingFileCall();
  FailingFileCall(const FailingFileCall&) = delete;
  FailingFileCall& operator=(const FailingFileCall&) = delete;

  [[nodiscard]] bool happened() const;
};

}  // namespace tallowbrook::test
