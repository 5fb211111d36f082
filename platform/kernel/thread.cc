#include "platform/kernel/thread.h"

#include <sched.h>

#include <thread>

#include "platform/kernel/thread_state.h"
#include "platform/kernel/wait.h"

using tallowbrook::platform::ThreadState;

HANDLE GetCurrentThread() { return tallowbrook::platform::kCurrentThread; }

int GetThreadPriority(HANDLE thread) {
  if (thread != tallowbrook::platform::kCurrentThread) {
    SetLastError(ERROR_INVALID_HANDLE);
    return THREAD_PRIORITY_ERROR_RETURN;
  }
  return ThreadState::current().priority;
}

BOOL SetThreadPriority(HANDLE thread, int priority) {
  if (thread != tallowbrook::platform::kCurrentThread) {
    return tallowbrook::platform::fail(ERROR_INVALID_HANDLE);
  }
  if (priority < THREAD_PRIORITY_IDLE || priority > THREAD_PRIORITY_TIME_CRITICAL) {
    return tallowbrook::platform::fail(ERROR_INVALID_PARAMETER);
  }
  ThreadState::current().priority = priority;
  return TRUE;
}

void Sleep(DWORD milliseconds) {
  if (milliseconds == 0) {
    sched_yield();
    return;
  }
  do {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
  } while (milliseconds == INFINITE);
}
