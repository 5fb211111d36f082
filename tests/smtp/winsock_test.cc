#include "smtp/winsock.h"

#include <gtest/gtest.h>
#include <netinet/in.h>

#include <chrono>
#include <cstring>
#include <string>
#include <tuple>

#include "tests/support/mail_server.h"

namespace tallowbrook {
namespace {

using test::MailServer;
using test::Peer;

const ULONG kLoopback = htonl(INADDR_LOOPBACK);

bool connect(CWinSock& socket, int port, DWORD limit = CWinSock::kInfinite) {
  return socket.connect(htons(static_cast<USHORT>(port)), kLoopback, limit);
}

template <class Call>
int code_of(Call&& call) {
  try {
    call();
  } catch (const CWinSockException& error) {
    return error.code();
  }
  return 0;
}

TEST(WinSockException, HasATextForEachCode) {
  const struct {
    int code;
    const char* text;
  } cases[] = {
      {WSAECONNREFUSED,
       "No connection could be made because the target machine actively refused it."},
      {WSAECONNRESET, "An existing connection was forcibly closed by the remote host."},
      {10004, "A blocking operation was interrupted by a call to WSACancelBlockingCall."},
      {10102, "No more results can be returned by WSALookupServiceNext."},
      {10110, "No more results can be returned by WSALookupServiceNext."},
      {10112, "A database query failed because it was actively refused."},
      {11001, "No such host is known."},
      {10010, "Unknown socket error."},
      {12000, "Unknown socket error."},
      {0, "Unknown socket error."},
      {-1, "Unknown socket error."},
  };
  for (const auto& c : cases) EXPECT_STREQ(CWinSockException(c.code).what(), c.text) << c.code;
}

TEST(WinSock, ARefusedConnectionThrowsWithAndWithoutLimit) {
  const int port = test::dead_port();
  for (const DWORD limit : {CWinSock::kInfinite, DWORD{1500}}) {
    CWinSock socket;
    socket.create();
    EXPECT_EQ(code_of([&] { connect(socket, port, limit); }), WSAECONNREFUSED);
    EXPECT_TRUE(socket.is_open());
    EXPECT_EQ(socket.is_blocking(), limit == CWinSock::kInfinite);
  }
  CWinSock closed;
  EXPECT_EQ(code_of([&] { connect(closed, port); }), WSAENOTSOCK);
  EXPECT_EQ(code_of([&] { closed.send("x", 1); }), WSAENOTSOCK);
}

// A server whose queue of connections is full does not answer.
TEST(WinSock, AConnectionThatTakesTooLongIsNotMade) {
  const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = kLoopback;
  socklen_t length = sizeof address;
  auto* const generic = reinterpret_cast<sockaddr*>(&address);
  ASSERT_EQ(::bind(listener, generic, length), 0);
  ASSERT_EQ(::listen(listener, 0), 0);
  ASSERT_EQ(::getsockname(listener, generic, &length), 0);
  const int port = ntohs(address.sin_port);
  CWinSock first;
  first.create();
  EXPECT_TRUE(connect(first, port, 5000));
  CWinSock second;
  second.create();
  const auto start = std::chrono::steady_clock::now();
  const bool made = connect(second, port, 1200);
  const auto took = std::chrono::steady_clock::now() - start;
  EXPECT_FALSE(made);
  EXPECT_GE(took, std::chrono::milliseconds(1200));
  EXPECT_LT(took, std::chrono::milliseconds(4000));
  ::close(listener);
}

TEST(WinSock, ReceivesOncePeeksAndGivesUpAfterItsLimit) {
  MailServer server([](Peer& peer) {
    peer.say("abcdef");
    peer.ended();
  });
  CWinSock socket;
  socket.create();
  ASSERT_TRUE(connect(socket, server.port(), 5000));
  char bytes[8]{};
  EXPECT_EQ(socket.receive(bytes, 3, 5000, 1), 3);
  EXPECT_EQ(socket.receive(bytes, 4, 5000), 4);
  EXPECT_EQ(std::string(bytes, 4), "abcd");
  EXPECT_EQ(socket.receive(bytes, 8, CWinSock::kInfinite), 2);
  EXPECT_EQ(socket.receive(bytes, 8, 50), 0);
}

// A single byte out of band is neither received nor counted as one.
TEST(WinSock, UrgentDataIsNoReply) {
  MailServer server([](Peer& peer) {
    ::send(peer.descriptor(), "!", 1, MSG_OOB | MSG_NOSIGNAL);
    test::pause(50);
    peer.say("real");
    peer.ended();
  });
  CWinSock socket;
  socket.create();
  ASSERT_TRUE(connect(socket, server.port()));
  char bytes[8]{};
  EXPECT_EQ(socket.receive(bytes, 8), 4);
  EXPECT_EQ(std::string(bytes, 4), "real");
}

// Each socket that is created takes the descriptor of the one before, which is closed.
TEST(WinSock, LingerCountsWholeSeconds) {
  const int descriptor = ::dup(STDOUT_FILENO);  // the next one to be opened
  ::close(descriptor);
  CWinSock socket;
  for (const auto& [on, milliseconds, seconds] :
       {std::tuple{false, DWORD{0}, 0}, {true, DWORD{2500}, 2}, {true, DWORD{0}, 0}}) {
    socket.create();
    EXPECT_FALSE(socket.lingers());
    socket.set_linger(on, milliseconds);
    linger set{};
    socklen_t length = sizeof set;
    ASSERT_EQ(::getsockopt(descriptor, SOL_SOCKET, SO_LINGER, &set, &length), 0);
    EXPECT_EQ(set.l_onoff, on ? 1 : 0);
    EXPECT_EQ(set.l_linger, seconds);
    EXPECT_EQ(socket.lingers(), on);
    socket.set_linger(false, 0);
    EXPECT_FALSE(socket.lingers());
  }
  CWinSock datagrams;
  datagrams.create(false);
  datagrams.set_linger(true, 1000);
  EXPECT_FALSE(datagrams.lingers());
}

// How the peer sees the three ways of closing.
TEST(WinSock, ClosesGracefullyOrResets) {
  for (const auto& [graceful, limit] :
       {std::pair{true, DWORD{0}}, {true, DWORD{500}}, {true, DWORD{3000}}, {false, DWORD{0}}}) {
    std::atomic<int> last{1};
    std::atomic<int> error{0};
    std::atomic<std::size_t> total{0};
    MailServer server([&](Peer& peer) {
      char block[65536];
      ssize_t got = 0;
      test::pause(100);  // the client closes before all is read
      while ((got = ::recv(peer.descriptor(), block, sizeof block, 0)) > 0) {
        total += static_cast<std::size_t>(got);
      }
      last = static_cast<int>(got);
      error = errno;
    });
    const std::string text(200'000, 'x');
    {
      CWinSock socket;
      socket.create();
      ASSERT_TRUE(connect(socket, server.port()));
      server.await_connection();
      EXPECT_EQ(socket.send(text.data(), static_cast<int>(text.size())), 200'000);
      socket.close(graceful, limit);
      EXPECT_FALSE(socket.is_open());
    }
    server.stop();
    EXPECT_EQ(last, graceful ? 0 : -1) << limit;
    if (graceful) {
      EXPECT_EQ(total, text.size()) << limit;
    } else {
      EXPECT_EQ(error, ECONNRESET);
    }
  }
}

}  // namespace
}  // namespace tallowbrook
