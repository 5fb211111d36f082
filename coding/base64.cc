#include "coding/base64.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "coding/block_io.h"

namespace tallowbrook {

namespace {

constexpr std::string_view kAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::size_t kLineBytes = 57;  // make 76 characters
constexpr std::uint8_t kSkip = 0xFF;

// The 6 bits of each alphabet character, kSkip for every other byte.
constexpr std::array<std::uint8_t, 256> kValues = [] {
  std::array<std::uint8_t, 256> values{};
  values.fill(kSkip);
  for (std::size_t i = 0; i < kAlphabet.size(); ++i) {
    values[static_cast<std::uint8_t>(kAlphabet[i])] = static_cast<std::uint8_t>(i);
  }
  return values;
}();

std::uint32_t octet(char byte) { return static_cast<std::uint8_t>(byte); }

// Encodes `bytes` to `out`, closing a short last group with "="; returns the characters written,
// 4 for every 3 bytes begun.
std::size_t encode_groups(std::string_view bytes, char* out) {
  char* const start = out;
  std::size_t i = 0;
  for (; i + 3 <= bytes.size(); i += 3) {
    const std::uint32_t group =
        octet(bytes[i]) << 16 | octet(bytes[i + 1]) << 8 | octet(bytes[i + 2]);
    *out++ = kAlphabet[group >> 18];
    *out++ = kAlphabet[group >> 12 & 63];
    *out++ = kAlphabet[group >> 6 & 63];
    *out++ = kAlphabet[group & 63];
  }
  if (const std::size_t left = bytes.size() - i; left > 0) {
    const std::uint32_t group = octet(bytes[i]) << 16 | (left == 2 ? octet(bytes[i + 1]) << 8 : 0u);
    *out++ = kAlphabet[group >> 18];
    *out++ = kAlphabet[group >> 12 & 63];
    *out++ = left == 2 ? kAlphabet[group >> 6 & 63] : '=';
    *out++ = '=';
  }
  return static_cast<std::size_t>(out - start);
}

// Gathers lines of kLineBytes; all but the last are whole, so that only the last is padded.
class Encoder {
 public:
  Encoder(IStream& output, bool breaks) : writer_(output), breaks_(breaks) {}

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
    std::size_t count = encode_groups(bytes, out);
    at_line_start_ = breaks_ && bytes.size() == kLineBytes;
    if (at_line_start_) {
      out[count++] = '\r';
      out[count++] = '\n';
    }
    writer_.filled(count);
  }

  BlockWriter writer_;
  std::string carry_;
  bool breaks_;
  bool at_line_start_ = false;
};

class Decoder {
 public:
  explicit Decoder(IStream& output) : writer_(output) {}

  void take(std::string_view block) {
    std::size_t i = 0;
    while (i < block.size()) {
      if (count_ == 0) i += whole_groups(block.substr(i));
      if (i < block.size()) step(block[i++]);
    }
  }

  void finish() { writer_.flush(); }

 private:
  // Decodes groups of four alphabet characters up to the first other byte; returns the bytes taken.
  std::size_t whole_groups(std::string_view text) {
    constexpr std::size_t kMost = BlockWriter::kCapacity / 3 * 4;
    text = text.substr(0, kMost);
    char* const start = writer_.room(text.size() / 4 * 3);
    char* out = start;
    std::size_t i = 0;
    for (; i + 4 <= text.size(); i += 4) {
      const std::uint32_t a = kValues[octet(text[i])];
      const std::uint32_t b = kValues[octet(text[i + 1])];
      const std::uint32_t c = kValues[octet(text[i + 2])];
      const std::uint32_t d = kValues[octet(text[i + 3])];
      if (((a | b | c | d) & 0xC0) != 0) break;
      const std::uint32_t group = a << 18 | b << 12 | c << 6 | d;
      *out++ = static_cast<char>(group >> 16);
      *out++ = static_cast<char>(group >> 8);
      *out++ = static_cast<char>(group);
    }
    writer_.filled(static_cast<std::size_t>(out - start));
    return i;
  }

  void step(char byte) {
    const std::uint32_t value = kValues[octet(byte)];
    if (value == kSkip) return;
    bits_ = bits_ << 6 | value;
    count_ += 6;
    if (count_ < 8) return;
    count_ -= 8;
    writer_.put(static_cast<char>(bits_ >> count_));
  }

  BlockWriter writer_;
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

void CBase64::Decode(IStream& input, IStream& output) { convert(input, Decoder(output)); }

void CBase64::Encode(IStream& input, IStream& output) {
  convert(input, Encoder(output, !no_line_breaks_));
}

}  // namespace tallowbrook
