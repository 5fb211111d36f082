#include "smtp/trace.h"

#include <string>

#include "platform/kernel/debug_output.h"

namespace tallowbrook {
namespace {

void append_escaped(std::string& line, char c) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  const auto byte = static_cast<unsigned char>(c);
  if (byte >= 0x20 && byte != 0x7F) {
    line += c;
  } else {
    line += "\\x";
    line += kDigits[byte >> 4U];
    line += kDigits[byte & 0xFU];
  }
}

void put_line(char mark, std::string_view text) {
  std::string line = "SMTP ";
  line += mark;
  line += ' ';
  if (!text.empty() && text.back() == '\r') text.remove_suffix(1);
  for (const char c : text) append_escaped(line, c);
  line += '\n';
  OutputDebugStringA(line.c_str());
}

}  // namespace

void trace(char mark, std::string_view text) noexcept {
  if (!platform::debug_output_wanted()) return;
  try {
    for (;;) {
      const std::size_t end = text.find('\n');
      put_line(mark, text.substr(0, end));
      if (end == text.npos || end + 1 == text.size()) return;
      text.remove_prefix(end + 1);
    }
  } catch (...) {  // a line that cannot be made is dropped
  }
}

}  // namespace tallowbrook
