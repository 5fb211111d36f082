#include "streams/block.h"

#include <sys/mman.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <mutex>

namespace tallowbrook {
namespace {

constexpr std::size_t kPage = 4096;
constexpr std::size_t kLargePage = std::size_t{2} << 20;  // on the common machines
// From here on large pages are asked for: one that is not filled adds at most half.
constexpr std::size_t kVeryLarge = 2 * kLargePage;

// The thread sanitizer does not see mremap: it would hold what is mapped next at the old address
// for the block that stood there.
#ifdef __SANITIZE_THREAD__
constexpr bool kPagesMayMove = false;
#else
constexpr bool kPagesMayMove = true;
#endif

std::size_t whole_pages(std::size_t bytes) { return (bytes + kPage - 1) / kPage * kPage; }

// A run of mapped pages.
struct Pages {
  char* start = nullptr;
  std::size_t length = 0;
  [[nodiscard]] char* end() const { return start + length; }
};

// Pages that were let go. Those that lie side by side are one run, so that a block whose pages were
// taken from the front of a run can take those behind it as it grows.
class KeptPages {
 public:
  KeptPages() = default;
  KeptPages(const KeptPages&) = delete;
  KeptPages& operator=(const KeptPages&) = delete;
  ~KeptPages() {
    const std::lock_guard lock(mutex_);
    open_ = false;  // whoever lives longer than the library's data unmaps its own
    for (Pages& run : runs_) unmap(run);
  }

  // `length` bytes from the front of a run, or null.
  char* take(std::size_t length) {
    const std::lock_guard lock(mutex_);
    for (Pages& run : runs_) {
      if (run.length >= length) return take_front(run, length);
    }
    return nullptr;
  }

  // The `length` bytes at `start`, which are taken if they are here.
  bool take_at(const char* start, std::size_t length) {
    const std::lock_guard lock(mutex_);
    for (Pages& run : runs_) {
      if (run.start == start && run.length >= length) return take_front(run, length) != nullptr;
    }
    return false;
  }

  // Keeps the pages, or unmaps them when enough are kept.
  void give(Pages pages) {
    const std::lock_guard lock(mutex_);
    if (!open_ || total_ + pages.length > kMost) return unmap(pages);
    total_ += pages.length;
    for (Pages& run : runs_) {
      if (run.length == 0) continue;
      if (run.end() == pages.start) {
        pages = {run.start, run.length + pages.length};
      } else if (pages.end() == run.start) {
        pages.length += run.length;
      } else {
        continue;
      }
      run = {};
    }
    Pages& smallest =
        *std::min_element(runs_.begin(), runs_.end(),
                          [](const Pages& a, const Pages& b) { return a.length < b.length; });
    total_ -= smallest.length;
    unmap(smallest);
    smallest = pages;
  }

 private:
  static constexpr std::size_t kMost = std::size_t{8} << 20;

  static void unmap(const Pages& run) {
    if (run.length > 0) munmap(run.start, run.length);
  }

  char* take_front(Pages& run, std::size_t length) {
    char* const start = run.start;
    run = run.length > length ? Pages{start + length, run.length - length} : Pages{};
    total_ -= length;
    return start;
  }

  std::mutex mutex_;
  std::array<Pages, 4> runs_;
  std::size_t total_ = 0;
  bool open_ = true;
};

KeptPages g_kept;

char* map_fresh(std::size_t length) {
  void* const mapped =
      mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  return mapped == MAP_FAILED ? nullptr : static_cast<char*>(mapped);
}

// Address space that begins at a large page, for pages that move there.
char* reserve_aligned(std::size_t length) {
  char* const start = map_fresh(length + kLargePage);
  if (start == nullptr) return nullptr;
  const std::size_t lead =
      (kLargePage - reinterpret_cast<std::uintptr_t>(start) % kLargePage) % kLargePage;
  if (lead > 0) munmap(start, lead);
  munmap(start + lead + length, kLargePage - lead);
  return start + lead;
}

char* map_pages(std::size_t length) {
  if (char* const kept = g_kept.take(length)) return kept;
  if (length < kVeryLarge) return map_fresh(length);
  char* const start = reserve_aligned(length);
  if (start != nullptr) madvise(start, length, MADV_HUGEPAGE);
  return start;
}

// Null when the pages are no single mapping, as kept ones may be, or memory runs out.
char* move_pages(Pages old, std::size_t length) {
  if (!kPagesMayMove) return nullptr;
  char* const target = length < kVeryLarge ? nullptr : reserve_aligned(length);
  void* const moved = target == nullptr ? mremap(old.start, old.length, length, MREMAP_MAYMOVE)
                                        : mremap(old.start, old.length, length,
                                                 MREMAP_MAYMOVE | MREMAP_FIXED, target);
  if (moved == MAP_FAILED) {
    if (target != nullptr) munmap(target, length);
    return nullptr;
  }
  if (target != nullptr) madvise(target, length, MADV_HUGEPAGE);
  return static_cast<char*>(moved);
}

char* copied(char* block, std::size_t old_capacity, char* target, std::size_t capacity) {
  if (target == nullptr || block == nullptr) return target;
  std::memcpy(target, block, std::min(old_capacity, capacity));
  free_block(block, old_capacity);
  return target;
}

char* resize_pages(Pages old, std::size_t length) {
  if (length <= old.length) {
    if (length < old.length) g_kept.give({old.start + length, old.length - length});
    return old.start;
  }
  if (g_kept.take_at(old.end(), length - old.length)) return old.start;
  if (char* const moved = move_pages(old, length)) return moved;
  return copied(old.start, old.length, map_pages(length), length);
}

}  // namespace

char* resize_block(char* block, std::size_t old_capacity, std::size_t capacity) {
  const bool was_large = old_capacity >= kLargeBlock;
  const bool is_large = capacity >= kLargeBlock;
  if (!was_large && !is_large) return static_cast<char*>(std::realloc(block, capacity));
  if (was_large && is_large) {
    return resize_pages({block, whole_pages(old_capacity)}, whole_pages(capacity));
  }
  char* const target =
      is_large ? map_pages(whole_pages(capacity)) : static_cast<char*>(std::malloc(capacity));
  return copied(block, old_capacity, target, capacity);
}

void free_block(char* block, std::size_t capacity) {
  if (capacity >= kLargeBlock) {
    g_kept.give({block, whole_pages(capacity)});
  } else {
    std::free(block);
  }
}

}  // namespace tallowbrook
