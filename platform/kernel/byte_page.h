// Code pages with one byte for a character, as tables. Internal to the kernel room.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "platform/kernel/unicode.h"

namespace tallowbrook::platform {

// The characters of the bytes 0x00 to 0xFF; U+FFFD for a byte that means nothing.
using ByteTable = std::array<char16_t, 256>;

// A table and its way back: a hash table of the characters, at most half full, searched onwards
// from where a character belongs.
class BytePage {
 public:
  constexpr explicit BytePage(const ByteTable& wide) : wide_(wide) {
    for (std::size_t byte = 0; byte < wide.size(); ++byte) {
      if (wide[byte] != kReplacement && byte_of(wide[byte]) < 0) add(wide[byte], byte);
      if (byte < 0x80 && wide[byte] != byte) contains_ascii_ = false;
    }
  }

  [[nodiscard]] const ByteTable& wide() const { return wide_; }
  // Bytes below 0x80 stand for themselves.
  [[nodiscard]] bool contains_ascii() const { return contains_ascii_; }
  // The byte of a character, the lowest where there are several; -1 when the page lacks it.
  [[nodiscard]] constexpr int byte_of(char32_t point) const {
    std::size_t at = place(point);
    while (slots_[at].byte >= 0 && slots_[at].unit != point) at = (at + 1) % kSlots;
    return slots_[at].byte;
  }

 private:
  static constexpr std::size_t kSlots = 512;
  struct Slot {
    char16_t unit = 0;
    std::int16_t byte = -1;
  };

  [[nodiscard]] static constexpr std::size_t place(char32_t point) {
    return (point * 0x9E3779B1U) >> 23;
  }
  constexpr void add(char16_t unit, std::size_t byte) {
    std::size_t at = place(unit);
    while (slots_[at].byte >= 0) at = (at + 1) % kSlots;
    slots_[at] = {unit, static_cast<std::int16_t>(byte)};
  }

  ByteTable wide_;
  std::array<Slot, kSlots> slots_{};
  bool contains_ascii_ = true;
};

// Tells whether a byte meant nothing and was replaced.
bool decode_with(const ByteTable& table, std::string_view bytes, WideOutput& out);

// The windows-1252 table, whose five undefined bytes are the C1 controls of the same number, and
// that of ASCII alone.
extern const BytePage kWesternPage;
extern const BytePage kAsciiPage;

// The page that the C library knows by this name, made on first use and kept; null when it is not
// one of single bytes that always stand for the same character, or when memory runs out. `name`
// comes from `iconv_page`.
[[nodiscard]] const BytePage* iconv_byte_page(const char* name) noexcept;

}  // namespace tallowbrook::platform
