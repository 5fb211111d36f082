// The component's string resources.
//
//   id   1033 (English)           use
//   100  Tallowbrook              product name; the one string that 1031 (German) has as well
//   101  <no name>                name of a message without a subject
//   500  Rename                   context menu item
//   501  Rename this mail         its help text
//   502  Subject                  option
//   503  Subject of this mail     its help text
#pragma once

#include <string_view>

#include "platform/shell/string_table.h"

namespace tallowbrook {

inline constexpr WORD kLanguageEnglish = platform::kEnglish;
inline constexpr WORD kLanguageGerman = platform::kGerman;

inline constexpr UINT kStringProduct = 100;
inline constexpr UINT kStringNoName = 101;
inline constexpr UINT kStringRename = 500;
inline constexpr UINT kStringRenameHelp = 501;
inline constexpr UINT kStringSubject = 502;
inline constexpr UINT kStringSubjectHelp = 503;

// The string `id` in `language`, else in English; empty when there is none. The text lives as long
// as the library and a zero byte follows it.
[[nodiscard]] std::string_view string_resource(UINT id, WORD language);

// The string `id` in the user's language.
[[nodiscard]] inline std::string_view string_resource(UINT id) {
  return string_resource(id, GetUserDefaultUILanguage());
}

}  // namespace tallowbrook
