// The tree of one root, and its text form.
#include "platform/com/registry.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>

namespace tallowbrook::platform {
namespace {

// Stands for the backslash in folded paths: below every character that a name can have, so that
// what is below a key follows it at once.
constexpr char kSeparator = '\x01';
constexpr std::size_t kLongestName = 255;

constexpr std::array<RegistryRootName, kRegistryRoots> kRootNames{{
    {"HKCR", "HKEY_CLASSES_ROOT"},
    {"HKCU", "HKEY_CURRENT_USER"},
    {"HKLM", "HKEY_LOCAL_MACHINE"},
    {"HKU", "HKEY_USERS"},
    {"HKPD", "HKEY_PERFORMANCE_DATA"},
    {"HKDD", "HKEY_DYN_DATA"},
    {"HKCC", "HKEY_CURRENT_CONFIG"},
}};

// Keys that are there on every system, as folded paths with backslashes.
constexpr std::string_view kStandingKeys[] = {
    "software",
    "software\\classes",
    "software\\classes\\appid",
    "software\\classes\\clsid",
    "software\\classes\\component categories",
    "software\\classes\\filetype",
    "software\\classes\\hardware",
    "software\\classes\\interface",
    "software\\classes\\mime",
    "software\\classes\\typelib",
};

bool is_control(char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }

std::string fold_path(std::string_view path) {
  std::string folded = fold_case(path);
  std::replace(folded.begin(), folded.end(), '\\', kSeparator);
  return folded;
}

bool valid_path(std::string_view path) {
  for (std::size_t names = 0; names < kDeepestKey; ++names) {
    const std::size_t end = path.find('\\');
    if (!valid_key_name(path.substr(0, end))) return false;
    if (end == path.npos) return true;
    path.remove_prefix(end + 1);
  }
  return false;
}

bool is_below(std::string_view folded, std::string_view parent) {
  return folded.size() > parent.size() && folded[parent.size()] == kSeparator &&
         folded.substr(0, parent.size()) == parent;
}

// --- writing -------------------------------------------------------------------------------------

void append_quoted(std::string& out, std::string_view text) {
  out += '"';
  for (const char c : text) {
    const std::size_t letter = std::string_view("\n\r\t\"\\").find(c);
    if (letter != std::string_view::npos) {
      out += '\\';
      out += "nrt\"\\"[letter];
    } else if (is_control(c)) {
      char escape[5];
      std::snprintf(escape, sizeof escape, "\\x%02x", static_cast<unsigned>(c) & 0xFF);
      out += escape;
    } else {
      out += c;
    }
  }
  out += '"';
}

void append_value(std::string& out, const RegistryValue& value) {
  char digits[16];
  switch (value.type) {
    case RegistryValue::Type::kText:
      append_quoted(out, value.text);
      return;
    case RegistryValue::Type::kNumber:
      std::snprintf(digits, sizeof digits, "dword:%08x", value.number);
      out += digits;
      return;
    case RegistryValue::Type::kTexts:
      out += "list:";
      for (std::size_t at = 0; at < value.texts.size(); ++at) {
        if (at > 0) out += ',';
        append_quoted(out, value.texts[at]);
      }
      return;
    case RegistryValue::Type::kBytes:
      out += "hex:";
      for (std::size_t at = 0; at < value.bytes.size(); ++at) {
        std::snprintf(digits, sizeof digits, at > 0 ? ",%02x" : "%02x", value.bytes[at]);
        out += digits;
      }
      return;
  }
}

// --- reading: each takes what it understands off the front of `line` -----------------------------

bool take(std::string_view& line, std::string_view prefix) {
  if (line.substr(0, prefix.size()) != prefix) return false;
  line.remove_prefix(prefix.size());
  return true;
}

bool take_hex(std::string_view& line, std::size_t digits, std::uint32_t* number) {
  if (line.size() < digits) return false;
  const auto parsed = std::from_chars(line.data(), line.data() + digits, *number, 16);
  if (parsed.ec != std::errc() || parsed.ptr != line.data() + digits) return false;
  line.remove_prefix(digits);
  return true;
}

bool take_quoted(std::string_view& line, std::string* text) {
  if (!take(line, "\"")) return false;
  text->clear();
  while (!line.empty() && line[0] != '"') {
    char c = line[0];
    line.remove_prefix(1);
    if (c == '\\') {
      if (line.empty()) return false;
      const std::size_t letter = std::string_view("nrt\"\\").find(line[0]);
      std::uint32_t number = 0;
      if (letter != std::string_view::npos) {
        c = "\n\r\t\"\\"[letter];
        line.remove_prefix(1);
      } else if (take(line, "x") && take_hex(line, 2, &number)) {
        c = static_cast<char>(number);
      } else {
        return false;
      }
    }
    text->push_back(c);
  }
  return take(line, "\"");
}

bool take_value(std::string_view& line, RegistryValue* value) {
  if (take(line, "dword:")) {
    std::uint32_t number = 0;
    if (!take_hex(line, 8, &number)) return false;
    *value = number;
  } else if (take(line, "list:")) {
    std::vector<std::string> texts;
    while (!line.empty()) {
      if (!texts.empty() && !take(line, ",")) return false;
      if (!take_quoted(line, &texts.emplace_back())) return false;
    }
    *value = std::move(texts);
  } else if (take(line, "hex:")) {
    std::vector<std::uint8_t> bytes;
    while (!line.empty()) {
      std::uint32_t byte = 0;
      if ((!bytes.empty() && !take(line, ",")) || !take_hex(line, 2, &byte)) return false;
      bytes.push_back(static_cast<std::uint8_t>(byte));
    }
    *value = std::move(bytes);
  } else {
    std::string text;
    if (!take_quoted(line, &text)) return false;
    *value = std::move(text);
  }
  return line.empty();
}

}  // namespace

RegistryRootName name_of(RegistryRoot root) { return kRootNames[static_cast<std::size_t>(root)]; }

std::optional<RegistryRoot> root_named(std::string_view name) {
  const std::string wanted = fold_case(name);
  for (std::size_t at = 0; at < kRegistryRoots; ++at) {
    if (wanted == fold_case(kRootNames[at].short_name) ||
        wanted == fold_case(kRootNames[at].long_name)) {
      return static_cast<RegistryRoot>(at);
    }
  }
  return std::nullopt;
}

bool valid_key_name(std::string_view name) {
  return !name.empty() && name.size() <= kLongestName && name.find('\\') == name.npos &&
         std::none_of(name.begin(), name.end(), is_control);
}

std::string fold_case(std::string_view text) {
  std::string folded(text);
  for (char& c : folded) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return folded;
}

RegistryPlace place_of(RegistryRoot root, bool per_user) {
  if (root != RegistryRoot::kClasses) return {root, {}};
  return {per_user ? RegistryRoot::kCurrentUser : RegistryRoot::kLocalMachine,
          "Software\\Classes\\"};
}

RegistryTree RegistryTree::parse(std::string_view text, std::size_t* bad_line) {
  RegistryTree tree;
  *bad_line = 0;
  std::optional<std::string> key;
  for (std::size_t number = 1; !text.empty(); ++number) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    if (line.empty() || line[0] == ';') continue;
    bool understood = false;
    if (line[0] == '[') {
      key.reset();
      understood =
          line.size() > 2 && line.back() == ']' && valid_path(line.substr(1, line.size() - 2));
      if (understood) tree.add_key(key.emplace(line.substr(1, line.size() - 2)));
    } else if (key) {
      std::string name;
      RegistryValue value;
      understood = (take(line, "@") || take_quoted(line, &name)) && take(line, "=") &&
                   take_value(line, &value);
      if (understood) tree.set(*key, name, std::move(value));
    }
    if (!understood && *bad_line == 0) *bad_line = number;
  }
  return tree;
}

