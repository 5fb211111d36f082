// Conversions between the model's 8-bit texts and the host's wide strings, in the system ANSI code
// page.
#pragma once

#include <string>
#include <string_view>

#include "platform/automation/variant.h"

namespace tallowbrook {

// Never fails: bytes or characters that the code page lacks become its default character.
[[nodiscard]] std::u16string to_wide(std::string_view ansi);
[[nodiscard]] std::string to_ansi(std::u16string_view wide);

// A new BSTR of an 8-bit text. Throws std::bad_alloc.
[[nodiscard]] platform::Bstr to_bstr(std::string_view ansi);
// The same of a text that is known to be ASCII.
[[nodiscard]] platform::Bstr ascii_to_bstr(std::string_view text);

// True when every byte is below 0x80.
[[nodiscard]] bool is_ascii(std::string_view text);

// ASCII comparisons and changes of letter case; bytes above 0x7F stand for themselves.
[[nodiscard]] bool same_letters(const char* a, const char* b, std::size_t count);  // both so long
[[nodiscard]] inline bool equals_ignoring_case(std::string_view a, std::string_view b) {
  return a.size() == b.size() && same_letters(a.data(), b.data(), a.size());
}
[[nodiscard]] bool starts_ignoring_case(std::string_view text, std::string_view prefix);
[[nodiscard]] std::string to_lower(std::string_view text);

// The text with its quoted strings (RFC 5322 section 3.2.4) reduced to what they stand for: double
// quotes go, and inside them a backslash gives way to the character behind it.
[[nodiscard]] std::string remove_quotes(std::string_view text);

// `text` without the TABs, spaces, LFs and CRs at both ends.
[[nodiscard]] std::string_view trim(std::string_view text);

}  // namespace tallowbrook
