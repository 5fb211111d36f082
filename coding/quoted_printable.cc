#include "coding/quoted_printable.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <utility>

#include "coding/block_io.h"

namespace tallowbrook {

namespace {

constexpr std::uint8_t octet(char byte) { return static_cast<std::uint8_t>(byte); }

// --- digits --------------------------------------------------------------------------------------

constexpr std::string_view kHex = "0123456789ABCDEF";

// Letters A to F count from 10, every other byte from "0", modulo 256.
constexpr std::array<std::uint8_t, 256> kDigits = [] {
  std::array<std::uint8_t, 256> digits{};
  for (unsigned i = 0; i < 256; ++i) digits[i] = static_cast<std::uint8_t>(i - '0');
  for (unsigned i = 0; i < 6; ++i) {
    digits['A' + i] = digits['a' + i] = static_cast<std::uint8_t>(10 + i);
  }
  return digits;
}();

char byte_of(char first, char second) {
  return static_cast<char>(16u * kDigits[octet(first)] + kDigits[octet(second)]);
}

constexpr std::array<std::array<char, 4>, 256> kEscapes = [] {
  std::array<std::array<char, 4>, 256> escapes{};
  for (std::size_t i = 0; i < escapes.size(); ++i) escapes[i] = {'=', kHex[i >> 4], kHex[i & 15]};
  return escapes;
}();

// Writes one byte more than the three that count.
char* put_escape(char byte, char* out) {
  std::memcpy(out, kEscapes[octet(byte)].data(), 4);
  return out + 3;
}

bool ends_line(char byte) { return byte == '\r' || byte == '\n'; }

// --- decoding ------------------------------------------------------------------------------------

constexpr std::size_t kWord = sizeof(std::uint64_t);
constexpr std::uint64_t kOnes = 0x0101010101010101;

// The high bit of the first byte that equals `byte`, and perhaps of later ones.
std::uint64_t matches(std::uint64_t word, char byte) {
  const std::uint64_t zero = word ^ kOnes * octet(byte);
  return (zero - kOnes) & ~zero & kOnes << 7;
}

// Copies bytes up to the first "=" or "." and returns how many. There is room for kWord bytes more
// than `length` at `out`.
std::size_t copy_plain(const char* text, std::size_t length, char* out) {
  std::size_t i = 0;
  if constexpr (std::endian::native == std::endian::little) {
    for (; i + kWord <= length; i += kWord) {
      std::uint64_t word;
      std::memcpy(&word, text + i, kWord);
      std::memcpy(out + i, &word, kWord);
      const std::uint64_t found = matches(word, '=') | matches(word, '.');
      if (found != 0) return i + static_cast<std::size_t>(std::countr_zero(found)) / 8;
    }
  }
  for (; i < length && text[i] != '=' && text[i] != '.'; ++i) out[i] = text[i];
  return i;
}

// Decodes whole runs between the few places that need a second look: there, and where a sequence
// straddles two blocks, it goes byte by byte.
class Decoder {
 public:
  Decoder(ISequentialStream& output, ULONGLONG length, DecodeQuotedBlocks blocks)
      : writer_(output), length_(length), blocks_(blocks) {}

  void take(std::string_view block) {
    std::size_t at = 0;
    while (at < block.size()) {
      if (state_ == State::kText) at += run(block.substr(at));
      if (at < block.size()) step(block[at++]);
    }
  }

  void finish() { writer_.flush(); }

 private:
  static constexpr std::size_t kMostAtOnce = 4096;
  static constexpr std::size_t kSlack = 16;  // for the blocks, and for copy_plain

  // What the byte before was: text, "=", "=" and a digit, or dots at the start of a line.
  enum class State { kText, kEscape, kDigit, kDot, kTwoDots, kTwoDotsCr };

  // How many bytes of `text` come before the last two of the input, which may be a closing line
  // end. An input that was said to be shorter than it is has that behind it.
  [[nodiscard]] std::size_t safe_length(std::string_view text) const {
    if (read_ >= length_) return text.size();
    const ULONGLONG left = length_ - read_;
    return left <= 2 ? 0 : static_cast<std::size_t>(std::min<ULONGLONG>(left - 2, text.size()));
  }

