// What the socket layer adds to the system's own sockets; tests/smtp/winsock_test.cc tries the rest
// through its user.
#include "platform/net/sockets.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/resource.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <thread>

#include "tests/support/mail_server.h"

namespace tallowbrook::platform::net {
namespace {

using test::MailServer;
using test::Peer;

const ULONG kLoopback = htonl(INADDR_LOOPBACK);

// What a call that failed left as its error; 0 for one that did not fail.
int error_of(int result) { return result == SOCKET_ERROR ? WSAGetLastError() : 0; }

class Net : public ::testing::Test {
 protected:
  Net() {
    WSADATA data{};
    EXPECT_EQ(WSAStartup(0x0202, &data), 0);
  }
  ~Net() override { WSACleanup(); }

  static SOCKET connected(int port) {
    const SOCKET made = net::socket(kInternetFamily, kStreamSocket, 0);
    EXPECT_EQ(connect_to(made, port), 0);
    return made;
  }
  static int connect_to(SOCKET made, int port) {
    const SocketAddress address{
        kInternetFamily, network_order(static_cast<USHORT>(port)), kLoopback, {}};
    return net::connect(made, &address, sizeof address);
  }
  // Waits for one socket; the result of select.
  static int wait_for(SOCKET made, SocketSet& ready, int milliseconds) {
    const Timeout timeout{0, milliseconds * 1000};
    ready.clear();
    ready.add(made);
    return net::select(&ready, nullptr, nullptr, &timeout);
  }
};

TEST(NetStart, TellsVersionsAndCountsItsUsers) {
  WSADATA data{};
  EXPECT_EQ(WSAStartup(0x0202, nullptr), WSAEFAULT);
  EXPECT_EQ(WSAStartup(0x0000, &data), WSAVERNOTSUPPORTED);
  EXPECT_EQ(net::socket(kInternetFamily, kStreamSocket, 0), INVALID_SOCKET);
  EXPECT_EQ(WSAGetLastError(), WSANOTINITIALISED);
  EXPECT_EQ(WSACleanup(), SOCKET_ERROR);

  EXPECT_EQ(WSAStartup(0x0303, &data), 0);
  EXPECT_EQ(data.wVersion, 0x0202);
  EXPECT_EQ(WSAStartup(0x0101, &data), 0);
  EXPECT_EQ(data.wVersion, 0x0101);
  EXPECT_EQ(WSACleanup(), 0);
  const SOCKET made = net::socket(kInternetFamily, kStreamSocket, 0);
  EXPECT_NE(made, INVALID_SOCKET);
  EXPECT_EQ(closesocket(made), 0);
  EXPECT_EQ(WSACleanup(), 0);
  EXPECT_EQ(gethostbyname("127.0.0.1"), nullptr);
}

// Of several system errors with one socket error the first comes back.
TEST(NetErrors, StandForEachOther) {
  const int cases[][3] = {{0, 0, 0},
                          {EBADF, WSAENOTSOCK, ENOTSOCK},
                          {EINPROGRESS, WSAEWOULDBLOCK, EAGAIN},
                          {EPIPE, WSAESHUTDOWN, ESHUTDOWN},
                          {ENOENT, WSASYSCALLFAILURE, EIO}};
  for (const auto& [system, socket, back] : cases) {
    EXPECT_EQ(socket_error_of(system), socket) << system;
    EXPECT_EQ(system_error_of(socket), back) << socket;
  }
}

TEST_F(Net, WhatIsNoSocketIsRefusedByEveryCall) {
  char byte = 0;
  ULONG on = 1;
  Linger linger{};
  int length = sizeof linger;
  const auto refused = [](int result) { return error_of(result) == WSAENOTSOCK; };
  SocketSet set;
  const int file = ::open("/dev/null", O_RDWR | O_CLOEXEC);
  for (const SOCKET bad : {INVALID_SOCKET, static_cast<SOCKET>(file), SOCKET{1} << 40}) {
    EXPECT_TRUE(refused(closesocket(bad)));
    EXPECT_TRUE(refused(ioctlsocket(bad, kNonBlocking, &on)));
    EXPECT_TRUE(refused(setsockopt(bad, kSocketLevel, kLingerOption, &linger, sizeof linger)));
    EXPECT_TRUE(refused(getsockopt(bad, kSocketLevel, kLingerOption, &linger, &length)));
    EXPECT_TRUE(refused(connect_to(bad, 25)));
    EXPECT_TRUE(refused(net::send(bad, &byte, 1, 0)));
    EXPECT_TRUE(refused(net::recv(bad, &byte, 1, 0)));
  }
  EXPECT_EQ(::close(file), 0);
  set.add(INVALID_SOCKET);
  EXPECT_TRUE(refused(net::select(&set, nullptr, nullptr, nullptr)));
  SocketSet none;
  EXPECT_EQ(error_of(net::select(&none, nullptr, nullptr, nullptr)), WSAEINVAL);
}

// Waits and receives are gone on with when a signal comes between.
TEST_F(Net, SignalsInterruptNoCall) {
  struct sigaction nothing {};
  struct sigaction before {};
  nothing.sa_handler = [](int) {};
  sigaction(SIGUSR1, &nothing, &before);
  MailServer server([](Peer& peer) {
    test::pause(200);
    peer.say("late");
    peer.ended();
  });
  const SOCKET made = connected(server.port());
  const pthread_t self = pthread_self();
  std::thread disturber([self] {
    for (int i = 0; i < 10; ++i) {
      test::pause(10);
      pthread_kill(self, SIGUSR1);
    }
  });
  SocketSet set;
  EXPECT_EQ(wait_for(made, set, 60), 0);
  char bytes[8];
  EXPECT_EQ(net::recv(made, bytes, sizeof bytes, 0), 4);
  disturber.join();
  EXPECT_EQ(closesocket(made), 0);
  sigaction(SIGUSR1, &before, nullptr);
}

TEST_F(Net, DescriptorsBeyondAThousandWork) {
  rlimit before{};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
  const rlimit more{2000, before.rlim_max};
  if (before.rlim_max < 2000 || setrlimit(RLIMIT_NOFILE, &more) != 0) {
    GTEST_SKIP() << "skipped: no 2,000 descriptors may be open here";
  }
  MailServer server([](Peer& peer) { peer.say("hello"), peer.ended(); });
  const SOCKET low = net::socket(kInternetFamily, kStreamSocket, 0);
  const int high = fcntl(static_cast<int>(low), F_DUPFD_CLOEXEC, 1500);
  EXPECT_EQ(closesocket(low), 0);
  ASSERT_GE(high, 1500);
  const auto made = static_cast<SOCKET>(high);
  EXPECT_EQ(connect_to(made, server.port()), 0);
  SocketSet set;
  EXPECT_EQ(wait_for(made, set, 5000), 1);
  EXPECT_TRUE(set.contains(made));
  EXPECT_EQ(closesocket(made), 0);
  setrlimit(RLIMIT_NOFILE, &before);
}

// Neither the first send behind a reset nor a later one raises SIGPIPE, which would end this test.
TEST_F(Net, BrokenConnectionsTellWhatBrokeThem) {
  MailServer server([](Peer& peer) { peer.reset(); });
  const SOCKET made = connected(server.port());
  SocketSet set;
  EXPECT_EQ(wait_for(made, set, 5000), 1);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(error_of(net::send(made, "x", 1, 0)), WSAECONNRESET);
  }
  EXPECT_EQ(closesocket(made), 0);
  const SOCKET fresh = net::socket(kInternetFamily, kStreamSocket, 0);
  EXPECT_EQ(error_of(net::send(fresh, "x", 1, 0)), WSAENOTCONN);
  EXPECT_EQ(closesocket(fresh), 0);
}

TEST_F(Net, HostsAreFoundByNameAndByNumber) {
  for (const char* name : {"127.0.0.1", "localhost"}) {
    const HostEntry* const host = gethostbyname(name);
    ASSERT_NE(host, nullptr) << name;
    EXPECT_EQ(host->addresses.front(), kLoopback) << name;
  }
  EXPECT_EQ(gethostbyname("no such host"), nullptr);
  EXPECT_GE(WSAGetLastError(), WSAHOST_NOT_FOUND);
  char name[256];
  EXPECT_EQ(net::gethostname(name, sizeof name), 0);
  EXPECT_NE(name[0], '\0');
  EXPECT_EQ(error_of(net::gethostname(name, 1)), WSAEFAULT);
}

}  // namespace
}  // namespace tallowbrook::platform::net
