#include "cli/html_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <utility>

#include "cli/terminal.h"

namespace tallowbrook::cli {
namespace {

using namespace std::string_view_literals;

// Elements that begin and end a line; those of the second list stand apart by an empty one.
constexpr std::array kLines = {"br"sv,     "div"sv,     "tr"sv,     "li"sv,      "ul"sv,
                               "ol"sv,     "table"sv,   "dt"sv,     "dd"sv,      "section"sv,
                               "center"sv, "article"sv, "header"sv, "footer"sv,  "form"sv,
                               "thead"sv,  "tbody"sv,   "hr"sv,     "caption"sv, "fieldset"sv};
constexpr std::array kParagraphs = {"p"sv,  "h1"sv, "h2"sv,  "h3"sv,        "h4"sv,
                                    "h5"sv, "h6"sv, "pre"sv, "blockquote"sv};
// Elements whose content is no text.
constexpr std::array kSilent = {"script"sv, "style"sv, "title"sv};

struct Entity {
  std::string_view name;
  char32_t character;
};
constexpr std::array<Entity, 44> kEntities = {{
    {"amp", '&'},      {"lt", '<'},       {"gt", '>'},       {"quot", '"'},     {"apos", '\''},
    {"nbsp", 0xA0},    {"copy", 0xA9},    {"reg", 0xAE},     {"trade", 0x2122}, {"euro", 0x20AC},
    {"pound", 0xA3},   {"sect", 0xA7},    {"deg", 0xB0},     {"middot", 0xB7},  {"laquo", 0xAB},
    {"raquo", 0xBB},   {"ndash", 0x2013}, {"mdash", 0x2014}, {"lsquo", 0x2018}, {"rsquo", 0x2019},
    {"ldquo", 0x201C}, {"rdquo", 0x201D}, {"bdquo", 0x201E}, {"bull", 0x2022},  {"hellip", 0x2026},
    {"times", 0xD7},   {"frac12", 0xBD},  {"szlig", 0xDF},   {"auml", 0xE4},    {"ouml", 0xF6},
    {"uuml", 0xFC},    {"Auml", 0xC4},    {"Ouml", 0xD6},    {"Uuml", 0xDC},    {"aacute", 0xE1},
    {"eacute", 0xE9},  {"iacute", 0xED},  {"oacute", 0xF3},  {"uacute", 0xFA},  {"agrave", 0xE0},
    {"egrave", 0xE8},  {"ccedil", 0xE7},  {"ntilde", 0xF1},  {"ecirc", 0xEA},
}};
constexpr std::size_t kLongestEntity = 12;

bool is_blank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\f'; }

std::string lower(std::string_view text) {
  std::string result(text);
  for (char& c : result) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
  return result;
}

template <class List>
bool is_in(const List& list, std::string_view name) {
  return std::find(list.begin(), list.end(), name) != list.end();
}

std::string utf8(char32_t c) {
  if (c == 0 || c > 0x10FFFF) c = 0xFFFD;
  const char16_t low = static_cast<char16_t>(0xDC00 + (c & 0x3FF));
  if (c > 0xFFFF) return to_utf8(std::u16string{static_cast<char16_t>(0xD7C0 + (c >> 10)), low});
  return to_utf8(std::u16string{static_cast<char16_t>(c)});
}

// The character that the reference between "&" and ";" stands for; 0 for one that is not known.
char32_t referenced(std::string_view name) {
  if (!name.starts_with('#')) {
    const auto found = std::find_if(kEntities.begin(), kEntities.end(),
                                    [&](const Entity& entity) { return entity.name == name; });
    return found == kEntities.end() ? 0 : found->character;
  }
  name.remove_prefix(1);
  const bool hex = name.starts_with('x') || name.starts_with('X');
  if (hex) name.remove_prefix(1);
  unsigned number = 0;
  const auto parsed =
      std::from_chars(name.data(), name.data() + name.size(), number, hex ? 16 : 10);
  if (parsed.ec != std::errc() || parsed.ptr != name.data() + name.size()) return 0;
  return number;
}

// The reference that follows an "&": its character, and its length with the ";"; 0, 0 for none.
std::pair<char32_t, std::size_t> reference_at(std::string_view text) {
  const auto close = text.substr(0, kLongestEntity).find(';');
  if (close == text.npos) return {0, 0};
  const char32_t c = referenced(text.substr(0, close));
  return {c, c == 0 ? 0 : close + 1};
}

// The value of an attribute in a tag's text, references resolved; empty when it has none.
std::string attribute(std::string_view tag, std::string_view name) {
  const std::string small = lower(tag);
  const std::string mark = std::string(name) + "=";
  std::size_t at = small.find(mark);
  while (at != small.npos && (at == 0 || !is_blank(small[at - 1]))) at = small.find(mark, at + 1);
  if (at == small.npos) return {};
  std::string_view value = tag.substr(at + mark.size());
  const bool quoted = value.starts_with('"') || value.starts_with('\'');
  value = quoted ? value.substr(1, value.find(value[0], 1) - 1)
                 : value.substr(0, value.find_first_of(" \t\r\n>"));
  std::string text;
  while (!value.empty()) {
    const auto [c, length] =
        value[0] == '&' ? reference_at(value.substr(1)) : std::pair<char32_t, std::size_t>{};
    text += c == 0 ? std::string(1, value[0]) : utf8(c);
    value.remove_prefix(length + 1);
  }
  return text;
}

class Reader {
 public:
  explicit Reader(std::string_view html) : html_(html) {}

  std::string run() {
    while (at_ < html_.size()) {
      if (html_[at_] == '<') {
        markup();
      } else {
        text();
      }
    }
    while (out_.ends_with('\n')) out_.pop_back();
    return std::move(out_);
  }

