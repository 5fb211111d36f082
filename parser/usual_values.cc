#include "parser/usual_values.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <iterator>
#include <string>
#include <utility>

#include "core/text.h"
#include "model/body_part.h"
#include "model/calendar.h"
#include "model/header_block.h"
#include "parser/scanner.h"

namespace tallowbrook {
namespace {

constexpr auto is_blank = [](char c) { return c == ' ' || c == '\t'; };
constexpr auto is_digit = [](char c) { return c >= '0' && c <= '9'; };

constexpr std::array<bool, 256> kTokenBytes = [] {
  std::array<bool, 256> table{};
  for (const char c :
       std::string_view("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789"
                        "!#$%&'*+-.^_`{|}~\x7f")) {
    table[static_cast<unsigned char>(c)] = true;
  }
  for (std::size_t byte = 0x80; byte < table.size(); ++byte) table[byte] = true;
  return table;
}();

// What the readers walk over a text with.
class Cursor {
 public:
  explicit Cursor(std::string_view text) : rest_(text) {}

  [[nodiscard]] bool at_end() const { return rest_.empty(); }
  [[nodiscard]] std::size_t left() const { return rest_.size(); }
  [[nodiscard]] char peek() const { return rest_.empty() ? '\0' : rest_[0]; }
  bool take(char c) {
    if (peek() != c || rest_.empty()) return false;
    rest_.remove_prefix(1);
    return true;
  }
  std::string_view take_count(std::size_t count) {
    const std::string_view taken = rest_.substr(0, count);
    rest_.remove_prefix(taken.size());
    return taken;
  }
  template <class Fits>
  std::string_view take_while(Fits&& fits) {
    std::size_t count = 0;
    while (count < rest_.size() && fits(rest_[count])) ++count;
    return take_count(count);
  }
  // A quoted string on one line without backslashes, with its quotes; empty for anything else.
  std::string_view take_quoted() {
    if (peek() != '"') return {};
    const std::size_t end = rest_.find('"', 1);
    if (end == rest_.npos) return {};
    const std::string_view inside = rest_.substr(1, end - 1);
    for (const char odd : {'\\', '\r', '\n', '\0'}) {
      if (inside.find(odd) != inside.npos) return {};
    }
    return take_count(end + 1);
  }
  bool take_blanks() { return !take_while(is_blank).empty(); }
  // Blanks and folds, and whether there were any. At a line end that begins no fold, or a fold that
  // holds nothing, it stops.
  bool take_space() {
    const std::size_t before = rest_.size();
    for (;;) {
      (void)take_while(is_blank);
      std::string_view fold = rest_;
      if (fold.starts_with('\r')) fold.remove_prefix(1);
      if (!fold.starts_with('\n')) break;
      const std::size_t next = fold.find_first_not_of(" \t", 1);
      if (next == fold.npos || next == 1 || fold[next] == '\r' || fold[next] == '\n') break;
      rest_ = fold.substr(next);
    }
    return rest_.size() != before;
  }

 private:
  std::string_view rest_;
};

// --- dates ---------------------------------------------------------------------------------------

// Three letters in one number, whatever their case; 0 for anything else.
constexpr std::uint32_t letters(std::string_view name) {
  if (name.size() != 3) return 0;
  std::uint32_t packed = 0;
  for (const char c : name) {
    const auto lower = static_cast<unsigned char>(c | 0x20);
    if (lower < 'a' || lower > 'z') return 0;
    packed = packed << 8 | lower;
  }
  return packed;
}

template <std::size_t kCount>
constexpr std::array<std::uint32_t, kCount> all_letters(const char* const (&names)[kCount]) {
  std::array<std::uint32_t, kCount> packed{};
  for (std::size_t i = 0; i < kCount; ++i) packed[i] = letters(names[i]);
  return packed;
}

constexpr auto kWeekdays = all_letters(kWeekdayNames);
constexpr auto kMonths = all_letters(kMonthNames);

// The position of the name, in any letter case, among `names`; their number for none of them.
template <std::size_t kCount>
std::size_t index_of(std::string_view name, const std::array<std::uint32_t, kCount>& names) {
  const std::uint32_t wanted = letters(name);
  std::size_t i = 0;
  while (i < kCount && names[i] != wanted) ++i;
  return i;
}

class DateReader {
 public:
  explicit DateReader(std::string_view text) : text_(text) {}

  bool read(HeaderValue& value) {
    DateFields fields;
    std::string_view zone;
    (void)text_.take_space();
    if (!weekday() || !day(fields) || !clock(fields) || !this->zone(zone) || !nothing_more()) {
      return false;
    }
    value = HeaderValue::date_time(fields, zone);
    return true;
  }

