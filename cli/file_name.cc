#include "cli/file_name.h"

#include <algorithm>

#include "cli/terminal.h"

namespace tallowbrook::cli {
namespace {

// Longer extensions are part of the name that is cut.
constexpr std::size_t kLongestExtension = 20;

bool is_control(unsigned char c) { return c < 0x20 || c == 0x7F; }

// The first character of a text when it is a C1 control or one that reorders text.
bool is_hidden(std::string_view character) {
  if (character.size() == 2 && character[0] == '\xC2') {
    return static_cast<unsigned char>(character[1]) < 0xA0;
  }
  if (character.size() < 2) return false;
  const auto byte = [&](std::size_t i) {
    return static_cast<char32_t>(static_cast<unsigned char>(character[i]));
  };
  if (character.size() == 2) return steers_text(((byte(0) & 0x1F) << 6) | (byte(1) & 0x3F));
  return character.size() == 3 &&
         steers_text(((byte(0) & 0x0F) << 12) | ((byte(1) & 0x3F) << 6) | (byte(2) & 0x3F));
}

// The first `octets` at most, no character cut.
std::string_view cut(std::string_view text, std::size_t octets) {
  if (text.size() <= octets) return text;
  while (octets > 0 && (static_cast<unsigned char>(text[octets]) & 0xC0U) == 0x80) --octets;
  return text.substr(0, octets);
}

struct Split {
  std::string_view stem;
  std::string_view extension;  // with its dot; empty when there is none
};

Split split(std::string_view name) {
  const auto dot = name.rfind('.');
  if (dot == name.npos || dot == 0 || name.size() - dot > kLongestExtension) return {name, {}};
  return {name.substr(0, dot), name.substr(dot)};
}

// The name with `mark` in front of its extension, cut to its greatest length.
std::string marked(std::string_view name, std::string_view mark) {
  const auto [stem, extension] = split(name);
  std::string result(cut(stem, kLongestName - extension.size() - mark.size()));
  return result.append(mark).append(extension);
}

}  // namespace

std::string safe_name(std::string_view name) {
  const auto separator = name.find_last_of("/\\");
  if (separator != name.npos) name.remove_prefix(separator + 1);
  std::string kept;
  while (!name.empty()) {
    const std::size_t length = utf8_length(name);
    const std::string_view character = name.substr(0, std::max<std::size_t>(length, 1));
    name.remove_prefix(character.size());
    if (length == 0) {
      kept.push_back('_');
    } else if (!is_control(static_cast<unsigned char>(character[0])) && !is_hidden(character)) {
      kept.append(character);
    }
  }
  kept.erase(0, std::min(kept.find_first_not_of(". "), kept.size()));
  kept.erase(kept.find_last_not_of(' ') + 1);
  return marked(kept, "");
}

std::string UniqueNames::take(const std::string& name) {
  const auto [entry, is_new] = used_.try_emplace(name, 1);
  if (is_new) return name;
  std::size_t& last = entry->second;
  for (;;) {
    const std::string candidate = marked(name, "-" + std::to_string(++last));
    if (used_.try_emplace(candidate, 1).second) return candidate;
  }
}

}  // namespace tallowbrook::cli
