// The page of options that a node supplies, and its context menu, as an explorer shows them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/shell/context_menu.h"
#include "samples/explorer/object.h"

namespace bramblescope {

struct OptionLine {
  std::u16string id;
  std::u16string name;
  std::u16string description;
  bool enabled = true;
  ComPtr<IDispatch> values;  // the list that the value stands in, kept to hear its changes
  ComPtr<IDispatch> value;   // null when the option has none
  std::u16string text;       // of a value that is a string
};

class OptionsPage {
 public:
  explicit OptionsPage(IDispatch& node);

  [[nodiscard]] const std::vector<OptionLine>& lines() const { return lines_; }
  // Gives the option's value another text; the node hears of it. False when it cannot be changed.
  bool set(std::size_t line, std::u16string_view text);

 private:
  std::vector<OptionLine> lines_;
};

struct MenuLine {
  std::string text;  // empty: a separator
  std::string verb;
  std::string help;
  UINT command = 0;
  bool enabled = true;
  bool is_default = false;
};

// The node's context menu; empty when it has none.
[[nodiscard]] std::vector<MenuLine> context_menu(IDispatch& node);
// Has the node carry out a command of its menu.
[[nodiscard]] HRESULT invoke_command(IDispatch& node, UINT command);

}  // namespace bramblescope