bool RegistryTree::is_leaf(Keys::const_iterator key) const {
  const auto next = std::next(key);
  return next == keys_.end() || !is_below(next->first, key->first);
}

std::string RegistryTree::print() const {
  std::string out;
  for (auto key = keys_.begin(); key != keys_.end(); ++key) {
    const auto& [path, values] = key->second;
    if (values.empty()) {
      const bool implied = !is_leaf(key);
      const bool standing = std::find(std::begin(kStandingKeys), std::end(kStandingKeys),
                                      fold_case(path)) != std::end(kStandingKeys);
      if (implied || standing) continue;
    }
    out += "\n[" + path + "]\n";
    for (const auto& [folded, value] : values) {
      if (value.name.empty()) {
        out += '@';
      } else {
        append_quoted(out, value.name);
      }
      out += '=';
      append_value(out, value.data);
      out += '\n';
    }
  }
  return out;
}

bool RegistryTree::has_key(std::string_view path) const {
  return keys_.find(fold_path(path)) != keys_.end();
}

const RegistryValue* RegistryTree::value(std::string_view path, std::string_view name) const {
  const auto key = keys_.find(fold_path(path));
  if (key == keys_.end()) return nullptr;
  const auto found = key->second.values.find(fold_case(name));
  return found == key->second.values.end() ? nullptr : &found->second.data;
}

std::vector<std::string> RegistryTree::subkeys(std::string_view path) const {
  std::vector<std::string> names;
  const std::string parent = fold_path(path);
  auto key = keys_.find(parent);
  if (key == keys_.end()) return names;
  for (++key; key != keys_.end() && is_below(key->first, parent);) {
    names.push_back(key->second.path.substr(path.size() + 1));
    // Past all that is below this one.
    std::string behind = key->first;
    behind += static_cast<char>(kSeparator + 1);
    key = keys_.lower_bound(behind);
  }
  return names;
}

void RegistryTree::add_key(std::string_view path) {
  for (std::size_t end = path.size();; end = path.rfind('\\', end - 1)) {
    const auto [key, is_new] = keys_.try_emplace(fold_path(path.substr(0, end)));
    if (!is_new) return;
    key->second.path = path.substr(0, end);
    if (path.substr(0, end).find('\\') == path.npos) return;
  }
}

void RegistryTree::set(std::string_view path, std::string_view name, RegistryValue value) {
  add_key(path);
  Value& target = keys_[fold_path(path)].values[fold_case(name)];
  if (target.name.empty()) target.name = name;
  target.data = std::move(value);
}

void RegistryTree::remove_value(std::string_view path, std::string_view name) {
  const auto key = keys_.find(fold_path(path));
  if (key != keys_.end()) key->second.values.erase(fold_case(name));
}

void RegistryTree::remove_key(std::string_view path) {
  const std::string folded = fold_path(path);
  const auto first = keys_.find(folded);
  if (first == keys_.end()) return;
  auto last = std::next(first);
  while (last != keys_.end() && is_below(last->first, folded)) ++last;
  keys_.erase(first, last);
}

void RegistryTree::remove_empty_key(std::string_view path) {
  const auto key = keys_.find(fold_path(path));
  if (key != keys_.end() && key->second.values.empty() && is_leaf(key)) keys_.erase(key);
}

}  // namespace tallowbrook::platform
