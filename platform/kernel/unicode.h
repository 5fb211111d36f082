// Text in blocks: runs of ASCII, UTF-8 and UTF-16 sequences, and where converted text goes.
// Internal to the kernel room.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <type_traits>

namespace tallowbrook::platform {

inline constexpr char16_t kReplacement = 0xFFFD;

inline constexpr std::size_t kBlock = 16;

// Widens or narrows a block. Arrays of its own, which overlap nothing, make it vector moves.
template <class Source, class Target>
void copy_block(const Source* from, Target* to) {
  Source units[kBlock];
  Target copies[kBlock];
  std::memcpy(units, from, sizeof units);
  for (std::size_t i = 0; i < kBlock; ++i) {
    copies[i] = static_cast<Target>(static_cast<std::make_unsigned_t<Source>>(units[i]));
  }
  std::memcpy(to, copies, sizeof copies);
}

// Takes converted text: keeps what fits in the room it was given and counts all of it, so that one
// pass with no room measures.
template <class Unit>
class Output {
 public:
  Output(Unit* room, std::size_t capacity) : room_(room), capacity_(capacity) {}

  [[nodiscard]] std::size_t count() const { return count_; }
  [[nodiscard]] bool fits() const { return count_ <= capacity_; }

  void put(Unit unit) {
    if (count_ < capacity_) room_[count_] = unit;
    ++count_;
  }

  // Room for units that the caller writes itself. `length` units count as put out; it becomes the
  // number that there is room for.
  [[nodiscard]] Unit* take_room(std::size_t& length) {
    const std::size_t start = std::min(capacity_, count_);
    count_ += length;
    length = std::min(length, capacity_ - start);
    return room_ + start;
  }
  // The room that is left; units written there are put out by `take_room`.
  [[nodiscard]] std::size_t room_left() const { return capacity_ - std::min(capacity_, count_); }
  [[nodiscard]] Unit* next_room() const { return room_ + std::min(capacity_, count_); }

  // Units of another width whose values all fit in `Unit`.
  template <class Source>
  void put_run(const Source* run, std::size_t length) {
    const std::size_t kept = std::min(length, capacity_ - std::min(capacity_, count_));
    if (kept != 0) widen_or_narrow(run, kept, room_ + count_);
    count_ += length;
  }

 private:
  template <class Source>
  static void widen_or_narrow(const Source* from, std::size_t length, Unit* to) {
    if (length < kBlock) {
      for (std::size_t i = 0; i < length; ++i) to[i] = static_cast<Unit>(from[i]);
      return;
    }
    for (std::size_t at = 0; at + kBlock < length; at += kBlock) copy_block(from + at, to + at);
    copy_block(from + length - kBlock, to + length - kBlock);
  }

  Unit* room_;
  std::size_t capacity_;
  std::size_t count_ = 0;
};

using WideOutput = Output<char16_t>;
using ByteOutput = Output<char>;

// The number of units below 0x80 at the start of the text.
[[nodiscard]] std::size_t ascii_run(std::string_view text);
[[nodiscard]] std::size_t ascii_run(std::u16string_view text);

// True when the 16 bytes are all below 0x80.
[[nodiscard]] inline bool is_ascii_block(const char* bytes) {
  std::uint64_t halves[2];
  std::memcpy(halves, bytes, sizeof halves);
  return ((halves[0] | halves[1]) & 0x8080808080808080) == 0;
}

[[nodiscard]] constexpr bool is_high_surrogate(char32_t unit) { return (unit >> 10) == 0x36; }
[[nodiscard]] constexpr bool is_low_surrogate(char32_t unit) { return (unit >> 10) == 0x37; }

// One character and the units it took. An ill-formed sequence is not `valid`; its length is that
// of its maximal part, at least 1.
struct Character {
  char32_t point;
  std::size_t length;
  bool valid;
};

// The first character of a text that is not empty. For UTF-16, a lone surrogate is not valid and
// its point is the surrogate.
[[nodiscard]] Character first_utf8(std::string_view text);
[[nodiscard]] Character first_utf16(std::u16string_view text);

void put_utf8(char32_t point, ByteOutput& out);
void put_utf16(char32_t point, WideOutput& out);

}  // namespace tallowbrook::platform
