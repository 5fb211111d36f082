#include "cli/routes.h"

#include <algorithm>

namespace tallowbrook::cli {
namespace {

constexpr std::size_t kNone = std::string_view::npos;
constexpr char kGap = '\n';  // white space outside of quotes

bool is_space(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

// Single gaps, and none at the ends and around dots and at signs, where white space has no meaning
// (RFC 5322 section 4.4).
std::string joined(std::string_view words) {
  const auto sticks = [](char c) { return c == '.' || c == '@'; };
  std::string result;
  bool gap = false;
  for (const char c : words) {
    if (c != kGap) {
      if (gap && !result.empty() && !sticks(c) && !sticks(result.back())) result += kGap;
      result += c;
    }
    gap = c == kGap;
  }
  return result;
}

class Reader {
 public:
  explicit Reader(std::string_view text) : text_(text) {}

  std::vector<std::string> read() {
    while (at_ < text_.size()) one();
    end_item();
    return std::move(routes_);
  }

 private:
  void one() {
    const char c = text_[at_];
    if (c == '<') {
      take_brackets();
    } else if (c == ',' || c == ';' || c == ':') {
      ++at_;
      const std::size_t at = words_.find('@');
      const bool mailbox = at != kNone && at > words_.find_first_not_of(kGap);
      const bool group = c == ':' && !mailbox;
      if (group) words_.clear();  // its name
      if (!group) end_item();
    } else {
      take(words_);
    }
  }

  // Takes a character, or a comment, a quoted string or a domain literal as a whole.
  void take(std::string& words) {
    const char c = text_[at_];
    const std::size_t end = end_of_run(words);
    if (end == kNone || c == '(') {
      const bool gap = end != kNone || is_space(c) || c == '>';
      if (gap || c != '\0') words += gap ? kGap : c;
    } else {
      const std::string_view run = text_.substr(at_, end - at_);
      std::copy_if(run.begin(), run.end(), std::back_inserter(words),
                   [](char inside) { return inside != '\r' && inside != '\n' && inside != '\0'; });
    }
    at_ = end == kNone ? at_ + 1 : end;
  }

  // The place behind the run that begins here, npos where none does. One that is not closed is
  // none, nor is any later one of its kind, so that no text is searched again and again.
  std::size_t end_of_run(std::string_view before) {
    const char open = text_[at_];
    if ((open != '"' && open != '(' && open != '[') || unclosed_.find(open) != kNone) return kNone;
    if (open == '[' && !before.substr(0, before.find_last_not_of(kGap) + 1).ends_with('@')) {
      return kNone;
    }
    const char close = open == '(' ? ')' : open == '[' ? ']' : open;
    std::size_t depth = 1;
    for (std::size_t i = at_ + 1; i < text_.size(); ++i) {
      if (text_[i] == '\\') {
        ++i;
      } else if (text_[i] == close) {
        if (--depth == 0) return i + 1;
      } else if (text_[i] == '(' && open == '(') {
        ++depth;
      }
    }
    unclosed_ += open;
    return kNone;
  }

  // Up to the ">". Where there is none before the next "<", up to the next separator.
  void take_brackets() {
    const std::size_t start = ++at_;
    words_.clear();
    std::string address;
    while (at_ < text_.size() && text_[at_] != '>' && text_[at_] != '<') take(address);
    const bool closed = at_ < text_.size() && text_[at_] == '>';
    if (closed) {
      ++at_;
    } else {
      at_ = std::min(at_, text_.substr(0, at_).find_first_of(",;", start));
      address = text_.substr(start, at_ - start);
      std::replace_if(address.begin(), address.end(), is_space, kGap);
    }
    if (closed && address.empty()) {
      routes_.emplace_back("<>");
    } else {
      found_ = add(joined(address)) || found_;
    }
  }

  void end_item() {
    const std::string words = joined(words_);
    for (std::size_t at = 0; at < words.size();) {
      const std::size_t end = std::min(words.find(kGap, at), words.size());
      const std::string word = words.substr(at, end - at);
      if (word.find('@') != kNone) found_ = add(word) || found_;
      at = end + 1;
    }
    if (!found_) add(words);
    words_.clear();
    found_ = false;
  }

  // Adds an address without its route, or the "mailto" of a link. False for nothing.
  bool add(std::string address) {
    const std::size_t colon = address.find(':');
    const bool route = !address.empty() && address[0] == '@';
    if (colon != kNone && address[0] != '"' && (route || colon < address.find('@'))) {
      address.erase(0, colon + 1);
    }
    if (address.empty()) return false;
    std::replace(address.begin(), address.end(), kGap, ' ');
    routes_.push_back("<" + address + ">");
    return true;
  }

  std::string_view text_;
  std::size_t at_ = 0;
  std::string unclosed_;
  std::string words_;   // of the present item, outside of brackets
  bool found_ = false;  // a mailbox in it
  std::vector<std::string> routes_;
};

}  // namespace

std::vector<std::string> routes_in(std::string_view field) { return Reader(field).read(); }

}  // namespace tallowbrook::cli
