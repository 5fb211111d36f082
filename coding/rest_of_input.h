// What is left of a stream as one text, for coders that need it whole.
#pragma once

#include <string>
#include <string_view>

#include "coding/block_io.h"

namespace tallowbrook {

// A memory stream lends its bytes, any other stream's are copied. The stream must not be written to
// while the text is used.
class RestOfInput {
 public:
  explicit RestOfInput(ISequentialStream& stream) : reader_(stream) {
    text_ = reader_.next();
    if (text_.empty() || reader_.lends()) return;
    for (auto block = text_; !block.empty(); block = reader_.next()) copy_ += block;
    text_ = copy_;
  }
  RestOfInput(const RestOfInput&) = delete;
  RestOfInput& operator=(const RestOfInput&) = delete;

  [[nodiscard]] std::string_view text() const { return text_; }

 private:
  BlockReader reader_;
  std::string copy_;
  std::string_view text_;
};

}  // namespace tallowbrook
