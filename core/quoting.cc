#include "core/text.h"

namespace tallowbrook {

std::string remove_quotes(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  bool quoted = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '"') {
      quoted = !quoted;
    } else {
      if (quoted && text[i] == '\\' && i + 1 < text.size()) ++i;
      result.push_back(text[i]);
    }
  }
  return result;
}

}  // namespace tallowbrook
