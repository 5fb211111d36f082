// The encoded words (RFC 2047) that most names are, read at once.
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace tallowbrook {

class UsualWord {
 public:
  // Reads a text that is one word in UTF-8 or ISO 8859-1 and nothing else, well-formed and no
  // longer than words may be. False for any other; what it says would not be found here.
  [[nodiscard]] bool read(std::string_view text);

  [[nodiscard]] std::u16string_view text() const { return {text_.data(), size_}; }

 private:
  static constexpr std::size_t kLongest = 75;  // RFC 2047 section 2

  bool widen_utf8(std::string_view bytes);
  bool widen_latin1(std::string_view bytes);
  void put(char32_t unit) { text_[size_++] = static_cast<char16_t>(unit); }

  std::array<char16_t, kLongest> text_;
  std::size_t size_ = 0;
};

}  // namespace tallowbrook
