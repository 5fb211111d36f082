// One template makes all scripts, since they have one shape.
#include "server/registry_scripts.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "platform/com/identity.h"
#include "tallowbrook/class_ids.h"

namespace tallowbrook {
namespace {

// $P is the ProgID of this version, $I the one of any version, $D the description, $C the identity
// of the class and $L that of the type library.
constexpr std::string_view kTemplate = R"(HKCR
{
	$P = s '$D'
	{
		CLSID = s '$C'
	}
	$I = s '$D'
	{
		CLSID = s '$C'
		CurVer = s '$P'
	}
	NoRemove CLSID
	{
		ForceRemove $C = s '$D'
		{
			ProgID = s '$P'
			VersionIndependentProgID = s '$I'
			ForceRemove 'Programmable'
			InprocServer32 = s '%MODULE%'
			{
				val ThreadingModel = s 'Both'
			}
			'TypeLib' = s '$L'
		}
	}
}
)";

std::string ascii(std::u16string_view text) {
  std::string narrow;
  for (const char16_t unit : text) narrow += static_cast<char>(unit);
  return narrow;
}

}  // namespace

std::string registry_script(UINT id) {
  const auto classes = class_table();
  const auto entry = std::find_if(classes.begin(), classes.end(),
                                  [&](const ClassEntry& one) { return one.script == id; });
  if (entry == classes.end()) return {};
  const std::pair<char, std::string> words[] = {{'P', ascii(entry->prog_id_one)},
                                                {'I', ascii(entry->prog_id)},
                                                {'D', ascii(entry->description)},
                                                {'C', platform::text_of(entry->clsid)},
                                                {'L', platform::text_of(LIBID_TALLOWBROOKLib)}};
  std::string script;
  for (std::string_view rest = kTemplate; !rest.empty();) {
    const std::size_t mark = std::min(rest.find('$'), rest.size());
    script += rest.substr(0, mark);
    rest.remove_prefix(mark);
    if (rest.empty()) break;
    for (const auto& [letter, text] : words) {
      if (rest[1] == letter) script += text;
    }
    rest.remove_prefix(2);
  }
  return script;
}

}  // namespace tallowbrook
