#include "coding/encoded_words.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <optional>
#include <stdexcept>
#include <utility>
#include <vector>

#include "coding/base64.h"
#include "coding/charset.h"
#include "coding/quoted_printable.h"
#include "coding/usual_word.h"
#include "coding/x_coder.h"
#include "core/text.h"
#include "platform/kernel/code_page.h"
#include "streams/memory_stream.h"

namespace tallowbrook {

namespace {

constexpr std::string_view kWordStart = "=?";
constexpr std::string_view kWordEnd = "?=";
constexpr std::size_t kMarkerLength = 3;
constexpr std::size_t kShortestWord = 8;
constexpr UINT kWestern = 1252;  // what "iso-8859-1" means in mail

// --- one word ------------------------------------------------------------------------------------

// Where the parts of an encoded word stand in a text.
struct WordShape {
  std::size_t start;   // its "=?"
  std::size_t marker;  // "?Q?" or "?B?"
  std::size_t end;     // its "?="
  bool quoted_printable;
};

std::optional<WordShape> shape_of(std::string_view text) {
  const std::size_t start = text.find(kWordStart);
  const std::size_t end = text.rfind(kWordEnd);
  if (text.size() < kShortestWord || start == text.npos || end == text.npos) return std::nullopt;
  for (const std::string_view marker : {"?Q?", "?q?", "?B?", "?b?"}) {
    const std::size_t at = text.find(marker, start + kWordStart.size());
    if (at == text.npos) continue;
    if (end < at + kMarkerLength) return std::nullopt;
    return WordShape{start, at, end, marker[1] == 'Q' || marker[1] == 'q'};
  }
  return std::nullopt;
}

std::string decode_payload(std::string_view text, const WordShape& shape) {
  const std::size_t from = shape.marker + kMarkerLength;
  const std::string_view payload = text.substr(from, shape.end - from);
  if (payload.size() > std::numeric_limits<std::int32_t>::max()) throw std::length_error("word");
  std::string bytes(payload.size(), '\0');
  const auto length = static_cast<std::int32_t>(payload.size());
  std::int32_t decoded = 0;
  if (shape.quoted_printable) {
    std::string next_word;
    if (payload.find('?') != payload.npos) {
      next_word.append(kWordEnd).append(text.substr(shape.start, from - shape.start));
    }
    CQuotedPrintable coder(CQuotedPrintable::HeaderMode{std::move(next_word)});
    decoded = coder.DecodeBuffer(payload.data(), bytes.data(), length);
  } else {
    decoded = CBase64().DecodeBuffer(payload.data(), bytes.data(), length);
  }
  bytes.resize(static_cast<std::size_t>(decoded));
  return bytes;
}

// The bytes of one charset to text. A text's words are mostly of one charset: its coder is made
// once.
class CharsetDecoder {
 public:
  // Puts the result into the member of `result` that fits it.
  void decode(std::string bytes, std::string_view charset, DecodedWord& result) {
    result = {};
    charset = charset.substr(0, charset.find('\0'));
    if (!charset.empty() && !has_utf8_coder(charset)) {
      result.is_wide = true;
      result.wide = CXCoder(charset).decode(bytes);
      return;
    }
    if (!known_ || charset != charset_) {
      charset_ = charset;
      coder_ = make_charset_coder(charset_.c_str(), 1);
      known_ = true;
    }
    if (!coder_) {
      result.bytes = std::move(bytes);
      return;
    }
    CISSHelper input;
    CISSHelper output;
    input.write(bytes);
    input.rewind();
    coder_->Decode(input, output);
    const std::string_view decoded = output.bytes();
    result.is_wide = coder_->ProducesWideText();
    if (!result.is_wide) {
      result.bytes = decoded;
    } else if (!decoded.empty()) {
      result.wide.resize(decoded.size() / sizeof(char16_t));
      std::memcpy(result.wide.data(), decoded.data(), result.wide.size() * sizeof(char16_t));
    }
  }

 private:
  bool known_ = false;
  std::string charset_;
  std::unique_ptr<CMIMECode> coder_;
};

// Without the language that may follow behind a "*" (RFC 2231 section 5).
std::string_view charset_of(std::string_view text, const WordShape& shape) {
  const std::size_t name = shape.start + kWordStart.size();
  const std::string_view charset = text.substr(name, shape.marker - name);
  return charset.substr(0, charset.find('*'));
}

// --- whole texts ---------------------------------------------------------------------------------

// A text and the parts of it, in order, that came out of encoded words.
struct PartlyFinal {
  struct Span {
    std::size_t begin, end;
  };
  std::u16string text;
  std::vector<Span> final;
};

bool is_white(char16_t unit) { return unit == ' ' || unit == '\t' || unit == '\r' || unit == '\n'; }

// One pass over a text. Quotes and words that it uncovers are left for the next.
class Pass {
 public:
  Pass(const PartlyFinal& source, CharsetDecoder& charsets, bool keep_quotes)
      : source_(source), charsets_(charsets), keep_quotes_(keep_quotes) {}

