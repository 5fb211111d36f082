// The platform layer's calls bind to these functions, since a program's own symbols come before
// those of the C library.
#include "tests/faults/socket_calls.h"

#include <dlfcn.h>
#include <poll.h>
#include <sys/socket.h>

#include <cerrno>

namespace {

thread_local std::size_t t_left = 0;  // calls until the failing one; 0: none fails
thread_local int t_error = 0;
thread_local bool t_happened = false;

bool fails() {
  if (t_left == 0 || --t_left > 0) return false;
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

int socket(int family, int type, int protocol) noexcept {
  static const auto real = next<int (*)(int, int, int)>("socket");
  return fails() ? -1 : real(family, type, protocol);
}

int connect(int descriptor, const sockaddr* address, socklen_t length) {
  static const auto real = next<int (*)(int, const sockaddr*, socklen_t)>("connect");
  return fails() ? -1 : real(descriptor, address, length);
}

int setsockopt(int descriptor, int level, int option, const void* value,
               socklen_t length) noexcept {
  static const auto real = next<int (*)(int, int, int, const void*, socklen_t)>("setsockopt");
  return fails() ? -1 : real(descriptor, level, option, value, length);
}

int getsockopt(int descriptor, int level, int option, void* value, socklen_t* length) noexcept {
  static const auto real = next<int (*)(int, int, int, void*, socklen_t*)>("getsockopt");
  return fails() ? -1 : real(descriptor, level, option, value, length);
}

ssize_t send(int descriptor, const void* bytes, size_t size, int flags) {
  static const auto real = next<ssize_t (*)(int, const void*, size_t, int)>("send");
  return fails() ? -1 : real(descriptor, bytes, size, flags);
}

ssize_t recv(int descriptor, void* bytes, size_t size, int flags) {
  static const auto real = next<ssize_t (*)(int, void*, size_t, int)>("recv");
  return fails() ? -1 : real(descriptor, bytes, size, flags);
}

int ppoll(pollfd* descriptors, nfds_t count, const timespec* timeout, const sigset_t* mask) {
  static const auto real =
      next<int (*)(pollfd*, nfds_t, const timespec*, const sigset_t*)>("ppoll");
  return fails() ? -1 : real(descriptors, count, timeout, mask);
}
}

namespace tallowbrook::test {

FailingSocketCall::FailingSocketCall(std::size_t nth, int error) {
  t_happened = false;
  t_error = error;
  t_left = nth;
}

FailingSocketCall::~FailingSocketCall() { t_left = 0; }

bool FailingSocketCall::happened() const { return t_happened; }

}  // namespace tallowbrook::test
