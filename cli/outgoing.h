// The text of a message on its way to a mail server.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "cli/file_stream.h"
#include "platform/com/unknown.h"

namespace tallowbrook::cli {

// True when a header line begins a field of this name, which is in lower case.
[[nodiscard]] bool is_field(std::string_view line, std::string_view name);

// A message that is saved into it, line by line. What ends a line is what does so for the
// component: an LF, or a CR that no LF follows; CRs before such an LF stay.
class MessageLines : public StreamBase {
 public:
  HRESULT Write(const void* pv, ULONG cb, ULONG* written) final;
  // Ends the text.
  void finish();

 protected:
  // The next piece of the present line.
  virtual void piece(std::string_view text) = 0;
  // What stands on the present line is all of it.
  virtual void end_line() = 0;
  // So many bytes were taken; false when no more are.
  virtual bool goes_on(std::size_t) { return true; }

 private:
  void end_crs(bool before_lf);

  std::size_t crs_ = 0;  // of which it is not known yet what they are
  bool after_lf_ = false;
};

// Looks through the message: its size, its header, and its lines ".".
class TextProbe final : public MessageLines {
 public:
  [[nodiscard]] std::size_t size() const { return size_; }
  // Up to the empty line, with every line ended by CR LF.
  [[nodiscard]] const std::string& header() const { return header_; }
  [[nodiscard]] std::size_t dot_lines() const { return dot_lines_; }
  // True when the text ends with the line ".": it is ready to be sent, with its dots doubled (RFC
  // 5321 section 4.5.2). A text without that line is a plain one.
  [[nodiscard]] bool ends_with_dot_line() const { return dot_lines_ > 0 && behind_dot_line_; }

 private:
  void piece(std::string_view text) override;
  void end_line() override;
  bool goes_on(std::size_t count) override;

  enum class Line { kEmpty, kDot, kOther };
  Line line_ = Line::kEmpty;
  bool in_header_ = true;
  bool behind_dot_line_ = false;
  std::size_t size_ = 0;
  std::size_t dot_lines_ = 0;
  std::string header_;
};

// Passes a message on as a mail server takes it: without the line of a mailbox file that may stand
// before it and its fields bcc and Resent-bcc, every line ended with CR LF, and the line "." in the
// end; for a plain text, with the dots that begin lines doubled. The rest of it goes out byte for
// byte. Writes that `target` takes in part are gone on with.
class OutgoingText final : public MessageLines {
 public:
  // `target` null: nothing is written, only counted. `watch` gets the number of bytes taken in, as
  // they come.
  OutgoingText(platform::ComPtr<ISequentialStream> target, bool plain,
               std::function<void(std::size_t)> watch);

  // Ends the text and passes on what is held back; false when the target failed, then or earlier.
  [[nodiscard]] bool pass_end();
  // Bytes that went out.
  [[nodiscard]] std::uint64_t sent() const { return sent_; }

 private:
  void piece(std::string_view text) override;
  void end_line() override;
  bool goes_on(std::size_t count) override;
  void pass_field_line();
  void put(std::string_view bytes);
  void flush();

  platform::ComPtr<ISequentialStream> target_;
  std::function<void(std::size_t)> watch_;
  bool plain_;
  bool in_header_ = true;
  bool first_ = true;      // no line of the header has passed
  bool dropping_ = false;  // the field
  std::string held_;       // the present line of the header
  bool at_line_start_ = true;
  std::string block_;
  bool failed_ = false;
  std::uint64_t sent_ = 0;
};

}  // namespace tallowbrook::cli
