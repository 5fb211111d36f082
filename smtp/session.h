// CSMTP: a session with a mail server (RFC 821): HELO, MAIL, RCPT, DATA, QUIT and no extensions.
//
// A session is disconnected, or connected after the greeting and HELO. A message goes out in three
// steps: `prepare` gives the envelope to the server, `write` sends the text, `result` asks for the
// verdict. Every step that fails answers false and leaves its reason in `last_error`. Network calls
// wait without limit.
//
// One receive is one reply. What the server sends beyond it is received and dropped before the next
// command goes out, so that a reply in two packets is not taken for the answer to a later command.
//
// The text of a message can add no command to the session:
// - Behind the end of the text nothing more is taken until its result was asked for; where the end
//   is ambiguous the connection is broken off.
// - `result` supplies the end that the text lacks. A session that is disconnected in the middle of
//   a text breaks off without it, so that the server drops the part.
// - After a `prepare` that failed nothing is taken, and no result is waited for, until another one
//   has done it.
//
// The session tells what it does on the debug output (tallowbrook/client_socket.h).
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "smtp/data_end.h"
#include "smtp/envelope.h"
#include "smtp/reply.h"
#include "smtp/winsock.h"

namespace tallowbrook {

class CSMTP final : public CClientWinSock {
 public:
  explicit CSMTP(std::string server = {}, LONG port = 25);
  // Disconnects.
  ~CSMTP() override;

  void set_server(std::string server, LONG port);
  [[nodiscard]] bool connected() const { return connected_; }
  // "OK" until the first failure, then the text of the last one.
  [[nodiscard]] const std::string& last_error() const { return last_error_; }

  // Connects to the first address of the server and says HELO. True at once when connected.
  bool connect_session();
  // Says QUIT and closes, whatever the server answers; true when it answered as it should.
  bool disconnect_session();

  // Gives the envelope of `message` to the server (smtp/envelope.h); true when the server waits for
  // the text. A rejected recipient does not stop the rest.
  bool prepare(IDispatch* message);
  // Sends once; the bytes sent, at most those up to the end of the text. -1 when nothing may be
  // sent now. Throws CWinSockException.
  int write(std::string_view bytes);
  // Ends the text when it is not ended; true when the server has taken it. Outside of a transaction
  // it only waits for a reply.
  bool result();
  // Receives once; the bytes received, 0 when the server has closed. Throws CWinSockException.
  int read(char* bytes, int length);

 private:
  enum class Expected { kDone, kGreeting, kReadyForData, kGoodbye };
  // Whether bytes are taken: outside of a transaction, after a failure (kUnknown: the server may
  // wait for a text all the same), or as the text of a message.
  enum class Data { kOpen, kShut, kUnknown, kText };

  bool fail(std::string_view text);
  template <class Step>
  bool attempt(Step&& step);
  template <class Transfer>
  int noting(Transfer&& transfer);
  bool open();
  bool give_envelope(const Envelope& envelope);
  // True when the server waits for a text, or may do so.
  [[nodiscard]] bool awaits_text() const;
  bool command(std::string_view text, Expected expected);
  bool read_reply(Expected expected);
  void drop_leftovers();
  void send_all(std::string_view bytes);
  int write_text(std::string_view bytes);
  void finish_text();
  // False when closing failed.
  bool end_connection(bool graceful);

  std::string last_error_;
  std::string server_;
  LONG port_;
  bool connected_ = false;
  std::unique_ptr<char[]> reply_;  // while a connection is open
  int code_ = 0;                   // of the last reply
  ReplyLines lines_;
  Data data_ = Data::kOpen;
  DataEnd end_;
  std::uint64_t text_size_ = 0;  // bytes of text sent
  bool text_ended_ = false;
};

}  // namespace tallowbrook