  // True when quotes went: what they held may hold quotes and words itself.
  bool run() {
    result.text.reserve(source_.text.size());
    std::size_t at = 0;
    for (const PartlyFinal::Span& span : source_.final) {
      stretch(at, span.begin);
      end_stretch(span.begin);
      end_group();
      keep_final(view(span.begin, span.end));
      at = span.end;
    }
    stretch(at, source_.text.size());
    end_stretch(source_.text.size());
    end_group();
    return unquoted_;
  }

  PartlyFinal result;

 private:
  static constexpr std::size_t npos = std::u16string::npos;
  enum class State { kOutside, kQuoted, kCharset, kPayload };

  [[nodiscard]] std::u16string_view view(std::size_t begin, std::size_t end) const {
    return std::u16string_view(source_.text).substr(begin, end - begin);
  }

  // The text from `at` to `end`, in which nothing is final.
  void stretch(std::size_t at, std::size_t end) {
    const std::u16string_view text = view(0, end);
    while (at < end) {
      switch (state_) {
        case State::kOutside:
          at = outside(text, at);
          break;
        case State::kQuoted:
          at = quoted(text, at);
          break;
        case State::kCharset:
          at = charset(text, at);
          break;
        case State::kPayload:
          at = payload(text, at);
          break;
      }
    }
  }

  std::size_t outside(std::u16string_view text, std::size_t at) {
    if (text[at] == '"' && !keep_quotes_) {
      unquoted_ = true;
      state_ = State::kQuoted;
      return at + 1;
    }
    if (text.substr(at).starts_with(u"=?")) {
      word_ = at;
      state_ = State::kCharset;
      return at + kWordStart.size();
    }
    const std::size_t next = std::min(text.find_first_of(u"\"=", at + 1), text.size());
    result.text += text.substr(at, next - at);
    return next;
  }

  std::size_t quoted(std::u16string_view text, std::size_t at) {
    if (text[at] == '"') {
      state_ = State::kOutside;
      return at + 1;
    }
    if (text[at] == '\\') {
      if (at + 1 < text.size()) result.text += text[at + 1];
      return at + 2;
    }
    const std::size_t next = std::min(text.find_first_of(u"\"\\", at), text.size());
    result.text += text.substr(at, next - at);
    return next;
  }

  // Behind "=?": looks for the marker. Another "=?" starts the word anew.
  std::size_t charset(std::u16string_view text, std::size_t at) {
    at = std::min(text.find_first_of(u"?=", at), text.size());
    const std::u16string_view rest = text.substr(at);
    if (rest.size() >= kMarkerLength && rest[0] == '?' && rest[2] == '?' &&
        std::u16string_view(u"qQbB").find(rest[1]) != npos) {
      state_ = State::kPayload;
      return at + kMarkerLength;
    }
    if (rest.starts_with(u"=?")) {
      result.text += text.substr(word_, at - word_);
      word_ = at;
      return at + kWordStart.size();
    }
    return at + 1;
  }

  std::size_t payload(std::u16string_view text, std::size_t at) {
    const std::size_t end = text.find(u"?=", at);
    if (end == npos) return text.size();
    const std::size_t behind = end + kWordEnd.size();
    word(to_ansi(text.substr(word_, behind - word_)));
    state_ = State::kOutside;
    return behind;
  }

  void word(std::string_view text) {
    const auto shape = shape_of(text);
    if (!shape) return;
    const std::string_view charset = charset_of(text, *shape);
    if (group_.open) {
      const std::u16string_view gap = std::u16string_view(result.text).substr(group_.at);
      const bool adjacent = std::all_of(gap.begin(), gap.end(), is_white);
      if (adjacent) result.text.resize(group_.at);
      if (adjacent && equals_ignoring_case(charset, group_.charset)) {
        group_.bytes += decode_payload(text, *shape);
        return;
      }
      end_group();
    }
    group_ = {true, result.text.size(), std::string(charset), decode_payload(text, *shape)};
  }

  // Puts the text of the words read last where they stood.
  void end_group() {
    if (!group_.open) return;
    group_.open = false;
    const std::u16string behind = result.text.substr(group_.at);
    result.text.resize(group_.at);
    DecodedWord decoded;
    charsets_.decode(std::move(group_.bytes), group_.charset, decoded);
    keep_final(decoded.is_wide ? decoded.wide : to_wide(decoded.bytes));
    result.text += behind;
  }

  void keep_final(std::u16string_view text) {
    const std::size_t begin = result.text.size();
    result.text += text;
    if (!text.empty()) result.final.push_back({begin, result.text.size()});
  }

  // A word that has not ended where its stretch does is text.
  void end_stretch(std::size_t end) {
    if (state_ != State::kCharset && state_ != State::kPayload) return;
    result.text += view(word_, end);
    state_ = State::kOutside;
  }

