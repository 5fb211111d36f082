// What reaches a person's screen: UTF-8 text without control characters, and a progress bar.
//
// A message is foreign text. What could steer a terminal or reorder its text is shown as an escape:
// C0 and C1 control characters and DEL as \xNN, bytes that are no UTF-8 as \xNN, the bidirectional
// controls and line separators as \u{NNNN}. A line end inside a value is an escape too, so that no
// value can forge an output line.
#pragma once

#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>

namespace tallowbrook::cli {

// UTF-16 to UTF-8; an unpaired surrogate becomes U+FFFD.
[[nodiscard]] std::string to_utf8(std::u16string_view wide);

// The bytes of the character at the start of a text that is not empty; 0 when they are no UTF-8.
[[nodiscard]] std::size_t utf8_length(std::string_view text);
[[nodiscard]] bool is_utf8(std::string_view text);

// `text` with all that a terminal must not see escaped; the rest is unchanged. Linear.
[[nodiscard]] std::string printable(std::string_view text);

// The same for a text of several lines: line ends (LF, CR LF) and tabs stay, and the last line is
// ended.
[[nodiscard]] std::string printable_lines(std::string_view text);

// True for characters that reorder or break the text around them: Unicode's bidirectional controls,
// line and paragraph separator, byte order mark.
[[nodiscard]] bool steers_text(char32_t c);

// `text` on one line: each run of white space that holds a line end becomes one space; none is left
// at either end.
[[nodiscard]] std::string unfold(std::string_view text);

// The number of columns that `text` takes, each character counted as one.
[[nodiscard]] std::size_t columns(std::string_view text);

// A bar on standard error, drawn only when that is a terminal, at most ten times a second.
class Progress {
 public:
  explicit Progress(std::size_t total);
  ~Progress() { clear(); }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  // So many more are done.
  void step(std::size_t count = 1);
  // Takes the bar off the screen, so that a line can be printed; the next step draws it again.
  void clear();

 private:
  using Clock = std::chrono::steady_clock;
  void draw();

  std::size_t total_;
  std::size_t done_ = 0;
  bool enabled_;
  bool shown_ = false;
  Clock::time_point next_;
};

}  // namespace tallowbrook::cli
