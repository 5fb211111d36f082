#include "platform/kernel/thread_state.h"

#include <pthread.h>
#include <unistd.h>

#include <new>

#include "platform/kernel/wait.h"
#include "platform/kernel/waitable.h"

namespace tallowbrook::platform {
namespace {

// Every thread that has used the layer, for posting by id.
constinit std::mutex registry_lock;
constinit ThreadState* registry = nullptr;

// The state lives in the thread's own storage, so making it cannot fail for want of memory.
constinit thread_local ThreadState* current_state = nullptr;
alignas(ThreadState) thread_local std::byte storage[sizeof(ThreadState)];

// A key's destructor runs after those of thread-local objects, which may still own mutexes.
pthread_key_t end_key(void (*on_end)(void*)) {
  static const pthread_key_t key = [on_end] {
    pthread_key_t made{};
    pthread_key_create(&made, on_end);
    return made;
  }();
  return key;
}

}  // namespace

Deadline deadline_after(DWORD milliseconds) {
  if (milliseconds == INFINITE) return std::nullopt;
  return std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
}

ThreadState& ThreadState::current() {
  if (current_state == nullptr) {
    current_state = new (static_cast<void*>(storage)) ThreadState;
    pthread_setspecific(end_key(&end_thread), current_state);
  }
  return *current_state;
}

ThreadState::ThreadState() : id_(static_cast<DWORD>(gettid())) {
  const std::lock_guard hold(registry_lock);
  next_ = registry;
  if (next_ != nullptr) next_->previous_ = this;
  registry = this;
}

ThreadState::~ThreadState() {
  const std::lock_guard hold(registry_lock);
  if (next_ != nullptr) next_->previous_ = previous_;
  (previous_ != nullptr ? previous_->next_ : registry) = next_;
}

void ThreadState::end_thread(void* state) {
  auto* thread = static_cast<ThreadState*>(state);
  while (thread->owned != nullptr) thread->owned->abandon();
  thread->~ThreadState();
  current_state = nullptr;
}

bool ThreadState::with_thread(DWORD id, const std::function<void(ThreadState&)>& action) {
  const std::lock_guard hold(registry_lock);
  for (ThreadState* thread = registry; thread != nullptr; thread = thread->next_) {
    if (thread->id_ != id) continue;
    action(*thread);
    return true;
  }
  return false;
}

bool ThreadState::park(const Deadline& deadline) {
  std::unique_lock hold(lock_);
  const auto woken = [this] { return token_; };
  if (!deadline) {
    wake_.wait(hold, woken);
  } else if (!wake_.wait_until(hold, *deadline, woken)) {
    return false;
  }
  token_ = false;
  return true;
}

void ThreadState::unpark() {
  const std::lock_guard hold(lock_);
  token_ = true;
  wake_.notify_one();
}

void ThreadState::post(QueuedMessage message) {
  const std::lock_guard hold(lock_);
  queue_.push_back(std::move(message));
  pending_.fetch_add(1, std::memory_order_release);
  token_ = true;
  wake_.notify_one();
}

bool ThreadState::take(MSG& message, UINT first, UINT last, bool remove) {
  if (!has_messages()) return false;
  std::list<QueuedMessage> removed;  // freed after the lock is given back
  const std::lock_guard hold(lock_);
  for (auto item = queue_.begin(); item != queue_.end(); ++item) {
    const UINT number = item->message.message;
    if ((first != 0 || last != 0) && (number < first || number > last)) continue;
    message = item->message;
    if (remove) {
      removed.splice(removed.end(), queue_, item);
      pending_.fetch_sub(1, std::memory_order_release);
      if (removed.front().call) taken_.splice(taken_.end(), removed);
    }
    return true;
  }
  return false;
}

bool ThreadState::run_call(WPARAM ticket) {
  for (auto item = taken_.begin(); item != taken_.end(); ++item) {
    if (item->message.wParam != ticket) continue;
    std::list<QueuedMessage> mine;
    mine.splice(mine.end(), taken_, item);
    mine.front().call();
    return true;
  }
  return false;
}

}  // namespace tallowbrook::platform
