// A BSTR's memory: a 32-bit byte count, the text, a closing zero unit.
//
// Hosts take short strings by the thousand and give each back soon. So every thread keeps blocks of
// short ones that it gave back, 32 KB at most, and hands them out again; they go when it ends.
// TALLOWBROOK_BSTR_CACHE=0 in the environment turns that off, for tools that watch each allocation.
#include <pthread.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <string_view>
#include <utility>

#include "platform/automation/variant.h"

namespace {

constexpr std::size_t kPrefix = sizeof(std::uint32_t);

// What the block of a text of so many bytes holds: an odd count still ends in a whole zero unit.
constexpr std::size_t room_for(std::size_t bytes) {
  return kPrefix + bytes + bytes % 2 + sizeof(OLECHAR);
}

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define BSTR_BLOCKS_WATCHED
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define BSTR_BLOCKS_WATCHED
#endif
#endif

bool wants_cache() {
#ifdef BSTR_BLOCKS_WATCHED
  return false;
#else
  static const bool wants = [] {
    const char* const setting = std::getenv("TALLOWBROOK_BSTR_CACHE");
    return setting == nullptr || setting != std::string_view("0");
  }();
  return wants;
#endif
}

std::uint32_t byte_count(BSTR text) {
  std::uint32_t bytes = 0;
  std::memcpy(&bytes, reinterpret_cast<const char*>(text) - kPrefix, kPrefix);
  return bytes;
}

// A thread's free blocks, in lists by their size. Without a constructor and a destructor of its
// own: it is used before and after the thread's other objects live.
class FreeBlocks {
 public:
  // A block of at least `room` bytes; null when memory runs out.
  [[nodiscard]] void* allocate(std::size_t room) {
    const std::size_t list = list_of(room);
    if (list >= kLists) return std::malloc(room);
    Link* const first = lists_[list];
    if (first == nullptr) [[unlikely]]
      return std::malloc(size_in(list));
    lists_[list] = first->next;
    left_ += size_in(list);
    return first;
  }
  void free(void* block, std::size_t room) {
    const std::size_t list = list_of(room);
    if (list >= kLists || (left_ < size_in(list) && !start())) return std::free(block);
    lists_[list] = ::new (block) Link{lists_[list]};
    left_ -= size_in(list);
  }

 private:
  struct Link {
    Link* next;
  };
  // The sizes that the C library's blocks have anyway.
  static constexpr std::size_t kLeast = 24;
  static constexpr std::size_t kStep = 16;
  static constexpr std::size_t kLists = 8;
  static constexpr std::size_t kMost = std::size_t{32} << 10;

  static constexpr std::size_t list_of(std::size_t room) {
    return room <= kLeast ? 0 : (room - kLeast + kStep - 1) / kStep;
  }
  static constexpr std::size_t size_in(std::size_t list) { return kLeast + list * kStep; }

  // Makes room at the first block, and once only.
  [[gnu::noinline]] bool start() {
    if (started_) return false;
    started_ = true;
    if (!wants_cache()) return false;
    static const pthread_key_t at_end = [] {
      pthread_key_t key{};
      return pthread_key_create(&key, &end) == 0 ? key : ~pthread_key_t{0};
    }();
    if (pthread_setspecific(at_end, this) != 0) return false;
    left_ = kMost;
    return true;
  }
  // What the thread gives back from then on goes back at once.
  static void end(void* blocks) {
    auto& mine = *static_cast<FreeBlocks*>(blocks);
    mine.left_ = 0;
    for (Link*& list : mine.lists_) {
      while (list != nullptr) std::free(std::exchange(list, list->next));
    }
  }

  std::array<Link*, kLists> lists_{};
  std::size_t left_ = 0;  // bytes that may still be kept
  bool started_ = false;
};

[[gnu::tls_model("initial-exec")]] constinit thread_local FreeBlocks free_blocks;

// Text of so many bytes, yet to be written; the closing zero unit stands.
BSTR allocate(std::size_t bytes) {
  if (bytes > std::numeric_limits<std::uint32_t>::max() - kPrefix - 2 * sizeof(OLECHAR)) {
    return nullptr;
  }
  const std::size_t room = room_for(bytes);
  auto* const block = static_cast<char*>(free_blocks.allocate(room));
  if (block == nullptr) return nullptr;
  const auto count = static_cast<std::uint32_t>(bytes);
  std::memcpy(block, &count, kPrefix);
  if (bytes % 2 != 0) block[kPrefix + bytes] = '\0';
  std::memset(block + room - sizeof(OLECHAR), 0, sizeof(OLECHAR));
  return reinterpret_cast<BSTR>(block + kPrefix);
}

[[gnu::noinline]] BSTR copy_of(const void* text, std::size_t bytes) {
  BSTR const copy = allocate(bytes);
  if (copy != nullptr && bytes != 0) std::memcpy(copy, text, bytes);
  return copy;
}

}  // namespace

BSTR SysAllocString(const OLECHAR* text) {
  if (text == nullptr) return nullptr;
  return copy_of(text, std::char_traits<OLECHAR>::length(text) * sizeof(OLECHAR));
}

BSTR SysAllocStringLen(const OLECHAR* text, UINT length) {
  const std::size_t bytes = std::size_t{length} * sizeof(OLECHAR);
  return text == nullptr ? allocate(bytes) : copy_of(text, bytes);
}

BSTR SysAllocStringByteLen(const char* text, UINT bytes) {
  return text == nullptr ? allocate(bytes) : copy_of(text, bytes);
}

void SysFreeString(BSTR text) {
  if (text == nullptr) return;
  free_blocks.free(reinterpret_cast<char*>(text) - kPrefix, room_for(byte_count(text)));
}

UINT SysStringByteLen(BSTR text) { return text == nullptr ? 0 : byte_count(text); }

UINT SysStringLen(BSTR text) {
  return text == nullptr ? 0 : byte_count(text) / UINT{sizeof(OLECHAR)};
}

namespace tallowbrook::platform {

Bstr::Bstr(std::u16string_view text) {
  if (text.size() > std::numeric_limits<UINT>::max()) throw std::bad_alloc();
  text_ = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
  if (text_ == nullptr) throw std::bad_alloc();
}

}  // namespace tallowbrook::platform
