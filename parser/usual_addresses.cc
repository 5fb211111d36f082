#include "parser/usual_addresses.h"

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include <array>
#include <bit>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "model/address_list.h"

namespace tallowbrook {
namespace {

constexpr std::array<bool, 256> kAtomText = [] {
  std::array<bool, 256> table{};
  for (const char c :
       std::string_view("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789"
                        "!#$%&'*+-/=?^_`{|}~\x7f")) {
    table[static_cast<unsigned char>(c)] = true;
  }
  return table;
}();

bool is_atom_text(char c) { return kAtomText[static_cast<unsigned char>(c)]; }

// What stands where in the 64 bytes from a place on, one bit for each byte.
class Window {
 public:
  static constexpr std::size_t kSize = 64;

  explicit Window(const char* bytes);

  // The first byte from `from` on that is no plain atom text nor "." or "@"; kSize when there is
  // none. "=" is none, since an encoded word may begin with it.
  [[nodiscard]] std::size_t find_other(std::size_t from) const {
    if (from >= kSize || other_ >> from == 0) return kSize;
    return from + static_cast<std::size_t>(std::countr_zero(other_ >> from));
  }
  // True when the bytes in between, of which none is other, are two dot-atoms around an "@".
  [[nodiscard]] bool is_address(std::size_t begin, std::size_t end) const {
    if (begin >= end) return false;
    const std::uint64_t inside = below(end) & ~below(begin);
    const std::uint64_t dots = dots_ & inside;
    const std::uint64_t edges = std::uint64_t{1} << begin | std::uint64_t{1} << (end - 1);
    const std::uint64_t ats = ats_ & inside;
    const bool one_at = ats != 0 && (ats & (ats - 1)) == 0;
    return one_at && ((dots & dots << 1) | (dots & edges)) == 0;
  }
  [[nodiscard]] bool has_dots(std::size_t end) const { return (dots_ & below(end)) != 0; }

 private:
  [[nodiscard]] static std::uint64_t below(std::size_t end) {
    return end >= kSize ? ~std::uint64_t{0} : (std::uint64_t{1} << end) - 1;
  }

  std::uint64_t other_ = 0;
  std::uint64_t dots_ = 0;  // "." and "@"
  std::uint64_t ats_ = 0;   // "@"
};

#ifdef __SSE2__

Window::Window(const char* bytes) {
  const auto is = [](__m128i block, char c) { return _mm_cmpeq_epi8(block, _mm_set1_epi8(c)); };
  const auto is_between = [](__m128i block, char first, char last) {
    const __m128i from_first = _mm_sub_epi8(block, _mm_set1_epi8(first));
    const __m128i capped = _mm_min_epu8(from_first, _mm_set1_epi8(static_cast<char>(last - first)));
    return _mm_cmpeq_epi8(from_first, capped);
  };
  const auto either = [](__m128i a, __m128i b) { return _mm_or_si128(a, b); };
  for (std::size_t at = 0; at < kSize; at += sizeof(__m128i)) {
    const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + at));
    const auto bits_of = [at](__m128i found) {
      return std::uint64_t{static_cast<std::uint16_t>(_mm_movemask_epi8(found))} << at;
    };
    const __m128i low_or_8bit = _mm_cmplt_epi8(block, _mm_set1_epi8('!'));
    const __m128i text_marks =
        either(is(block, '"'), either(is(block, ','), is_between(block, '(', ')')));
    const __m128i brackets = either(is_between(block, ':', '>'), is_between(block, '[', ']'));
    const __m128i at_sign = is(block, '@');
    other_ |= bits_of(either(low_or_8bit, either(text_marks, brackets)));
    ats_ |= bits_of(at_sign);
    dots_ |= bits_of(either(at_sign, is(block, '.')));
  }
}

#else

Window::Window(const char* bytes) {
  for (std::size_t at = 0; at < kSize; ++at) {
    const char c = bytes[at];
    const std::uint64_t bit = std::uint64_t{1} << at;
    if (c == '@') ats_ |= bit;
    if (c == '.' || c == '@') {
      dots_ |= bit;
    } else if (c == '=' || !is_atom_text(c)) {
      other_ |= bit;
    }
  }
}

#endif

class Reader {
 public:
  explicit Reader(std::string_view text)
      : begin_(text.data()), at_(text.data()), end_(text.data() + text.size()) {}

  bool list() {
    do {
      if (!skip_space()) return false;
      if (!short_mailbox() && !(mailbox() && skip_space())) return false;
      mailboxes_.push_back(mailbox_);
    } while (take(','));
    return at_ == end_;
  }

