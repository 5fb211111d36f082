// A line of text that is being typed, with a cursor in it.
#pragma once

#include <cstddef>
#include <string>

#include "samples/explorer/key.h"

namespace bramblescope {

class LineEdit {
 public:
  LineEdit() = default;
  // The cursor stands behind the text, which is UTF-8.
  explicit LineEdit(std::string text) : before_(std::move(text)) {}

  [[nodiscard]] std::string text() const { return before_ + after_; }
  void press(const Key& key);
  // What is around the cursor, safe for a terminal. The character under the cursor is reversed, and
  // stands within so many columns.
  [[nodiscard]] std::string shown(std::size_t columns) const;

 private:
  std::string before_;  // the cursor
  std::string after_;
};

}  // namespace bramblescope
