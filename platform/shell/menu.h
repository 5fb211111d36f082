// Menus: rows that programs put into one and that whoever shows it reads back.
//
// A row is a command with an identifier and a text, or a separator. Rows are addressed by position
// (MF_BYPOSITION) or by the identifier of a command, the first that has it. A menu belongs to one
// thread at a time. Texts are in the ANSI code page.
#pragma once

#include <cstdint>

#include "platform/com/types.h"

struct Menu;
using HMENU = Menu*;

inline constexpr UINT MF_BYCOMMAND = 0;
inline constexpr UINT MF_STRING = 0;
inline constexpr UINT MF_ENABLED = 0;
inline constexpr UINT MF_GRAYED = 0x0001;
inline constexpr UINT MF_DISABLED = 0x0002;
inline constexpr UINT MF_CHECKED = 0x0008;
inline constexpr UINT MF_BYPOSITION = 0x0400;
inline constexpr UINT MF_SEPARATOR = 0x0800;
inline constexpr UINT MF_DEFAULT = 0x1000;

// An empty menu, to be given back with DestroyMenu; null when memory ran out.
[[nodiscard]] HMENU CreatePopupMenu();
BOOL DestroyMenu(HMENU menu);

// Inserts a row before `item`; at the end when there is no such row. `text` is copied. FALSE with
// ERROR_INVALID_HANDLE for a null menu, with ERROR_NOT_ENOUGH_MEMORY when memory ran out.
BOOL InsertMenuA(HMENU menu, UINT item, UINT flags, std::uintptr_t id, const char* text);

// Makes one row (none for UINT(-1)) the default one, which a double-click stands for.
BOOL SetMenuDefaultItem(HMENU menu, UINT item, UINT by_position);
// The position, or the identifier, of the default row; UINT(-1) when there is none.
[[nodiscard]] UINT GetMenuDefaultItem(HMENU menu, UINT by_position, UINT flags);

// The number of rows; -1 for a null menu.
[[nodiscard]] int GetMenuItemCount(HMENU menu);
// The identifier of the row at a position; UINT(-1) when there is no row, 0 for a separator.
[[nodiscard]] UINT GetMenuItemID(HMENU menu, int position);
// MF_GRAYED, MF_SEPARATOR, MF_DEFAULT ... of a row; UINT(-1) when there is no row.
[[nodiscard]] UINT GetMenuState(HMENU menu, UINT item, UINT flags);
// Copies a row's text, cut off and zero-ended in `room` bytes, and returns the bytes copied. With a
// null `text` returns the bytes that the text has. 0 when there is no row.
int GetMenuStringA(HMENU menu, UINT item, char* text, int room, UINT flags);
