#include "platform/kernel/wait.h"

#include <sched.h>

#include <array>
#include <chrono>
#include <new>
#include <span>

#include "platform/kernel/thread_state.h"
#include "platform/kernel/waitable.h"

namespace tallowbrook::platform {
namespace {

// How a thread below normal priority polls: so many failures in a row are free, then every
// kPollsPerNap-th sleeps.
constexpr unsigned kFreePolls = 16;
constexpr unsigned kPollsPerNap = 8;
constexpr std::chrono::microseconds kNap{200};

struct Request {
  std::span<Waitable* const> objects;
  bool all;
  bool messages;  // the queue ends the wait, too
};

DWORD result_of(std::size_t index, Attempt taken) {
  const DWORD base = taken == Attempt::kAbandoned ? WAIT_ABANDONED_0 : WAIT_OBJECT_0;
  return base + static_cast<DWORD>(index);
}

DWORD try_any(ThreadState& thread, const Request& request) {
  for (std::size_t i = 0; i < request.objects.size(); ++i) {
    const Attempt taken = request.objects[i]->try_acquire(thread);
    if (taken != Attempt::kBusy) return result_of(i, taken);
  }
  if (request.messages && thread.has_messages()) {
    return WAIT_OBJECT_0 + static_cast<DWORD>(request.objects.size());
  }
  return WAIT_TIMEOUT;
}

// Takes nothing before all look free: what is taken and given back wakes others, and this thread.
DWORD try_all(ThreadState& thread, const Request& request) {
  if (request.messages && !thread.has_messages()) return WAIT_TIMEOUT;
  for (const Waitable* object : request.objects) {
    if (!object->is_free(thread)) return WAIT_TIMEOUT;
  }
  std::array<Attempt, MAXIMUM_WAIT_OBJECTS> taken{};
  Attempt outcome = Attempt::kAcquired;
  for (std::size_t i = 0; i < request.objects.size(); ++i) {
    taken[i] = request.objects[i]->try_acquire(thread);
    if (taken[i] == Attempt::kAbandoned) outcome = Attempt::kAbandoned;
    if (taken[i] != Attempt::kBusy) continue;
    while (i-- > 0) request.objects[i]->give_back(thread, taken[i]);
    return WAIT_TIMEOUT;
  }
  return result_of(0, outcome);
}

DWORD attempt(ThreadState& thread, const Request& request) {
  return request.all ? try_all(thread, request) : try_any(thread, request);
}

// Entries in the lists of all objects of a wait, with a reference on each.
class Entries {
 public:
  Entries(ThreadState& thread, std::span<Waitable* const> objects) : objects_(objects) {
    for (std::size_t i = 0; i < objects_.size(); ++i) {
      objects_[i]->add_reference();
      waiters_[i].thread = &thread;
      objects_[i]->enter(waiters_[i]);
    }
  }
  ~Entries() {
    for (std::size_t i = 0; i < objects_.size(); ++i) {
      objects_[i]->leave(waiters_[i]);
      objects_[i]->release();
    }
  }
  Entries(const Entries&) = delete;
  Entries& operator=(const Entries&) = delete;

