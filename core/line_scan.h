// Looks at every byte of long texts with lines, many at a time.
#pragma once

#include <cstddef>
#include <string_view>

namespace tallowbrook {

struct LineScan {
  // True when a NUL, or a CR that no LF follows, is among the bytes. A CR that comes last counts.
  bool (*needs_normalising)(std::string_view bytes);
  // The number of LFs.
  std::size_t (*count_line_ends)(std::string_view bytes);
  // The offset of the first byte behind an LF that is "-", ".", or a "b" or an "e" of either case:
  // what else begins a line makes it no delimiter, no end of the data and no line of uuencode.
  // npos when there is none.
  std::size_t (*find_special_line)(std::string_view bytes);
  // The offset of the first LF behind another byte than a CR; npos when there is none. The first
  // byte, with nothing before it, is not looked at.
  std::size_t (*find_bare_line_end)(std::string_view bytes);
  // The offset of the first NUL or the first ".." that a CR follows; npos when there is neither.
  std::size_t (*find_nul_or_dots)(std::string_view bytes);
};

// For any processor.
[[nodiscard]] const LineScan& portable_line_scan();
// The fastest that this processor has.
[[nodiscard]] const LineScan& fastest_line_scan();

}  // namespace tallowbrook