 private:
  bool weekday() {
    if (is_digit(text_.peek())) return true;
    if (index_of(text_.take_count(3), kWeekdays) == kWeekdays.size()) return false;
    return text_.take(',') && text_.take_space();
  }
  bool day(DateFields& fields) {
    if (!number(fields.day, 1, 2) || !text_.take_space()) return false;
    const std::size_t month = index_of(text_.take_count(3), kMonths);
    if (month == kMonths.size() || !text_.take_space()) return false;
    fields.month = static_cast<std::int32_t>(month) + 1;
    return number(fields.year, 4, 4) && fields.year >= 100 && text_.take_space();
  }
  bool clock(DateFields& fields) {
    if (!number(fields.hour, 1, 2) || !text_.take(':') || !number(fields.minute, 2, 2))
      return false;
    if (text_.take(':') && !number(fields.second, 2, 2)) return false;
    return text_.take_space();
  }
  bool zone(std::string_view& zone) {
    if (text_.peek() == '+' || text_.peek() == '-') {
      zone = text_.take_count(5);
      return zone.size() == 5 && std::all_of(zone.begin() + 1, zone.end(), is_digit);
    }
    const std::string_view name = text_.take_while([](char c) { return c >= 'A' && c <= 'Z'; });
    zone = "-0000";
    return name == "GMT" || name == "UT";
  }
  // Behind the zone: blanks and one comment of a word.
  bool nothing_more() {
    if (text_.at_end()) return true;
    if (!text_.take_blanks()) return false;
    if (text_.take('(')) {
      (void)text_.take_while(
          [](char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); });
      if (!text_.take(')')) return false;
    }
    return text_.at_end();
  }
  bool number(std::int32_t& number, std::size_t least, std::size_t most) {
    const std::string_view digits = text_.take_while(is_digit);
    if (digits.size() < least || digits.size() > most) return false;
    number = 0;
    for (const char digit : digits) number = number * 10 + (digit - '0');
    return true;
  }

  Cursor text_;
};

// --- types and dispositions ----------------------------------------------------------------------

// Words that the scanner knows in these values: each may mean something else than itself.
constexpr std::string_view kKeywords[] = {
    "application", "audio",        "image", "message",  "text",       "video",
    "multipart",   "mixed",        "plain", "parallel", "digest",     "alternative",
    "html",        "gif",          "jpeg",  "mpeg",     "basic",      "rfc822",
    "postscript",  "octet-stream", "read",  "partial",  "read-write", "external-body"};

// Parameters that are read in ways of their own.
constexpr std::string_view kOddParameters[] = {"boundary", "access-type", "expiration",
                                               "permission"};

template <std::size_t kCount>
bool is_among(std::string_view word, const std::string_view (&words)[kCount]) {
  return std::any_of(std::begin(words), std::end(words), [word](std::string_view known) {
    return word.size() == known.size() && equals_ignoring_case(word, known);
  });
}

class TypeReader {
 public:
  explicit TypeReader(std::string_view text) : text_(text) {}

  bool type(HeaderValue& value) {
    const HeaderValue major = major_from_name(word());
    const bool message = major.is_integer(kMessage);
    if ((!is_leaf(major) && !message) || !text_.take('/')) return false;
    const std::string_view subtype = word();
    if (message && !equals_ignoring_case(subtype, minor_name(kMessage, kRfc822))) return false;
    if (subtype.empty() || equals_ignoring_case(subtype, major_name(major.number()))) return false;
    return with_parameters(major, minor(major.number(), subtype), value);
  }

  bool multipart(HeaderValue& value, std::string_view& boundary) {
    if (!equals_ignoring_case(word(), major_name(kMultipart)) || !text_.take('/')) return false;
    const std::string_view subtype = word();
    if (subtype.empty()) return false;
    may_have_boundary_ = true;
    if (!with_parameters(HeaderValue::integer(kMultipart), minor(kMultipart, subtype), value)) {
      return false;
    }
    boundary = boundary_;
    return !boundary.empty();
  }

  bool disposition(HeaderValue& value) {
    const std::string_view name = word();
    if (name.empty() || is_among(name, kKeywords)) return false;
    if (!read_parameters()) return false;
    HeaderBlock block(HeaderBlock::room_for_list(2) + HeaderBlock::room_for_text(name.size()) +
                      room_for_parameters());
    value = block.list_for(2);
    HeaderBlock::append(value, block.text(name));
    if (has_parameters_) HeaderBlock::append(value, parameters(block));
    return true;
  }

