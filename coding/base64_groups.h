// Whole groups of base64: four characters for three bytes (RFC 2045 section 6.8). CBase64 does what
// is left between them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace tallowbrook {

inline constexpr std::string_view kBase64Alphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
// The value of a byte that is not in the alphabet.
inline constexpr std::uint8_t kNoBase64 = 0xFF;
[[nodiscard]] std::uint8_t base64_value(char byte);

struct Base64Groups {
  struct Progress {
    std::size_t taken;  // characters
    std::size_t made;   // bytes
  };
  // Decodes groups, and passes over line ends between them, until something else comes or less than
  // a group is left. `out` has room for 3 bytes for each 4 characters, and kSlack bytes more.
  Progress (*decode)(const char* text, std::size_t length, char* out);
  // Encodes `count` bytes, a multiple of 3.
  void (*encode)(const char* bytes, std::size_t count, char* out);

  static constexpr std::size_t kSlack = 8;
};

// For any processor.
[[nodiscard]] const Base64Groups& portable_base64();
// The fastest that this processor has.
[[nodiscard]] const Base64Groups& fastest_base64();

}  // namespace tallowbrook
