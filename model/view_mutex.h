// The mutex that a view object serialises its own members with. Waiting for it pumps the thread's
// window messages, and so runs handlers that may release the object; a thread that holds it may
// take it again. It is made when it is first taken, as most objects never take theirs.
#pragma once

#include <atomic>
#include <new>

#include "parser/load.h"
#include "platform/com/unknown.h"
#include "platform/kernel/handles.h"
#include "platform/kernel/wait.h"

namespace tallowbrook {

class ViewMutex {
 public:
  ViewMutex() = default;
  ~ViewMutex() {
    if (const HANDLE made = handle_.load(std::memory_order_acquire)) CloseHandle(made);
  }
  ViewMutex(const ViewMutex&) = delete;
  ViewMutex& operator=(const ViewMutex&) = delete;

  // Holds the mutex, and a reference to the object whose member it is, for its own life. Throws
  // std::bad_alloc.
  class Hold {
   public:
    Hold(const ViewMutex& mutex, IUnknown& owner) : owner_(&owner), handle_(mutex.handle()) {
      held_ = WaitOrPump(handle_, INFINITE, true);
    }
    ~Hold() {
      if (held_) ReleaseMutex(handle_);
    }
    Hold(const Hold&) = delete;
    Hold& operator=(const Hold&) = delete;

   private:
    platform::ComPtr<IUnknown> owner_;  // outlives the mutex's release
    HANDLE handle_;
    bool held_ = false;
  };

 private:
  [[nodiscard]] HANDLE handle() const {
    HANDLE known = handle_.load(std::memory_order_acquire);
    if (known != nullptr) return known;
    platform::Handle made(CreateMutexW(nullptr, FALSE, nullptr));
    if (!made) throw std::bad_alloc();
    // Another thread's may have been there first.
    return handle_.compare_exchange_strong(known, made.get()) ? made.release() : known;
  }

  mutable std::atomic<HANDLE> handle_{nullptr};
};

}  // namespace tallowbrook
