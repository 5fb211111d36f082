#include "coding/uuencode.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>

#include "coding/block_io.h"

namespace tallowbrook {

namespace {

constexpr std::size_t kMostBytes = 92;

std::uint32_t value_of(char character) {
  return (static_cast<std::uint8_t>(character) - 0x20u) & 63;
}

// Writes the first `count` of the three bytes that four characters stand for.
void put_group(const char* text, std::size_t count, char* out) {
  const std::uint32_t group = value_of(text[0]) << 18 | value_of(text[1]) << 12 |
                              (count > 1 ? value_of(text[2]) << 6 : 0u) |
                              (count > 2 ? value_of(text[3]) : 0u);
  out[0] = static_cast<char>(group >> 16);
  if (count > 1) out[1] = static_cast<char>(group >> 8);
  if (count > 2) out[2] = static_cast<char>(group);
}

// Cuts blocks into lines; only a line that straddles two blocks is copied.
class Decoder {
 public:
  explicit Decoder(IStream& output) : writer_(output) {}

  void take(std::string_view block) {
    while (!block.empty()) {
      const std::size_t lf = block.find('\n');
      const std::string_view part = block.substr(0, lf);
      block.remove_prefix(lf == block.npos ? block.size() : lf + 1);
      if (lf == block.npos) {
        carry_ += part;
      } else if (carry_.empty()) {
        line(part);
      } else {
        carry_ += part;
        line(carry_);
        carry_.clear();
      }
    }
  }

  void finish() {
    if (!carry_.empty()) line(carry_);
    writer_.flush();
  }

 private:
  // A line without its LF. CRs before a line belong to the end of the one before; the first has
  // none.
  void line(std::string_view text) {
    const bool first = std::exchange(first_, false);
    if (!first) text.remove_prefix(std::min(text.find_first_not_of('\r'), text.size()));
    if (text.empty() || text[0] == '`') return;
    const std::size_t count = static_cast<std::uint8_t>(text[0]) - std::size_t{0x20};
    text.remove_prefix(1);
    if (count - 1 >= kMostBytes || text.size() < characters(count)) return;
    std::string_view data = text.substr(0, characters(count));
    if (data.find('\r') != data.npos || !may_follow(text.substr(data.size()), count)) return;
    char* const out = writer_.room(count);
    for (std::size_t made = 0; made < count; made += 3) {
      put_group(data.data() + made / 3 * 4, std::min<std::size_t>(count - made, 3), out + made);
    }
    writer_.filled(count);
  }

  // The characters that `count` bytes need: a group that is not full has one more than bytes.
  static std::size_t characters(std::size_t count) {
    return count / 3 * 4 + (count % 3 == 0 ? 0 : count % 3 + 1);
  }

  // True when what follows the data fills its last group up and then says nothing.
  static bool may_follow(std::string_view rest, std::size_t count) {
    for (std::size_t fill = count % 3 == 0 ? 0 : 3 - count % 3; fill > 0; --fill) {
      if (rest.empty() || rest[0] == '\r') break;
      rest.remove_prefix(1);
    }
    return rest.find_first_not_of("\r`AB") == rest.npos;
  }

  BlockWriter writer_;
  std::string carry_;
  bool first_ = true;
};

}  // namespace

void CUUCoder::Decode(IStream& input, IStream& output) {
  Decoder decoder(output);
  ULONGLONG left = remaining_length(input);
  BlockReader reader(input);
  while (left > 0) {
    const std::string_view block = reader.next(static_cast<std::size_t>(left));
    if (block.empty()) break;
    decoder.take(block);
    left -= block.size();
  }
  decoder.finish();
}

}  // namespace tallowbrook
