#include "coding/block_io.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace tallowbrook {

namespace {

constexpr ULONG kBlock = 65536;

ULONGLONG seek(IStream& stream, ULONGLONG offset, DWORD origin) {
  LARGE_INTEGER move;
  move.QuadPart = static_cast<LONGLONG>(offset);
  ULARGE_INTEGER position{};
  stream.Seek(move, origin, &position);
  return position.QuadPart;
}

}  // namespace

ULONGLONG remaining_length(IStream& stream) {
  const ULONGLONG position = seek(stream, 0, STREAM_SEEK_CUR);
  const ULONGLONG size = seek(stream, 0, STREAM_SEEK_END);
  seek(stream, position, STREAM_SEEK_SET);
  return size - std::min(size, position);
}

void write_block(ISequentialStream& output, std::string_view block) {
  constexpr std::size_t kMost = std::size_t{1} << 30;
  while (!block.empty()) {
    const auto size = static_cast<ULONG>(std::min(block.size(), kMost));
    if (output.Write(block.data(), size, nullptr) == E_OUTOFMEMORY) throw std::bad_alloc();
    block.remove_prefix(size);
  }
}

BlockReader::BlockReader(ISequentialStream& stream)
    : stream_(stream), memory_(platform::query<CISSHelper>(&stream)) {
  // A stream that only hands on the queries of a memory stream has a Read of its own.
  if (memory_.get() != &stream) memory_.reset();
}

std::string_view BlockReader::next(std::size_t limit) {
  if (memory_) {
    const std::string_view block = memory_->unread().substr(0, limit);
    memory_->consume(static_cast<ULONG>(block.size()));
    return block;
  }
  if (!block_) block_ = std::make_unique<char[]>(kBlock);
  const auto wanted = static_cast<ULONG>(std::min<std::size_t>(limit, kBlock));
  ULONG got = 0;
  if (wanted > 0) stream_.Read(block_.get(), wanted, &got);
  return {block_.get(), std::min(got, wanted)};
}

void BlockWriter::put(std::string_view piece) {
  if (piece.size() > buffer_.size() - fill_) flush();
  if (piece.size() >= buffer_.size()) {
    write_block(stream_, piece);
  } else if (!piece.empty()) {
    std::memcpy(buffer_.data() + fill_, piece.data(), piece.size());
    fill_ += piece.size();
  }
}

void BlockWriter::flush() {
  write_block(stream_, {buffer_.data(), fill_});
  fill_ = 0;
}

}  // namespace tallowbrook
