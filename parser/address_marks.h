// What stands out in a text where mail addresses are read: 64 bytes at a time, one bit for each.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace tallowbrook {

struct AddressMarks {
  static constexpr std::size_t kSize = 64;

  // Bytes that are no plain atom text (RFC 5322 section 3.2.3) nor "." or "@". "=" is one, since an
  // encoded word may begin with it; DEL is none, as in the grammar.
  std::uint64_t other = 0;
  std::uint64_t blanks = 0;  // of these, " "
  std::uint64_t dots = 0;    // "." and "@"
  std::uint64_t ats = 0;     // "@"

  // The same of the bytes from `place` on, as far as they were looked at.
  [[nodiscard]] AddressMarks from(std::size_t place) const {
    return {other >> place, blanks >> place, dots >> place, ats >> place};
  }
  friend bool operator==(const AddressMarks&, const AddressMarks&) = default;
};

// Looks at the kSize bytes from `bytes` on.
using MarkAddresses = AddressMarks (*)(const char* bytes);

// The ways that this processor has, the plain one first and the fastest last.
[[nodiscard]] std::span<const MarkAddresses> all_address_marks();
[[nodiscard]] inline MarkAddresses fastest_address_marks() { return all_address_marks().back(); }

}  // namespace tallowbrook
