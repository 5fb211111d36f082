// A script is read into a list of statements; nothing is changed before all of it has been read.
#include "platform/com/registrar.h"

#include <algorithm>
#include <charconv>
#include <set>
#include <utility>

namespace tallowbrook::platform {
namespace {

constexpr std::string_view kProtected[] = {
    "appid", "clsid", "component categories", "filetype", "interface", "hardware", "mime"};

bool same_word(std::string_view a, std::string_view b) { return fold_case(a) == fold_case(b); }

// `path` begins at its root: a protected key has no backslash.
bool is_protected(std::string_view path) {
  return std::find(std::begin(kProtected), std::end(kProtected), fold_case(path)) !=
         std::end(kProtected);
}

bool is_blank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

int digit_of(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  const int letter = (c | 0x20) - 'a';
  return letter >= 0 && letter < 6 ? letter + 10 : -1;
}

}  // namespace

// Reads by one word of lookahead; blocks are a stack of their own.
class ScriptParser {
 public:
  ScriptParser(std::string_view text, std::span<const ScriptReplacement> replacements,
               std::vector<RegistryScript::Statement>& statements)
      : text_(text), replacements_(replacements), statements_(statements) {}

  void parse() {
    next();
    if (word_.kind == Word::kEnd) fail("the script is empty");
    while (word_.kind != Word::kEnd) {
      const auto root = word_.kind == Word::kText ? root_named(word_.text) : std::nullopt;
      if (!root) fail("\"" + word_.text + "\" is no root key");
      root_ = *root;
      next();
      if (word_.kind != Word::kOpen) fail("a \"{\" is wanted behind the root key");
      parse_block();
    }
  }

 private:
  using Statement = RegistryScript::Statement;
  using What = RegistryScript::What;

  struct Word {
    enum Kind { kEnd, kText, kOpen, kClose, kEquals } kind = kEnd;
    std::string text;
    bool quoted = false;
    std::size_t line = 1;
  };

  [[noreturn]] void fail(std::string text) const { throw ScriptError{word_.line, std::move(text)}; }

  // --- words ---

  void next() {
    while (at_ < text_.size() && is_blank(text_[at_])) step();
    word_ = {};
    word_.line = line_;
    if (at_ == text_.size()) {
      word_.text = "the end of the script";
      return;
    }
    word_.kind = Word::kText;
    word_.quoted = text_[at_] == '\'';
    if (word_.quoted) {
      read_quoted();
      return;
    }
    while (at_ < text_.size() && !is_blank(text_[at_])) read_character();
    if (word_.text == "{") word_.kind = Word::kOpen;
    if (word_.text == "}") word_.kind = Word::kClose;
    if (word_.text == "=") word_.kind = Word::kEquals;
  }

  void step() {
    if (text_[at_++] == '\n') ++line_;
  }

  void read_quoted() {
    for (++at_;;) {
      if (at_ == text_.size() || text_[at_] == '\n') fail("an apostrophe is not closed");
      if (text_[at_] == '\'') {
        ++at_;
        if (at_ == text_.size() || text_[at_] != '\'') return;
      }
      read_character();
    }
  }

  void read_character() {
    if (text_[at_] != '%') {
      word_.text += text_[at_++];
      return;
    }
    const std::size_t end = text_.find_first_of("%\n", at_ + 1);
    if (end == text_.npos || text_[end] != '%') fail("a percent sign is not closed");
    const std::string_view name = text_.substr(at_ + 1, end - at_ - 1);
    at_ = end + 1;
    if (name.empty()) {
      word_.text += '%';
      return;
    }
    const auto found =
        std::find_if(replacements_.begin(), replacements_.end(),
                     [&](const ScriptReplacement& one) { return same_word(one.name, name); });
    if (found == replacements_.end()) fail("nothing stands for %" + std::string(name) + "%");
    word_.text += found->value;
  }

  [[nodiscard]] bool at_keyword(std::string_view keyword) const {
    return word_.kind == Word::kText && !word_.quoted && same_word(word_.text, keyword);
  }

