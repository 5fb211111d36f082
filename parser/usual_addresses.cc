#include "parser/usual_addresses.h"

#include <array>
#include <bit>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "core/text.h"
#include "model/address_list.h"
#include "parser/address_marks.h"

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

// Bits for the places below `end`, which is below 64.
constexpr std::uint64_t below(std::size_t end) { return (std::uint64_t{1} << end) - 1; }

// True when the bytes in between, of which none is other, are two dot-atoms around an "@".
bool is_address(const AddressMarks& marks, std::size_t begin, std::size_t end) {
  if (begin >= end) return false;
  const std::uint64_t inside = below(end) & ~below(begin);
  const std::uint64_t dots = marks.dots & inside;
  const std::uint64_t edges = std::uint64_t{1} << begin | std::uint64_t{1} << (end - 1);
  const std::uint64_t ats = marks.ats & inside;
  const bool one_at = ats != 0 && (ats & (ats - 1)) == 0;
  return one_at && ((dots & dots << 1) | (dots & edges)) == 0;
}

class Reader {
 public:
  explicit Reader(std::string_view text)
      : begin_(text.data()), at_(text.data()), end_(text.data() + text.size()) {
    constexpr std::size_t kUsualSize = 40;  // of a mailbox in the text
    mailboxes_.reserve(text.size() / kUsualSize + 1);
  }

  bool list() {
    do {
      if (!skip_one_space() && !skip_space()) return false;
      // Made in its place: a copy right behind the writes of its parts would wait for them.
      mailbox_ = &mailboxes_.emplace_back();
      if (!short_mailbox() && !(mailbox() && skip_space())) return false;
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

  // A blank or a fold by one, as they stand behind nearly all commas. False, with nothing read, for
  // any other white space.
  bool skip_one_space() {
    if (end_ - at_ < 4) return false;
    const std::string_view here(at_, 4);
    const std::size_t size = here.starts_with("\r\n ") ? 3
                             : here.starts_with("\n ") ? 2
                             : here.starts_with(' ')   ? 1
                                                       : 0;
    if (size == 0 || at_[size] <= ' ') return false;
    at_ += size;
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

  // A mailbox of the most usual forms with the comma next behind it: its name, if that is no
  // encoded word, and its address each within 64 bytes. False, with nothing read, for any other.
  bool short_mailbox() {
    using Form = AddressList::NameForm;
    const auto left = static_cast<std::size_t>(end_ - at_);
    if (left < AddressMarks::kSize) return false;
    AddressMarks marks = mark_(at_);
    if (marks.other == 0) return false;
    const auto first = static_cast<std::size_t>(std::countr_zero(marks.other));
    if (at_[first] == ',') return take_mailbox(marks, 0, Form::kPlain, 0, first);
    std::size_t open = 0;  // "<"
    Form form = Form::kPlain;
    if (first > 0 || *at_ != '<') {
      if (first > 0) {
        open = end_of_atoms(marks);
      } else if (*at_ == '"') {
        open = end_of_quoted(marks);
        form = Form::kQuoted;
      } else {
        open = end_of_encoded();
        form = Form::kAny;
      }
      if (open == 0 || open >= left || at_[open] != '<' || at_[open - 1] != ' ') return false;
      if (open < AddressMarks::kSize) marks = marks.from(open);
    }
    std::uint64_t behind_open = marks.other & (marks.other - 1);
    if (open > 0 && (behind_open == 0 || open >= AddressMarks::kSize)) {
      if (left - open < AddressMarks::kSize) return false;
      marks = mark_(at_ + open);
      behind_open = marks.other & (marks.other - 1);
    }
    if (behind_open == 0) return false;
    const std::size_t close = open + static_cast<std::size_t>(std::countr_zero(behind_open));
    if (close + 1 >= left || at_[close] != '>' || at_[close + 1] != ',') return false;
    return take_mailbox(marks, open == 0 ? 0 : open - 1, form, open, close + 1);
  }
  // Where the first byte behind the name and a blank is; 0 when the name is no such one.
  //
  // Atoms with a blank between two of them.
  static std::size_t end_of_atoms(const AddressMarks& here) {
    const std::uint64_t words_end = here.other & ~here.blanks;
    if (words_end == 0) return 0;
    const auto end = static_cast<std::size_t>(std::countr_zero(words_end));
    const std::uint64_t blanks = here.blanks & below(end);
    return ((blanks & blanks << 1) | (here.dots & below(end))) == 0 ? end : 0;
  }
  // A quoted string that is shown as it is.
  [[nodiscard]] std::size_t end_of_quoted(const AddressMarks& here) const {
    std::uint64_t marks = here.other & ~here.blanks;
    for (;;) {
      marks &= marks - 1;
      if (marks == 0) return 0;
      const auto place = static_cast<std::size_t>(std::countr_zero(marks));
      const char c = at_[place];
      if (c == '"') return place + 2;
      if (c < ' ' || c == '\\' || c == '=')
        return 0;  // control characters, those above 0x7F as well
    }
  }
  // An encoded word.
  std::size_t end_of_encoded() {
    const char* const begin = at_;
    const bool whole = at_[0] == '=' && at_[1] == '?' && encoded_word();
    const char* const end = std::exchange(at_, begin);
    return whole ? static_cast<std::size_t>(end - begin) + 1 : 0;
  }
  // The address reaches from `begin` to `end`, with its brackets; the marks begin with it.
  bool take_mailbox(const AddressMarks& marks, std::size_t name_size, AddressList::NameForm form,
                    std::size_t begin, std::size_t end) {
    const std::size_t bracket = at_[begin] == '<' ? 1 : 0;
    if (!is_address(marks, bracket, end - begin - bracket)) return false;
    const auto start = static_cast<std::uint32_t>(at_ - begin_);
    mailbox_->address = start + static_cast<std::uint32_t>(begin);
    mailbox_->address_size = static_cast<std::uint32_t>(end - begin);
    mailbox_->name = start;
    mailbox_->name_size = name_size & (AddressList::kMostText - 1);
    mailbox_->name_form = static_cast<std::uint8_t>(form) & 3U;
    at_ += end;
    return true;
  }

  bool mailbox() {
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
    mailbox_->address = static_cast<std::uint32_t>(begin - begin_);
    mailbox_->address_size = static_cast<std::uint32_t>(at_ - begin);
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
      form = is_ascii({begin, at_}) ? AddressList::NameForm::kQuoted : AddressList::NameForm::kAny;
    } else if (peek() == '=' && at_ + 1 < end_ && at_[1] == '?') {
      if (!encoded_word()) return false;
    } else if (!atom()) {
      return false;
    }
    // Such words are decoded wherever they begin.
    const bool bare = std::string_view(begin, at_).find("=?") == std::string_view::npos;
    if (!bare) form = AddressList::NameForm::kAny;
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
    mailbox_->name = static_cast<std::uint32_t>(start);
    mailbox_->name_size = size & (AddressList::kMostText - 1);
    mailbox_->name_form = static_cast<std::uint8_t>(name.form) & 3U;
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
    if (whole.find('\n') != whole.npos || whole.find('\r') != whole.npos) return false;
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

  const MarkAddresses mark_ = fastest_address_marks();
  const char* const begin_;
  const char* at_;
  const char* const end_;
  AddressList::Mailbox* mailbox_ = nullptr;  // that is read
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
