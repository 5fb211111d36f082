// A menu as text.
#pragma once

#include <string>

#include "platform/shell/menu.h"

namespace tallowbrook::test {

// A line a row: its identifier, its text and what it is.
inline std::string menu_rows(HMENU menu) {
  std::string lines;
  for (int i = 0; i < GetMenuItemCount(menu); ++i) {
    const auto row = static_cast<UINT>(i);
    char text[64] = "";
    GetMenuStringA(menu, row, text, sizeof(text), MF_BYPOSITION);
    const UINT state = GetMenuState(menu, row, MF_BYPOSITION);
    const bool line = (state & MF_SEPARATOR) != 0;
    lines += line ? "----" : std::to_string(GetMenuItemID(menu, i)) + " " + text;
    if ((state & MF_GRAYED) != 0) lines += " grayed";
    if ((state & MF_DEFAULT) != 0) lines += " default";
    lines += "\n";
  }
  return lines;
}

}  // namespace tallowbrook::test
