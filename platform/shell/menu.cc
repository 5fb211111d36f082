#include "platform/shell/menu.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <string>
#include <vector>

#include "platform/kernel/handles.h"

namespace {

constexpr UINT kNone = static_cast<UINT>(-1);

struct Row {
  UINT id = 0;
  UINT state = 0;
  std::string text;
};

}  // namespace

struct Menu {
  std::vector<Row> rows;
};

namespace {

// The position that `item` stands for; the number of rows when there is no such row.
std::size_t find_row(const Menu& menu, UINT item, bool by_position) {
  const std::size_t count = menu.rows.size();
  if (by_position) return std::min<std::size_t>(item, count);
  const auto found = std::find_if(menu.rows.begin(), menu.rows.end(), [item](const Row& row) {
    return (row.state & MF_SEPARATOR) == 0 && row.id == item;
  });
  return static_cast<std::size_t>(found - menu.rows.begin());
}

// The row that `item` stands for; null when there is none.
const Row* row_of(HMENU menu, UINT item, bool by_position) {
  if (menu == nullptr) return nullptr;
  const std::size_t position = find_row(*menu, item, by_position);
  return position < menu->rows.size() ? &menu->rows[position] : nullptr;
}

Row make_row(UINT flags, std::uintptr_t id, const char* text) {
  constexpr UINT kKept = MF_GRAYED | MF_DISABLED | MF_CHECKED | MF_SEPARATOR;
  Row row;
  row.state = flags & kKept;
  if ((flags & MF_SEPARATOR) != 0) return row;
  row.id = static_cast<UINT>(id);
  if (text != nullptr) row.text = text;
  return row;
}

}  // namespace

HMENU CreatePopupMenu() { return new (std::nothrow) Menu; }

BOOL DestroyMenu(HMENU menu) {
  if (menu == nullptr) return tallowbrook::platform::fail(ERROR_INVALID_HANDLE);
  delete menu;
  return TRUE;
}

BOOL InsertMenuA(HMENU menu, UINT item, UINT flags, std::uintptr_t id, const char* text) {
  if (menu == nullptr) return tallowbrook::platform::fail(ERROR_INVALID_HANDLE);
  const std::size_t position = find_row(*menu, item, (flags & MF_BYPOSITION) != 0);
  try {
    menu->rows.insert(menu->rows.begin() + static_cast<std::ptrdiff_t>(position),
                      make_row(flags, id, text));
  } catch (const std::bad_alloc&) {
    return tallowbrook::platform::fail(ERROR_NOT_ENOUGH_MEMORY);
  }
  return TRUE;
}

BOOL SetMenuDefaultItem(HMENU menu, UINT item, UINT by_position) {
  if (menu == nullptr) return tallowbrook::platform::fail(ERROR_INVALID_HANDLE);
  const std::size_t chosen = find_row(*menu, item, by_position != 0);
  if (item != kNone && chosen == menu->rows.size()) {
    return tallowbrook::platform::fail(ERROR_INVALID_PARAMETER);
  }
  for (std::size_t position = 0; position < menu->rows.size(); ++position) {
    UINT& state = menu->rows[position].state;
    state = position == chosen ? state | MF_DEFAULT : state & ~MF_DEFAULT;
  }
  return TRUE;
}

UINT GetMenuDefaultItem(HMENU menu, UINT by_position, UINT) {
  if (menu == nullptr) return kNone;
  for (std::size_t position = 0; position < menu->rows.size(); ++position) {
    const Row& row = menu->rows[position];
    if ((row.state & MF_DEFAULT) == 0) continue;
    return by_position != 0 ? static_cast<UINT>(position) : row.id;
  }
  return kNone;
}

int GetMenuItemCount(HMENU menu) {
  if (menu == nullptr) return -1;
  return static_cast<int>(menu->rows.size());
}

UINT GetMenuItemID(HMENU menu, int position) {
  const Row* row = position < 0 ? nullptr : row_of(menu, static_cast<UINT>(position), true);
  return row == nullptr ? kNone : row->id;
}

UINT GetMenuState(HMENU menu, UINT item, UINT flags) {
  const Row* row = row_of(menu, item, (flags & MF_BYPOSITION) != 0);
  return row == nullptr ? kNone : row->state;
}

int GetMenuStringA(HMENU menu, UINT item, char* text, int room, UINT flags) {
  const Row* row = row_of(menu, item, (flags & MF_BYPOSITION) != 0);
  if (row == nullptr) return 0;
  if (text == nullptr) return static_cast<int>(row->text.size());
  if (room <= 0) return 0;
  const std::size_t count = std::min(row->text.size(), static_cast<std::size_t>(room) - 1);
  std::memcpy(text, row->text.data(), count);
  text[count] = '\0';
  return static_cast<int>(count);
}
