// The fixed tables that describe a node: its commands and its options.
//
// A table's texts are numbers of string resources; a negative number stands for no text.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "core/resources.h"

namespace tallowbrook {

inline constexpr LONG kNoString = -1;

// One row of the context menu. A row without a menu text is a separator.
struct VerbRow {
  std::string_view verb;
  LONG menu_text = kNoString;
  LONG help_text = kNoString;
  bool shown = true;
  bool enabled = true;
  bool is_default = false;
};

// The short name of a row that stands for the options of a further object.
inline constexpr std::u16string_view kChainToDispatch = u"__CHAIN_TO_DISPATCH__";

struct OptionRow {
  const char16_t* short_name;
  LONG name = kNoString;
  LONG description = kNoString;
  LONG type = 0;                          // what the host's "Type" gets
  bool enabled = true;                    // and its "Enabled"
  const char16_t* data_format = nullptr;  // and its "DataFormat"; null: not put
  ULONG chain_index = 0;                  // which further object a chaining row stands for
  bool listed = true;                     // only such rows are given to the host

  [[nodiscard]] bool chains() const { return short_name == kChainToDispatch; }
};

// A value that the user may choose for an option.
struct ChoiceRow {
  const char16_t* option;
  const char16_t* id;
  const char16_t* value;
};

// The text of a table's string number: at most 511 bytes of it, in the user's language; empty for
// none.
[[nodiscard]] inline std::string_view table_text(LONG id) {
  constexpr std::size_t kRoom = 512;  // with the closing zero
  return id < 0 ? std::string_view() : string_resource(static_cast<UINT>(id)).substr(0, kRoom - 1);
}

}  // namespace tallowbrook