  const PartlyFinal& source_;
  CharsetDecoder& charsets_;
  bool keep_quotes_;
  State state_ = State::kOutside;
  std::size_t word_ = 0;  // where the word begins that is being read

  // Adjacent words of one charset: their bytes, and where their text belongs in the result.
  struct Group {
    bool open = false;
    std::size_t at = 0;
    std::string charset;
    std::string bytes;
  };
  Group group_;
  bool unquoted_ = false;
};

// Each level of quotes inside quotes doubles the backslashes before them, so no text has more.
constexpr int kMostPasses = 64;

bool has_quotes_or_words(std::string_view text) {
  return text.find('"') != text.npos || text.find(kWordStart) != text.npos;
}

bool names_utf8(const char* charset) {
  return charset != nullptr &&
         (equals_ignoring_case(charset, "utf-8") || equals_ignoring_case(charset, "utf8"));
}

std::string utf8_word(std::u16string_view text) {
  const std::string bytes = platform::narrow(CP_UTF8, text);
  std::string base64;
  CBase64(true).EncodeToString(bytes.data(), static_cast<std::int32_t>(bytes.size()), base64);
  return "=?UTF-8?B?" + base64 + "?=";
}

// The shape of a text that is one encoded word and nothing else, as most names with words are.
std::optional<WordShape> lone_word(std::string_view text) {
  if (text.size() < kShortestWord || !text.starts_with(kWordStart) || !text.ends_with(kWordEnd)) {
    return std::nullopt;
  }
  const std::size_t marker = text.find('?', kWordStart.size());
  const std::size_t end = text.size() - kWordEnd.size();
  // A text of one letter looks like a marker itself.
  if (marker + kMarkerLength + 1 >= end || text[marker + 2] != '?') return std::nullopt;
  if (text.find('?', marker + kMarkerLength) != end || !is_ascii(text)) return std::nullopt;
  if (text.substr(0, marker).find('=', kWordStart.size()) != text.npos) return std::nullopt;
  const char code = static_cast<char>(text[marker + 1] | 0x20);
  if (code != 'q' && code != 'b') return std::nullopt;
  return WordShape{0, marker, end, code == 'q'};
}

std::u16string decode(std::string_view text, bool keep_quotes) {
  if (UsualWord word; word.read(text)) return std::u16string(word.text());
  if (const auto shape = lone_word(text)) {
    DecodedWord word;
    CharsetDecoder().decode(decode_payload(text, *shape), charset_of(text, *shape), word);
    return word.is_wide ? std::move(word.wide) : to_wide(word.bytes);
  }
  PartlyFinal current{to_wide(text), {}};
  if (!has_quotes_or_words(text)) return std::move(current.text);
  CharsetDecoder charsets;
  bool again = true;
  for (int passes = 0; again && passes < kMostPasses; ++passes) {
    Pass pass(current, charsets, keep_quotes);
    again = pass.run();
    current = std::move(pass.result);
  }
  return std::move(current.text);
}

}  // namespace

int EncodeHeaderText(std::u16string_view text, const char* charset, std::string& encoded) {
  encoded.clear();
  if (!names_utf8(charset)) {
    if (text.empty()) return 1;
    const std::string ansi = to_ansi(text);
    if (GetACP() != CP_UTF8 && platform::widen(kWestern, ansi) == text) {
      CQuotedPrintable coder(CQuotedPrintable::HeaderMode{});
      coder.EncodeToString(ansi.data(), static_cast<std::int32_t>(ansi.size()), encoded);
      return 1;
    }
  }
  encoded = utf8_word(text);
  return 1;
}

int DecodeEncodedWord(std::string_view text, DecodedWord& result) {
  result = {};
  const auto shape = shape_of(text);
  if (!shape) return 0;
  const std::string_view prefix = text.substr(0, shape->start);
  const std::string_view suffix = text.substr(shape->end + kWordEnd.size());
  CharsetDecoder().decode(decode_payload(text, *shape), charset_of(text, *shape), result);
  if (result.is_wide) {
    result.wide.insert(0, to_wide(prefix)).append(to_wide(suffix));
  } else {
    result.bytes.insert(0, prefix).append(suffix);
  }
  return 1;
}

std::u16string decode_words(std::string_view text) { return decode(text, false); }

std::u16string decode_words_keeping_quotes(std::string_view text) { return decode(text, true); }

std::string remove_quotes_and_words(std::string_view text) {
  return text.find(kWordStart) == text.npos ? remove_quotes(text) : to_ansi(decode_words(text));
}

void DecodeHeaderText(std::string_view text, std::string& decoded, std::u16string* wide) {
  std::u16string result = decode_words(text);
  decoded = to_ansi(result);
  if (wide != nullptr) *wide = std::move(result);
}

}  // namespace tallowbrook