  // --- statements ---

  // From a "{" to its "}", with all blocks inside.
  void parse_block() {
    std::vector<std::string> parents;  // the paths of the keys whose blocks are open
    std::string path;                  // of the key that the statements here are below
    std::string last;                  // of the key that a block may follow
    bool may_open = true;
    do {
      if (word_.kind == Word::kOpen) {
        if (!may_open) fail("a \"{\" without a key before it");
        // Two names may come in front: Software\Classes.
        if (parents.size() == kDeepestKey - 2) fail("keys are nested too deep");
        parents.push_back(path);
        path = last;
        may_open = false;
        next();
      } else if (word_.kind == Word::kClose) {
        path = parents.back();
        parents.pop_back();
        may_open = false;
        next();
      } else {
        may_open = parse_statement(path, &last);
      }
    } while (!parents.empty());
  }

  // True for a key, which a block may follow.
  bool parse_statement(const std::string& parent, std::string* last) {
    Statement statement;
    statement.root = root_;
    for (;;) {
      if (at_keyword("ForceRemove")) {
        statement.force_remove = true;
      } else if (at_keyword("NoRemove")) {
        statement.no_remove = true;
      } else {
        break;
      }
      next();
    }
    if (at_keyword("Val")) {
      if (statement.force_remove) fail("ForceRemove is for keys");
      next();
      statement.what = What::kValue;
      statement.path = parent;
      statement.name = take_text("the name of a value");
      if (parent.empty()) fail("a value needs a key");
      if (word_.kind != Word::kEquals) fail("a \"=\" is wanted behind the name of a value");
      statement.value = take_value();
    } else if (at_keyword("Delete")) {
      if (statement.force_remove || statement.no_remove) fail("Delete stands alone");
      next();
      statement.what = What::kDelete;
      statement.path = take_key(parent);
    } else {
      statement.path = take_key(parent);
      if (word_.kind == Word::kEquals) statement.value = take_value();
    }
    const bool is_key = statement.what == What::kKey;
    if (is_key) *last = statement.path;
    statements_.push_back(std::move(statement));
    return is_key;
  }

  std::string take_text(const char* what) {
    if (word_.kind != Word::kText) fail(std::string(what) + " is wanted, not " + word_.text);
    std::string text = std::move(word_.text);
    next();
    return text;
  }

  std::string take_key(const std::string& parent) {
    if (word_.kind == Word::kText && !valid_key_name(word_.text)) {
      fail("\"" + word_.text + "\" cannot be the name of a key");
    }
    const std::string name = take_text("the name of a key");
    return parent.empty() ? name : parent + "\\" + name;
  }

  RegistryValue take_value() {
    next();
    const std::string type = word_.kind == Word::kText && !word_.quoted ? word_.text : "";
    if (type.size() != 1 || std::string_view("sSdDmMbB").find(type[0]) == std::string_view::npos) {
      fail("a value has the type s, d, m or b");
    }
    next();
    const std::size_t line = word_.line;
    const std::string text = take_text("a value");
    switch (type[0] | 0x20) {
      case 's':
        return text;
      case 'd':
        return number_of(text, line);
      case 'm':
        return texts_of(text);
      default:
        return bytes_of(text, line);
    }
  }

  static std::uint32_t number_of(std::string_view text, std::size_t line) {
    const bool hex = text.size() > 2 && text[0] == '0' && (text[1] | 0x20) == 'x';
    const std::string_view digits = hex ? text.substr(2) : text;
    std::uint32_t number = 0;
    const char* const end = digits.data() + digits.size();
    const auto parsed = std::from_chars(digits.data(), end, number, hex ? 16 : 10);
    if (parsed.ec != std::errc() || parsed.ptr != end) {
      throw ScriptError{line, "\"" + std::string(text) + "\" is no number of 32 bits"};
    }
    return number;
  }