  // What was read, with its texts.
  [[nodiscard]] std::shared_ptr<AddressList> taken() {
    std::string texts;
    texts.reserve(text_size() + joined_.size());
    texts.append(begin_, end_).append(joined_);
    return std::make_shared<AddressList>(std::move(texts), std::move(mailboxes_));
  }

 private:
  [[nodiscard]] char peek() const { return at_ < end_ ? *at_ : '\0'; }
  bool take(char c) {
    if (at_ == end_ || *at_ != c) return false;
    ++at_;
    return true;
  }

  // White space and folds. False at a line end that begins no fold, or a fold that holds nothing.
  bool skip_space() {
    while (at_ < end_) {
      if (*at_ == ' ' || *at_ == '\t') {
        ++at_;
      } else if (*at_ == '\r' || *at_ == '\n') {
        if (!take_fold()) return false;
      } else {
        break;
      }
    }
    return true;
  }
  bool take_fold() {
    if (*at_ == '\r') ++at_;
    if (!take('\n') || (peek() != ' ' && peek() != '\t')) return false;
    while (peek() == ' ' || peek() == '\t') ++at_;
    return at_ < end_ && *at_ != '\r' && *at_ != '\n';
  }

  // A mailbox of the most usual forms that ends within 64 bytes, with the comma next behind it.
  // False, with nothing read, for any other.
  bool short_mailbox() {
    if (static_cast<std::size_t>(end_ - at_) < Window::kSize) return false;
    using Form = AddressList::NameForm;
    const Window here(at_);
    std::size_t open = here.find_other(0);  // "<", when it is one of the other forms
    Form form = Form::kPlain;
    if (open > 0) {
      if (open < Window::kSize && at_[open] == ',') return take_mailbox(here, 0, form, 0, open);
      // Atoms with a blank between two of them.
      while (open < Window::kSize && at_[open] == ' ' && at_[open - 1] != ' ') {
        open = here.find_other(open + 1);
      }
      if (open == Window::kSize || at_[open - 1] != ' ' || here.has_dots(open)) return false;
    } else if (*at_ == '"') {
      std::size_t close = here.find_other(1);
      while (close < Window::kSize && is_quotable(at_[close])) close = here.find_other(close + 1);
      if (close + 2 >= Window::kSize || at_[close] != '"' || at_[close + 1] != ' ') return false;
      open = close + 2;
      form = Form::kQuoted;
    }
    if (at_[open] != '<') return false;
    const std::size_t close = here.find_other(open + 1);
    if (close + 1 >= Window::kSize || at_[close] != '>' || at_[close + 1] != ',') return false;
    const std::size_t name_size = open == 0 ? 0 : open - 1;
    return take_mailbox(here, name_size, form, open, close + 1);
  }
  // Something other than atoms that may stand in a quoted string that is shown as it is.
  static bool is_quotable(char c) {
    return c != '"' && c != '\\' && c != '\r' && c != '\n' && c != '=';
  }
  // The address reaches from `begin` to `end`, with its brackets.
  bool take_mailbox(const Window& here, std::size_t name_size, AddressList::NameForm form,
                    std::size_t begin, std::size_t end) {
    const std::size_t bracket = at_[begin] == '<' ? 1 : 0;
    if (!here.is_address(begin + bracket, end - bracket)) return false;
    const auto start = static_cast<std::uint32_t>(at_ - begin_);
    mailbox_.address = start + static_cast<std::uint32_t>(begin);
    mailbox_.address_size = static_cast<std::uint32_t>(end - begin);
    mailbox_.name = start;
    mailbox_.name_size = name_size & (AddressList::kMostText - 1);
    mailbox_.name_form = static_cast<std::uint8_t>(form) & 3U;
    at_ += end;
    return true;
  }

  bool mailbox() {
    mailbox_ = {};
    const char* const begin = at_;
    if (dot_atom() && peek() == '@') {
      if (std::string_view(begin, at_).starts_with("=?") || !domain()) return false;
      set_address(begin);
      return true;
    }
    at_ = begin;
    Name name;
    while (peek() != '<') {
      if (!word(name) || !skip_space()) return false;
    }
    set_name(name);
    return route_address();
  }

  void set_address(const char* begin) {
    mailbox_.address = static_cast<std::uint32_t>(begin - begin_);
    mailbox_.address_size = static_cast<std::uint32_t>(at_ - begin);
  }