 private:
  std::span<Waitable* const> objects_;
  std::array<Waiter, MAXIMUM_WAIT_OBJECTS> waiters_;
};

DWORD wait_until(ThreadState& thread, const Request& request, const Deadline& deadline) {
  const Entries entries(thread, request.objects);
  for (;;) {
    const DWORD result = attempt(thread, request);
    if (result != WAIT_TIMEOUT) return result;
    // The clock counts also when wake-ups keep coming.
    const bool woken = thread.park(deadline);
    if (!woken || (deadline && std::chrono::steady_clock::now() >= *deadline)) {
      return attempt(thread, request);
    }
  }
}

// A wait without time-out has failed: gives way to others according to the thread's priority.
DWORD after_failed_poll(ThreadState& thread, const Request& request) {
  if (thread.priority >= 0) return WAIT_TIMEOUT;
  ++thread.failed_polls;
  if (thread.failed_polls < kFreePolls || thread.failed_polls % kPollsPerNap != 0) {
    sched_yield();
    return WAIT_TIMEOUT;
  }
  return wait_until(thread, request, std::chrono::steady_clock::now() + kNap);
}

DWORD wait(const Request& request, DWORD milliseconds) {
  ThreadState& thread = ThreadState::current();
  DWORD result = attempt(thread, request);
  if (result == WAIT_TIMEOUT) {
    result = milliseconds == 0 ? after_failed_poll(thread, request)
                               : wait_until(thread, request, deadline_after(milliseconds));
  }
  if (result != WAIT_TIMEOUT) thread.failed_polls = 0;
  return result;
}

DWORD failed(DWORD code) {
  SetLastError(code);
  return WAIT_FAILED;
}

DWORD wait_for(DWORD count, const HANDLE* handles, bool all, DWORD milliseconds, bool messages) {
  std::array<Waitable*, MAXIMUM_WAIT_OBJECTS> objects;
  for (DWORD i = 0; i < count; ++i) {
    KernelObject* object = object_of(handles[i]);
    if (object == nullptr || object->kind() == ObjectKind::kFile) {
      return failed(ERROR_INVALID_HANDLE);
    }
    objects[i] = static_cast<Waitable*>(object);
  }
  return wait({std::span<Waitable* const>(objects.data(), count), all, messages}, milliseconds);
}

template <class T, class... Arguments>
T* create(const OLECHAR* name, Arguments... arguments) {
  if (name != nullptr) {
    SetLastError(ERROR_NOT_SUPPORTED);
    return nullptr;
  }
  T* object = new (std::nothrow) T(arguments...);
  if (object == nullptr) SetLastError(ERROR_NOT_ENOUGH_MEMORY);
  return object;
}

}  // namespace
}  // namespace tallowbrook::platform

using tallowbrook::platform::EventObject;
using tallowbrook::platform::MutexObject;
using tallowbrook::platform::object_of;
using tallowbrook::platform::ThreadState;

HANDLE CreateMutexW(void* /*attributes*/, BOOL initial_owner, const OLECHAR* name) {
  auto* mutex = tallowbrook::platform::create<MutexObject>(name);
  if (mutex == nullptr) return nullptr;
  if (initial_owner != FALSE) (void)mutex->try_acquire(ThreadState::current());
  return mutex->handle();
}

BOOL ReleaseMutex(HANDLE mutex) {
  auto* object = object_of<MutexObject>(mutex);
  if (object == nullptr) return FALSE;
  if (!object->release_by(ThreadState::current())) {
    return tallowbrook::platform::fail(ERROR_NOT_OWNER);
  }
  return TRUE;
}

HANDLE CreateEventW(void* /*attributes*/, BOOL manual_reset, BOOL initial_state,
                    const OLECHAR* name) {
  auto* event = tallowbrook::platform::create<EventObject>(name, manual_reset != FALSE,
                                                           initial_state != FALSE);
  return event == nullptr ? nullptr : event->handle();
}

BOOL SetEvent(HANDLE event) {
  auto* object = object_of<EventObject>(event);
  if (object == nullptr) return FALSE;
  object->add_reference();  // a thread that the event wakes may close it at once
  object->set();
  object->release();
  return TRUE;
}

BOOL ResetEvent(HANDLE event) {
  auto* object = object_of<EventObject>(event);
  if (object == nullptr) return FALSE;
  object->reset();
  return TRUE;
}

DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds) {
  return tallowbrook::platform::wait_for(1, &handle, false, milliseconds, false);
}

DWORD WaitForMultipleObjects(DWORD count, const HANDLE* handles, BOOL wait_all,
                             DWORD milliseconds) {
  if (count == 0 || count > MAXIMUM_WAIT_OBJECTS || handles == nullptr) {
    return tallowbrook::platform::failed(ERROR_INVALID_PARAMETER);
  }
  return tallowbrook::platform::wait_for(count, handles, wait_all != FALSE, milliseconds, false);
}

DWORD MsgWaitForMultipleObjects(DWORD count, const HANDLE* handles, BOOL wait_all,
                                DWORD milliseconds, DWORD wake_mask) {
  if (count >= MAXIMUM_WAIT_OBJECTS || (count != 0 && handles == nullptr)) {
    return tallowbrook::platform::failed(ERROR_INVALID_PARAMETER);
  }
  const bool messages = (wake_mask & (QS_POSTMESSAGE | QS_ALLPOSTMESSAGE)) != 0;
  return tallowbrook::platform::wait_for(count, handles, wait_all != FALSE && count != 0,
                                         milliseconds, messages);
}
