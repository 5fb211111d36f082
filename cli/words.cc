#include "cli/words.h"

#include <algorithm>
#include <cstdio>
#include <unordered_map>

#include "cli/terminal.h"
#include "platform/kernel/code_page.h"

namespace tallowbrook::cli {
namespace {

// An encoded word has at most 75 characters (RFC 2047 section 2); in base64 that is this many
// octets, with some room for the field's name on the first line.
constexpr std::size_t kWordOctets = 39;
// Longer texts are written as words, which can be folded anywhere.
constexpr std::size_t kLongestPlain = 500;

bool is_plain(std::string_view text) {
  // A reader of quotes may take them off.
  return text.size() <= kLongestPlain && text.find("=?") == text.npos &&
         text.find('"') == text.npos &&
         std::all_of(text.begin(), text.end(), [](char c) { return c >= ' ' && c <= '~'; });
}

// The first `octets` of a text at most, no character cut.
std::string_view head(std::string_view text, std::size_t octets) {
  std::size_t length = 0;
  while (length < text.size()) {
    const std::size_t next = std::max<std::size_t>(utf8_length(text.substr(length)), 1);
    if (length + next > octets) break;
    length += next;
  }
  return text.substr(0, length);
}

// The byte of the ANSI code page for each character that one of its upper bytes stands for.
const std::unordered_map<char16_t, char>& upper_bytes() {
  static const auto map = [] {
    std::unordered_map<char16_t, char> result;
    for (int code = 0x80; code <= 0xFF && GetACP() != CP_UTF8; ++code) {
      const char byte = static_cast<char>(code);
      const std::u16string wide = platform::widen(CP_ACP, {&byte, 1});
      if (wide.size() == 1 && wide[0] != 0xFFFD) result.emplace(wide[0], byte);
    }
    return result;
  }();
  return map;
}

// The bytes that the first characters of a text were read from, up to four.
std::string first_bytes(std::u16string_view text) {
  std::string bytes;
  for (const char16_t c : text.substr(0, 4)) {
    const auto found = upper_bytes().find(c);
    if (found == upper_bytes().end()) break;
    bytes.push_back(found->second);
  }
  return bytes;
}

}  // namespace

std::u16string to_utf16(std::string_view text) { return platform::widen(CP_UTF8, text); }

std::string recovered(std::u16string_view text) {
  std::string out;
  std::size_t plain = 0;  // where the text begins that is not yet put out
  for (std::size_t i = 0; i < text.size();) {
    const std::string bytes = text[i] < 0x80 ? std::string() : first_bytes(text.substr(i));
    const std::size_t length = bytes.empty() ? 0 : utf8_length(bytes);
    if (length > 0) {
      out += to_utf8(text.substr(plain, i - plain));
      out.append(bytes, 0, length);
      plain = i + length;
    }
    i += std::max<std::size_t>(length, 1);
  }
  return out + to_utf8(text.substr(plain));
}

std::string recovered(std::u16string_view text, std::u16string_view raw) {
  const bool ascii = std::all_of(raw.begin(), raw.end(), [](char16_t c) { return c < 0x80; });
  return ascii ? to_utf8(text) : recovered(text);
}

Words::Words() : address_(create(u"Tallowbrook.MailAddress")) {
  address_.put(u"Charset", u"utf-8");
}

std::string Words::decoded(std::u16string_view raw) const {
  if (raw.find(u"=?") == raw.npos) return recovered(raw);
  address_.put(u"NameRaw", raw);
  return recovered(address_.get(u"Name").text(), raw);
}

std::string Words::decoded(const std::string& text) const {
  if (text.find("=?") == text.npos) return text;
  return decoded(platform::widen(CP_ACP, text));
}

std::string Words::from_charset(std::string_view bytes, std::string_view charset) const {
  if (bytes.empty() || charset.find_first_of("? ") != charset.npos) return std::string(bytes);
  std::string word = "=?" + std::string(charset.empty() ? "us-ascii" : charset) + "?Q?";
  for (const char byte : bytes) {
    char code[4];
    std::snprintf(code, sizeof code, "=%02X", unsigned{static_cast<unsigned char>(byte)});
    word += code;
  }
  address_.put(u"NameRaw", to_utf16(word + "?="));
  return address_.text(u"Name");
}

std::u16string Words::encoded(std::string_view given) const {
  const std::string text = unfold(given);
  if (is_plain(text)) return to_utf16(text);
  std::u16string result;
  for (std::string_view left = text; !left.empty();) {
    const std::string_view piece = head(left, kWordOctets);
    left.remove_prefix(piece.size());
    address_.put(u"Name", to_utf16(piece));
    if (!result.empty()) result += u"\r\n\t";
    result += address_.get(u"NameRaw").text();
  }
  return result;
}

}  // namespace tallowbrook::cli