 private:
  void text() {
    const std::size_t end = std::min(html_.find('<', at_), html_.size());
    while (at_ < end) {
      const char c = html_[at_];
      if (c == '&') {
        reference(end);
        continue;
      }
      ++at_;
      if (!is_blank(c)) {
        put({&c, 1});
      } else if (pre_ > 0) {
        if (c != '\r') put_raw(c);
      } else {
        blank_ = true;
      }
    }
  }

  void reference(std::size_t end) {
    const auto [c, length] = reference_at(html_.substr(at_ + 1, end - at_ - 1));
    at_ += length + 1;
    if (c == 0) return put("&");
    if (c == 0xA0 || c == ' ') {
      blank_ = true;
    } else {
      put(utf8(c));
    }
  }

  // A tag, comment or declaration; a "<" that begins none is text.
  void markup() {
    const std::string_view rest = html_.substr(at_);
    if (rest.starts_with("<!--")) {
      skip_past("-->", at_ + 4);
      return;
    }
    const char next = rest.size() > 1 ? rest[1] : ' ';
    const bool closing = next == '/';
    const char first = closing && rest.size() > 2 ? rest[2] : next;
    if (next == '!' || next == '?') {
      skip_past(">", at_);
    } else if ((first | 0x20) < 'a' || (first | 0x20) > 'z') {
      put("<");
      ++at_;
    } else {
      const std::size_t start = at_ + (closing ? 2 : 1);
      const std::size_t end = end_of_tag(start);
      at_ = std::min(end + 1, html_.size());
      tag(html_.substr(start, end - start), closing);
    }
  }

  // Quoted attributes may hold a ">". A quote that is never closed does not swallow the rest.
  std::size_t end_of_tag(std::size_t from) const {
    const std::size_t plain = std::min(html_.find('>', from), html_.size());
    std::size_t i = from;
    while (i < html_.size() && html_[i] != '>') {
      const char c = html_[i++];
      if ((c != '"' && c != '\'') || html_[i - 2] != '=') continue;
      const std::size_t limit = std::min(i + kLongestAttribute, html_.size());
      const std::size_t close = html_.substr(0, limit).find(c, i);
      if (close == html_.npos) return plain;
      i = close + 1;
    }
    return i;
  }

  void tag(std::string_view text, bool closing) {
    const auto name_end = std::find_if(text.begin(), text.end(),
                                       [](char c) { return is_blank(c) || c == '/' || c == '>'; });
    const auto length = static_cast<std::size_t>(name_end - text.begin());
    const std::string name = lower(text.substr(0, std::min<std::size_t>(length, 16)));
    if (is_in(kSilent, name)) {
      if (!closing) skip_element(name);
    } else if (is_in(kParagraphs, name)) {
      line(2);
      if (name == "pre") pre_ = std::max(0, pre_ + (closing ? -1 : 1));
    } else if (is_in(kLines, name)) {
      line(name == "br" ? -1 : 1);
      if (name == "li" && !closing) put("- ");
      if (name == "hr") put("--------\n");
    } else if (name == "td" || name == "th") {
      blank_ = true;
    } else if (name == "img" && !closing) {
      if (const std::string alt = attribute(text, "alt"); !alt.empty()) put("[" + alt + "]");
    } else if (name == "a") {
      link(text, closing);
    }
  }

  // The address of a link follows its text, unless it is the text.
  void link(std::string_view tag, bool closing) {
    if (closing && !href_.empty()) {
      const std::string_view shown = std::string_view(out_).substr(std::min(link_, out_.size()));
      if (shown.find(href_) == shown.npos) {
        blank_ = true;
        put("<" + href_ + ">");
      }
    }
    href_.clear();
    if (closing) return;
    const std::string href = attribute(tag, "href");
    if (href.starts_with("http") || href.starts_with("mailto:")) href_ = href;
    link_ = out_.size();
  }

  // An element that is never closed is read on; it is looked for only once.
  void skip_element(const std::string& name) {
    const std::size_t start = at_;
    while (!unclosed_) {
      skip_past("</", at_);
      if (at_ < html_.size() && lower(html_.substr(at_, name.size())) == name) {
        skip_past(">", at_);
        return;
      }
      unclosed_ = at_ >= html_.size();
    }
    at_ = start;
  }

  void skip_past(std::string_view mark, std::size_t from) {
    const std::size_t found = html_.find(mark, from);
    at_ = found == html_.npos ? html_.size() : found + mark.size();
  }

  // Ends the line, with an empty line behind it for 2; -1 always adds a line end.
  void line(int count) {
    blank_ = false;
    if (out_.empty()) return;
    if (count < 0) {
      if (!out_.ends_with("\n\n")) out_.push_back('\n');
      return;
    }
    if (!out_.ends_with('\n')) out_.push_back('\n');
    if (count == 2 && !out_.ends_with("\n\n")) out_.push_back('\n');
  }

  void put(std::string_view text) {
    if (blank_ && !out_.empty() && out_.back() != '\n' && out_.back() != ' ') out_.push_back(' ');
    blank_ = false;
    out_.append(text);
  }

  void put_raw(char c) {
    blank_ = false;
    out_.push_back(c);
  }

  static constexpr std::size_t kLongestAttribute = 8192;

  std::string_view html_;
  std::size_t at_ = 0;
  std::string out_;
  bool unclosed_ = false;
  bool blank_ = false;
  int pre_ = 0;
  std::string href_;      // of the link that is open
  std::size_t link_ = 0;  // where its text begins
};

}  // namespace

std::string html_to_text(std::string_view html) { return Reader(html).run(); }

}  // namespace tallowbrook::cli
