// The runtime layer's own objects: QueryInterface over a list of interfaces and an atomic count.
//
// They live in this library and hold no lock on any component.
#pragma once

#include <atomic>
#include <type_traits>

#include "platform/com/unknown.h"

namespace tallowbrook::platform {

// True when `iid` names Interface or one of its bases.
template <class Interface>
[[nodiscard]] bool has_identity(REFIID iid) {
  if (iid == Interface::kIid) return true;
  if constexpr (std::is_void_v<typename Interface::Base>) {
    return false;
  } else {
    return has_identity<typename Interface::Base>(iid);
  }
}

// A new object starts with one reference, which belongs to its creator. Its IUnknown is that of
// the first interface.
template <class... Interfaces>
class Counted : public Interfaces... {
 public:
  Counted(const Counted&) = delete;
  Counted& operator=(const Counted&) = delete;

  HRESULT QueryInterface(REFIID iid, void** object) override {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if ((answer<Interfaces>(iid, object) || ...)) {
      AddRef();
      return S_OK;
    }
    return E_NOINTERFACE;
  }
  ULONG AddRef() override { return count_.fetch_add(1, std::memory_order_relaxed) + 1; }
  ULONG Release() override {
    const ULONG left = count_.fetch_sub(1, std::memory_order_acq_rel) - 1;
    if (left == 0) {
      // Code that the destructor calls may add and release references; none may end it again.
      count_.store(0x40000000, std::memory_order_relaxed);
      delete this;
    }
    return left;
  }

 protected:
  Counted() = default;
  virtual ~Counted() = default;

 private:
  template <class Interface>
  bool answer(REFIID iid, void** object) {
    if (!has_identity<Interface>(iid)) return false;
    *object = static_cast<Interface*>(this);
    return true;
  }

  std::atomic<ULONG> count_{1};
};

}  // namespace tallowbrook::platform
