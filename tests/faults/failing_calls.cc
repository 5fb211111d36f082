// operator new is replaced; malloc and realloc are wrapped by the linker (see
// tests/CMakeLists.txt), so what the C library allocates for itself goes its own way. The file
// calls of the platform layer bind to the functions here, since a program's own symbols come before
// those of the C library.
#include "tests/faults/failing_calls.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <new>

namespace {

using tallowbrook::test::FailurePlan;

thread_local FailurePlan t_allocations;
thread_local FailurePlan t_file_calls;
thread_local FailurePlan t_socket_calls;

bool fails(FailurePlan& plan) {
  if (plan.left == 0 || (plan.left > 1 && --plan.left > 0)) return false;
  if (!plan.for_good) plan.left = 0;
  plan.happened = true;
  if (plan.error != 0) errno = plan.error;
  return true;
}

template <class Function>
Function next(const char* name) {
  return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {
void* __real_malloc(std::size_t size);
void* __real_realloc(void* block, std::size_t size);

void* __wrap_malloc(std::size_t size) {
  return fails(t_allocations) ? nullptr : __real_malloc(size);
}
void* __wrap_realloc(void* block, std::size_t size) {
  return fails(t_allocations) ? nullptr : __real_realloc(block, size);
}
}

void* operator new(std::size_t size) {
  void* block = fails(t_allocations) ? nullptr : __real_malloc(size == 0 ? 1 : size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}
void* operator new[](std::size_t size) { return operator new(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return fails(t_allocations) ? nullptr : __real_malloc(size == 0 ? 1 : size);
}
void* operator new[](std::size_t size, const std::nothrow_t& nothrow) noexcept {
  return operator new(size, nothrow);
}
void operator delete(void* block) noexcept { std::free(block); }
void operator delete[](void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }
void operator delete[](void* block, std::size_t) noexcept { std::free(block); }

extern "C" {

int open(const char* path, int flags, ...) {
  static const auto real = next<int (*)(const char*, int, ...)>("open");
  va_list more;
  va_start(more, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(more, mode_t) : 0;
  va_end(more);
  return fails(t_file_calls) ? -1 : real(path, flags, mode);
}

ssize_t pread(int descriptor, void* bytes, size_t size, off_t position) {
  static const auto real = next<ssize_t (*)(int, void*, size_t, off_t)>("pread");
  return fails(t_file_calls) ? -1 : real(descriptor, bytes, size, position);
}

ssize_t pwrite(int descriptor, const void* bytes, size_t size, off_t position) {
  static const auto real = next<ssize_t (*)(int, const void*, size_t, off_t)>("pwrite");
  return fails(t_file_calls) ? -1 : real(descriptor, bytes, size, position);
}

int fstat(int descriptor, struct stat* status) {
  static const auto real = next<int (*)(int, struct stat*)>("fstat");
  return fails(t_file_calls) ? -1 : real(descriptor, status);
}

int ftruncate(int descriptor, off_t size) noexcept {
  static const auto real = next<int (*)(int, off_t)>("ftruncate");
  return fails(t_file_calls) ? -1 : real(descriptor, size);
}

int fsync(int descriptor) {
  static const auto real = next<int (*)(int)>("fsync");
  return fails(t_file_calls) ? -1 : real(descriptor);
}

int socket(int family, int type, int protocol) noexcept {
  static const auto real = next<int (*)(int, int, int)>("socket");
  return fails(t_socket_calls) ? -1 : real(family, type, protocol);
}

int connect(int descriptor, const sockaddr* address, socklen_t length) {
  static const auto real = next<int (*)(int, const sockaddr*, socklen_t)>("connect");
  return fails(t_socket_calls) ? -1 : real(descriptor, address, length);
}

int setsockopt(int descriptor, int level, int option, const void* value,
               socklen_t length) noexcept {
  static const auto real = next<int (*)(int, int, int, const void*, socklen_t)>("setsockopt");
  return fails(t_socket_calls) ? -1 : real(descriptor, level, option, value, length);
}

int getsockopt(int descriptor, int level, int option, void* value, socklen_t* length) noexcept {
  static const auto real = next<int (*)(int, int, int, void*, socklen_t*)>("getsockopt");
  return fails(t_socket_calls) ? -1 : real(descriptor, level, option, value, length);
}

ssize_t send(int descriptor, const void* bytes, size_t size, int flags) {
  static const auto real = next<ssize_t (*)(int, const void*, size_t, int)>("send");
  return fails(t_socket_calls) ? -1 : real(descriptor, bytes, size, flags);
}

ssize_t recv(int descriptor, void* bytes, size_t size, int flags) {
  static const auto real = next<ssize_t (*)(int, void*, size_t, int)>("recv");
  return fails(t_socket_calls) ? -1 : real(descriptor, bytes, size, flags);
}

int ppoll(pollfd* descriptors, nfds_t count, const timespec* timeout, const sigset_t* mask) {
  static const auto real =
      next<int (*)(pollfd*, nfds_t, const timespec*, const sigset_t*)>("ppoll");
  return fails(t_socket_calls) ? -1 : real(descriptors, count, timeout, mask);
}
}

namespace tallowbrook::test {

FailingAllocation::FailingAllocation(std::size_t nth) : FailingCall(t_allocations, {.left = nth}) {}

FailingFileCall::FailingFileCall(std::size_t nth, int error)
    : FailingCall(t_file_calls, {.left = nth, .for_good = true, .error = error}) {}

FailingSocketCall::FailingSocketCall(std::size_t nth, int error)
    : FailingCall(t_socket_calls, {.left = nth, .error = error}) {}

}  // namespace tallowbrook::test
