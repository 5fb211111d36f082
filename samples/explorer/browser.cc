#include "samples/explorer/browser.h"

#include <algorithm>

#include "cli/terminal.h"
#include "platform/automation/late_bound.h"
#include "platform/kernel/code_page.h"

namespace bramblescope {
namespace {

namespace platform = tallowbrook::platform;

bool is(const Key& key, std::string_view text) {
  return key.kind == Key::kText && key.text == text;
}

std::string menu_text(const MenuLine& line) {
  if (line.text.empty()) return "--------";
  std::string text = tallowbrook::cli::printable(line.text);
  if (line.is_default) text += " *";
  if (!line.enabled) text += " (not now)";
  return line.help.empty() ? text : text + "   " + tallowbrook::cli::printable(line.help);
}

std::string option_text(const OptionLine& line) {
  std::string text = shown(line.name) + ": " + shown(line.text);
  return line.description.empty() ? text : text + "   (" + shown(line.description) + ")";
}

}  // namespace

std::string tree_line(const Node& node) {
  return std::string(static_cast<std::size_t>(node.depth) * 2, ' ') + node.icon + " " + node.name +
         (node.changed() ? " (not saved)" : "");
}

// --- keys ----------------------------------------------------------------------------------------

void Browser::press(const Key& key) {
  news_.clear();
  const bool leaves = key.kind == Key::kQuit || (mode_ == Mode::kTree && is(key, "q"));
  if (leaves && mode_ != Mode::kEdit) return leave();
  asked_to_leave_ = false;
  switch (mode_) {
    case Mode::kTree:
      return press_tree(key);
    case Mode::kMenu:
      return press_menu(key);
    case Mode::kOptions:
      return press_options(key);
    case Mode::kEdit:
      return press_edit(key);
  }
}

void Browser::move(const Key& key, std::size_t& cursor, std::size_t count) const {
  const std::size_t last = count == 0 ? 0 : count - 1;
  switch (key.kind) {
    case Key::kUp:
      cursor -= std::min<std::size_t>(cursor, 1);
      break;
    case Key::kDown:
      cursor = std::min(cursor + 1, last);
      break;
    case Key::kPageUp:
      cursor -= std::min(cursor, page_);
      break;
    case Key::kPageDown:
      cursor = std::min(cursor + page_, last);
      break;
    case Key::kHome:
      cursor = 0;
      break;
    case Key::kEnd:
      cursor = last;
      break;
    default:
      break;
  }
}

void Browser::press_tree(const Key& key) {
  move(key, node_, tree_.nodes().size());
  if (is(key, "s")) save();
  if (is(key, "m")) open_menu();
  if (key.kind == Key::kEnter || is(key, "o")) open_options();
}

void Browser::press_menu(const Key& key) {
  move(key, menu_row_, menu_.size());
  if (key.kind == Key::kEscape) mode_ = Mode::kTree;
  if (key.kind == Key::kEnter && menu_row_ < menu_.size()) run_command(menu_[menu_row_]);
}

void Browser::press_options(const Key& key) {
  const auto& lines = options_->lines();
  move(key, option_row_, lines.size());
  if (is(key, "s")) save();
  if (key.kind == Key::kEscape) {
    mode_ = Mode::kTree;
    options_.reset();
    return;
  }
  if (key.kind != Key::kEnter || option_row_ >= lines.size()) return;
  const OptionLine& line = lines[option_row_];
  if (!line.enabled || !line.value) {
    news_ = "This option cannot be changed.";
    return;
  }
  begin_edit(shown(line.name), line.text);
}

void Browser::press_edit(const Key& key) {
  if (key.kind == Key::kEnter) return finish_edit();
  if (key.kind == Key::kEscape || key.kind == Key::kQuit) mode_ = before_edit_;
  edit_.press(key);
}

// --- what they do --------------------------------------------------------------------------------

IDispatch* Browser::chosen() {
  const auto& nodes = tree_.nodes();
  return node_ < nodes.size() ? nodes[node_].object.get() : nullptr;
}

void Browser::open_menu() {
  IDispatch* const node = chosen();
  menu_ = node == nullptr ? std::vector<MenuLine>() : context_menu(*node);
  menu_row_ = 0;
  if (menu_.empty()) {
    news_ = "There is no menu here.";
  } else {
    mode_ = Mode::kMenu;
  }
}

void Browser::open_options() {
  IDispatch* const node = chosen();
  if (node == nullptr) {
    news_ = "There are no options here.";
    return;
  }
  options_.emplace(*node);
  option_row_ = 0;
  mode_ = Mode::kOptions;
}

// A node carries out its commands itself, but for the one that a host has to ask for a name for.
void Browser::run_command(const MenuLine& line) {
  IDispatch* const node = chosen();
  if (node == nullptr || line.text.empty() || !line.enabled) return;
  mode_ = Mode::kTree;
  if (FAILED(invoke_command(*node, line.command))) {
    news_ = "This could not be done.";
    return;
  }
  if (line.verb != "Rename") return;
  if (platform::get(node, u"CanUpdateName").value.boolVal == VARIANT_FALSE) {
    news_ = "This cannot be renamed.";
    return;
  }
  begin_edit("Name", read_text(*node, u"Subject"));
}

void Browser::begin_edit(std::string what, std::u16string_view text) {
  before_edit_ = mode_;
  edit_what_ = std::move(what);
  edit_ = LineEdit(tallowbrook::cli::to_utf8(text));
  mode_ = Mode::kEdit;
}

void Browser::finish_edit() {
  const std::u16string text = platform::widen(CP_UTF8, edit_.text());
  mode_ = before_edit_;
  if (mode_ == Mode::kOptions) {
    if (!options_->set(option_row_, text)) news_ = "The change was not taken.";
  } else if (IDispatch* const node = chosen()) {
    const HRESULT status = platform::put(node, u"UpdateName", text).status;
    if (FAILED(status)) news_ = "The name was not taken.";
  }
}

void Browser::save() {
  const auto& nodes = tree_.nodes();
  if (node_ >= nodes.size() || nodes[node_].file == nullptr || !nodes[node_].object) {
    news_ = "There is nothing to save here.";
    return;
  }
  if (!nodes[node_].changed()) {
    news_ = "Nothing has changed.";
    return;
  }
  const std::string problem = nodes[node_].file->save();
  news_ = problem.empty() ? "Saved." : "Not saved: " + problem + ".";
}

void Browser::leave() {
  const auto& nodes = tree_.nodes();
  const auto unsaved =
      std::count_if(nodes.begin(), nodes.end(), [](const Node& node) { return node.changed(); });
  done_ = unsaved == 0 || asked_to_leave_;
  asked_to_leave_ = true;
  if (!done_)
    news_ = "Not saved: " + std::to_string(unsaved) + ". Leave again to drop the changes.";
}

// --- screens -------------------------------------------------------------------------------------

std::vector<std::string> Browser::rows_of_mode() {
  std::vector<std::string> rows;
  const Mode mode = mode_ == Mode::kEdit ? before_edit_ : mode_;
  if (mode == Mode::kMenu) {
    for (const MenuLine& line : menu_) rows.push_back(menu_text(line));
  } else if (mode == Mode::kOptions) {
    for (const OptionLine& line : options_->lines()) rows.push_back(option_text(line));
  } else {
    for (const Node& node : tree_.nodes()) rows.push_back(tree_line(node));
  }
  return rows;
}

std::size_t Browser::cursor_of_mode() const {
  switch (mode_ == Mode::kEdit ? before_edit_ : mode_) {
    case Mode::kMenu:
      return menu_row_;
    case Mode::kOptions:
      return option_row_;
    default:
      return node_;
  }
}

std::string Browser::keys_of_mode() const {
  switch (mode_) {
    case Mode::kMenu:
      return "up/down choose   Enter do it   Esc back";
    case Mode::kOptions:
      return "up/down choose   Enter change   s save   Esc back";
    case Mode::kEdit:
      return "Enter take   Ctrl-U clear   Esc leave it";
    default:
      return "up/down choose   Enter options   m menu   s save   q leave";
  }
}

std::vector<std::string> Browser::screen(std::size_t rows, std::size_t columns) {
  constexpr std::size_t kFrame = 5;  // title, two empty lines, news, keys
  const std::vector<std::string> all = rows_of_mode();
  const std::size_t room = rows > kFrame ? rows - kFrame : 1;
  page_ = room;
  const std::size_t cursor = cursor_of_mode();
  first_ = std::min(first_, all.size() - std::min(all.size(), room));
  first_ = std::clamp(first_, cursor - std::min(cursor, room - 1), cursor);
  std::vector<std::string> lines{title_, ""};
  for (std::size_t i = first_; i < std::min(all.size(), first_ + room); ++i) {
    lines.push_back((i == cursor ? "> " : "  ") + all[i]);
  }
  if (all.empty()) lines.emplace_back("  (nothing)");
  lines.emplace_back();
  const std::string label = edit_what_ + ": ";
  const std::size_t left = columns - std::min(columns, tallowbrook::cli::columns(label));
  lines.push_back(mode_ == Mode::kEdit ? label + edit_.shown(left) : news_);
  lines.push_back(keys_of_mode());
  return lines;
}

}  // namespace bramblescope
