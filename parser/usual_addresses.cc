#include "parser/usual_addresses.h"

#include <array>
#include <string>
#include <utility>

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

class Reader {
 public:
  explicit Reader(std::string_view text) : at_(text.data()), end_(text.data() + text.size()) {}

  bool list(AddressMap& addresses) {
    do {
      if (!skip_space() || !mailbox() || !skip_space()) return false;
      addresses.insert(address_, name_.empty() ? HeaderValue() : HeaderValue::text(name_));
    } while (take(','));
    return at_ == end_;
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

  // Sets address_ and name_ (empty for none).
  bool mailbox() {
    name_.clear();
    const char* const begin = at_;
    if (dot_atom() && peek() == '@') {
      if (std::string_view(begin, at_).starts_with("=?") || !domain()) return false;
      address_.assign(begin, at_);
      return true;
    }
    at_ = begin;
    while (peek() != '<') {
      if (!word() || !skip_space()) return false;
    }
    return route_address();
  }

  // An atom, a quoted string or an encoded word, which goes to the name.
  bool word() {
    const char* const begin = at_;
    if (take('"')) {
      if (!quoted_rest()) return false;
    } else if (peek() == '=' && at_ + 1 < end_ && at_[1] == '?') {
      if (!encoded_word()) return false;
    } else if (!atom()) {
      return false;
    }
    if (!name_.empty()) name_ += ' ';
    name_.append(begin, at_);
    return true;
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
    address_.assign(begin, at_);
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

  const char* at_;
  const char* const end_;
  std::string address_;
  std::string name_;
};

}  // namespace

bool read_usual_addresses(std::string_view text, HeaderValue& addresses) {
  HeaderValue map = HeaderValue::map();
  if (!Reader(text).list(map.mutable_entries())) return false;
  addresses = std::move(map);
  return true;
}

}  // namespace tallowbrook
