// HTML as plain text, for reading a message that has no other body.
#pragma once

#include <string>
#include <string_view>

namespace tallowbrook::cli {

// Tags go; blocks become lines, list items and links are marked, character references are resolved,
// scripts, styles and comments are left out. Takes any text, well-formed or not, in linear time.
[[nodiscard]] std::string html_to_text(std::string_view html);

}  // namespace tallowbrook::cli
