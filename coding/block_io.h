// Blocks between streams and coders: what every coder reads with and writes with.
#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <string_view>

#include "platform/com/unknown.h"
#include "platform/storage/stream.h"
#include "streams/memory_stream.h"

namespace tallowbrook {

// What lies between a stream's position and its end, in bytes; 0 when it cannot seek. The position
// is where it was afterwards.
[[nodiscard]] ULONGLONG remaining_length(IStream& stream);

// Writes to a coder's output, whose answer does not count, except that memory has run out: that
// throws std::bad_alloc.
void write_block(ISequentialStream& output, std::string_view block);

// Hands out a stream's bytes in blocks: a memory stream's in one, without a copy, any other's in
// reads of 65536 bytes.
class BlockReader {
 public:
  explicit BlockReader(ISequentialStream& stream);

  // The next block, at most `limit` bytes; empty when a read yields none. Valid until the next call
  // and until a memory stream is written to.
  [[nodiscard]] std::string_view next(std::size_t limit = static_cast<std::size_t>(-1));
  // True for a memory stream, whose first block is all there is.
  [[nodiscard]] bool lends() const { return static_cast<bool>(memory_); }

 private:
  ISequentialStream& stream_;
  platform::ComPtr<CISSHelper> memory_;
  std::unique_ptr<char[]> block_;
};

// Gathers small pieces and writes them in blocks; large ones go straight through. What is left in
// it is written by `flush` alone.
class BlockWriter {
 public:
  explicit BlockWriter(ISequentialStream& stream) : stream_(stream) {}
  BlockWriter(const BlockWriter&) = delete;
  BlockWriter& operator=(const BlockWriter&) = delete;

  void put(std::string_view piece);
  void put(char byte) {
    if (fill_ == buffer_.size()) flush();
    buffer_[fill_++] = byte;
  }
  // Room for `count` bytes (at most kCapacity) that the caller fills, and then says how many.
  [[nodiscard]] char* room(std::size_t count) {
    if (count > buffer_.size() - fill_) flush();
    return buffer_.data() + fill_;
  }
  void filled(std::size_t count) { fill_ += count; }
  void flush();

  static constexpr std::size_t kCapacity = 8192;

 private:
  ISequentialStream& stream_;
  std::size_t fill_ = 0;
  std::array<char, kCapacity> buffer_;
};

}  // namespace tallowbrook
