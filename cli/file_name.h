// Names for files, made of foreign ones.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>

namespace tallowbrook::cli {

// `name` as a file may bear it anywhere: what follows its last separator ("/" or "\"), without
// control characters and those that reorder text, without dots and blanks at its start and blanks
// at its end, at most kLongestName bytes of UTF-8, the extension kept. Empty when nothing is left.
[[nodiscard]] std::string safe_name(std::string_view name);
inline constexpr std::size_t kLongestName = 200;

// Hands out each name once: the second "a.pdf" is "a-2.pdf".
class UniqueNames {
 public:
  [[nodiscard]] std::string take(const std::string& name);

 private:
  std::unordered_map<std::string, std::size_t> used_;  // with the last number that was tried
};

}  // namespace tallowbrook::cli
