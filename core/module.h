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
  static void lock() { locks_.fetch_add(1, std::memory_order_relaxed); }
  static void unlock() { locks_.fetch_sub(1, std::memory_order_acq_rel); }
  [[nodiscard]] static std::int32_t locks() { return locks_.load(std::memory_order_acquire); }

 private:
  static inline constinit std::atomic<std::int32_t> locks_{0};
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
