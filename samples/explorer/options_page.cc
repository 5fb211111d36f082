#include "samples/explorer/options_page.h"

#include <array>

#include "platform/automation/late_bound.h"
#include "samples/explorer/node_tree.h"
#include "samples/explorer/value_stream.h"

namespace bramblescope {
namespace {

namespace platform = tallowbrook::platform;

constexpr UINT kFirstCommand = 1;
constexpr UINT kLastCommand = 0x7FFF;

ComPtr<IDispatch> object_in(const Variant& value) {
  return ComPtr<IDispatch>(value.vt == VT_DISPATCH ? value.pdispVal : nullptr);
}

// The objects of a list.
std::vector<ComPtr<IDispatch>> items_of(IDispatch& list) {
  std::vector<ComPtr<IDispatch>> items;
  const auto count = platform::get(&list, u"Count");
  for (LONG i = 0; count.value.vt == VT_I4 && i < count.value.lVal; ++i) {
    if (auto item = object_in(platform::get(&list, u"Item", i).value)) items.push_back(item);
  }
  return items;
}

std::u16string text_of(IDispatch& value) {
  const auto holder = platform::get(&value, u"XValue");
  if (holder.value.vt != VT_UNKNOWN) return {};
  const auto stream = platform::query<IStream>(holder.value.punkVal);
  const auto bytes = stream ? read_stream(*stream) : std::nullopt;
  return bytes ? text_of_value(*bytes).value_or(u"") : std::u16string();
}

OptionLine line_of(IDispatch& node, IDispatch& definition) {
  OptionLine line;
  line.id = read_text(definition, u"ID");
  line.name = read_text(definition, u"Name");
  line.description = read_text(definition, u"Description");
  line.enabled = platform::get(&definition, u"Enabled").value.boolVal != VARIANT_FALSE;
  line.values = object_in(platform::get(&node, u"CurrentValues", line.id).value);
  if (!line.values) return line;
  const auto values = items_of(*line.values);
  if (values.empty()) return line;
  line.value = values.front();
  line.text = text_of(*line.value);
  return line;
}

std::string command_text(IContextMenu& menu, UINT command, UINT kind) {
  std::array<char, 256> text{};
  const auto size = static_cast<UINT>(text.size());
  return FAILED(menu.GetCommandString(command, kind, nullptr, text.data(), size)) ? ""
                                                                                  : text.data();
}

MenuLine menu_line(IContextMenu& menu, HMENU shown, int position) {
  MenuLine line;
  const auto at = static_cast<UINT>(position);
  const UINT state = GetMenuState(shown, at, MF_BYPOSITION);
  if ((state & MF_SEPARATOR) != 0) return line;
  std::array<char, 256> text{};
  GetMenuStringA(shown, at, text.data(), static_cast<int>(text.size()), MF_BYPOSITION);
  line.text = text.data();
  line.command = GetMenuItemID(shown, position) - kFirstCommand;
  line.verb = command_text(menu, line.command, GCS_VERBA);
  line.help = command_text(menu, line.command, GCS_HELPTEXTA);
  line.enabled = (state & (MF_GRAYED | MF_DISABLED)) == 0;
  line.is_default = (state & MF_DEFAULT) != 0;
  return line;
}

}  // namespace

OptionsPage::OptionsPage(IDispatch& node) {
  const auto options = object_in(platform::get(&node, u"Options").value);
  if (!options) return;
  for (const auto& definition : items_of(*options)) lines_.push_back(line_of(node, *definition));
}

bool OptionsPage::set(std::size_t line, std::u16string_view text) {
  OptionLine& option = lines_.at(line);
  if (!option.enabled || !option.value) return false;
  const auto stream = make_stream(text_value(text));
  const Variant holder(static_cast<IUnknown*>(stream.get()));
  if (FAILED(platform::put(option.value.get(), u"XValue", holder).status)) return false;
  option.text = text;
  return true;
}

std::vector<MenuLine> context_menu(IDispatch& node) {
  std::vector<MenuLine> lines;
  const auto menu = platform::query<IContextMenu>(&node);
  const HMENU shown = CreatePopupMenu();
  if (menu && SUCCEEDED(menu->QueryContextMenu(shown, 0, kFirstCommand, kLastCommand, 0))) {
    for (int i = 0; i < GetMenuItemCount(shown); ++i) lines.push_back(menu_line(*menu, shown, i));
  }
  DestroyMenu(shown);
  return lines;
}

HRESULT invoke_command(IDispatch& node, UINT command) {
  const auto menu = platform::query<IContextMenu>(&node);
  if (!menu) return E_NOINTERFACE;
  CMINVOKECOMMANDINFO info{};
  info.cbSize = sizeof info;
  info.lpVerb = reinterpret_cast<const char*>(static_cast<std::uintptr_t>(command));
  return menu->InvokeCommand(&info);
}

}  // namespace bramblescope
