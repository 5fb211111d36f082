#include "platform/shell/string_table.h"

#include <cstdlib>

namespace tallowbrook::platform {

std::string_view find_string(StringTable table, UINT id, WORD language) {
  std::string_view english;
  for (const StringEntry& entry : table) {
    if (entry.id != id) continue;
    if (entry.language == language) return entry.text;
    if (entry.language == kEnglish) english = entry.text;
  }
  return english;
}

WORD language_of_locale(const char* value) {
  const std::string_view locale = value == nullptr ? "" : value;
  const std::string_view language = locale.substr(0, locale.find_first_of("_.@"));
  return language == "de" ? kGerman : kEnglish;
}

}  // namespace tallowbrook::platform

WORD GetUserDefaultUILanguage() {
  static const WORD language = [] {
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
      const char* const value = std::getenv(name);
      if (value != nullptr && *value != '\0') {
        return tallowbrook::platform::language_of_locale(value);
      }
    }
    return tallowbrook::platform::kEnglish;
  }();
  return language;
}
