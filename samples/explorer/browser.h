// The explorer's screens and what its keys do, apart from any terminal.
//
//   tree     the messages; a cursor            -> menu, options
//   menu     the context menu of a message     -> an edit for "Rename"
//   options  the options page of a message     -> an edit of one option
//   edit     a line of text                    -> back to where it came from
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "samples/explorer/key.h"
#include "samples/explorer/line_edit.h"
#include "samples/explorer/node_tree.h"
#include "samples/explorer/options_page.h"

namespace bramblescope {

class Browser {
 public:
  Browser(std::string title, NodeTree& tree) : title_(std::move(title)), tree_(tree) {}

  void press(const Key& key);
  // The screen in at most `rows` lines: what is around the cursor, then a line of news and one of
  // keys. Lines may be longer than `columns`; what counts stands within them.
  [[nodiscard]] std::vector<std::string> screen(std::size_t rows, std::size_t columns);
  [[nodiscard]] bool done() const { return done_; }

 private:
  enum class Mode { kTree, kMenu, kOptions, kEdit };

  void press_tree(const Key& key);
  void press_menu(const Key& key);
  void press_options(const Key& key);
  void press_edit(const Key& key);
  void move(const Key& key, std::size_t& cursor, std::size_t count) const;
  void open_menu();
  void open_options();
  void run_command(const MenuLine& line);
  void begin_edit(std::string what, std::u16string_view text);
  void finish_edit();
  void save();
  void leave();

  [[nodiscard]] IDispatch* chosen();
  [[nodiscard]] std::vector<std::string> rows_of_mode();
  [[nodiscard]] std::size_t cursor_of_mode() const;
  [[nodiscard]] std::string keys_of_mode() const;

  std::string title_;
  NodeTree& tree_;
  Mode mode_ = Mode::kTree;
  Mode before_edit_ = Mode::kTree;
  std::size_t node_ = 0;
  std::size_t menu_row_ = 0;
  std::size_t option_row_ = 0;
  std::vector<MenuLine> menu_;
  std::optional<OptionsPage> options_;
  std::string edit_what_;
  LineEdit edit_;
  std::string news_;
  std::size_t first_ = 0;  // of the rows that are shown
  std::size_t page_ = 1;   // the rows that the last screen had room for
  bool asked_to_leave_ = false;
  bool done_ = false;
};

// One line of the tree, as the program prints it where there is no terminal.
[[nodiscard]] std::string tree_line(const Node& node);

}  // namespace bramblescope
