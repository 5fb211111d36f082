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

#include "platform/com/types.h"

namespace tallowbrook {

inline constexpr WORD kLanguageEnglish = 1033;
inline constexpr WORD kLanguageGerman = 1031;

inline constexpr UINT kStringProduct = 100;
inline constexpr UINT kStringNoName = 101;
inline constexpr UINT kStringRename = 500;
inline constexpr UINT kStringRenameHelp = 501;
inline constexpr UINT kStringSubject = 502;
inline constexpr UINT kStringSubjectHelp = 503;

// The string `id` of exactly this language; empty when there is none. The text lives as long as
// the library and a zero byte follows it.
[[nodiscard]] std::string_view string_resource(UINT id, WORD language);

// The string `id` in the component's own language, English.
[[nodiscard]] inline std::string_view string_resource(UINT id) {
  return string_resource(id, kLanguageEnglish);
}

}  // namespace tallowbrook
