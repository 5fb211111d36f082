// Thread priority and sleeping.
//
// The kernel does not let an unprivileged thread raise its niceness again once it was lowered, so
// the layer keeps the priority itself; it shows in how the thread waits (see wait.h).
#pragma once

#include "platform/kernel/handles.h"

inline constexpr int THREAD_PRIORITY_IDLE = -15;
inline constexpr int THREAD_PRIORITY_LOWEST = -2;
inline constexpr int THREAD_PRIORITY_BELOW_NORMAL = -1;
inline constexpr int THREAD_PRIORITY_NORMAL = 0;
inline constexpr int THREAD_PRIORITY_ABOVE_NORMAL = 1;
inline constexpr int THREAD_PRIORITY_HIGHEST = 2;
inline constexpr int THREAD_PRIORITY_TIME_CRITICAL = 15;
inline constexpr int THREAD_PRIORITY_ERROR_RETURN = 0x7FFFFFFF;

// A pseudo handle for the calling thread; need not be closed.
[[nodiscard]] HANDLE GetCurrentThread();

// The priority, -15 to 15, 0 at a thread's start. THREAD_PRIORITY_ERROR_RETURN with
// ERROR_INVALID_HANDLE for anything but the pseudo handle.
[[nodiscard]] int GetThreadPriority(HANDLE thread);
// FALSE with ERROR_INVALID_PARAMETER outside -15 to 15.
BOOL SetThreadPriority(HANDLE thread, int priority);

// Sleeps; 0 gives the rest of the time slice away, INFINITE never returns.
void Sleep(DWORD milliseconds);
