// The platform layer's calls bind to these functions, since a program's own symbols come before
// those of the C library.
#include "tests/faults/file_calls.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>

namespace {

thread_local std::size_t t_left = 0;  // calls until the first failing one; 0: none fails
thread_local int t_error = 0;
thread_local bool t_happened = false;

bool fails() {
  if (t_left == 0 || (t_left > 1 && --t_left > 0)) return false;
  t_happened = true;
  errno = t_error;
  return true;
}

template <class Function>
Function next(const char* name) {
  return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {

int open(const char* path, int flags, ...) {
  static const auto real = next<int (*)(const char*, int, ...)>("open");
  va_list more;
  va_start(more, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(more, mode_t) : 0;
  va_end(more);
  return fails() ? -1 : real(path, flags, mode);
}

ssize_t pread(int descriptor, void* bytes, size_t size, off_t position) {
  static const auto real = next<ssize_t (*)(int, void*, size_t, off_t)>("pread");
  return fails() ? -1 : real(descriptor, bytes, size, position);
}

ssize_t pwrite(int descriptor, const void* bytes, size_t size, off_t position) {
  static const auto real = next<ssize_t (*)(int, const void*, size_t, off_t)>("pwrite");
  return fails() ? -1 : real(descriptor, bytes, size, position);
}

int fstat(int descriptor, struct stat* status) {
  static const auto real = next<int (*)(int, struct stat*)>("fstat");
  return fails() ? -1 : real(descriptor, status);
}

int ftruncate(int descriptor, off_t size) noexcept {
  static const auto real = next<int (*)(int, off_t)>("ftruncate");
  return fails() ? -1 : real(descriptor, size);
}

int fsync(int descriptor) {
  static const auto real = next<int (*)(int)>("fsync");
  return fails() ? -1 : real(descriptor);
}
}

namespace tallowbrook::test {

FailingFileCall::FailingFileCall(std::size_t nth, int error) {
  t_happened = false;
  t_error = error;
  t_left = nth;
}

FailingFileCall::~FailingFileCall() { t_left = 0; }

bool FailingFileCall::happened() const { return t_happened; }

}  // namespace tallowbrook::test
