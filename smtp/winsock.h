// CWinSock: one IPv4 socket, whose every failure is a thrown CWinSockException.
//
// Time limits are in milliseconds; kInfinite waits without limit. `send` and `receive` move bytes
// once each: a caller that needs more loops. One object is used by one thread at a time.
#pragma once

#include <limits>

#include "platform/net/sockets.h"
#include "smtp/winsock_error.h"

namespace tallowbrook {

class CWinSock {
 public:
  static constexpr DWORD kInfinite = std::numeric_limits<DWORD>::max();

  // Starts the socket layer for the life of this object.
  CWinSock();
  // Closes an open socket gracefully, without waiting.
  virtual ~CWinSock();
  CWinSock(const CWinSock&) = delete;
  CWinSock& operator=(const CWinSock&) = delete;

  // Opens a TCP (`stream`) or UDP socket, blocking; an open one is closed gracefully first.
  void create(bool stream = true);
  [[nodiscard]] bool is_open() const { return socket_ != platform::net::INVALID_SOCKET; }

  void set_blocking(bool blocking);
  [[nodiscard]] bool is_blocking() const { return blocking_; }

  // Stream sockets only. The time counts in whole seconds, the rest is dropped.
  void set_linger(bool on, DWORD milliseconds);
  // True when closing waits for unsent data, or throws it away: lingering with the time 0.
  [[nodiscard]] bool lingers() const;

  // Sends small pieces at once, also while earlier ones are not acknowledged.
  void set_no_delay();

  // Both in network byte order. False when the limit ran out. The socket is blocking afterwards
  // when there is no limit, else non-blocking.
  bool connect(USHORT port, ULONG address, DWORD limit = kInfinite);

  // Waits until the socket takes bytes, then sends once; the bytes sent, 0 when the limit ran out.
  int send(const void* bytes, int length, DWORD limit = kInfinite);
  // Waits for bytes, then receives once; 0 when the peer closed or the limit ran out. With `peek`
  // above 0 the bytes stay to be received again.
  int receive(void* bytes, int length, DWORD limit = kInfinite, int peek = 0);

  // Graceful with a limit: waits that long for unsent data to go out. Graceful with 0: unsent data
  // goes out in the background. Not graceful: the connection is reset. Does nothing when closed.
  void close(bool graceful, DWORD limit = 0);

 private:
  enum class Direction { kSend, kReceive };
  bool wait_for(Direction direction, DWORD limit) const;

  platform::net::SOCKET socket_ = platform::net::INVALID_SOCKET;
  bool blocking_ = true;
  bool stream_ = true;
};

// The client's side of a connection.
class CClientWinSock : public CWinSock {};

}  // namespace tallowbrook
