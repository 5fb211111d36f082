// Allocations, file calls and socket calls of which the n-th fails, in this thread and in the
// component's own code.
#pragma once

#include <cstddef>

namespace tallowbrook::test {

// What is left to do until the calls of one kind fail.
struct FailurePlan {
  std::size_t left = 0;   // calls until the failing one, which is 1; 0: none fails
  bool for_good = false;  // those after it fail as well
  int error = 0;          // for errno
  bool happened = false;
};

// Fails calls of one kind while it lives.
class FailingCall {
 public:
  FailingCall(FailurePlan& plan, const FailurePlan& wanted) : plan_(plan) { plan_ = wanted; }
  ~FailingCall() { plan_.left = 0; }
  FailingCall(const FailingCall&) = delete;
  FailingCall& operator=(const FailingCall&) = delete;

  // True once the call was made.
  [[nodiscard]] bool happened() const { return plan_.happened; }

 private:
  FailurePlan& plan_;
};

// The `nth` allocation from now on fails; those after it succeed again.
class FailingAllocation : public FailingCall {
 public:
  explicit FailingAllocation(std::size_t nth);
};

// The `nth` file call fails with `error`, and so does every later one: a disk that is full or gone
// stays so.
class FailingFileCall : public FailingCall {
 public:
  FailingFileCall(std::size_t nth, int error);
};

// The `nth` socket call fails with `error`; those after it succeed again.
class FailingSocketCall : public FailingCall {
 public:
  FailingSocketCall(std::size_t nth, int error);
};

// Calls `job(n)` for n from 1 with the n-th call inside it failing, until it tells that none did:
// the first three hundred one by one, then every `stride`-th. Returns the last n; 0 when the job
// never comes to its end.
template <class Job>
std::size_t fail_each(Job&& job, std::size_t stride = 1) {
  for (std::size_t n = 1; n < 100'000; n += n < 300 ? 1 : stride) {
    if (!job(n)) return n;
  }
  return 0;
}

}  // namespace tallowbrook::test