  // Decodes from the start of `text` while that needs no state; returns the bytes taken.
  std::size_t run(std::string_view text) {
    const std::size_t length = std::min(safe_length(text), kMostAtOnce);
    char* const start = writer_.room(length + kSlack);
    char* out = start;
    std::size_t i = 0;
    while (i < length) {
      if (i > 0 && length - i >= kQuotedBlock) {
        const DecodedBlocks done = blocks_(text.data() + i, length - i, out);
        i += done.taken;
        out += done.made;
        if (i == length) break;
      }
      if (text[i] == '=') {
        if (length - i < 3 || text[i + 1] == '\n') break;
        const unsigned high = kDigits[octet(text[i + 1])];
        const unsigned low = kDigits[octet(text[i + 2])];
        *out = static_cast<char>(16 * high + low);
        const bool soft_break = text[i + 1] == '\r' && text[i + 2] == '\n';
        out += *out != '\0' && !soft_break ? 1 : 0;
        i += 3;
      } else if (text[i] == '.') {
        if (ends_line(i == 0 ? previous_ : text[i - 1])) break;
        *out++ = text[i++];
      } else {
        const std::size_t plain = copy_plain(text.data() + i, length - i, out);
        i += plain;
        out += plain;
      }
    }
    writer_.filled(static_cast<std::size_t>(out - start));
    read_ += i;
    if (i > 0) previous_ = text[i - 1];
    return i;
  }

  void step(char byte) {
    ++read_;
    const char before = std::exchange(previous_, byte);
    switch (std::exchange(state_, State::kText)) {
      case State::kText:
        text(before, byte);
        break;
      case State::kEscape:
        if (byte != '\n') state_ = State::kDigit;
        break;
      case State::kDigit:
        if (before == '\r' && byte == '\n') break;
        if (const char value = byte_of(before, byte); value != '\0') writer_.put(value);
        break;
      case State::kDot:
        if (byte == '.') {
          state_ = State::kTwoDots;
        } else {
          put(".", byte);
        }
        break;
      case State::kTwoDots:
        if (byte == '\r') {
          state_ = State::kTwoDotsCr;
        } else {
          put(byte == '\n' ? "." : "..", byte);
        }
        break;
      case State::kTwoDotsCr:
        put(byte == '\n' ? ".\r" : "..\r", byte);
        break;
    }
  }

  void text(char before, char byte) {
    if (byte == '=') {
      state_ = State::kEscape;
    } else if (byte == '.' && ends_line(before)) {
      state_ = State::kDot;
    } else if (!(byte == '\r' && length_ >= 2 && read_ == length_ - 1) &&
               !(byte == '\n' && read_ == length_)) {
      writer_.put(byte);
    }
  }

  void put(std::string_view head, char byte) {
    writer_.put(head);
    writer_.put(byte);
  }

  BlockWriter writer_;
  State state_ = State::kText;
  char previous_ = '\0';
  ULONGLONG read_ = 0;
  ULONGLONG length_;
  DecodeQuotedBlocks blocks_;
};

// --- encoding ------------------------------------------------------------------------------------

constexpr std::size_t kWrapColumn = 75;
constexpr std::string_view kSoftBreak = "=\r\n";

enum class Kind : std::uint8_t { kPlain, kBlank, kDot, kLineEnd, kEscaped };

constexpr std::array<Kind, 256> kKinds = [] {
  std::array<Kind, 256> kinds{};
  for (unsigned i = 0; i < 256; ++i) {
    const bool plain = i > 0x20 && i < 0x7F && i != '=';
    kinds[i] = plain ? Kind::kPlain : Kind::kEscaped;
  }
  kinds[' '] = kinds['\t'] = Kind::kBlank;
  kinds['.'] = Kind::kDot;
  kinds['\r'] = kinds['\n'] = Kind::kLineEnd;
  return kinds;
}();

Kind kind_of(char byte) { return kKinds[octet(byte)]; }

// A run of texts that are put out at once, each as soon as it is known: most are one byte, but a
// blank or a CR waits for what follows. While nothing waits, whole stretches of a line are copied.
class Encoder {
 public:
  explicit Encoder(IStream& output) : writer_(output) {}