  // The words of a display name: as they stand in the field while just one blank is between them,
  // and put together in `joined_` from where that is not so.
  struct Name {
    const char* begin = nullptr;
    const char* end = nullptr;
    bool joined = false;
    int words = 0;
    AddressList::NameForm form = AddressList::NameForm::kPlain;
  };

  // An atom, a quoted string or an encoded word.
  bool word(Name& name) {
    const char* const begin = at_;
    auto form = AddressList::NameForm::kPlain;
    if (take('"')) {
      if (!quoted_rest()) return false;
      const bool bare = std::string_view(begin, at_).find("=?") == std::string_view::npos;
      form = bare ? AddressList::NameForm::kQuoted : AddressList::NameForm::kAny;
    } else if (peek() == '=' && at_ + 1 < end_ && at_[1] == '?') {
      if (!encoded_word()) return false;
      form = AddressList::NameForm::kAny;
    } else if (!atom()) {
      return false;
    }
    add_word(name, begin, form);
    return true;
  }

  void add_word(Name& name, const char* begin, AddressList::NameForm form) {
    if (++name.words == 1) {
      name.begin = begin;
      name.form = form;
    } else {
      if (form != AddressList::NameForm::kPlain) name.form = AddressList::NameForm::kAny;
      if (name.form != AddressList::NameForm::kPlain) name.form = AddressList::NameForm::kAny;
      if (!name.joined && !(begin == name.end + 1 && *name.end == ' ')) {
        name.joined = true;
        joined_start_ = joined_.size();
        joined_.append(name.begin, name.end);
      }
      if (name.joined) joined_.append(1, ' ').append(begin, at_);
    }
    name.end = at_;
  }

  void set_name(const Name& name) {
    if (name.words == 0) return;
    const std::size_t start =
        name.joined ? text_size() + joined_start_ : static_cast<std::size_t>(name.begin - begin_);
    const std::size_t size = name.joined ? joined_.size() - joined_start_
                                         : static_cast<std::size_t>(name.end - name.begin);
    mailbox_.name = static_cast<std::uint32_t>(start);
    mailbox_.name_size = size & (AddressList::kMostText - 1);
    mailbox_.name_form = static_cast<std::uint8_t>(name.form) & 3U;
  }
  bool quoted_rest() {
    for (; at_ < end_ && *at_ != '\r' && *at_ != '\n'; ++at_) {
      if (*at_ == '"') {
        ++at_;
        return true;
      }
      if (*at_ == '\\') return false;
    }
    return false;
  }
  // "=?" charset "?" letter "?" text "?=" on one line.
  bool encoded_word() {
    const std::string_view rest(at_, end_);
    const std::size_t charset_end = rest.find('?', 2);
    if (charset_end == rest.npos || charset_end == 2 || charset_end + 2 >= rest.size() ||
        rest[charset_end + 2] != '?') {
      return false;
    }
    const std::size_t close = rest.find("?=", charset_end + 3);
    if (close == rest.npos) return false;
    const std::string_view whole = rest.substr(0, close + 2);
    if (whole.find_first_of("\r\n") != whole.npos) return false;
    at_ += whole.size();
    return true;
  }

  bool route_address() {
    const char* const begin = at_++;
    if (std::string_view(at_, end_).starts_with("=?") || !dot_atom() || peek() != '@' ||
        !domain() || !take('>')) {
      return false;
    }
    set_address(begin);
    return true;
  }
  bool domain() {
    ++at_;
    return dot_atom();
  }
  bool dot_atom() {
    do {
      if (peek() == '=' && at_ + 1 < end_ && at_[1] == '?') return false;
      if (!atom()) return false;
    } while (take('.'));
    return true;
  }
  bool atom() {
    const char* const begin = at_;
    while (at_ < end_ && is_atom_text(*at_)) ++at_;
    return at_ != begin;
  }

  [[nodiscard]] std::size_t text_size() const { return static_cast<std::size_t>(end_ - begin_); }

  const char* const begin_;
  const char* at_;
  const char* const end_;
  AddressList::Mailbox mailbox_;
  std::vector<AddressList::Mailbox> mailboxes_;
  std::string joined_;  // names that do not stand in the field as they are to be
  std::size_t joined_start_ = 0;
};

}  // namespace

bool read_usual_addresses(std::string_view text, HeaderValue& addresses) {
  // Names that are put together are no longer than they were.
  if (text.size() >= AddressList::kMostText / 2) return false;
  Reader reader(text);
  if (!reader.list()) return false;
  const auto list = reader.taken();
  list->sort();
  addresses = HeaderValue::map(list);
  return true;
}

}  // namespace tallowbrook
