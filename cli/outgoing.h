// The text of a message on its way to a mail server.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "cli/file_stream.h"
#include "platform/com/unknown.h"

namespace tallowbrook::cli {

// Counts what is saved into it, and its lines ".".
class TextProbe final : public StreamBase {
 public:
  HRESULT Write(const void* pv, ULONG cb, ULONG* written) override;

  [[nodiscard]] std::uint64_t size() const { return size_; }
  [[nodiscard]] std::size_t dot_lines() const { return dot_lines_; }
  // True when the text ends with the line ".": it is ready to be sent, with its dots doubled (RFC
  // 5321 section 4.5.2). A text without that line is a plain one.
  [[nodiscard]] bool ends_with_dot_line() const { return dot_lines_ > 0 && last_end_ == size_; }

 private:
  std::uint64_t size_ = 0;
  std::size_t dot_lines_ = 0;
  std::uint64_t last_end_ = 0;  // where the last of them ends
  std::string held_ = "\n";     // the last bytes, which may begin one
};

// Passes a message on as a mail server takes it: without its fields bcc and Resent-bcc, every line
// ended with CR LF, and, for a plain text, the dots that begin lines doubled. The rest of it goes
// out byte for byte. Writes that `target` takes in part are gone on with.
class OutgoingText final : public StreamBase {
 public:
  // `target` null: nothing is written, only counted. `watch` gets the number of bytes taken in, as
  // they come.
  OutgoingText(platform::ComPtr<ISequentialStream> target, bool plain,
               std::function<void(std::size_t)> watch);

  HRESULT Write(const void* pv, ULONG cb, ULONG* written) override;
  // Passes on what is held back; false when the target failed, then or earlier.
  [[nodiscard]] bool finish();
  // Bytes that went out.
  [[nodiscard]] std::uint64_t sent() const { return sent_; }

 private:
  void take_header(std::string_view bytes);
  void pass_header();
  void pass_text(std::string_view text);
  void put(std::string_view bytes);
  void flush();

  platform::ComPtr<ISequentialStream> target_;
  std::function<void(std::size_t)> watch_;
  std::string header_;  // until it is whole
  bool in_header_ = true;
  bool plain_;
  bool at_line_start_ = true;
  bool after_cr_ = false;
  std::string block_;
  bool failed_ = false;
  std::uint64_t sent_ = 0;
};

}  // namespace tallowbrook::cli
