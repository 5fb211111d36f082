// A small mail server that does what a test tells it, on a loopback port of its own.
//
//   MailServer server(polite());                   // takes every message
//   Steps steps = polite();
//   steps["RCPT"] = say("550 no such user\r\n");   // answers one command otherwise
//
// Each connection runs through the same steps on the server's thread, one after the other.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace tallowbrook::test {

// The server's end of a connection.
class Peer {
 public:
  explicit Peer(int descriptor) : descriptor_(descriptor) {}
  ~Peer() { close(); }
  Peer(const Peer&) = delete;
  Peer& operator=(const Peer&) = delete;

  void say(const std::string& text) {
    rejected_ = !text.empty() && (text[0] == '4' || text[0] == '5');
    ::send(descriptor_, text.data(), text.size(), MSG_NOSIGNAL);
  }
  // The next line without its end; false when the connection ended.
  bool line(std::string& text) {
    std::size_t end = 0;
    while ((end = pending_.find("\r\n")) == pending_.npos) {
      if (!receive()) return false;
    }
    text = pending_.substr(0, end);
    pending_.erase(0, end + 2);
    return true;
  }
  // The text of a message as it came, up to and with its closing dot line.
  bool text_of_message(std::string& text) {
    const std::string mark = "\r\n.\r\n";
    pending_.insert(0, "\r\n");  // the end of the line before
    for (std::size_t from = 0;;) {
      const std::size_t end = pending_.find(mark, from);
      if (end != pending_.npos) {
        text = pending_.substr(2, end + mark.size() - 2);
        pending_.erase(0, end + mark.size());
        return true;
      }
      from = pending_.size() - std::min(pending_.size(), mark.size());
      if (!receive()) return false;
    }
  }
  // True when the client closed or reset the connection; waits for either.
  bool ended() {
    while (receive()) {
    }
    return true;
  }
  void close() {
    if (descriptor_ >= 0) ::close(descriptor_);
    descriptor_ = -1;
  }
  void reset() {
    const linger abort{1, 0};
    ::setsockopt(descriptor_, SOL_SOCKET, SO_LINGER, &abort, sizeof abort);
    close();
  }
  // True when what was said last rejects a command.
  [[nodiscard]] bool rejected() const { return rejected_; }
  [[nodiscard]] int descriptor() const { return descriptor_; }

 private:
  bool receive() {
    char block[65536];
    const ssize_t got = ::recv(descriptor_, block, sizeof block, 0);
    if (got > 0) pending_.append(block, static_cast<std::size_t>(got));
    return got > 0;
  }

  int descriptor_;
  bool rejected_ = false;
  std::string pending_;
};

// What the server does at a step; false ends the connection.
using Action = std::function<bool(Peer&)>;
// By the command's first word; "" is the greeting, "." the end of a message.
using Steps = std::map<std::string, Action>;

inline Action say(const std::string& text) {
  return [text](Peer& peer) {
    peer.say(text);
    return true;
  };
}

inline void pause(int milliseconds) {
  std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

inline Steps polite() {
  return {{"", say("220 ready\r\n")},
          {"HELO", say("250 hello\r\n")},
          {"MAIL", say("250 sender\r\n")},
          {"RCPT", say("250 recipient\r\n")},
          {"DATA", say("354 go on\r\n")},
          {".", say("250 taken\r\n")},
          {"QUIT", [](Peer& peer) {
             peer.say("221 bye\r\n");
             return false;
           }}};
}

class MailServer {
 public:
  // A server whose receive buffer is `window` bytes, if that is not 0.
  explicit MailServer(Steps steps, int window = 0)
      : MailServer([this, steps = std::move(steps)](Peer& peer) { run(peer, steps); }, window) {}
  explicit MailServer(std::function<void(Peer&)> talk, int window = 0) : talk_(std::move(talk)) {
    listener_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (window > 0) ::setsockopt(listener_, SOL_SOCKET, SO_RCVBUF, &window, sizeof window);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    auto* const generic = reinterpret_cast<sockaddr*>(&address);
    if (::bind(listener_, generic, length) != 0 || ::listen(listener_, 16) != 0 ||
        ::getsockname(listener_, generic, &length) != 0) {
      throw std::runtime_error("no loopback port");
    }
    port_ = ntohs(address.sin_port);
    thread_ = std::thread([this] { serve(); });
  }
  ~MailServer() { stop(); }
  MailServer(const MailServer&) = delete;
  MailServer& operator=(const MailServer&) = delete;

  [[nodiscard]] int port() const { return port_; }

  void await_connection() const {
    while (connections == 0) pause(1);
  }
  // Waits for the present connection to end. What follows may be read afterwards.
  void stop() {
    if (!thread_.joinable()) return;
    ::shutdown(listener_, SHUT_RDWR);
    thread_.join();
    ::close(listener_);
  }
  std::vector<std::string> commands;
  std::vector<std::string> messages;
  std::atomic<int> connections{0};

 private:
  void serve() {
    for (;;) {
      const int descriptor = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
      if (descriptor < 0) return;
      const timeval patience{30, 0};  // so that no fault hangs the test
      ::setsockopt(descriptor, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
      ++connections;
      Peer peer(descriptor);
      talk_(peer);
    }
  }

  void run(Peer& peer, const Steps& steps) {
    if (!steps.at("")(peer)) return;
    std::string command;
    while (peer.line(command)) {
      commands.push_back(command);
      const std::string verb = command.substr(0, 4);
      const auto step = steps.find(verb);
      if (step == steps.end()) {
        peer.say("500 what?\r\n");
        continue;
      }
      if (!step->second(peer)) return;
      if (verb != "DATA" || peer.rejected()) continue;
      std::string text;
      if (!peer.text_of_message(text)) return;
      messages.push_back(std::move(text));
      if (!steps.at(".")(peer)) return;
    }
  }

  std::function<void(Peer&)> talk_;
  int listener_ = -1;
  int port_ = 0;
  std::thread thread_;
};

// A port on which nothing listens.
inline int dead_port() { return MailServer(polite()).port(); }

// The number of files and sockets that this process has open.
inline int open_descriptors() {
  int count = 0;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    static_cast<void>(entry);
    ++count;
  }
  return count;
}

// The text of a message with its closing dot line off and its doubled dots undone (RFC 5321 section
// 4.5.2).
inline std::string undone(const std::string& sent) {
  std::string text;
  text.reserve(sent.size());
  for (std::size_t at = 0; at < sent.size();) {
    const std::size_t end = std::min(sent.find("\r\n", at), sent.size() - 2) + 2;
    if (sent.compare(at, end - at, ".\r\n") == 0) break;
    at += sent[at] == '.' ? 1 : 0;
    text.append(sent, at, end - at);
    at = end;
  }
  return text;
}

}  // namespace tallowbrook::test
