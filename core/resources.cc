#include "core/resources.h"

namespace tallowbrook {
namespace {

constexpr platform::StringEntry kStrings[] = {
    {kStringProduct, kLanguageEnglish, "Tallowbrook"},
    {kStringProduct, kLanguageGerman, "Tallowbrook"},
    {kStringNoName, kLanguageEnglish, "<no name>"},
    {kStringRename, kLanguageEnglish, "Rename"},
    {kStringRenameHelp, kLanguageEnglish, "Rename this mail"},
    {kStringSubject, kLanguageEnglish, "Subject"},
    {kStringSubjectHelp, kLanguageEnglish, "Subject of this mail"},
};

}  // namespace

std::string_view string_resource(UINT id, WORD language) {
  return platform::find_string(kStrings, id, language);
}

}  // namespace tallowbrook
