// The texts of a module, by number and language.
//
// A table lists each text once for every language that has its own. What a language lacks is taken
// from the English texts.
#pragma once

#include <span>
#include <string_view>

#include "platform/com/types.h"

// The language that the user reads: 1031 (German) when the environment asks for any German
// (LC_ALL, LC_MESSAGES, LANG, the first that is set), else 1033 (English). Fixed at the first call.
[[nodiscard]] WORD GetUserDefaultUILanguage();

namespace tallowbrook::platform {

inline constexpr WORD kEnglish = 1033;
inline constexpr WORD kGerman = 1031;

struct StringEntry {
  UINT id;
  WORD language;
  std::string_view text;  // in ASCII; a zero byte follows it
};
using StringTable = std::span<const StringEntry>;

// The text `id` in `language`, else in English; empty when there is neither.
[[nodiscard]] std::string_view find_string(StringTable table, UINT id, WORD language);

// The language that the value of a locale variable ("de_AT.UTF-8") stands for; `value` may be null.
[[nodiscard]] WORD language_of_locale(const char* value);

}  // namespace tallowbrook::platform
