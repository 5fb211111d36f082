// The thread's message queue: posting, looking, fetching, dispatching.
//
// Every thread has a queue from its first call into the layer on (GetCurrentThreadId suffices). A
// message is a number with two words, or a call that DispatchMessageW makes on the thread that owns
// the queue. There are no windows: `hwnd` is always null.
#pragma once

#include <cstdint>
#include <functional>

#include "platform/com/types.h"

using HWND = void*;
using WPARAM = std::uintptr_t;
using LPARAM = std::intptr_t;
using LRESULT = std::intptr_t;

struct POINT {
  LONG x;
  LONG y;
};

struct MSG {
  HWND hwnd;
  UINT message;
  WPARAM wParam;
  LPARAM lParam;
  DWORD time;  // milliseconds of the monotonic clock when it was posted
  POINT pt;
};

inline constexpr UINT WM_NULL = 0;
inline constexpr UINT WM_QUIT = 0x0012;
inline constexpr UINT WM_USER = 0x0400;
inline constexpr UINT WM_APP = 0x8000;

inline constexpr UINT PM_NOREMOVE = 0;
inline constexpr UINT PM_REMOVE = 1;

// The calling thread's id, which is also the kernel's.
[[nodiscard]] DWORD GetCurrentThreadId();

// Appends a message to the queue of `thread` and wakes it when it waits for input. FALSE with
// ERROR_INVALID_THREAD_ID when no such thread has used the layer, with ERROR_NOT_ENOUGH_MEMORY when
// memory ran out.
BOOL PostThreadMessageW(DWORD thread, UINT message, WPARAM wide, LPARAM length);

// Appends WM_QUIT to the calling thread's own queue; its wParam is `exit_code`.
void PostQuitMessage(int exit_code);

// Copies the first message of the calling thread's queue whose number is in [first, last] (any when
// both are 0) to `message` and removes it with PM_REMOVE. FALSE when there is none.
BOOL PeekMessageW(MSG* message, HWND window, UINT first, UINT last, UINT remove);

// Waits for a message and removes it. TRUE, FALSE for WM_QUIT, -1 for a null `message`.
BOOL GetMessageW(MSG* message, HWND window, UINT first, UINT last);

// Keyboard input does not exist here: always FALSE.
BOOL TranslateMessage(const MSG* message);

// Makes a posted call, or gives the message to the thread's handler. A second dispatch of the same
// call does nothing, and so does one on another thread. What the call throws goes no further than
// the debug output. Always 0.
LRESULT DispatchMessageW(const MSG* message);

namespace tallowbrook::platform {

// The number that messages of posted calls carry.
inline constexpr UINT kCallMessage = 0x7FFF;

// Posts `call` to be made by DispatchMessageW on `thread`. Failures as of PostThreadMessageW.
BOOL post_call(DWORD thread, std::function<void()> call);

// What DispatchMessageW does with the calling thread's messages that are no calls; an empty handler
// drops them.
void set_thread_message_handler(std::function<void(const MSG&)> handler);

}  // namespace tallowbrook::platform
