// How fast the component sends, beside plain socket calls that carry the same bytes in the same
// run. The server is a thread of this program that answers every command and discards every text.
//
//   tallowbrook-send-bench
#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "bench/inputs.h"
#include "platform/automation/late_bound.h"
#include "platform/com/activation.h"
#include "tallowbrook/tallowbrook.h"
#include "tests/support/host_stream.h"

namespace tallowbrook::bench {
namespace {

using platform::Bstr;
using platform::ComPtr;
using test::HostStream;

double seconds(clockid_t clock) {
  timespec now{};
  clock_gettime(clock, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

struct Cost {
  double wall = 1e9;
  double thread = 1e9;  // processor time of the calling thread, the system's work for it included

  // What the machine does besides only ever adds.
  void keep_best(const Cost& other) {
    wall = std::min(wall, other.wall);
    thread = std::min(thread, other.thread);
  }
};

Cost cost_of(const std::function<void()>& job) {
  const Cost start{seconds(CLOCK_MONOTONIC), seconds(CLOCK_THREAD_CPUTIME_ID)};
  job();
  return {seconds(CLOCK_MONOTONIC) - start.wall, seconds(CLOCK_THREAD_CPUTIME_ID) - start.thread};
}

void require(bool good, const char* what) {
  if (!good) throw std::runtime_error(what);
}

// ---- the server -----------------------------------------------------------------------------

class Sink {
 public:
  Sink() {
    listener_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    socklen_t length = sizeof address_;
    address_.sin_family = AF_INET;
    address_.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    require(::bind(listener_, generic(), length) == 0 && ::listen(listener_, 64) == 0 &&
                ::getsockname(listener_, generic(), &length) == 0,
            "no loopback port");
    thread_ = std::thread([this] { serve(); });
  }
  ~Sink() {
    ::shutdown(listener_, SHUT_RDWR);
    thread_.join();
    ::close(listener_);
  }
  Sink(const Sink&) = delete;
  Sink& operator=(const Sink&) = delete;

  [[nodiscard]] int port() const { return ntohs(address_.sin_port); }
  [[nodiscard]] const sockaddr* address() const {
    return reinterpret_cast<const sockaddr*>(&address_);
  }

 private:
  sockaddr* generic() { return reinterpret_cast<sockaddr*>(&address_); }
  static void say(int peer, std::string_view text) {
    (void)!::send(peer, text.data(), text.size(), MSG_NOSIGNAL);
  }
  void serve() {
    for (;;) {
      const int peer = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
      if (peer < 0) return;
      const int on = 1;
      ::setsockopt(peer, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
      say(peer, "220 ready\r\n");
      while (answer(peer)) {
      }
      ::close(peer);
    }
  }
  // One command, which comes in one piece.
  bool answer(int peer) {
    const ssize_t got = ::recv(peer, block_.data(), block_.size(), 0);
    if (got <= 0) return false;
    const std::string_view command(block_.data(), static_cast<std::size_t>(got));
    const bool quits = command.substr(0, 4) == "QUIT";
    const bool data = command.substr(0, 4) == "DATA";
    say(peer, quits ? "221 bye\r\n" : data ? "354 go on\r\n" : "250 fine\r\n");
    if (data && discard(peer)) say(peer, "250 taken\r\n");
    return !quits;
  }
  bool discard(int peer) {
    constexpr std::string_view kEnd = "\r\n.\r\n";
    std::string tail = "\r\n";
    for (;;) {
      const ssize_t got = ::recv(peer, block_.data(), block_.size(), 0);
      if (got <= 0) return false;
      const auto length = static_cast<std::size_t>(got);
      const std::size_t last = std::min(length, kEnd.size());
      tail.append(block_.data() + length - last, last);
      tail.erase(0, tail.size() - std::min(tail.size(), kEnd.size()));
      if (tail == kEnd) return true;
    }
  }

  sockaddr_in address_{};
  int listener_ = -1;
  std::vector<char> block_ = std::vector<char>(1U << 18);
  std::thread thread_;
};

// ---- plain socket calls ---------------------------------------------------------------------

class PlainSession {
 public:
  explicit PlainSession(const Sink& sink)
      : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    const int on = 1;
    ::setsockopt(socket_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    require(::connect(socket_, sink.address(), sizeof(sockaddr_in)) == 0, "no connection");
    reply();
  }
  ~PlainSession() { ::close(socket_); }
  PlainSession(const PlainSession&) = delete;
  PlainSession& operator=(const PlainSession&) = delete;

  void say(std::string_view text) {
    while (!text.empty()) {
      const ssize_t sent =
          ::send(socket_, text.data(), std::min<std::size_t>(text.size(), 65536), MSG_NOSIGNAL);
      require(sent > 0, "nothing was sent");
      text.remove_prefix(static_cast<std::size_t>(sent));
    }
  }
  void reply() {
    char block[1024];
    require(::recv(socket_, block, sizeof block, 0) > 0, "no reply");
  }
  void command(std::string_view text) {
    say(text);
    reply();
  }

 private:
  int socket_;
};

void send_plainly(const Sink& sink, std::string_view text) {
  PlainSession session(sink);
  session.command("HELO bench\r\n");
  session.command("MAIL From: <a@example.org>\r\n");
  session.command("RCPT TO: <b@example.net>\r\n");
  session.command("DATA\r\n");
  session.command(text);
  session.command("QUIT\r\n");
}

// ---- the component --------------------------------------------------------------------------

template <class T>
ComPtr<T> create(const CLSID& clsid) {
  ComPtr<T> object;
  require(
      SUCCEEDED(CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, T::kIid, object.out_void())),
      "an object is not created");
  return object;
}

ComPtr<IMimeDecoder> load(std::string text) {
  HostStream stream(std::move(text));
  auto message = create<IMimeDecoder>(CLSID_MimeDecoder);
  require(SUCCEEDED(message.query<IPersistStream>()->Load(&stream)), "a message does not load");
  return message;
}

std::string saved(const ComPtr<IMimeDecoder>& message) {
  HostStream stream;
  require(SUCCEEDED(message.query<IPersistStream>()->Save(&stream, FALSE)), "nothing is saved");
  return stream.written();
}

void send(const Sink& sink, const ComPtr<IMimeDecoder>& message) {
  const auto socket = create<IClientSocket>(CLSID_ClientSocket);
  VARIANT_BOOL done = VARIANT_FALSE;
  socket->ConnectSMTP(Bstr(u"127.0.0.1").get(), sink.port(), &done);
  require(done != VARIANT_FALSE, "the component does not connect");
  socket->PrepareSMTP(message.get(), &done);
  require(done != VARIANT_FALSE, "the envelope is refused");
  message->Save(socket.get(), &done);
  require(done != VARIANT_FALSE, "the message is not saved");
  socket->GetResultSMTP(&done);
  require(done != VARIANT_FALSE, "the message is not taken");
  socket->DisconnectSMTP(&done);
  require(done != VARIANT_FALSE, "no goodbye");
}

// -------------------------------------------------------------------------------------------------

constexpr char kFields[] = "From: a@example.org\r\nTo: b@example.net\r\n";

void large(const Sink& sink) {
  const auto message = load("To: b@example.net\r\n" + text_body(50'000'000));
  const std::string text = saved(message);
  Cost plain;
  Cost ours;
  for (int round = 0; round < 25; ++round) {
    plain.keep_best(cost_of([&] { send_plainly(sink, text); }));
    ours.keep_best(cost_of([&] { send(sink, message); }));
  }
  const double size = static_cast<double>(text.size());
  const auto speed = [size](double time) { return size / time / 1e6; };
  std::printf(
      "50 MB message:    plain send loop %6.0f MB/s (%.1f ms processor)   component %6.0f MB/s "
      "(%.1f ms processor)   %.0f %%\n",
      speed(plain.wall), plain.thread * 1e3, speed(ours.wall), ours.thread * 1e3,
      100 * plain.wall / ours.wall);
}

void small(const Sink& sink) {
  constexpr int kMessages = 1000;
  const auto message =
      load(std::string(kFields) + "Subject: small\r\n\r\n" + std::string(1000, 'x'));
  const std::string text = saved(message);
  Cost plain;
  Cost ours;
  for (int round = 0; round < 5; ++round) {
    plain.keep_best(cost_of([&] {
      for (int i = 0; i < kMessages; ++i) send_plainly(sink, text);
    }));
    ours.keep_best(cost_of([&] {
      for (int i = 0; i < kMessages; ++i) send(sink, message);
    }));
  }
  const auto micros = [](double time) { return time / kMessages * 1e6; };
  std::printf(
      "1,000 messages:   plain calls %6.1f us processor (%.1f us wall)   component %6.1f us "
      "processor (%.1f us wall), a message with its connection\n",
      micros(plain.thread), micros(plain.wall), micros(ours.thread), micros(ours.wall));
}

void run() {
  HMODULE module = nullptr;
  require(SUCCEEDED(CoLoadComponent(TALLOWBROOK_LIBRARY, &module)), "the component is not loaded");
  const Sink sink;
  large(sink);
  small(sink);
}

}  // namespace
}  // namespace tallowbrook::bench

int main() {
  try {
    tallowbrook::bench::run();
    return 0;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "tallowbrook-send-bench: %s\n", failure.what());
    return 1;
  }
}
