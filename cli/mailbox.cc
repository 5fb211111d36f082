#include "cli/mailbox.h"

#include <CLI/CLI.hpp>
#include <algorithm>

#include "cli/terminal.h"

namespace tallowbrook::cli {
namespace {

constexpr std::string_view kSpecials = "()<>[]:;@\\,.\"";
constexpr std::size_t kLongestPhrase = 500;

[[noreturn]] void refuse(std::string_view text) {
  throw CLI::ValidationError("no mail address: " + printable(text));
}

std::string_view trimmed(std::string_view text) {
  const auto first = text.find_first_not_of(" \t\r\n");
  if (first == text.npos) return {};
  return text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

bool is_ascii_text(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return c >= ' ' && c <= '~'; });
}

// An address of visible ASCII characters without any that would end it; ":" only in a domain
// literal.
bool is_address(std::string_view text) {
  const auto literal = text.find("@[");
  const auto colon = text.find(':');
  return !text.empty() && text.front() != '@' && text.back() != '@' && is_ascii_text(text) &&
         text.find_first_of(" ()<>,;\\\"") == text.npos && (colon == text.npos || colon > literal);
}

// Takes one mailbox off the text, up to the comma behind it.
class Taker {
 public:
  explicit Taker(std::string_view text) : text_(text) {}

  Mailbox take() {
    while (at_ < text_.size() && text_[at_] != ',') one();
    ++at_;
    if (bracketed_) return checked({std::string(trimmed(plain_)), std::string(trimmed(address_))});
    return checked({std::string(trimmed(comment_)), std::string(trimmed(plain_))});
  }
  [[nodiscard]] std::size_t taken() const { return std::min(at_, text_.size()); }

 private:
  void one() {
    const char c = text_[at_++];
    if (c == '"') {
      run('"', plain_);
    } else if (c == '<' && !bracketed_) {
      bracketed_ = true;
      run('>', address_);
    } else if (c == '(') {
      run(')', comment_);
    } else if (c == '<' || c == '>' || c == ')' || c == ';') {
      refuse(text_);
    } else {
      plain_.push_back(c);
    }
  }

  // Up to the closing character; a backslash takes the next one as it is.
  void run(char close, std::string& into) {
    for (; at_ < text_.size(); ++at_) {
      if (text_[at_] == close) {
        ++at_;
        return;
      }
      if (text_[at_] == '\\' && at_ + 1 < text_.size()) ++at_;
      into.push_back(text_[at_]);
    }
    refuse(text_);
  }

  Mailbox checked(Mailbox mailbox) const {
    if (!is_address(mailbox.address)) refuse(text_);
    return mailbox;
  }

  std::string_view text_;
  std::size_t at_ = 0;
  std::string plain_;
  std::string address_;
  std::string comment_;
  bool bracketed_ = false;
};

void append_mailboxes(std::string_view text, std::vector<Mailbox>& list) {
  if (trimmed(text).empty()) refuse(text);
  while (!text.empty()) {
    if (const auto next = text.find_first_not_of(" \t\r\n,"); next == text.npos) return;
    Taker taker(text);
    list.push_back(taker.take());
    text.remove_prefix(taker.taken());
  }
}

}  // namespace

std::vector<Mailbox> parse_mailboxes(std::string_view text) {
  std::vector<Mailbox> list;
  append_mailboxes(text, list);
  return list;
}

std::vector<Mailbox> parse_mailboxes(const std::vector<std::string>& texts) {
  std::vector<Mailbox> list;
  for (const std::string& text : texts) append_mailboxes(text, list);
  return list;
}

std::u16string header_form(const Mailbox& mailbox, const Words& words) {
  const std::string name = unfold(mailbox.name);
  if (name.empty()) return to_utf16(mailbox.address);
  const std::u16string route = to_utf16(" <" + mailbox.address + ">");
  const bool phrase =
      is_ascii_text(name) && name.find("=?") == name.npos && name.size() <= kLongestPhrase;
  if (!phrase) return words.encoded(name) + route;
  if (name.find_first_of(kSpecials) == name.npos) return to_utf16(name) + route;
  std::string quoted = "\"";
  for (const char c : name) {
    if (c == '"' || c == '\\') quoted.push_back('\\');
    quoted.push_back(c);
  }
  return to_utf16(quoted + "\"") + route;
}

}  // namespace tallowbrook::cli
