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

#include "samples/explorer/node_tree.h"
#include "samples/explorer/options_page.h"

namespace bramblescope {

struct Key {
  enum Kind { kText, kUp, kDown, kEnter, kEscape, kBackspace, kClear, kQuit };
  Kind kind = kText;
  std::string text;  // of kText: one character in UTF-8
};

class Browser {
 public:
  Browser(std::string title, NodeTree& tree) : title_(std::move(title)), tree_(tree) {}

  void press(const Key& key);
  // The screen in at most `rows` lines: what is around the cursor, then a line of news and one of
  // keys.
  [[nodiscard]] std::vector<std::string> screen(std::size_t rows);
  [[nodiscard]] bool done() const { return done_; }

 private:
  enum class Mode { kTree, kMenu, kOptions, kEdit };

  void press_tree(const Key& key);
  void press_menu(const Key& key);
  void press_options(const Key& key);
  void press_edit(const Key& key);
  void move(const Key& key, std::size_t& cursor, std::size_t count);
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
  std::string edit_text_;  // UTF-8
  std::string news_;
  bool asked_to_leave_ = false;
  bool done_ = false;
};

// One line of the tree, as the program prints it where there is no terminal.
[[nodiscard]] std::string tree_line(const Node& node);

}  // namespace bramblescope
