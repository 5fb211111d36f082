// Kernel objects, the handles that name them, and the thread's last error.
//
// A HANDLE is the address of a counted object. Creating gives it one reference, CloseHandle takes
// that reference back, and the object lives on while a wait or an owning thread still needs it. A
// handle must not be used after it was closed; null and INVALID_HANDLE_VALUE are always refused.
#pragma once

#include <atomic>
#include <utility>

#include "platform/com/types.h"

inline const HANDLE INVALID_HANDLE_VALUE = reinterpret_cast<HANDLE>(std::intptr_t{-1});

inline constexpr DWORD ERROR_SUCCESS = 0;
inline constexpr DWORD ERROR_FILE_NOT_FOUND = 2;
inline constexpr DWORD ERROR_PATH_NOT_FOUND = 3;
inline constexpr DWORD ERROR_TOO_MANY_OPEN_FILES = 4;
inline constexpr DWORD ERROR_ACCESS_DENIED = 5;
inline constexpr DWORD ERROR_INVALID_HANDLE = 6;
inline constexpr DWORD ERROR_NOT_ENOUGH_MEMORY = 8;
inline constexpr DWORD ERROR_NOT_SAME_DEVICE = 17;
inline constexpr DWORD ERROR_WRITE_PROTECT = 19;
inline constexpr DWORD ERROR_GEN_FAILURE = 31;
inline constexpr DWORD ERROR_SHARING_VIOLATION = 32;
inline constexpr DWORD ERROR_NOT_SUPPORTED = 50;
inline constexpr DWORD ERROR_FILE_EXISTS = 80;
inline constexpr DWORD ERROR_INVALID_PARAMETER = 87;
inline constexpr DWORD ERROR_BROKEN_PIPE = 109;
inline constexpr DWORD ERROR_DISK_FULL = 112;
inline constexpr DWORD ERROR_INSUFFICIENT_BUFFER = 122;
inline constexpr DWORD ERROR_MOD_NOT_FOUND = 126;
inline constexpr DWORD ERROR_PROC_NOT_FOUND = 127;
inline constexpr DWORD ERROR_NEGATIVE_SEEK = 131;
inline constexpr DWORD ERROR_SEEK_ON_DEVICE = 132;
inline constexpr DWORD ERROR_DIR_NOT_EMPTY = 145;
inline constexpr DWORD ERROR_BUSY = 170;
inline constexpr DWORD ERROR_ALREADY_EXISTS = 183;
inline constexpr DWORD ERROR_BAD_EXE_FORMAT = 193;
inline constexpr DWORD ERROR_FILENAME_EXCED_RANGE = 206;
inline constexpr DWORD ERROR_FILE_TOO_LARGE = 223;
inline constexpr DWORD ERROR_NOT_OWNER = 288;
inline constexpr DWORD ERROR_NO_UNICODE_TRANSLATION = 1113;
inline constexpr DWORD ERROR_IO_DEVICE = 1117;
inline constexpr DWORD ERROR_INVALID_THREAD_ID = 1444;
inline constexpr DWORD ERROR_CANT_RESOLVE_FILENAME = 1921;

// The calling thread's last error. A call that fails sets it; one that succeeds may leave it.
[[nodiscard]] DWORD GetLastError();
void SetLastError(DWORD code);

// Takes the handle's reference back. FALSE with ERROR_INVALID_HANDLE for null and
// INVALID_HANDLE_VALUE. TRUE without effect for the pseudo handle of GetCurrentThread.
BOOL CloseHandle(HANDLE handle);

namespace tallowbrook::platform {

// The ERROR_* code of an errno value; ERROR_GEN_FAILURE for one that has no counterpart.
[[nodiscard]] DWORD error_from_errno(int error);

// Sets the last error and returns FALSE.
BOOL fail(DWORD code);
// The same with the code of the present errno.
BOOL fail_with_errno();

// The pseudo handle that stands for the calling thread.
inline const HANDLE kCurrentThread = reinterpret_cast<HANDLE>(std::intptr_t{-2});

enum class ObjectKind : std::uint8_t { kMutex, kEvent, kFile };

// What stands behind a handle. Starts with one reference, that of its handle.
class KernelObject {
 public:
  explicit KernelObject(ObjectKind kind) : kind_(kind) {}
  KernelObject(const KernelObject&) = delete;
  KernelObject& operator=(const KernelObject&) = delete;
  virtual ~KernelObject() = default;

  [[nodiscard]] ObjectKind kind() const { return kind_; }
  [[nodiscard]] HANDLE handle() { return static_cast<void*>(this); }
  void add_reference() { references_.fetch_add(1, std::memory_order_relaxed); }
  void release() {
    if (references_.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
  }

 private:
  std::atomic<std::uint32_t> references_{1};
  const ObjectKind kind_;
};

// The object behind `handle`; null for null and the pseudo handles. No reference is taken.
[[nodiscard]] inline KernelObject* object_of(HANDLE handle) {
  if (handle == nullptr || handle == INVALID_HANDLE_VALUE || handle == kCurrentThread) {
    return nullptr;
  }
  return static_cast<KernelObject*>(handle);
}

// The object behind `handle` when it is a `T` (which names its kind as T::kKind); otherwise null
// with ERROR_INVALID_HANDLE.
template <class T>
[[nodiscard]] T* object_of(HANDLE handle) {
  KernelObject* object = object_of(handle);
  if (object != nullptr && object->kind() == T::kKind) return static_cast<T*>(object);
  SetLastError(ERROR_INVALID_HANDLE);
  return nullptr;
}

// A handle that closes itself. Holds null when it holds nothing.
class Handle {
 public:
  Handle() = default;
  explicit Handle(HANDLE handle) : handle_(handle == INVALID_HANDLE_VALUE ? nullptr : handle) {}
  Handle(Handle&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
  Handle& operator=(Handle&& other) noexcept {
    if (this != &other) reset(std::exchange(other.handle_, nullptr));
    return *this;
  }
  ~Handle() { reset(); }

  [[nodiscard]] HANDLE get() const { return handle_; }
  [[nodiscard]] HANDLE release() { return std::exchange(handle_, nullptr); }
  [[nodiscard]] explicit operator bool() const { return handle_ != nullptr; }
  void reset(HANDLE handle = nullptr) {
    if (handle_ != nullptr) CloseHandle(handle_);
    handle_ = handle;
  }

 private:
  HANDLE handle_ = nullptr;
};

}  // namespace tallowbrook::platform
