// Memory blocks that grow cheaply.
//
// A small block comes from the heap. A large one is mapped by itself: it grows by moving its pages,
// not its bytes, and what it does not use costs nothing. Memory that is touched for the first time
// costs many times what copying into it does, so the pages of large blocks that were let go are
// kept for the next ones, up to 8 MB in the process; very large blocks are offered to the system
// for the processor's large pages. Safe from any thread.
#pragma once

#include <cstddef>

namespace tallowbrook {

// Blocks of so many bytes and more are large.
inline constexpr std::size_t kLargeBlock = std::size_t{256} << 10;

// The most by which a block is made larger than it needs to be: from twice this size on, growing it
// by so much at a time moves pages alone, so a long content takes little more than its size.
inline constexpr std::size_t kMostSpare = std::size_t{32} << 20;

// Makes a block of `old_capacity` bytes (null and 0 for none) one of `capacity` bytes, keeping what
// both have room for. Null when memory runs out; the old block is then still there.
[[nodiscard]] char* resize_block(char* block, std::size_t old_capacity, std::size_t capacity);

void free_block(char* block, std::size_t capacity);

}  // namespace tallowbrook
