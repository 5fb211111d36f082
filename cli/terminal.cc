#include "cli/terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>

namespace tallowbrook::cli {
namespace {

void append_utf8(std::string& out, char32_t c) {
  const auto put = [&](char32_t unit) { out.push_back(static_cast<char>(unit)); };
  if (c < 0x80) {
    put(c);
  } else if (c < 0x800) {
    put(0xC0 | (c >> 6));
    put(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    put(0xE0 | (c >> 12));
    put(0x80 | ((c >> 6) & 0x3F));
    put(0x80 | (c & 0x3F));
  } else {
    put(0xF0 | (c >> 18));
    put(0x80 | ((c >> 12) & 0x3F));
    put(0x80 | ((c >> 6) & 0x3F));
    put(0x80 | (c & 0x3F));
  }
}

struct Decoded {
  char32_t character;
  std::size_t length;  // 0: the first byte starts no well-formed sequence
};

// One character of UTF-8 (RFC 3629: no overlong forms, no surrogates, up to U+10FFFF).
Decoded decode(std::string_view text) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned lead = byte(0);
  if (lead < 0x80) return {lead, 1};
  const std::size_t length = lead < 0xC2   ? 0
                             : lead < 0xE0 ? 2
                             : lead < 0xF0 ? 3
                             : lead < 0xF5 ? 4
                                           : 0;
  if (length == 0 || text.size() < length) return {0, 0};
  char32_t character = lead & (0x7FU >> length);
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0U) != 0x80) return {0, 0};
    character = (character << 6) | (byte(i) & 0x3FU);
  }
  const bool overlong = (length == 3 && character < 0x800) || (length == 4 && character < 0x10000);
  const bool surrogate = character >= 0xD800 && character < 0xE000;
  if (overlong || surrogate || character > 0x10FFFF) return {0, 0};
  return {character, length};
}

void append_escaped(std::string& out, const char* format, unsigned value) {
  char buffer[16];
  std::snprintf(buffer, sizeof buffer, format, value);
  out += buffer;
}

bool is_space(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

}  // namespace

bool steers_text(char32_t c) {
  return c == 0x061C || c == 0x200E || c == 0x200F || (c >= 0x2028 && c <= 0x202E) ||
         (c >= 0x2066 && c <= 0x2069) || c == 0xFEFF;
}

std::size_t utf8_length(std::string_view text) { return decode(text).length; }

bool is_utf8(std::string_view text) {
  while (!text.empty()) {
    const std::size_t length = utf8_length(text);
    if (length == 0) return false;
    text.remove_prefix(length);
  }
  return true;
}

std::string to_utf8(std::u16string_view wide) {
  std::string out;
  out.reserve(wide.size());
  for (std::size_t i = 0; i < wide.size(); ++i) {
    char32_t c = wide[i];
    if (c >= 0xD800 && c < 0xE000) {
      const bool pair = c < 0xDC00 && i + 1 < wide.size() && (wide[i + 1] & 0xFC00) == 0xDC00;
      c = pair ? 0x10000 + ((c - 0xD800) << 10) + (wide[++i] - 0xDC00U) : 0xFFFD;
    }
    append_utf8(out, c);
  }
  return out;
}

std::string printable(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  while (!text.empty()) {
    const auto [c, length] = decode(text);
    if (length == 0) {
      append_escaped(out, "\\x%02X", static_cast<unsigned char>(text[0]));
    } else if (c < 0x20 || (c >= 0x7F && c < 0xA0)) {
      append_escaped(out, "\\x%02X", static_cast<unsigned>(c));
    } else if (steers_text(c)) {
      append_escaped(out, "\\u{%04X}", static_cast<unsigned>(c));
    } else {
      out.append(text.substr(0, length));
    }
    text.remove_prefix(std::max<std::size_t>(length, 1));
  }
  return out;
}

std::string printable_lines(std::string_view text) {
  std::string out;
  out.reserve(text.size() + 1);
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    if (line.ends_with('\r')) line.remove_suffix(1);
    for (std::size_t tab = 0; (tab = line.find('\t')) != line.npos; line.remove_prefix(tab + 1)) {
      out.append(printable(line.substr(0, tab))).push_back('\t');
    }
    out.append(printable(line)).push_back('\n');
  }
  return out;
}

std::string unfold(std::string_view text) {
  std::string out;
  for (std::size_t i = 0; i < text.size();) {
    std::size_t end = i;
    bool line_end = false;
    for (; end < text.size() && is_space(text[end]); ++end) {
      line_end = line_end || text[end] == '\r' || text[end] == '\n';
    }
    if (end == i) {
      out.push_back(text[i++]);
      continue;
    }
    if (!out.empty() && end < text.size()) {
      if (line_end) {
        out.push_back(' ');
      } else {
        out.append(text.substr(i, end - i));
      }
    }
    i = end;
  }
  return out;
}

std::size_t columns(std::string_view text) {
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
    return (static_cast<unsigned char>(c) & 0xC0U) != 0x80;
  }));
}

Progress::Progress(std::size_t total)
    : total_(total),
      enabled_(total > 1 && isatty(STDERR_FILENO) == 1),
      next_(Clock::now() + std::chrono::milliseconds(300)) {}

void Progress::step(std::size_t count) {
  done_ = std::min(done_ + count, total_);
  if (enabled_ && (Clock::now() >= next_)) draw();
}

void Progress::clear() {
  if (!shown_) return;
  std::fputs("\r\x1B[K", stderr);
  shown_ = false;
}

void Progress::draw() {
  winsize size{};
  if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) size.ws_col = 80;
  const std::string count = " " + std::to_string(done_) + "/" + std::to_string(total_);
  const std::size_t room = std::min<std::size_t>(size.ws_col, 100);
  if (room < count.size() + 12) return;
  const std::size_t width = room - count.size() - 3;
  const std::size_t filled = width * done_ / total_;
  const std::string bar = std::string(filled, '#') + std::string(width - filled, '.');
  std::fprintf(stderr, "\r[%s]%s", bar.c_str(), count.c_str());
  std::fflush(stderr);
  shown_ = true;
  next_ = Clock::now() + std::chrono::milliseconds(100);
}

}  // namespace tallowbrook::cli
