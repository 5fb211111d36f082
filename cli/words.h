// Header texts: encoded words (RFC 2047) read and made, by the component's address object.
#pragma once

#include <string>
#include <string_view>

#include "cli/host.h"

namespace tallowbrook::cli {

class Words {
 public:
  Words();  // once the component is loaded

  // UTF-8 of a header text as the message holds it, its encoded words decoded. Quotes go as well
  // when there are any such words.
  [[nodiscard]] std::string decoded(std::u16string_view raw) const;

  // The same of a header text that is UTF-8 already.
  [[nodiscard]] std::string decoded(const std::string& text) const;

  // Bytes of a charset as text. A name nobody knows counts as the system's ANSI code page.
  [[nodiscard]] std::string from_charset(std::string_view bytes, std::string_view charset) const;

  // UTF-8 text as a header holds it: as it is when it is short ASCII that nothing in it makes look
  // like an encoded word, else as UTF-8 words of at most 75 characters, each on a line of its own.
  // Line ends become blanks.
  [[nodiscard]] std::u16string encoded(std::string_view text) const;

 private:
  Object address_;
};

// UTF-8 of a text that the component took from the system's ANSI code page byte by byte: where such
// bytes are UTF-8, as new mail programs write them (RFC 6532), they are read as that.
[[nodiscard]] std::string recovered(std::u16string_view text);
// The same, only when the text as the header holds it is not all ASCII.
[[nodiscard]] std::string recovered(std::u16string_view text, std::u16string_view raw);

[[nodiscard]] std::u16string to_utf16(std::string_view text);

}  // namespace tallowbrook::cli
