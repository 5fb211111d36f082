#include "model/header_text.h"

#include <algorithm>
#include <utility>

#include "coding/encoded_words.h"
#include "coding/usual_word.h"
#include "core/text.h"

namespace tallowbrook {
namespace {

constexpr std::string_view kLineEnds = "\r\n";
constexpr std::string_view kBlanks = " \t";

// One past the line end that starts at `at`.
std::size_t past_line_end(std::string_view text, std::size_t at) {
  const std::size_t other = text.find_first_not_of('\r', at);
  if (other == std::string_view::npos) return text.size();
  return text[other] == '\n' ? other + 1 : other;
}

bool is_blank(std::string_view line) {
  return line.find_first_not_of(kBlanks) == std::string_view::npos;
}

}  // namespace

std::u16string decode_header_text(std::string_view text) { return decode_words(text); }

namespace {

bool says_itself(std::string_view text) {
  return is_ascii(text) && text.find('"') == text.npos && text.find("=?") == text.npos;
}

}  // namespace

platform::Bstr header_text_to_bstr(std::string_view text) {
  if (UsualWord word; word.read(text)) return platform::Bstr(word.text());
  return says_itself(text) ? ascii_to_bstr(text) : platform::Bstr(decode_words(text));
}

std::string header_text_to_ansi(std::string text) {
  return says_itself(text) ? std::move(text) : to_ansi(decode_words(text));
}

std::string encode_header_text(std::u16string_view text, std::string_view charset) {
  std::string encoded;
  EncodeHeaderText(text, std::string(charset).c_str(), encoded);
  return encoded;
}

bool is_folded(std::string_view text) {
  if (text.find('\0') != text.npos) return false;
  for (;;) {
    const std::size_t line_end = text.find('\n');
    std::string_view line = text.substr(0, line_end);
    if (line_end != text.npos) {
      while (line.ends_with('\r')) line.remove_suffix(1);
    }
    if (line.find('\r') != line.npos) return false;
    if (line_end == text.npos) return true;
    const std::size_t next = text.find_first_not_of(kBlanks, line_end + 1);
    if (next == line_end + 1 || next == text.npos || kLineEnds.find(text[next]) != kLineEnds.npos) {
      return false;
    }
    text.remove_prefix(next);
  }
}

std::string folded(std::string_view text) {
  std::string result;
  result.reserve(text.size() + 16);
  fold(text, [&result](std::string_view piece) { result.append(piece); });
  return result;
}

void fold(std::string_view text, const std::function<void(std::string_view)>& put) {
  if (is_folded(text)) return put(text);
  if (text.find('\0') != std::string_view::npos) {  // a reader may pass over it
    std::string kept(text);
    std::erase(kept, '\0');
    return fold(kept, put);
  }
  std::size_t stop = text.find_first_of(kLineEnds);
  bool begun = stop != 0;
  put(text.substr(0, stop));
  while (stop != std::string_view::npos) {
    const std::size_t start = past_line_end(text, stop);
    const std::string_view line_end = text.substr(stop, start - stop);
    stop = text.find_first_of(kLineEnds, start);
    const std::string_view line = text.substr(start, std::min(stop, text.size()) - start);
    if (is_blank(line)) continue;
    if (kBlanks.find(line.front()) == std::string_view::npos) {
      if (begun) put("\r\n\t");
    } else {
      put(line_end.back() == '\n' ? line_end : std::string_view("\r\n"));
    }
    put(line);
    begun = true;
  }
}

std::optional<std::u16string> wide_text_of(const VARIANT& value) {
  platform::Variant text;
  if (FAILED(VariantCopyInd(&text, &value))) return std::nullopt;
  if (FAILED(VariantChangeType(&text, &text, 0, VT_BSTR))) return std::nullopt;
  return std::u16string(text.text());
}

std::optional<std::string> text_of(const VARIANT& value) {
  const auto wide = wide_text_of(value);
  if (!wide) return std::nullopt;
  return to_ansi(*wide);
}

}  // namespace tallowbrook
