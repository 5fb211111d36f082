#include "smtp/winsock.h"

#include <algorithm>

namespace tallowbrook {

namespace net = platform::net;

namespace {

constexpr WORD kVersion = 0x0202;
constexpr DWORD kLongestLinger = 65535 * 1000U;

void check(int result) {
  if (result == net::SOCKET_ERROR) throw CWinSockException::last();
}

// select's own form of a time limit; null for none.
class Limit {
 public:
  explicit Limit(DWORD milliseconds)
      : limited_(milliseconds != CWinSock::kInfinite),
        timeout_{static_cast<LONG>(milliseconds / 1000),
                 static_cast<LONG>(milliseconds % 1000) * 1000} {}
  [[nodiscard]] const net::Timeout* get() const { return limited_ ? &timeout_ : nullptr; }

 private:
  bool limited_;
  net::Timeout timeout_;
};

}  // namespace

CWinSock::CWinSock() {
  net::WSADATA data{};
  if (const int failure = net::WSAStartup(kVersion, &data); failure != 0) {
    throw CWinSockException(failure);
  }
}

CWinSock::~CWinSock() {
  try {
    close(true);
  } catch (const CWinSockException&) {  // there is no one to tell
  }
  net::WSACleanup();
}

void CWinSock::create(bool stream) {
  close(true);
  socket_ =
      net::socket(net::kInternetFamily, stream ? net::kStreamSocket : net::kDatagramSocket, 0);
  if (!is_open()) throw CWinSockException::last();
  stream_ = stream;
  blocking_ = true;
}

void CWinSock::set_blocking(bool blocking) {
  ULONG argument = blocking ? 0 : 1;
  check(net::ioctlsocket(socket_, net::kNonBlocking, &argument));
  blocking_ = blocking;
}

void CWinSock::set_linger(bool on, DWORD milliseconds) {
  if (!stream_) return;
  const net::Linger linger{static_cast<USHORT>(on ? 1 : 0),
                           static_cast<USHORT>(std::min(milliseconds, kLongestLinger) / 1000)};
  check(net::setsockopt(socket_, net::kSocketLevel, net::kLingerOption, &linger, sizeof linger));
}

bool CWinSock::lingers() const {
  if (!stream_) return false;
  net::Linger linger{};
  int length = sizeof linger;
  check(net::getsockopt(socket_, net::kSocketLevel, net::kLingerOption, &linger, &length));
  return linger.on != 0 || linger.seconds != 0;
}

void CWinSock::set_no_delay() {
  const int on = 1;
  check(net::setsockopt(socket_, net::kTcpLevel, net::kNoDelayOption, &on, sizeof on));
}

bool CWinSock::connect(USHORT port, ULONG address, DWORD limit) {
  const net::SocketAddress target{net::kInternetFamily, port, address, {}};
  const bool wait = limit == kInfinite;
  if (wait != blocking_) set_blocking(wait);
  if (net::connect(socket_, &target, sizeof target) == net::SOCKET_ERROR &&
      net::WSAGetLastError() != WSAEWOULDBLOCK) {
    throw CWinSockException::last();
  }
  if (wait) return true;
  net::SocketSet made;
  made.add(socket_);
  const int ready = net::select(nullptr, &made, nullptr, Limit(limit).get());
  check(ready);
  if (ready == 0) return false;
  // A connection that failed makes the socket writable as well.
  int error = 0;
  int length = sizeof error;
  check(net::getsockopt(socket_, net::kSocketLevel, net::kErrorOption, &error, &length));
  if (error != 0) throw CWinSockException(error);
  return true;
}

bool CWinSock::wait_for(Direction direction, DWORD limit) const {
  net::SocketSet wanted;
  net::SocketSet except;
  wanted.add(socket_);
  except.add(socket_);
  const auto wait = [&](net::SocketSet* also) {
    const bool sends = direction == Direction::kSend;
    const int ready =
        net::select(sends ? nullptr : &wanted, sends ? &wanted : nullptr, also, Limit(limit).get());
    check(ready);
    return ready > 0;
  };
  if (!wait(&except)) return false;
  if (wanted.contains(socket_)) return true;
  // Urgent data alone: it is no byte that was sent or received, so the wait goes on without it.
  wanted.add(socket_);
  return wait(nullptr);
}

int CWinSock::send(const void* bytes, int length, DWORD limit) {
  if (!wait_for(Direction::kSend, limit)) return 0;
  const int sent = net::send(socket_, bytes, length, 0);
  check(sent);
  return sent;
}

int CWinSock::receive(void* bytes, int length, DWORD limit, int peek) {
  if (!wait_for(Direction::kReceive, limit)) return 0;
  const int received = net::recv(socket_, bytes, length, peek > 0 ? net::kPeek : 0);
  check(received);
  return received;
}

void CWinSock::close(bool graceful, DWORD limit) {
  if (!is_open()) return;
  if (graceful && limit != 0) {
    if (!blocking_) set_blocking(true);
    // Below a second the time would become 0, which throws unsent data away.
    if (!lingers()) set_linger(true, std::max<DWORD>(limit, 1000));
  } else if (graceful) {
    if (lingers()) set_linger(false, 0);
  } else if (!lingers()) {
    set_linger(true, 0);
  }
  check(net::closesocket(socket_));
  socket_ = net::INVALID_SOCKET;
}

}  // namespace tallowbrook