 private:
  static bool is_token_byte(char c) { return kTokenBytes[static_cast<unsigned char>(c)]; }
  static bool is_leaf(const HeaderValue& major) {
    return major.is(ValueKind::Integer) && major.number() != kMultipart &&
           major.number() != kMessage;
  }
  static HeaderValue minor(std::int32_t major, std::string_view name) {
    for (std::int32_t i = 0; !minor_name(major, i).empty(); ++i) {
      if (equals_ignoring_case(name, minor_name(major, i))) return HeaderValue::integer(i);
    }
    return HeaderValue::text(name);
  }

  bool with_parameters(HeaderValue major, HeaderValue minor, HeaderValue& value) {
    if (!read_parameters()) return false;
    HeaderBlock block(HeaderBlock::room_for_list(3) + room_for_parameters());
    value = block.list(std::move(major), std::move(minor), true);
    if (has_parameters_) HeaderBlock::append(value, parameters(block));
    return true;
  }

  std::string_view word() { return text_.take_while(is_token_byte); }

  // False where more is in the text than usual parameters, or more of it than a block takes.
  bool read_parameters() {
    if (text_.left() > kMostBytes) return false;
    has_parameters_ = !text_.at_end();
    while (!text_.at_end()) {
      if (!separator()) return false;
      if (!text_.at_end() && !parameter()) return false;
    }
    return true;
  }
  [[nodiscard]] std::size_t room_for_parameters() const {
    std::size_t room = has_parameters_ ? HeaderBlock::room_for_map() : 0;
    for (std::size_t i = 0; i < count_; ++i) {
      room += HeaderBlock::room_for_text(parameters_[i].value.size());
    }
    return room;
  }
  HeaderValue parameters(HeaderBlock& block) const {
    HeaderValue map = block.map();
    AddressMap& entries = map.mutable_entries();
    for (std::size_t i = 0; i < count_; ++i) {
      const auto& [name, value] = parameters_[i];
      const bool lower = name == kCharset;
      entries.insert(name, block.text(lower ? std::string_view(to_lower(value)) : value));
    }
    return map;
  }
  bool separator() {
    bool found = text_.take_space();
    while (text_.take(';')) {
      found = true;
      (void)text_.take_space();
    }
    return found;
  }
  bool parameter() {
    if (count_ == kMostParameters) return false;
    auto& [name, value] = parameters_[count_++];
    name = to_lower(word());
    if (name.empty() || !text_.take('=')) return false;
    if (name == "boundary" && may_have_boundary_) return boundary(value);
    const bool charset = name == kCharset;
    if (!charset && (is_among(name, kKeywords) || is_among(name, kOddParameters))) return false;
    return this->value(value, charset);
  }
  bool value(std::string_view& value, bool any_word) {
    const bool quoted = text_.peek() == '"';
    value = quoted ? text_.take_quoted() : word();
    return !value.empty() && (quoted || any_word || !is_among(value, kKeywords));
  }

  // Without quotes it may hold blanks and more than a word: only ";" ends it.
  bool boundary(std::string_view& value) {
    const bool quoted = text_.peek() == '"';
    value = quoted ? text_.take_quoted() : text_.take_while(is_boundary_byte);
    if (value.empty() || (!quoted && !text_.at_end() && text_.peek() != ';')) return false;
    if (boundary_.empty()) boundary_ = value;
    return true;
  }
  static bool is_boundary_byte(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || is_digit(c) || c == '-' ||
           c == '_' || c == '.' || c == '=' || c == '+' || c == '/';
  }

  struct Parameter {
    std::string name;  // in small letters
    std::string_view value;
  };
  static constexpr std::size_t kMostParameters = 6;
  static constexpr std::size_t kMostBytes = 65536;
  static_assert(kMostBytes + 1024 < HeaderBlock::kMostRoom);
  static constexpr std::string_view kCharset = "charset";

  Cursor text_;
  bool may_have_boundary_ = false;
  std::string_view boundary_;  // the first one
  bool has_parameters_ = false;
  std::array<Parameter, kMostParameters> parameters_;
  std::size_t count_ = 0;
};

}  // namespace

bool read_usual_date(std::string_view text, HeaderValue& value) {
  return DateReader(text).read(value);
}

bool read_usual_type(std::string_view text, HeaderValue& value) {
  return TypeReader(text).type(value);
}

bool read_usual_multipart(std::string_view text, HeaderValue& value, std::string& boundary) {
  HeaderValue read;
  std::string_view written;
  if (!TypeReader(text).multipart(read, written)) return false;
  boundary = usable_boundary(written);
  if (boundary.empty()) return false;
  value = std::move(read);
  return true;
}

bool read_usual_disposition(std::string_view text, HeaderValue& value) {
  return TypeReader(text).disposition(value);
}

}  // namespace tallowbrook
