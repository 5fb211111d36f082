#include "smtp/session.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <limits>
#include <new>
#include <utility>

#include "smtp/trace.h"

namespace tallowbrook {

namespace net = platform::net;

namespace {

struct Expectation {
  int code;
  const char* failure;
};

// In the order of `Expected`.
constexpr Expectation kExpectations[] = {
    {250, "SMTP server error"},
    {220, "SMTP server not available"},
    {354, "SMTP server not ready for data"},
    {221, "SMTP server didn't terminate session"},
};

constexpr char kNoMemory[] = "Not enough memory";
constexpr char kUnknownHost[] = "Hostname could not be resolved.";
constexpr char kNoGreeting[] = "Server didn't respond.";
constexpr char kNotConnected[] = "Must be connected";
constexpr char kShutText[] = "Data refused, server is not ready for it";
constexpr char kNoText[] = "Server has not taken the envelope";
constexpr char kAmbiguousText[] = "Line end around a lone dot is not CR LF";
constexpr char kUnfinishedText[] = "Message data was not finished";

constexpr std::size_t kReplySize = 1024;
constexpr std::size_t kHostNameSize = 80;
constexpr std::size_t kLongestError = 256;  // all texts are shorter

// How long the rest of a reply that broke off is waited for, and how much may come unasked.
constexpr std::chrono::milliseconds kRestTime{1000};
constexpr std::size_t kMostLeftovers = 1U << 20;

std::string address_text(ULONG address, LONG port) {
  std::array<unsigned char, 4> bytes{};
  std::copy_n(reinterpret_cast<const unsigned char*>(&address), bytes.size(), bytes.begin());
  std::string text;
  for (const unsigned char byte : bytes) {
    if (!text.empty()) text += '.';
    text += std::to_string(byte);
  }
  return text + ":" + std::to_string(port);
}

}  // namespace

CSMTP::CSMTP(std::string server, LONG port) : server_(std::move(server)), port_(port) {
  last_error_.reserve(kLongestError);
  last_error_ = "OK";
}

CSMTP::~CSMTP() { disconnect_session(); }

void CSMTP::set_server(std::string server, LONG port) {
  server_ = std::move(server);
  port_ = port;
}

bool CSMTP::fail(std::string_view text) {
  last_error_ = text.substr(0, kLongestError);
  trace('!', last_error_);
  return false;
}

// Runs a step; what it throws becomes the error text.
template <class Step>
bool CSMTP::attempt(Step&& step) {
  try {
    return step();
  } catch (const CWinSockException& error) {
    return fail(error.what());
  } catch (const std::bad_alloc&) {
    return fail(kNoMemory);
  }
}

// Runs a transfer for the host; what it throws becomes the error text and goes on to the host.
template <class Transfer>
int CSMTP::noting(Transfer&& transfer) {
  try {
    return transfer();
  } catch (const CWinSockException& error) {
    fail(error.what());
    throw;
  }
}

// ---- connection -----------------------------------------------------------------------------

bool CSMTP::connect_session() {
  if (connected_) return true;
  connected_ = attempt([this] { return open(); });
  if (!connected_) end_connection(true);
  return connected_;
}

bool CSMTP::open() {
  reply_.reset(new (std::nothrow) char[kReplySize]);
  if (!reply_) return fail(kNoMemory);
  lines_ = {};
  data_ = Data::kOpen;
  create(true);
  set_no_delay();  // the end of a text must not wait until its last block is acknowledged
  const bool is_name = server_.find('\0') == std::string::npos;
  const net::HostEntry* const host = is_name ? net::gethostbyname(server_.c_str()) : nullptr;
  if (host == nullptr) return fail(kUnknownHost);
  if (port_ < 0 || port_ > std::numeric_limits<USHORT>::max()) {
    throw CWinSockException(WSAEADDRNOTAVAIL);
  }
  const ULONG address = host->addresses.front();
  connect(net::network_order(static_cast<USHORT>(port_)), address);
  trace('*', "connected to " + address_text(address, port_));
  if (!read_reply(Expected::kGreeting)) return fail(kNoGreeting);
  char name[kHostNameSize];
  if (net::gethostname(name, sizeof name) == net::SOCKET_ERROR) throw CWinSockException::last();
  return command(std::string("HELO ") + name, Expected::kDone);
}

bool CSMTP::disconnect_session() {
  if (!connected_) return true;
  if (awaits_text()) {
    // QUIT might be one more line of the text.
    end_connection(false);
    return fail(kUnfinishedText);
  }
  const bool done = attempt([this] { return command("QUIT", Expected::kGoodbye); });
  return end_connection(true) && done;
}

bool CSMTP::end_connection(bool graceful) {
  connected_ = false;
  reply_.reset();
  return attempt([&] {
    close(graceful);
    return true;
  });
}

// ---- commands and replies -------------------------------------------------------------------

void CSMTP::send_all(std::string_view bytes) {
  while (!bytes.empty()) {
    const int length =
        static_cast<int>(std::min<std::size_t>(bytes.size(), std::numeric_limits<int>::max()));
    bytes.remove_prefix(static_cast<std::size_t>(send(bytes.data(), length)));
  }
}

bool CSMTP::command(std::string_view text, Expected expected) {
  drop_leftovers();
  trace('>', text);
  send_all(std::string(text) + "\r\n");
  return read_reply(expected);
}

// A failing socket is a failed reply.
bool CSMTP::read_reply(Expected expected) {
  return attempt([&] {
    const int length = receive(reply_.get(), kReplySize);
    const std::string_view reply(reply_.get(), static_cast<std::size_t>(length));
    lines_.take(reply);
    if (reply.empty()) {
      trace('*', "the server closed the connection");
    } else {
      trace('<', reply);
    }
    const Expectation& row = kExpectations[static_cast<int>(expected)];
    code_ = reply_code(reply);
    return code_ == row.code || fail(std::to_string(code_) + ":" + row.failure);
  });
}

// Drops what has arrived, and waits a little for the rest of a reply that is not whole.
void CSMTP::drop_leftovers() {
  using Clock = std::chrono::steady_clock;
  const auto end = Clock::now() + kRestTime;
  std::size_t dropped = 0;
  while (dropped < kMostLeftovers) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now());
    const bool waits = !lines_.complete() && left.count() > 0;
    char block[kReplySize];
    const int length = receive(block, sizeof block, waits ? static_cast<DWORD>(left.count()) : 0);
    if (length == 0) break;
    const std::string_view piece(block, static_cast<std::size_t>(length));
    lines_.take(piece);
    trace('?', piece);
    dropped += piece.size();
  }
  lines_ = {};
}

