// Header texts on their way between a host, a message and a file.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "platform/automation/variant.h"

namespace tallowbrook {

// What a reader sees of a header text: encoded words (RFC 2047) decoded, quoted strings without
// their quotes, other bytes taken from the system ANSI code page.
[[nodiscard]] std::u16string decode_header_text(std::string_view text);
// The same for a host, and in the system ANSI code page. Plain ASCII costs no more than its copy.
[[nodiscard]] platform::Bstr header_text_to_bstr(std::string_view text);
[[nodiscard]] std::string header_text_to_ansi(std::string text);

// A host's text as it is stored in a field: as encoded words, in `charset` where that is UTF-8
// (EncodeHeaderText tells when in another). It reads back as it was, whatever it holds.
[[nodiscard]] std::string encode_header_text(std::u16string_view text, std::string_view charset);

// The text as the lines of one header field, for writing (RFC 5322 section 2.2.3): it can neither
// begin another field nor end the header. A line end (CRs before an LF, an LF, a CR alone) that
// white space follows stays as it is; one that it does not follow becomes CR LF TAB; lines of
// blanks alone, line ends at the end and NULs go. Well-formed folded text comes back unchanged.
[[nodiscard]] std::string folded(std::string_view text);
// The same, handed to `put` piece by piece.
void fold(std::string_view text, const std::function<void(std::string_view)>& put);
// True for a text that `folded` gives back unchanged.
[[nodiscard]] bool is_folded(std::string_view text);

// The value converted to a string, by-reference arguments followed; nothing when it does not
// convert.
[[nodiscard]] std::optional<std::u16string> wide_text_of(const VARIANT& value);
// The same in the system ANSI code page.
[[nodiscard]] std::optional<std::string> text_of(const VARIANT& value);

}  // namespace tallowbrook
