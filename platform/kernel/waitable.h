// Objects that threads wait for: mutexes and events. Internal to the kernel room.
//
// A wait tries the object first; only when that fails does it enter itself in the object's list of
// waiters, try again, and sleep until the object becomes free. An object that becomes free while
// nobody waits pays one atomic load for that, no lock and no system call. The order "enter, then
// try" against "become free, then look for waiters" (both sequentially consistent) is what makes
// sure that no wake-up is lost. All waiters are woken and try again.
#pragma once

#include <atomic>
#include <mutex>

#include "platform/kernel/handles.h"
#include "platform/kernel/thread_state.h"

namespace tallowbrook::platform {

// An entry in an object's list of waiters, on the waiting thread's stack.
struct Waiter {
  ThreadState* thread = nullptr;
  Waiter* previous = nullptr;
  Waiter* next = nullptr;
};

enum class Attempt : std::uint8_t { kBusy, kAcquired, kAbandoned };

class Waitable : public KernelObject {
 public:
  using KernelObject::KernelObject;

  // Takes the object for `thread`, the calling one, without waiting.
  [[nodiscard]] virtual Attempt try_acquire(ThreadState& thread) = 0;
  // Whether try_acquire would succeed now.
  [[nodiscard]] virtual bool is_free(const ThreadState& thread) const = 0;
  // Undoes a successful try_acquire, for a wait for all that did not get the rest.
  virtual void give_back(ThreadState& thread, Attempt taken) = 0;

  void enter(Waiter& waiter);
  void leave(Waiter& waiter);

 protected:
  // Called after the object became free.
  void wake_waiters() {
    if (waiting_.load(std::memory_order_seq_cst) != 0) wake_all();
  }

 private:
  void wake_all();

  std::atomic<std::uint32_t> waiting_{0};
  std::mutex lock_;  // first_
  Waiter* first_ = nullptr;
};

// A recursive mutex. While a thread owns it, the thread holds a reference on it.
class MutexObject final : public Waitable {
 public:
  static constexpr ObjectKind kKind = ObjectKind::kMutex;

  MutexObject() : Waitable(kKind) {}

  [[nodiscard]] Attempt try_acquire(ThreadState& thread) override;
  [[nodiscard]] bool is_free(const ThreadState& thread) const override;
  void give_back(ThreadState& thread, Attempt taken) override;
  // One level less; false when `thread`, the calling one, is not the owner.
  bool release_by(ThreadState& thread);
  // Frees the mutex because its owner, the calling thread, ends.
  void abandon();

 private:
  void free_from(ThreadState& thread);

  std::atomic<ThreadState*> owner_{nullptr};
  // The rest is the owner's.
  bool abandoned_ = false;
  std::uint32_t depth_ = 0;
  MutexObject* previous_ = nullptr;  // in the owner's list
  MutexObject* next_ = nullptr;
};

// An event; one that resets itself lets a single wait through for each SetEvent.
class EventObject final : public Waitable {
 public:
  static constexpr ObjectKind kKind = ObjectKind::kEvent;

  EventObject(bool manual, bool set) : Waitable(kKind), manual_(manual), set_(set) {}

  [[nodiscard]] Attempt try_acquire(ThreadState& thread) override;
  [[nodiscard]] bool is_free(const ThreadState& thread) const override;
  void give_back(ThreadState& thread, Attempt taken) override;
  void set();
  void reset() { set_.store(false, std::memory_order_seq_cst); }

 private:
  const bool manual_;
  std::atomic<bool> set_;
};

}  // namespace tallowbrook::platform