int CSMTP::read(char* bytes, int length) {
  return noting([&] { return receive(bytes, length); });
}

// ---- a message ------------------------------------------------------------------------------

bool CSMTP::awaits_text() const {
  return data_ == Data::kUnknown || (data_ == Data::kText && !text_ended_);
}

bool CSMTP::prepare(IDispatch* message) {
  return attempt([&] {
    data_ = awaits_text() ? Data::kUnknown : Data::kShut;
    Envelope envelope;
    if (const char* const failure = read_envelope(message, envelope)) return fail(failure);
    if (!connected_) return fail(kNotConnected);
    if (!give_envelope(envelope)) return false;
    data_ = Data::kText;
    end_ = {};
    text_size_ = 0;
    text_ended_ = false;
    return true;
  });
}

bool CSMTP::give_envelope(const Envelope& envelope) {
  if (!command("MAIL From: " + envelope.sender, Expected::kDone)) return false;
  for (const std::string& recipient : envelope.recipients) {
    command("RCPT TO: " + recipient, Expected::kDone);  // a rejection is told by the error text
  }
  if (command("DATA", Expected::kReadyForData)) return true;
  const bool rejected = code_ >= 400 && code_ < 600;
  data_ = rejected ? Data::kShut : Data::kUnknown;
  return false;
}

int CSMTP::write(std::string_view bytes) {
  if (data_ == Data::kText) return noting([&] { return write_text(bytes); });
  if (data_ == Data::kOpen) {
    return noting([&] { return send(bytes.data(), static_cast<int>(bytes.size())); });
  }
  fail(kShutText);
  return -1;
}

int CSMTP::write_text(std::string_view bytes) {
  if (text_ended_) {
    fail(kShutText);
    return -1;
  }
  if (text_size_ == 0) drop_leftovers();
  DataEnd end = end_;
  auto [verdict, length] = end.take(bytes);
  if (verdict == DataEnd::Verdict::kAmbiguous) {
    fail(kAmbiguousText);
    end_connection(false);
    return -1;
  }
  const int sent = send(bytes.data(), static_cast<int>(length));
  text_size_ += static_cast<std::uint64_t>(sent);
  if (static_cast<std::size_t>(sent) == length) {
    end_ = end;
    text_ended_ = verdict == DataEnd::Verdict::kEnded;
  } else {
    end_.take(bytes.substr(0, static_cast<std::size_t>(sent)));
  }
  return sent;
}

void CSMTP::finish_text() {
  if (text_ended_) return;
  if (text_size_ == 0) drop_leftovers();
  const std::string_view missing = end_.missing();
  text_ended_ = true;
  send_all(missing);
  text_size_ += missing.size();
}

bool CSMTP::result() {
  if (!connected_) return fail(kNotConnected);
  if (data_ == Data::kShut || data_ == Data::kUnknown) return fail(kNoText);
  const bool text = std::exchange(data_, Data::kOpen) == Data::kText;
  return attempt([&] {
    if (text) {
      finish_text();
      trace('>', "(" + std::to_string(text_size_) + " bytes of message)");
    }
    return read_reply(Expected::kDone);
  });
}

}  // namespace tallowbrook
