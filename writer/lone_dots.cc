#include "writer/lone_dots.h"

namespace tallowbrook {
namespace {

constexpr std::string_view kNul("\0", 1);
constexpr std::string_view kNothing(" \t\0", 3);

bool ends_line(char byte) { return byte == '\r' || byte == '\n'; }

bool stands_alone(std::string_view text, std::size_t dot) {
  const std::size_t before = dot == 0 ? text.npos : text.find_last_not_of(kNul, dot - 1);
  if (before != text.npos && !ends_line(text[before])) return false;
  const std::size_t after = text.find_first_not_of(kNothing, dot + 1);
  return after == text.npos || ends_line(text[after]);
}

}  // namespace

std::size_t find_lone_dot(std::string_view text, std::size_t from) {
  std::size_t dot = text.find('.', from);
  while (dot != text.npos && !stands_alone(text, dot)) dot = text.find('.', dot + 1);
  return dot;
}

std::string_view without_closing_dot(std::string_view text) {
  std::string_view line = text;
  if (line.ends_with('\n')) line.remove_suffix(1);
  while (line.ends_with('\r')) line.remove_suffix(1);
  const std::size_t last = line.find_last_not_of(kNothing);
  if (last == line.npos || find_lone_dot(line, last) != last) return text;
  return text.substr(0, last);
}

platform::ComPtr<CISSHelper> guarded_copy(std::string_view text) {
  if (find_lone_dot(text, 0) == text.npos) return {};
  platform::ComPtr<CISSHelper> copy = CISSHelper::create();
  copy->reserve(static_cast<ULONG>(text.size()));
  guard_lone_dots(text, [&copy](std::string_view piece) { copy->write(piece); });
  copy->rewind();
  return copy;
}

}  // namespace tallowbrook
