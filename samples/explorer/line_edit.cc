#include "samples/explorer/line_edit.h"

#include <algorithm>
#include <string_view>

#include "cli/terminal.h"

namespace bramblescope {
namespace {

constexpr char kReversed[] = "\x1B[7m";
constexpr char kPlain[] = "\x1B[m";

bool continues(char c) { return (static_cast<unsigned char>(c) & 0xC0U) == 0x80; }

// Where the last character of a text in UTF-8 begins; 0 for an empty text.
std::size_t last_start(std::string_view text) {
  std::size_t at = text.size();
  while (at > 0 && continues(text[--at])) continue;
  return at;
}

// How long the first character is; 0 for an empty text.
std::size_t first_size(std::string_view text) {
  std::size_t size = text.empty() ? 0 : 1;
  while (size < text.size() && continues(text[size])) ++size;
  return size;
}

// The end of `text` that takes at most so many columns. A character of three bytes and more, which
// may be a wide one, counts as two.
std::string_view last_columns(std::string_view text, std::size_t columns) {
  std::size_t start = text.size();
  while (start > 0) {
    const std::size_t at = last_start(text.substr(0, start));
    const std::size_t width = start - at > 2 ? 2 : 1;
    if (width > columns) break;
    columns -= width;
    start = at;
  }
  return text.substr(start);
}

}  // namespace

void LineEdit::press(const Key& key) {
  const auto move = [](std::string& from, std::size_t at, std::size_t count, std::string& to,
                       std::size_t place) {
    to.insert(place, from, at, count);
    from.erase(at, count);
  };
  const std::size_t last = last_start(before_);
  const std::size_t first = first_size(after_);
  switch (key.kind) {
    case Key::kText:
      before_ += key.text;
      break;
    case Key::kBackspace:
      before_.erase(last);
      break;
    case Key::kDelete:
      after_.erase(0, first);
      break;
    case Key::kClear:
      before_.clear();
      after_.clear();
      break;
    case Key::kLeft:
      move(before_, last, before_.size() - last, after_, 0);
      break;
    case Key::kRight:
      move(after_, 0, first, before_, before_.size());
      break;
    case Key::kHome:
      move(before_, 0, before_.size(), after_, 0);
      break;
    case Key::kEnd:
      move(after_, 0, after_.size(), before_, before_.size());
      break;
    default:
      break;
  }
}

std::string LineEdit::shown(std::size_t columns) const {
  const std::string before = tallowbrook::cli::printable(before_);
  const std::string after = after_.empty() ? " " : tallowbrook::cli::printable(after_);
  const std::size_t under = first_size(after);
  const std::size_t room = columns - std::min<std::size_t>(columns, 2);
  return std::string(last_columns(before, room)) + kReversed + after.substr(0, under) + kPlain +
         after.substr(under);
}

}  // namespace bramblescope
