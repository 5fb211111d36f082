// A key that was pressed.
#pragma once

#include <string>

namespace bramblescope {

struct Key {
  enum Kind {
    kText,
    kUp,
    kDown,
    kLeft,
    kRight,
    kPageUp,
    kPageDown,
    kHome,
    kEnd,
    kEnter,
    kEscape,
    kBackspace,
    kDelete,
    kClear,
    kQuit
  };
  Kind kind = kText;
  std::string text;  // of kText: one character in UTF-8
};

}  // namespace bramblescope
