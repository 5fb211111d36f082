#include "streams/block.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace tallowbrook {
namespace {

constexpr std::size_t kPage = std::size_t{2} << 20;   // a large page on the common machines
constexpr std::size_t kLarge = std::size_t{4} << 20;  // from here on a block is mapped

std::size_t whole_pages(std::size_t bytes) { return (bytes + kPage - 1) / kPage * kPage; }

// Address space for `bytes` (whole pages), aligned to a page; nothing may be touched yet.
char* reserve_aligned(std::size_t bytes) {
  void* mapped = mmap(nullptr, bytes + kPage, PROT_READ | PROT_WRITE,
                      MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (mapped == MAP_FAILED) return nullptr;
  auto* start = static_cast<char*>(mapped);
  const std::size_t lead = (kPage - reinterpret_cast<std::uintptr_t>(start) % kPage) % kPage;
  if (lead > 0) munmap(start, lead);
  munmap(start + lead + bytes, kPage - lead);
  return start + lead;
}

char* map_block(std::size_t bytes) {
  char* block = reserve_aligned(bytes);
  if (block != nullptr) madvise(block, bytes, MADV_HUGEPAGE);
  return block;
}

char* remap_block(char* block, std::size_t old_bytes, std::size_t bytes) {
  if (bytes <= old_bytes) {
    if (bytes < old_bytes) munmap(block + bytes, old_bytes - bytes);
    return block;
  }
  char* target = reserve_aligned(bytes);
  if (target == nullptr) return nullptr;
  void* moved = mremap(block, old_bytes, bytes, MREMAP_MAYMOVE | MREMAP_FIXED, target);
  if (moved == MAP_FAILED) {
    munmap(target, bytes);
    return nullptr;
  }
  madvise(target, bytes, MADV_HUGEPAGE);
  return target;
}

}  // namespace

char* resize_block(char* block, std::size_t old_capacity, std::size_t capacity) {
  const bool was_large = old_capacity >= kLarge;
  const bool is_large = capacity >= kLarge;
  if (!was_large && !is_large) return static_cast<char*>(std::realloc(block, capacity));
  if (was_large && is_large) {
    return remap_block(block, whole_pages(old_capacity), whole_pages(capacity));
  }
  char* moved =
      is_large ? map_block(whole_pages(capacity)) : static_cast<char*>(std::malloc(capacity));
  if (moved == nullptr) return nullptr;
  if (block != nullptr) std::memcpy(moved, block, std::min(old_capacity, capacity));
  free_block(block, old_capacity);
  return moved;
}

void free_block(char* block, std::size_t capacity) {
  if (capacity >= kLarge) {
    munmap(block, whole_pages(capacity));
  } else {
    std::free(block);
  }
}

}  // namespace tallowbrook