  static std::vector<std::string> texts_of(std::string_view text) {
    std::vector<std::string> texts;
    while (!text.empty()) {
      const std::size_t end = std::min(text.find("\\0"), text.size());
      texts.emplace_back(text.substr(0, end));
      text.remove_prefix(std::min(end + 2, text.size()));
    }
    return texts;
  }

  static std::vector<std::uint8_t> bytes_of(std::string_view text, std::size_t line) {
    std::vector<std::uint8_t> bytes;
    for (std::size_t at = 0; at + 1 < text.size(); at += 2) {
      const int high = digit_of(text[at]);
      const int low = digit_of(text[at + 1]);
      if (high < 0 || low < 0) break;
      bytes.push_back(static_cast<std::uint8_t>(high << 4 | low));
    }
    if (bytes.size() * 2 != text.size()) {
      throw ScriptError{line, "\"" + std::string(text) + "\" is no row of bytes in hexadecimal"};
    }
    return bytes;
  }

  std::string_view text_;
  std::span<const ScriptReplacement> replacements_;
  std::vector<Statement>& statements_;
  RegistryRoot root_ = RegistryRoot::kClasses;
  std::size_t at_ = 0;
  std::size_t line_ = 1;
  Word word_;
};

bool RegistryScript::parse(std::string_view text, std::span<const ScriptReplacement> replacements,
                           ScriptError* error) {
  statements_.clear();
  try {
    ScriptParser(text, replacements, statements_).parse();
  } catch (ScriptError& wrong) {
    statements_.clear();
    *error = std::move(wrong);
    return false;
  }
  mark_keys_to_keep();
  return true;
}

void RegistryScript::mark_keys_to_keep() {
  std::set<std::pair<RegistryRoot, std::string>> kept;
  for (const Statement& statement : statements_) {
    if (!statement.no_remove) continue;
    std::string path = fold_case(statement.path);
    if (statement.what == What::kKey) path.resize(std::min(path.rfind('\\'), path.size()));
    while (kept.emplace(statement.root, path).second && path.find('\\') != path.npos) {
      path.resize(path.rfind('\\'));
    }
  }
  for (Statement& statement : statements_) {
    statement.keeps_below = kept.count({statement.root, fold_case(statement.path)}) != 0;
  }
}

std::vector<RegistryRoot> RegistryScript::roots(bool per_user) const {
  std::vector<RegistryRoot> roots;
  for (const Statement& statement : statements_) {
    const RegistryRoot root = place_of(statement.root, per_user).root;
    if (std::find(roots.begin(), roots.end(), root) == roots.end()) roots.push_back(root);
  }
  return roots;
}

void RegistryScript::run(RegistryEdit& edit, bool per_user) const {
  for (const Statement& statement : statements_) {
    const RegistryPlace place = place_of(statement.root, per_user);
    RegistryTree& tree = edit.tree(place.root);
    const std::string path = std::string(place.prefix) + statement.path;
    const bool removes = statement.what == What::kDelete || statement.force_remove;
    if (removes && !is_protected(statement.path)) tree.remove_key(path);
    if (statement.what == What::kDelete) continue;
    tree.add_key(path);
    if (statement.value) tree.set(path, statement.name, *statement.value);
  }
}

void RegistryScript::undo(RegistryEdit& edit, bool per_user) const {
  for (auto at = statements_.rbegin(); at != statements_.rend(); ++at) {
    if (at->what == What::kDelete || at->no_remove) continue;
    const RegistryPlace place = place_of(at->root, per_user);
    RegistryTree& tree = edit.tree(place.root);
    const std::string path = std::string(place.prefix) + at->path;
    if (at->value) tree.remove_value(path, at->name);
    if (at->what == What::kValue || is_protected(at->path)) continue;
    if (at->force_remove && !at->keeps_below) {
      tree.remove_key(path);
    } else if (!at->keeps_below) {
      tree.remove_empty_key(path);
    }
  }
}

}  // namespace tallowbrook::platform