  void take(std::string_view block) {
    std::size_t at = 0;
    while (at < block.size()) {
      if (state_ == State::kInside && pending_.empty()) at += run(block.substr(at));
      if (at < block.size()) step(block[at++]);
    }
  }

  void finish() {
    if (!pending_.empty()) {
      last_ = pending_.back();
      writer_.put(pending_);
    }
    if (last_ != '\0' && last_ != '\n') writer_.put("\r\n");
    writer_.flush();
  }

 private:
  enum class State { kInside, kAfterCr, kLineStart, kAfterBlank, kAfterBlankCr };

  // The most bytes that `run` takes, and the room they need: 3 for each, and some soft breaks.
  static constexpr std::size_t kMostAtOnce = 512;
  static constexpr std::size_t kMostRoom = kMostAtOnce * 3 + kMostAtOnce / 4;

  // Encodes from the start of `text` while nothing has to wait; returns the bytes taken.
  std::size_t run(std::string_view text) {
    text = text.substr(0, kMostAtOnce);
    char* const start = writer_.room(kMostRoom);
    char* out = start;
    std::size_t i = 0;
    while (i < text.size()) {
      const Kind kind = kind_of(text[i]);
      if (kind == Kind::kEscaped) {
        out = put_escape(text[i++], soft_break(3, out));
      } else if (const std::size_t stretch = copy_stretch(text.substr(i), out); stretch > 0) {
        out += stretch;
        column_ += stretch;
        i += stretch;
      } else if (kind == Kind::kPlain || kind == Kind::kDot) {  // the line is full
        out = soft_break(1, out);
        if (kind == Kind::kDot) {
          out = put_escape(text[i], out);
        } else {
          *out++ = text[i];
        }
        ++i;
      } else if (kind == Kind::kLineEnd && text.size() - i >= 3 &&
                 starts_plain_line(text.substr(i, 3))) {
        std::memcpy(out, text.data() + i, 3);
        out += 3;
        i += 3;
        column_ = 0;
      } else {
        break;
      }
    }
    if (i > 0) last_ = out[-1];
    writer_.filled(static_cast<std::size_t>(out - start));
    return i;
  }

  // Copies what of `text` fits into the line as it is and returns how many bytes that are. The last
  // is no blank: that one may have to be escaped.
  [[nodiscard]] std::size_t copy_stretch(std::string_view text, char* out) const {
    const std::size_t room = std::min(kWrapColumn - column_, text.size());
    std::size_t i = 0;
    for (; i < room && kind_of(text[i]) <= Kind::kDot; ++i) out[i] = text[i];
    while (i > 0 && kind_of(text[i - 1]) == Kind::kBlank) --i;
    return i;
  }

  [[nodiscard]] static bool starts_plain_line(std::string_view three) {
    return three[0] == '\r' && three[1] == '\n' && kind_of(three[2]) == Kind::kPlain;
  }

  // Counts `count` characters and breaks the line before them if they do not fit; they then stand
  // uncounted at the start of the next.
  char* soft_break(std::size_t count, char* out) {
    column_ += count;
    if (column_ <= kWrapColumn) return out;
    column_ = 0;
    std::memcpy(out, kSoftBreak.data(), kSoftBreak.size());
    return out + kSoftBreak.size();
  }

  void step(char byte) {
    if (pending_.size() > 40) write_some(20);
    if (kind_of(byte) == Kind::kEscaped) {
      char escape[4];
      put_escape(byte, escape);
      pending_.append(escape, 3);
      return flush();
    }
    pending_ += byte;
    if (state_ == State::kAfterCr && byte == '\n') {
      state_ = State::kLineStart;
    } else if (state_ == State::kLineStart && byte == '.') {
      pending_.replace(pending_.size() - 1, 1, "=2E");
      flush();
    } else if (state_ == State::kAfterBlankCr && byte == '\n') {
      const char blank = pending_[pending_.size() - 3];
      pending_.replace(pending_.size() - 3, 3, blank == ' ' ? "=20\r\n" : "=09\r\n");
      flush();
    } else if (byte == '\r') {
      state_ = state_ == State::kAfterBlank ? State::kAfterBlankCr : State::kAfterCr;
    } else if (kind_of(byte) == Kind::kBlank) {
      state_ = State::kAfterBlank;
    } else {
      flush();
    }
  }

