#include "platform/kernel/waitable.h"

namespace tallowbrook::platform {

// ---- waiters ----------------------------------------------------------------

void Waitable::enter(Waiter& waiter) {
  const std::lock_guard hold(lock_);
  waiter.previous = nullptr;
  waiter.next = first_;
  if (first_ != nullptr) first_->previous = &waiter;
  first_ = &waiter;
  waiting_.fetch_add(1, std::memory_order_seq_cst);
}

void Waitable::leave(Waiter& waiter) {
  const std::lock_guard hold(lock_);
  if (waiter.next != nullptr) waiter.next->previous = waiter.previous;
  (waiter.previous != nullptr ? waiter.previous->next : first_) = waiter.next;
  waiting_.fetch_sub(1, std::memory_order_seq_cst);
}

void Waitable::wake_all() {
  const std::lock_guard hold(lock_);
  for (Waiter* waiter = first_; waiter != nullptr; waiter = waiter->next) {
    waiter->thread->unpark();
  }
}

// ---- mutexes ----------------------------------------------------------------

Attempt MutexObject::try_acquire(ThreadState& thread) {
  ThreadState* owner = owner_.load(std::memory_order_seq_cst);
  if (owner == &thread) {
    ++depth_;
    return Attempt::kAcquired;
  }
  if (owner != nullptr ||
      !owner_.compare_exchange_strong(owner, &thread, std::memory_order_seq_cst)) {
    return Attempt::kBusy;
  }
  add_reference();
  depth_ = 1;
  previous_ = nullptr;
  next_ = thread.owned;
  if (next_ != nullptr) next_->previous_ = this;
  thread.owned = this;
  return std::exchange(abandoned_, false) ? Attempt::kAbandoned : Attempt::kAcquired;
}

bool MutexObject::is_free(const ThreadState& thread) const {
  const ThreadState* owner = owner_.load(std::memory_order_seq_cst);
  return owner == nullptr || owner == &thread;
}

void MutexObject::give_back(ThreadState& thread, Attempt taken) {
  if (taken == Attempt::kAbandoned) abandoned_ = true;
  release_by(thread);
}

bool MutexObject::release_by(ThreadState& thread) {
  if (owner_.load(std::memory_order_relaxed) != &thread) return false;
  if (--depth_ == 0) free_from(thread);
  return true;
}

void MutexObject::abandon() {
  abandoned_ = true;
  free_from(*owner_.load(std::memory_order_relaxed));
}

void MutexObject::free_from(ThreadState& thread) {
  if (next_ != nullptr) next_->previous_ = previous_;
  (previous_ != nullptr ? previous_->next_ : thread.owned) = next_;
  owner_.store(nullptr, std::memory_order_seq_cst);
  wake_waiters();
  release();
}

// ---- events -----------------------------------------------------------------

Attempt EventObject::try_acquire(ThreadState& /*thread*/) {
  if (!set_.load(std::memory_order_seq_cst)) return Attempt::kBusy;
  if (manual_) return Attempt::kAcquired;
  return set_.exchange(false, std::memory_order_seq_cst) ? Attempt::kAcquired : Attempt::kBusy;
}

bool EventObject::is_free(const ThreadState& /*thread*/) const {
  return set_.load(std::memory_order_seq_cst);
}

void EventObject::give_back(ThreadState& /*thread*/, Attempt /*taken*/) {
  if (!manual_) set();
}

void EventObject::set() {
  set_.store(true, std::memory_order_seq_cst);
  wake_waiters();
}

}  // namespace tallowbrook::platform
