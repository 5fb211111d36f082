#include "platform/kernel/message_queue.h"

#include <atomic>
#include <chrono>
#include <exception>
#include <new>
#include <utility>

#include "platform/kernel/debug_output.h"
#include "platform/kernel/handles.h"
#include "platform/kernel/thread_state.h"

namespace tallowbrook::platform {
namespace {

DWORD now_in_milliseconds() {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return static_cast<DWORD>(std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
}

BOOL post(DWORD thread, QueuedMessage item) {
  item.message.time = now_in_milliseconds();
  try {
    const bool posted = ThreadState::with_thread(
        thread, [&item](ThreadState& target) { target.post(std::move(item)); });
    return posted ? TRUE : fail(ERROR_INVALID_THREAD_ID);
  } catch (const std::bad_alloc&) {
    return fail(ERROR_NOT_ENOUGH_MEMORY);
  }
}

}  // namespace

BOOL post_call(DWORD thread, std::function<void()> call) {
  static constinit std::atomic<WPARAM> next_ticket{1};
  if (!call) return fail(ERROR_INVALID_PARAMETER);
  QueuedMessage item{};
  item.message.message = kCallMessage;
  item.message.wParam = next_ticket.fetch_add(1, std::memory_order_relaxed);
  item.call = std::move(call);
  return post(thread, std::move(item));
}

void set_thread_message_handler(std::function<void(const MSG&)> handler) {
  ThreadState::current().handler = std::move(handler);
}

}  // namespace tallowbrook::platform

using tallowbrook::platform::ThreadState;

DWORD GetCurrentThreadId() { return ThreadState::current().id(); }

BOOL PostThreadMessageW(DWORD thread, UINT message, WPARAM wide, LPARAM length) {
  tallowbrook::platform::QueuedMessage item{};
  item.message.message = message;
  item.message.wParam = wide;
  item.message.lParam = length;
  return tallowbrook::platform::post(thread, std::move(item));
}

void PostQuitMessage(int exit_code) {
  PostThreadMessageW(GetCurrentThreadId(), WM_QUIT, static_cast<WPARAM>(exit_code), 0);
}

BOOL PeekMessageW(MSG* message, HWND /*window*/, UINT first, UINT last, UINT remove) {
  if (message == nullptr) return tallowbrook::platform::fail(ERROR_INVALID_PARAMETER);
  return ThreadState::current().take(*message, first, last, (remove & PM_REMOVE) != 0) ? TRUE
                                                                                       : FALSE;
}

BOOL GetMessageW(MSG* message, HWND window, UINT first, UINT last) {
  if (message == nullptr) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return -1;
  }
  while (PeekMessageW(message, window, first, last, PM_REMOVE) == FALSE) {
    ThreadState::current().park(std::nullopt);
  }
  return message->message == WM_QUIT ? FALSE : TRUE;
}

BOOL TranslateMessage(const MSG* /*message*/) { return FALSE; }

LRESULT DispatchMessageW(const MSG* message) {
  if (message == nullptr) return 0;
  ThreadState& thread = ThreadState::current();
  try {
    if (message->message == tallowbrook::platform::kCallMessage) {
      thread.run_call(message->wParam);
    } else if (thread.handler) {
      const auto handler = thread.handler;  // which may replace itself
      handler(*message);
    }
  } catch (const std::exception& error) {
    OutputDebugStringA(error.what());
    OutputDebugStringA("\n");
  } catch (...) {
    OutputDebugStringA("A message handler threw.\n");
  }
  return 0;
}
