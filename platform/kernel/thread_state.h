// What the layer keeps for each thread: its id, its priority, the mutexes it owns, the place where
// it sleeps and its message queue.
//
// The state is made on a thread's first call and ends with the thread, after the destructors of its
// thread-local objects: mutexes that are still owned are abandoned then. Nothing here allocates
// until a message is posted. Internal to the kernel room.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <list>
#include <mutex>
#include <optional>

#include "platform/kernel/message_queue.h"

namespace tallowbrook::platform {

class MutexObject;

using Deadline = std::optional<std::chrono::steady_clock::time_point>;  // none: without end

// The moment `milliseconds` from now; none for INFINITE (0xFFFFFFFF).
[[nodiscard]] Deadline deadline_after(DWORD milliseconds);

struct QueuedMessage {
  MSG message;
  std::function<void()> call;  // set for a posted call only
};

class ThreadState {
 public:
  // The calling thread's state, made when it is missing.
  [[nodiscard]] static ThreadState& current();

  // Runs `action` with the state of the thread `id` while that thread is kept from ending; false
  // when no such thread has used the layer.
  static bool with_thread(DWORD id, const std::function<void(ThreadState&)>& action);

  [[nodiscard]] DWORD id() const { return id_; }

  // ---- sleeping -----------------------------------------------------------
  // Blocks until unpark, at once when it was called since the last park; false when the deadline
  // passed first. Only the thread itself parks.
  bool park(const Deadline& deadline);
  // Wakes the thread. Any thread.
  void unpark();

  // ---- messages -----------------------------------------------------------
  // Appends a message and wakes the thread. Any thread. Throws std::bad_alloc.
  void post(QueuedMessage message);
  // An atomic load, whether or not the thread ever had a message.
  [[nodiscard]] bool has_messages() const { return pending_.load(std::memory_order_acquire) != 0; }
  // Copies the first message whose number is in [first, last] (any when both are 0) and removes it
  // on request. The call of a removed message waits under its ticket for run_call.
  bool take(MSG& message, UINT first, UINT last, bool remove);
  // Runs a removed call once; false when the ticket is unknown.
  bool run_call(WPARAM ticket);

  // ---- owned by the thread alone --------------------------------------------
  int priority = 0;
  unsigned failed_polls = 0;     // waits without time-out that failed since one succeeded
  MutexObject* owned = nullptr;  // head of the list of owned mutexes
  std::function<void(const MSG&)> handler;  // of thread messages

 private:
  ThreadState();
  ~ThreadState();

  static void end_thread(void* state);

  const DWORD id_;
  ThreadState* previous_ = nullptr;  // registry, under its lock
  ThreadState* next_ = nullptr;

  std::mutex lock_;  // token_, queue_
  std::condition_variable wake_;
  bool token_ = false;
  std::list<QueuedMessage> queue_;
  std::atomic<std::size_t> pending_{0};  // messages in queue_

  std::list<QueuedMessage> taken_;  // removed calls that were not yet dispatched
};

}  // namespace tallowbrook::platform
