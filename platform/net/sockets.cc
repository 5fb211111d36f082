#include "platform/net/sockets.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstring>
#include <optional>

#include "platform/kernel/handles.h"
#include "platform/net/started.h"

namespace tallowbrook::platform::net {
namespace {

constexpr WORD kVersion = 0x0202;

constinit std::atomic<unsigned> users{0};

int descriptor_of(SOCKET socket) { return socket <= INT_MAX ? static_cast<int>(socket) : -1; }

int fail(int code) {
  WSASetLastError(code);
  return SOCKET_ERROR;
}

int fail_from_system() { return fail(socket_error_of(errno)); }

// The result of a system call, with the failure's code noted.
int checked(int result) { return result < 0 ? fail_from_system() : result; }

template <class Call>
ssize_t uninterrupted(Call&& call) {
  ssize_t result = 0;
  do {
    result = call();
  } while (result < 0 && errno == EINTR);
  return result;
}

bool is_socket(int descriptor) {
  int type = 0;
  socklen_t length = sizeof type;
  return ::getsockopt(descriptor, SOL_SOCKET, SO_TYPE, &type, &length) == 0;
}

// The outcome of a connection that goes on in the background: 0 or an errno.
int await_connection(int descriptor) {
  pollfd wait{descriptor, POLLOUT, 0};
  if (uninterrupted([&] { return ::poll(&wait, 1, -1); }) < 0) return errno;
  int error = 0;
  socklen_t length = sizeof error;
  return ::getsockopt(descriptor, SOL_SOCKET, SO_ERROR, &error, &length) == 0 ? error : errno;
}

// What stands behind EPIPE: shut down here, never connected, or reset earlier.
int error_of_broken_pipe(int descriptor) {
  sockaddr_storage peer{};
  socklen_t length = sizeof peer;
  if (::getpeername(descriptor, reinterpret_cast<sockaddr*>(&peer), &length) == 0) {
    return WSAESHUTDOWN;
  }
  char byte = 0;
  const bool never = ::recv(descriptor, &byte, 1, MSG_PEEK | MSG_DONTWAIT) < 0 && errno == ENOTCONN;
  return never ? WSAENOTCONN : WSAECONNRESET;
}

// ---- select -------------------------------------------------------------------------------------

using Clock = std::chrono::steady_clock;

struct Kind {
  short wanted;
  short ready;
};
constexpr Kind kRead{POLLIN, POLLIN | POLLHUP | POLLERR};
constexpr Kind kWrite{POLLOUT, POLLOUT | POLLHUP | POLLERR};
constexpr Kind kExcept{POLLPRI, POLLPRI | POLLERR};

class Waited {
 public:
  void add(const SocketSet* set, Kind kind) {
    if (set == nullptr) return;
    for (std::size_t i = 0; i < set->size(); ++i) {
      const int descriptor = descriptor_of((*set)[i]);
      if (descriptor < 0) invalid_ = true;
      polled_[count_++] = {descriptor, kind.wanted, 0};
    }
  }
  [[nodiscard]] bool empty() const { return count_ == 0; }
  // True when a descriptor is ready or the time has passed; false for a failure.
  bool wait(const std::optional<Clock::time_point>& end) {
    for (;;) {
      timespec left{};
      if (end) {
        const auto time = std::max(std::chrono::nanoseconds(*end - Clock::now()),
                                   std::chrono::nanoseconds::zero());
        left.tv_sec = static_cast<time_t>(time.count() / 1'000'000'000);
        left.tv_nsec = static_cast<long>(time.count() % 1'000'000'000);
      }
      if (::ppoll(polled_.data(), count_, end ? &left : nullptr, nullptr) >= 0) return true;
      if (errno != EINTR) return false;
    }
  }
  // True when a descriptor is none. poll tells of closed ones and passes over negative ones.
  [[nodiscard]] bool invalid() const {
    bool found = invalid_;
    for (std::size_t i = 0; i < count_; ++i) {
      found = found || (polled_[i].revents & POLLNVAL) != 0;
    }
    return found;
  }
  // Leaves in `set`, the next one in the order of `add`, what is ready.
  int keep_ready(SocketSet* set, Kind kind) {
    if (set == nullptr) return 0;
    const SocketSet asked = *set;
    set->clear();
    for (std::size_t i = 0; i < asked.size(); ++i) {
      if ((polled_[told_++].revents & kind.ready) != 0) set->add(asked[i]);
    }
    return static_cast<int>(set->size());
  }

 private:
  std::array<pollfd, 3 * 64> polled_;
  bool invalid_ = false;
  std::size_t count_ = 0;
  std::size_t told_ = 0;
};

}  // namespace

bool started() {
  if (users.load(std::memory_order_relaxed) > 0) return true;
  WSASetLastError(WSANOTINITIALISED);
  return false;
}

int WSAStartup(WORD version, WSADATA* data) {
  const int major = version & 0xFF;
  if (data == nullptr) return WSAEFAULT;
  if (major == 0) return WSAVERNOTSUPPORTED;
  data->wVersion = major < 2 || version == 2 || version == 0x0102 ? version : kVersion;
  data->wHighVersion = kVersion;
  users.fetch_add(1, std::memory_order_relaxed);
  return 0;
}

int WSACleanup() {
  unsigned now = users.load(std::memory_order_relaxed);
  do {
    if (now == 0) return fail(WSANOTINITIALISED);
  } while (!users.compare_exchange_weak(now, now - 1, std::memory_order_relaxed));
  return 0;
}

int WSAGetLastError() { return static_cast<int>(GetLastError()); }
void WSASetLastError(int code) { SetLastError(static_cast<DWORD>(code)); }

SOCKET socket(int family, int type, int protocol) {
  if (!started()) return INVALID_SOCKET;
  if (family != kInternetFamily) {
    WSASetLastError(WSAEAFNOSUPPORT);
    return INVALID_SOCKET;
  }
  if (type != kStreamSocket && type != kDatagramSocket) {
    WSASetLastError(WSAESOCKTNOSUPPORT);
    return INVALID_SOCKET;
  }
  const int system_type = type == kStreamSocket ? SOCK_STREAM : SOCK_DGRAM;
  const int descriptor = checked(::socket(AF_INET, system_type | SOCK_CLOEXEC, protocol));
  return descriptor < 0 ? INVALID_SOCKET : static_cast<SOCKET>(descriptor);
}

int closesocket(SOCKET socket) {
  if (!started()) return SOCKET_ERROR;
  const int descriptor = descriptor_of(socket);
  if (!is_socket(descriptor)) return fail_from_system();
  // The descriptor is free even when a signal cut the lingering short.
  return ::close(descriptor) == 0 || errno == EINTR ? 0 : fail_from_system();
}

int ioctlsocket(SOCKET socket, DWORD command, ULONG* argument) {
  if (!started()) return SOCKET_ERROR;
  if (argument == nullptr) return fail(WSAEFAULT);
  if (command != kNonBlocking) return fail(WSAEOPNOTSUPP);
  const int descriptor = descriptor_of(socket);
  if (!is_socket(descriptor)) return fail_from_system();
  int on = *argument != 0 ? 1 : 0;
  return checked(::ioctl(descriptor, FIONBIO, &on));
}

int setsockopt(SOCKET socket, int level, int option, const void* value, int length) {
  if (!started()) return SOCKET_ERROR;
  if (level == kTcpLevel && option == kNoDelayOption) {
    int on = 0;
    if (value == nullptr || length < static_cast<int>(sizeof on)) return fail(WSAEFAULT);
    std::memcpy(&on, value, sizeof on);
    return checked(::setsockopt(descriptor_of(socket), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on));
  }
  if (level != kSocketLevel || option != kLingerOption) return fail(WSAENOPROTOOPT);
  Linger linger{};
  if (value == nullptr || length < static_cast<int>(sizeof linger)) return fail(WSAEFAULT);
  std::memcpy(&linger, value, sizeof linger);
  const ::linger system{linger.on != 0 ? 1 : 0, linger.seconds};
  return checked(
      ::setsockopt(descriptor_of(socket), SOL_SOCKET, SO_LINGER, &system, sizeof system));
}

int getsockopt(SOCKET socket, int level, int option, void* value, int* length) {
  if (!started()) return SOCKET_ERROR;
  if (level != kSocketLevel) return fail(WSAENOPROTOOPT);
  const auto give = [&](const auto& result) {
    if (value == nullptr || length == nullptr || *length < static_cast<int>(sizeof result)) {
      return fail(WSAEFAULT);
    }
    std::memcpy(value, &result, sizeof result);
    *length = static_cast<int>(sizeof result);
    return 0;
  };
  const auto ask = [&](int system_option, auto& result) {
    socklen_t size = sizeof result;
    return ::getsockopt(descriptor_of(socket), SOL_SOCKET, system_option, &result, &size) == 0;
  };
  if (option == kErrorOption) {
    int error = 0;
    return ask(SO_ERROR, error) ? give(socket_error_of(error)) : fail_from_system();
  }
  if (option != kLingerOption) return fail(WSAENOPROTOOPT);
  ::linger linger{};
  if (!ask(SO_LINGER, linger)) return fail_from_system();
  if (linger.l_onoff == 0) return give(Linger{});  // the system remembers the last time
  return give(Linger{1, static_cast<USHORT>(linger.l_linger)});
}

int connect(SOCKET socket, const SocketAddress* address, int length) {
  if (!started()) return SOCKET_ERROR;
  if (address == nullptr || length < static_cast<int>(sizeof *address)) return fail(WSAEFAULT);
  if (address->family != kInternetFamily) return fail(WSAEAFNOSUPPORT);
  if (address->port == 0) return fail(WSAEADDRNOTAVAIL);
  sockaddr_in system{};
  system.sin_family = AF_INET;
  system.sin_port = address->port;
  system.sin_addr.s_addr = address->address;
  const int descriptor = descriptor_of(socket);
  if (::connect(descriptor, reinterpret_cast<const sockaddr*>(&system), sizeof system) == 0) {
    return 0;
  }
  if (errno != EINTR) return fail_from_system();
  const int error = await_connection(descriptor);
  return error == 0 ? 0 : fail(socket_error_of(error));
}

int send(SOCKET socket, const void* bytes, int length, int flags) {
  if (!started()) return SOCKET_ERROR;
  if (length < 0 || (bytes == nullptr && length > 0)) return fail(WSAEFAULT);
  if (flags != 0) return fail(WSAEOPNOTSUPP);
  const int descriptor = descriptor_of(socket);
  const ssize_t sent = uninterrupted(
      [&] { return ::send(descriptor, bytes, static_cast<std::size_t>(length), MSG_NOSIGNAL); });
  if (sent < 0 && errno == EPIPE) return fail(error_of_broken_pipe(descriptor));
  return checked(static_cast<int>(sent));
}

int recv(SOCKET socket, void* bytes, int length, int flags) {
  if (!started()) return SOCKET_ERROR;
  if (length < 0 || (bytes == nullptr && length > 0)) return fail(WSAEFAULT);
  if (flags != 0 && flags != kPeek) return fail(WSAEOPNOTSUPP);
  return checked(static_cast<int>(uninterrupted([&] {
    return ::recv(descriptor_of(socket), bytes, static_cast<std::size_t>(length),
                  flags == kPeek ? MSG_PEEK : 0);
  })));
}

int select(SocketSet* read, SocketSet* write, SocketSet* except, const Timeout* timeout) {
  if (!started()) return SOCKET_ERROR;
  std::optional<Clock::time_point> end;
  if (timeout != nullptr) {
    if (timeout->seconds < 0 || timeout->microseconds < 0) return fail(WSAEINVAL);
    end = Clock::now() + std::chrono::seconds(timeout->seconds) +
          std::chrono::microseconds(timeout->microseconds);
  }
  Waited waited;
  waited.add(read, kRead);
  waited.add(write, kWrite);
  waited.add(except, kExcept);
  if (waited.empty()) return fail(WSAEINVAL);
  if (waited.invalid()) return fail(WSAENOTSOCK);
  if (!waited.wait(end)) return fail_from_system();
  if (waited.invalid()) return fail(WSAENOTSOCK);
  return waited.keep_ready(read, kRead) + waited.keep_ready(write, kWrite) +
         waited.keep_ready(except, kExcept);
}

}  // namespace tallowbrook::platform::net
