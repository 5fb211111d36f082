#include "coding/base64.h"

#include <algorithm>
#include <string>

#include "coding/block_io.h"

namespace tallowbrook {

namespace {

constexpr std::size_t kLineBytes = 57;  // make 76 characters

std::uint32_t octet(char byte) { return static_cast<std::uint8_t>(byte); }

// Encodes `bytes` to `out`, closing a short last group with "="; returns the characters written,
// 4 for every 3 bytes begun.
std::size_t encode_groups(const Base64Groups& groups, std::string_view bytes, char* out) {
  const std::size_t left = bytes.size() % 3;
  const std::size_t whole = bytes.size() - left;
  groups.encode(bytes.data(), whole, out);
  if (left == 0) return whole / 3 * 4;
  out += whole / 3 * 4;
  const std::uint32_t group =
      octet(bytes[whole]) << 16 | (left == 2 ? octet(bytes[whole + 1]) << 8 : 0u);
  out[0] = kBase64Alphabet[group >> 18];
  out[1] = kBase64Alphabet[group >> 12 & 63];
  out[2] = left == 2 ? kBase64Alphabet[group >> 6 & 63] : '=';
  out[3] = '=';
  return whole / 3 * 4 + 4;
}

// Gathers lines of kLineBytes; all but the last are whole, so that only the last is padded.
class Encoder {
 public:
  Encoder(IStream& output, const Base64Groups& groups, bool breaks)
      : writer_(output), groups_(groups), breaks_(breaks) {}

  void take(std::string_view block) {
    if (!carry_.empty()) {
      const std::size_t missing = std::min(kLineBytes - carry_.size(), block.size());
      carry_.append(block.substr(0, missing));
      block.remove_prefix(missing);
      if (carry_.size() < kLineBytes) return;
      line(carry_);
      carry_.clear();
    }
    for (; block.size() >= kLineBytes; block.remove_prefix(kLineBytes)) {
      line(block.substr(0, kLineBytes));
    }
    carry_ = block;
  }

  void finish() {
    if (!carry_.empty()) line(carry_);
    if (breaks_ && !at_line_start_) writer_.put("\r\n");
    writer_.flush();
  }

 private:
  void line(std::string_view bytes) {
    char* out = writer_.room(78);
    std::size_t count = encode_groups(groups_, bytes, out);
    at_line_start_ = breaks_ && bytes.size() == kLineBytes;
    if (at_line_start_) {
      out[count++] = '\r';
      out[count++] = '\n';
    }
    writer_.filled(count);
  }

  BlockWriter writer_;
  const Base64Groups& groups_;
  std::string carry_;
  bool breaks_;
  bool at_line_start_ = false;
};

class Decoder {
 public:
  Decoder(ISequentialStream& output, const Base64Groups& groups)
      : writer_(output), groups_(groups) {}

  void take(std::string_view block) {
    std::size_t i = 0;
    while (i < block.size()) {
      if (count_ == 0) {
        i += whole_groups(block.substr(i));
        while (i < block.size() && base64_value(block[i]) == kNoBase64) ++i;
      }
      if (i < block.size()) step(block[i++]);
    }
  }

  void finish() { writer_.flush(); }

 private:
  // Returns the characters taken.
  std::size_t whole_groups(std::string_view text) {
    constexpr std::size_t kMost = (BlockWriter::kCapacity - Base64Groups::kSlack) / 3 * 4;
    text = text.substr(0, kMost);
    char* const out = writer_.room(text.size() / 4 * 3 + Base64Groups::kSlack);
    const Base64Groups::Progress progress = groups_.decode(text.data(), text.size(), out);
    writer_.filled(progress.made);
    return progress.taken;
  }

  void step(char byte) {
    const std::uint32_t value = base64_value(byte);
    if (value == kNoBase64) return;
    bits_ = bits_ << 6 | value;
    count_ += 6;
    if (count_ < 8) return;
    count_ -= 8;
    writer_.put(static_cast<char>(bits_ >> count_));
  }

  BlockWriter writer_;
  const Base64Groups& groups_;
  std::uint32_t bits_ = 0;
  unsigned count_ = 0;
};

// Gives a converter exactly the bytes that were left when the conversion began.
template <class Converter>
void convert(IStream& input, Converter&& converter) {
  ULONGLONG left = remaining_length(input);
  BlockReader reader(input);
  while (left > 0) {
    const std::string_view block = reader.next(left);
    if (block.empty()) break;
    converter.take(block);
    left -= block.size();
  }
  converter.finish();
}

}  // namespace

void CBase64::Decode(IStream& input, IStream& output) { convert(input, Decoder(output, groups_)); }

void CBase64::decode_text(std::string_view content, ISequentialStream& output) const {
  Decoder decoder(output, groups_);
  decoder.take(content);
  decoder.finish();
}

void CBase64::Encode(IStream& input, IStream& output) {
  convert(input, Encoder(output, groups_, !no_line_breaks_));
}

}  // namespace tallowbrook
