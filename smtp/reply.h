// Replies of a mail server (RFC 821 section 4.2).
#pragma once

#include <string_view>

namespace tallowbrook {

// The number that the first three characters of a reply are; 0 when they begin with none.
[[nodiscard]] int reply_code(std::string_view reply);

// Follows replies through the pieces in which they arrive: the last line of a reply has a space,
// or nothing, behind its code; a "-" says that more lines follow.
class ReplyLines {
 public:
  void take(std::string_view piece);
  // True when the last reply is whole, or there was none.
  [[nodiscard]] bool complete() const { return complete_; }

 private:
  int column_ = 0;  // in the present line, counted up to 4
  bool more_ = false;
  bool complete_ = true;
};

}  // namespace tallowbrook
