#include "core/resources.h"

namespace tallowbrook {
namespace {

struct StringResource {
  UINT id;
  WORD language;
  std::string_view text;
};

constexpr StringResource kStrings[] = {
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
  for (const StringResource& entry : kStrings) {
    if (entry.id == id && entry.language == language) return entry.text;
  }
  return {};
}

}  // namespace tallowbrook
