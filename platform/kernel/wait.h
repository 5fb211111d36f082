// Mutexes, events, and waiting for them and for messages.
//
// A wait that succeeds on a mutex makes the calling thread its owner. The owner may wait for it
// again and must release it as often. A mutex whose owner's thread has ended is abandoned: the next
// wait for it gets it and says so. Trying a free mutex (time-out 0) is an atomic operation.
//
// A thread below normal priority that keeps failing with time-out 0 yields its time, and sleeps for
// up to 200 microseconds every few tries (a message, or the object itself becoming free, ends that
// sleep), so that a spinning thread of the lowest priority does not use up a processor.
#pragma once

#include "platform/kernel/handles.h"

inline constexpr DWORD WAIT_OBJECT_0 = 0;
inline constexpr DWORD WAIT_ABANDONED_0 = 0x80;
inline constexpr DWORD WAIT_TIMEOUT = 258;
inline constexpr DWORD WAIT_FAILED = 0xFFFFFFFF;
inline constexpr DWORD MAXIMUM_WAIT_OBJECTS = 64;

inline constexpr DWORD QS_POSTMESSAGE = 0x0008;
inline constexpr DWORD QS_ALLPOSTMESSAGE = 0x0100;
inline constexpr DWORD QS_ALLINPUT = 0x05FF;

// An unnamed mutex, owned by the calling thread on request. Null with ERROR_NOT_SUPPORTED for a
// name, with ERROR_NOT_ENOUGH_MEMORY when memory ran out. `attributes` is ignored.
[[nodiscard]] HANDLE CreateMutexW(void* attributes, BOOL initial_owner, const OLECHAR* name);

// FALSE with ERROR_NOT_OWNER when the calling thread does not own the mutex.
BOOL ReleaseMutex(HANDLE mutex);

// An unnamed event. Failures as of CreateMutexW.
[[nodiscard]] HANDLE CreateEventW(void* attributes, BOOL manual_reset, BOOL initial_state,
                                  const OLECHAR* name);
BOOL SetEvent(HANDLE event);
BOOL ResetEvent(HANDLE event);

// Waits for one mutex or event, `milliseconds` at most. WAIT_OBJECT_0, WAIT_ABANDONED_0 (the
// mutex is owned), WAIT_TIMEOUT, or WAIT_FAILED with ERROR_INVALID_HANDLE.
DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds);

// Waits for one of `count` objects, or for all of them at once. WAIT_OBJECT_0 or WAIT_ABANDONED_0
// plus the index of the object that was taken (for all: 0, abandoned when one of them was).
// WAIT_FAILED with ERROR_INVALID_PARAMETER for none or more than MAXIMUM_WAIT_OBJECTS.
DWORD WaitForMultipleObjects(DWORD count, const HANDLE* handles, BOOL wait_all, DWORD milliseconds);

// The same, and ends also when the thread's message queue is not empty: WAIT_OBJECT_0 + count. A
// free object goes before a message. With `wait_all` both are awaited: every object and a message.
// `wake_mask` without one of QS_POSTMESSAGE and QS_ALLPOSTMESSAGE ignores the queue. `count` may be
// 0, and is less than MAXIMUM_WAIT_OBJECTS.
DWORD MsgWaitForMultipleObjects(DWORD count, const HANDLE* handles, BOOL wait_all,
                                DWORD milliseconds, DWORD wake_mask);