  void flush() {
    write_some(pending_.size());
    state_ = State::kInside;
  }

  // Writes the first `count` pending bytes; a line end anywhere in the pending text means that the
  // column starts anew.
  void write_some(std::size_t count) {
    column_ = pending_.find('\n') == pending_.npos ? column_ + count : 0;
    std::string_view text = std::string_view(pending_).substr(0, count);
    if (column_ > kWrapColumn) {
      writer_.put(kSoftBreak);
      column_ = 0;
      if (text.front() == '.') {
        writer_.put("=2E");
        text.remove_prefix(1);
      }
    }
    writer_.put(text);
    last_ = pending_[count - 1];
    pending_.erase(0, count);
  }

  BlockWriter writer_;
  std::string pending_;
  std::size_t column_ = 0;
  State state_ = State::kLineStart;
  char last_ = '\0';  // the last byte written; no zero is ever written
};

// --- header texts --------------------------------------------------------------------------------

constexpr std::string_view kWordStart = "=?iso-8859-1?Q?";
constexpr std::string_view kNextWord = "?=\r\n\t=?iso-8859-1?Q?";
constexpr std::size_t kLineLimit = 75;

std::string_view buffer_view(const char* source, std::int32_t length) {
  if (source == nullptr) return {};
  if (length < 0) return source;
  return {source, static_cast<std::size_t>(length)};
}

// Calls `put` for every byte that the text of an encoded word stands for.
template <class Put>
void decode_word_text(std::string_view text, std::string_view continuation, Put put) {
  for (std::size_t i = 0; i < text.size();) {
    if (!continuation.empty() && text.substr(i).starts_with(continuation)) {
      i += continuation.size();
    } else if (text[i] == '=') {
      if (text.size() - i < 3) {
        ++i;
        continue;
      }
      if (text[i + 1] != '\r' || text[i + 2] != '\n') put(byte_of(text[i + 1], text[i + 2]));
      i += 3;
    } else {
      put(text[i] == '_' ? ' ' : text[i]);
      ++i;
    }
  }
}

bool is_letter_or_digit(char byte) {
  return (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') ||
         (byte >= 'a' && byte <= 'z');
}

}  // namespace

void CQuotedPrintable::Decode(IStream& input, IStream& output) {
  Decoder decoder(output, remaining_length(input), blocks_);
  BlockReader reader(input);
  for (auto block = reader.next(); !block.empty(); block = reader.next()) decoder.take(block);
  decoder.finish();
}

void CQuotedPrintable::decode_text(std::string_view content, ISequentialStream& output) const {
  Decoder decoder(output, content.size(), blocks_);
  decoder.take(content);
  decoder.finish();
}

void CQuotedPrintable::Encode(IStream& input, IStream& output) {
  Encoder encoder(output);
  BlockReader reader(input);
  for (auto block = reader.next(); !block.empty(); block = reader.next()) encoder.take(block);
  encoder.finish();
}

std::int32_t CQuotedPrintable::DecodeBuffer(const char* source, char* destination,
                                            std::int32_t length) {
  if (!header_mode_) return CMIMECode::DecodeBuffer(source, destination, length);
  std::int32_t count = 0;
  decode_word_text(buffer_view(source, length), continuation_, [&](char byte) {
    if (destination != nullptr) destination[count] = byte;
    ++count;
  });
  return count;
}

void CQuotedPrintable::EncodeToString(const char* source, std::int32_t length, std::string& text) {
  if (!header_mode_) return CMIMECode::EncodeToString(source, length, text);
  const std::string_view bytes = buffer_view(source, length);
  text.clear();
  if (bytes.empty()) return;
  std::string words(kWordStart);
  words.reserve(bytes.size() * 2);
  for (std::size_t i = 0, limit = kLineLimit; i < bytes.size(); ++i) {
    if (words.size() + 2 > limit) {
      words += kNextWord;
      limit += kLineLimit;
    }
    if (bytes[i] == ' ') {
      words += '_';
    } else if (is_letter_or_digit(bytes[i])) {
      words += bytes[i];
    } else {
      char escape[4];
      put_escape(bytes[i], escape);
      words.append(escape, 3);
    }
  }
  text = std::move(words);
  text += "?=";
}

}  // namespace tallowbrook
