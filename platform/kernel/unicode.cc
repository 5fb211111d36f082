#include "platform/kernel/unicode.h"

#include <cstdint>
#include <cstring>

namespace tallowbrook::platform {
namespace {

template <class Unit>
std::size_t run_below_0x80(std::basic_string_view<Unit> text, std::uint64_t mask) {
  constexpr std::size_t kUnits = sizeof(std::uint64_t) / sizeof(Unit);
  std::size_t length = 0;
  for (; text.size() - length >= kUnits; length += kUnits) {
    std::uint64_t block;
    std::memcpy(&block, text.data() + length, sizeof block);
    if ((block & mask) != 0) break;
  }
  while (length < text.size() && static_cast<std::make_unsigned_t<Unit>>(text[length]) < 0x80) {
    ++length;
  }
  return length;
}

}  // namespace

std::size_t ascii_run(std::string_view text) { return run_below_0x80(text, 0x8080808080808080); }

std::size_t ascii_run(std::u16string_view text) { return run_below_0x80(text, 0xFF80FF80FF80FF80); }

// The well-formed sequences of the Unicode Standard, table 3-7: the lead byte says how many bytes
// follow and narrows the range of the first of them.
Character first_utf8(std::string_view text) {
  const auto byte_at = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned lead = byte_at(0);
  if (lead < 0x80) return {lead, 1, true};
  if (lead < 0xC2 || lead > 0xF4) return {kReplacement, 1, false};
  const std::size_t length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
  unsigned lowest = 0x80;
  unsigned highest = 0xBF;
  if (lead == 0xE0) lowest = 0xA0;
  if (lead == 0xED) highest = 0x9F;
  if (lead == 0xF0) lowest = 0x90;
  if (lead == 0xF4) highest = 0x8F;
  char32_t point = lead & (0x7FU >> length);
  for (std::size_t i = 1; i < length; ++i) {
    if (i >= text.size() || byte_at(i) < lowest || byte_at(i) > highest) {
      return {kReplacement, i, false};
    }
    point = (point << 6) | (byte_at(i) & 0x3FU);
    lowest = 0x80;
    highest = 0xBF;
  }
  return {point, length, true};
}

Character first_utf16(std::u16string_view text) {
  const char32_t unit = text[0];
  if (is_high_surrogate(unit) && text.size() > 1 && is_low_surrogate(text[1])) {
    return {0x10000 + ((unit & 0x3FF) << 10) + (text[1] & 0x3FFU), 2, true};
  }
  return {unit, 1, !is_high_surrogate(unit) && !is_low_surrogate(unit)};
}

void put_utf8(char32_t point, ByteOutput& out) {
  const auto continuation = [&](unsigned shift) {
    out.put(static_cast<char>(0x80 | ((point >> shift) & 0x3F)));
  };
  if (point < 0x80) {
    out.put(static_cast<char>(point));
  } else if (point < 0x800) {
    out.put(static_cast<char>(0xC0 | (point >> 6)));
    continuation(0);
  } else if (point < 0x10000) {
    out.put(static_cast<char>(0xE0 | (point >> 12)));
    continuation(6);
    continuation(0);
  } else {
    out.put(static_cast<char>(0xF0 | (point >> 18)));
    continuation(12);
    continuation(6);
    continuation(0);
  }
}

void put_utf16(char32_t point, WideOutput& out) {
  if (point < 0x10000) {
    out.put(static_cast<char16_t>(point));
    return;
  }
  out.put(static_cast<char16_t>(0xD7C0 + (point >> 10)));
  out.put(static_cast<char16_t>(0xDC00 + (point & 0x3FF)));
}

}  // namespace tallowbrook::platform
