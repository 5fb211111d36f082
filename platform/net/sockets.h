// Sockets with the contract of Windows Sockets 2 over this system's own.
//
// Each call that fails answers SOCKET_ERROR (or INVALID_SOCKET, or null) and leaves its code where
// WSAGetLastError finds it, which is the thread's last error. Before the first WSAStartup of the
// process every call fails with WSANOTINITIALISED. What differs from this system's calls:
//
// - No call ever raises SIGPIPE, and none reports EINTR: an interrupted wait goes on with what is
//   left of its time, an interrupted connect is waited for, an interrupted close is closed.
// - A connection that was reset says WSAECONNRESET to every later send, not to the first alone.
// - `select` waits by poll, so that descriptors above 1,023 can be waited for.
// - IPv4 only. Addresses and ports in calls are in network byte order.
//
// The functions and types have their customary names; constants that system headers define as
// macros have names of their own.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/net/errors.h"

namespace tallowbrook::platform::net {

using SOCKET = std::uintptr_t;
inline constexpr SOCKET INVALID_SOCKET = ~SOCKET{0};
inline constexpr int SOCKET_ERROR = -1;

inline constexpr int kInternetFamily = 2;          // AF_INET
inline constexpr int kStreamSocket = 1;            // SOCK_STREAM
inline constexpr int kDatagramSocket = 2;          // SOCK_DGRAM
inline constexpr int kSocketLevel = 0xFFFF;        // SOL_SOCKET
inline constexpr int kTcpLevel = 6;                // IPPROTO_TCP
inline constexpr int kNoDelayOption = 1;           // TCP_NODELAY, an int, set only
inline constexpr int kLingerOption = 0x80;         // SO_LINGER, a Linger
inline constexpr int kErrorOption = 0x1007;        // SO_ERROR, an int; reading it clears it
inline constexpr int kPeek = 2;                    // MSG_PEEK
inline constexpr DWORD kNonBlocking = 0x8004667E;  // FIONBIO; 0 is blocking

struct WSADATA {
  WORD wVersion;      // low byte major, high byte minor
  WORD wHighVersion;  // 2.2
};

struct SocketAddress {
  SHORT family;
  USHORT port;
  ULONG address;
  BYTE zero[8];
};
static_assert(sizeof(SocketAddress) == 16);

struct Linger {
  USHORT on;
  USHORT seconds;
};
static_assert(sizeof(Linger) == 4);

struct Timeout {
  LONG seconds;
  LONG microseconds;
};

// Up to 64 sockets to wait for.
class SocketSet {
 public:
  void add(SOCKET socket) {
    if (count_ < sockets_.size()) sockets_[count_++] = socket;
  }
  void clear() { count_ = 0; }
  [[nodiscard]] std::size_t size() const { return count_; }
  [[nodiscard]] SOCKET operator[](std::size_t index) const { return sockets_[index]; }
  [[nodiscard]] bool contains(SOCKET socket) const {
    for (std::size_t i = 0; i < count_; ++i) {
      if (sockets_[i] == socket) return true;
    }
    return false;
  }

 private:
  std::size_t count_ = 0;
  std::array<SOCKET, 64> sockets_{};
};

[[nodiscard]] constexpr USHORT network_order(USHORT host) {
  return static_cast<USHORT>(host << 8 | host >> 8);
}

// Starts the layer for one more user; versions up to 2.2. Answers 0 or the code itself.
[[nodiscard]] int WSAStartup(WORD version, WSADATA* data);
int WSACleanup();
[[nodiscard]] int WSAGetLastError();
void WSASetLastError(int code);

[[nodiscard]] SOCKET socket(int family, int type, int protocol);
[[nodiscard]] int closesocket(SOCKET socket);
[[nodiscard]] int ioctlsocket(SOCKET socket, DWORD command, ULONG* argument);
[[nodiscard]] int setsockopt(SOCKET socket, int level, int option, const void* value, int length);
[[nodiscard]] int getsockopt(SOCKET socket, int level, int option, void* value, int* length);

// WSAEWOULDBLOCK for a connection that a non-blocking socket is still making: the socket becomes
// writable when it is made, and also when it failed, which kErrorOption tells.
[[nodiscard]] int connect(SOCKET socket, const SocketAddress* address, int length);

// The bytes that were taken: all of them on a blocking socket, unless a signal came between.
[[nodiscard]] int send(SOCKET socket, const void* bytes, int length, int flags);
// 0 when the peer has closed. `flags` is 0 or kPeek.
[[nodiscard]] int recv(SOCKET socket, void* bytes, int length, int flags);

// Leaves in each set (null: none) the sockets that are ready and answers their number: to receive
// without waiting, to send without waiting, with urgent data or an error. 0 when `timeout` (null:
// none) passed first. WSAEINVAL when all sets are empty, WSAENOTSOCK for a socket that is none.
[[nodiscard]] int select(SocketSet* read, SocketSet* write, SocketSet* except,
                         const Timeout* timeout);

struct HostEntry {
  std::string name;
  std::vector<ULONG> addresses;  // never empty; in network byte order
};

// The host's addresses, also of one that is written in numbers; the empty name is this machine's.
// Valid until the thread's next call. Null with WSAHOST_NOT_FOUND and its kin.
[[nodiscard]] const HostEntry* gethostbyname(const char* name);

// This machine's name with a closing zero; WSAEFAULT when `length` bytes do not hold it.
[[nodiscard]] int gethostname(char* name, int length);

}  // namespace tallowbrook::platform::net
