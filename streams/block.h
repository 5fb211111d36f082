// Memory blocks that grow cheaply.
//
// A small block comes from the heap. A large one is mapped by itself, aligned for the processor's
// large pages and offered to the system for them: filling fresh memory page by page costs many
// times what copying into it does. Growing a large block moves its pages, not its bytes.
#pragma once

#include <cstddef>

namespace tallowbrook {

// Makes a block of `old_capacity` bytes (null and 0 for none) one of `capacity` bytes, keeping what
// both have room for. Null when memory runs out; the old block is then still there.
[[nodiscard]] char* resize_block(char* block, std::size_t old_capacity, std::size_t capacity);

void free_block(char* block, std::size_t capacity);

}  // namespace tallowbrook
