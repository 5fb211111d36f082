#include "coding/usual_word.h"

#include <cstdint>

#include "coding/base64_groups.h"
#include "core/text.h"
#include "platform/kernel/unicode.h"

namespace tallowbrook {
namespace {

constexpr std::string_view kUtf8 = "=?utf-8?";
constexpr std::string_view kLatin1 = "=?iso-8859-1?";
constexpr std::string_view kEnd = "?=";
constexpr std::size_t kMarkerRest = 2;  // "Q?" or "B?"

int hex_digit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

// Both decode into `bytes`, which has room for as many as the payload has characters. They answer
// how many there are, 0 for what is not well-formed.

std::size_t decode_q(std::string_view payload, char* bytes) {
  std::size_t count = 0;
  for (std::size_t i = 0; i < payload.size(); ++i) {
    const char c = payload[i];
    if (c == '=') {
      if (payload.size() - i < 3) return 0;
      const int high = hex_digit(payload[i + 1]);
      const int low = hex_digit(payload[i + 2]);
      if (high < 0 || low < 0) return 0;
      bytes[count++] = static_cast<char>(high << 4 | low);
      i += 2;
    } else if (c <= ' ' || c >= '\x7f' || c == '?') {
      return 0;
    } else {
      bytes[count++] = c == '_' ? ' ' : c;
    }
  }
  return count;
}

std::size_t decode_b(std::string_view payload, char* bytes) {
  if (payload.size() % 4 != 0) return 0;
  const std::size_t padding = payload.ends_with("==") ? 2 : payload.ends_with('=') ? 1 : 0;
  std::size_t count = 0;
  for (std::size_t at = 0; at < payload.size(); at += 4) {
    const std::size_t used = at + 4 == payload.size() ? 4 - padding : 4;
    std::uint32_t group = 0;
    for (std::size_t i = 0; i < 4; ++i) {
      const std::uint8_t value = i < used ? base64_value(payload[at + i]) : std::uint8_t{0};
      if (value == kNoBase64) return 0;
      group = group << 6 | value;
    }
    for (std::size_t i = 0; i + 1 < used; ++i) {
      bytes[count++] = static_cast<char>(group >> (16 - 8 * i));
    }
  }
  return count;
}

}  // namespace

bool UsualWord::read(std::string_view text) {
  size_ = 0;
  const bool utf8 = starts_ignoring_case(text, kUtf8);
  if (!utf8 && !starts_ignoring_case(text, kLatin1)) return false;
  if (text.size() > kLongest || !text.ends_with(kEnd)) return false;
  text.remove_suffix(kEnd.size());
  text.remove_prefix(utf8 ? kUtf8.size() : kLatin1.size());
  // A payload of one letter looks like a marker itself.
  if (text.size() < kMarkerRest + 2 || text[1] != '?') return false;
  const std::string_view payload = text.substr(kMarkerRest);
  std::array<char, kLongest> bytes;
  std::size_t count = 0;
  if (text[0] == 'Q' || text[0] == 'q') count = decode_q(payload, bytes.data());
  if (text[0] == 'B' || text[0] == 'b') count = decode_b(payload, bytes.data());
  if (count == 0) return false;
  const std::string_view decoded(bytes.data(), count);
  return utf8 ? widen_utf8(decoded) : widen_latin1(decoded);
}

bool UsualWord::widen_utf8(std::string_view bytes) {
  while (!bytes.empty()) {
    const auto byte = static_cast<unsigned char>(bytes[0]);
    if (byte != 0 && byte < 0x80) {
      put(byte);
      bytes.remove_prefix(1);
      continue;
    }
    const platform::Character character = platform::first_utf8(bytes);
    constexpr char32_t kByteOrderMark = 0xFEFF;
    if (!character.valid || character.point == 0 || character.point == kByteOrderMark) return false;
    if (character.point < 0x10000) {
      put(character.point);
    } else {
      put(0xD7C0 + (character.point >> 10));
      put(0xDC00 + (character.point & 0x3FF));
    }
    bytes.remove_prefix(character.length);
  }
  return true;
}

// What is between 0x80 and 0x9F means one thing to senders and another in the standard.
bool UsualWord::widen_latin1(std::string_view bytes) {
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte == 0 || (byte >= 0x80 && byte < 0xA0)) return false;
    put(byte);
  }
  return true;
}

}  // namespace tallowbrook
