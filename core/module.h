// The component's lock count: what keeps the library in memory.
//
// Every object that a host can hold counts one lock for its whole life, and so does a server lock
// (IClassFactory::LockServer). Cached class objects and type information count none.
#pragma once

#include <atomic>
#include <cstdint>

namespace tallowbrook {

class Module {
 public:
  static void lock() { locks_.count.fetch_add(1, std::memory_order_relaxed); }
  static void unlock() { locks_.count.fetch_sub(1, std::memory_order_acq_rel); }
  [[nodiscard]] static std::int32_t locks() { return locks_.count.load(std::memory_order_acquire); }

 private:
  // On a cache line of its own: all threads write to it, and read what would lie beside it.
  struct alignas(64) Count {
    std::atomic<std::int32_t> count;
  };
  static inline constinit Count locks_{};
};

// Held as a member (or a base) by every object that is handed to a host.
class ModuleLock {
 public:
  ModuleLock() { Module::lock(); }
  ~ModuleLock() { Module::unlock(); }
  ModuleLock(const ModuleLock&) = delete;
  ModuleLock& operator=(const ModuleLock&) = delete;
};

}  // namespace tallowbrook
