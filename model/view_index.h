// How a host points at an entry: by name or by position.
#pragma once

#include <string>

#include "platform/automation/variant.h"

namespace tallowbrook {

struct ViewIndex {
  enum Kind { None, Name, Position } kind = None;
  std::string name;
  LONG position = 0;

  // True when this is a position below `count`.
  [[nodiscard]] bool below(std::size_t count) const {
    return kind == Position && position >= 0 && static_cast<std::size_t>(position) < count;
  }
};

// A string is a name (in the ANSI code page); a number, or what converts to one, a position;
// anything else neither. By-reference arguments are followed.
[[nodiscard]] ViewIndex view_index(const VARIANT& index);

}  // namespace tallowbrook
