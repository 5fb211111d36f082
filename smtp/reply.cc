#include "smtp/reply.h"

#include <algorithm>

namespace tallowbrook {

int reply_code(std::string_view reply) {
  int code = 0;
  for (const char c : reply.substr(0, 3)) {
    if (c < '0' || c > '9') break;
    code = code * 10 + (c - '0');
  }
  return code;
}

void ReplyLines::take(std::string_view piece) {
  for (const char c : piece) {
    complete_ = c == '\n' && !more_;
    if (c == '\n') {
      column_ = 0;
      more_ = false;
    } else {
      if (column_ == 3) more_ = c == '-';
      column_ = std::min(column_ + 1, 4);
    }
  }
}

}  // namespace tallowbrook
