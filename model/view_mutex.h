// The mutex that a view object serialises its own members with. Waiting for it pumps the thread's
// window messages, and so runs handlers that may release the object; a thread that holds it may
// take it again.
#pragma once

#include <new>

#include "parser/load.h"
#include "platform/com/unknown.h"
#include "platform/kernel/handles.h"
#include "platform/kernel/wait.h"

namespace tallowbrook {

class ViewMutex {
 public:
  ViewMutex() : handle_(CreateMutexW(nullptr, FALSE, nullptr)) {
    if (!handle_) throw std::bad_alloc();
  }

  // Holds the mutex, and a reference to the object whose member it is, for its own life.
  class Hold {
   public:
    Hold(const ViewMutex& mutex, IUnknown& owner) : owner_(&owner), handle_(mutex.handle_.get()) {
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
  platform::Handle handle_;
};

}  // namespace tallowbrook
