// The context menu of a node, from its table of verbs. Commands are numbered in table order among
// the rows that are shown and are no separators.
#include <algorithm>
#include <cstring>

#include "host/option_supplier.h"

namespace tallowbrook {

namespace {

// Inserts one row; false when there is no memory for it.
bool insert(HMENU menu, UINT position, UINT command, const VerbRow& row, std::string_view text) {
  if (text.empty()) return InsertMenuA(menu, position, MF_BYPOSITION | MF_SEPARATOR, 0, nullptr);
  const UINT state = row.enabled ? MF_ENABLED : MF_GRAYED;
  const std::string owned(text);
  if (!InsertMenuA(menu, position, MF_BYPOSITION | MF_STRING | state, command, owned.c_str())) {
    return false;
  }
  if (row.is_default) SetMenuDefaultItem(menu, position, TRUE);
  return true;
}

}  // namespace

std::string_view COptionSupplier::menu_text(UINT position) {
  for (const VerbRow& row : verb_table()) {
    if (row.shown && position-- == 0) return table_text(row.menu_text);
  }
  return {};
}

std::string_view COptionSupplier::verb(UINT command) {
  for (const VerbRow& row : verb_table()) {
    if (!row.shown || table_text(row.menu_text).empty()) continue;
    if (command-- == 0) return row.verb;
  }
  return {};
}

std::string_view COptionSupplier::help_text(std::string_view verb) {
  for (const VerbRow& row : verb_table()) {
    if (row.verb == verb) return table_text(row.help_text);
  }
  return {};
}

HRESULT COptionSupplier::query_context_menu(HMENU menu, UINT index, UINT first, UINT last) {
  const int rows = GetMenuItemCount(menu);
  if (rows < 0) return E_INVALIDARG;
  UINT position = std::min(index, static_cast<UINT>(rows));
  UINT shown = 0;
  UINT used = 0;
  for (const VerbRow& row : verb_table()) {
    if (!row.shown) continue;
    const std::string_view text = menu_text(shown++);
    if (!text.empty() && (first > last || used > last - first)) break;  // no identifiers left
    if (!insert(menu, position++, first + used, row, text)) return E_OUTOFMEMORY;
    if (!text.empty()) ++used;
  }
  return static_cast<HRESULT>(used);
}

HRESULT COptionSupplier::invoke_command(const CMINVOKECOMMANDINFO* info) {
  if (info == nullptr) return E_POINTER;
  const auto command = reinterpret_cast<std::uintptr_t>(info->lpVerb);
  if (command > 0xFFFF) return E_INVALIDARG;  // a verb's name
  return execute(verb(static_cast<UINT>(command)));
}

HRESULT COptionSupplier::command_string(std::uintptr_t command, UINT kind, char* buffer,
                                        UINT size) {
  if (buffer == nullptr || size == 0) return E_FAIL;
  buffer[0] = '\0';
  if (kind != GCS_VERBA && kind != GCS_HELPTEXTA) return E_FAIL;
  const std::string_view name =
      command > 0xFFFF ? std::string_view() : verb(static_cast<UINT>(command));
  if (name.empty()) return E_FAIL;
  const std::string_view text = kind == GCS_VERBA ? name : help_text(name);
  const std::size_t count = std::min(text.size(), static_cast<std::size_t>(size) - 1);
  std::memcpy(buffer, text.data(), count);
  buffer[count] = '\0';
  return S_OK;
}

}  // namespace tallowbrook
