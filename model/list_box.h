// What every box begins with, the boxes of a text and of a list, and the members of HeaderValue
// that only look into these: a part of header_value.h.
//
// A text box holds its bytes behind its own header, so a text is one allocation.
//
// A list box made for a known number of elements holds them behind its own header; it grows into
// memory of its own. Elements stand in slots, one behind the other. A loss near an end of the list
// closes the gap from there. In a long list, any other loss leaves an empty slot (LiveSlots), until
// more slots are empty than not. A list that elements are looked up in keeps a hash table of their
// slots, which lags behind what was added since the last lookup.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <utility>
#include <vector>

#include "core/live_slots.h"
#include "model/header_value.h"
#include "streams/block.h"

namespace tallowbrook {

inline constexpr std::uint32_t kImmortal = std::numeric_limits<std::uint32_t>::max();

struct HeaderValue::Box {
  std::uint32_t references = 1;
  ValueKind kind;
  bool pinned = false;
  // Of a box that lies in a block with others (HeaderBlock): how far behind the block's start, in
  // units of kBoxUnit. 0 for a box with memory of its own.
  std::uint16_t home = 0;
};

inline constexpr std::size_t kBoxUnit = 16;

// What a block of boxes begins with.
struct HeaderValue::Block {
  std::size_t users = 1;  // the boxes that live in it, and whoever fills it

  static void leave(Block* block) {
    if (--block->users == 0) std::free(static_cast<void*>(block));
  }
};

// Gives back the memory of a box whose content is gone.
inline void HeaderValue::give_back(Box* box) {
  if (box->home == 0) {
    std::free(static_cast<void*>(box));
  } else {
    auto* start = reinterpret_cast<std::byte*>(box) - box->home * kBoxUnit;
    Block::leave(std::launder(reinterpret_cast<Block*>(start)));
  }
}

struct HeaderValue::TextBox : Box {
  std::uint32_t size = 0;
  std::uint32_t capacity = 0;

  [[nodiscard]] char* bytes() { return reinterpret_cast<char*>(this + 1); }
  [[nodiscard]] std::string_view view() { return {bytes(), size}; }

  static TextBox* make(std::string_view text, std::size_t capacity) {
    if (capacity > kImmortal - sizeof(TextBox)) throw std::bad_alloc();
    void* memory = std::malloc(sizeof(TextBox) + capacity);
    if (memory == nullptr) throw std::bad_alloc();
    return place(memory, text, capacity);
  }

  // In memory for the header and `capacity` bytes.
  static TextBox* place(void* memory, std::string_view text, std::size_t capacity) {
    auto* box = ::new (memory) TextBox{{.kind = ValueKind::Text}};
    box->capacity = static_cast<std::uint32_t>(capacity);
    if (!text.empty()) std::memcpy(box->bytes(), text.data(), text.size());
    box->size = static_cast<std::uint32_t>(text.size());
    return box;
  }

  // The same box with room for `needed` bytes, perhaps elsewhere. Only for a box with one owner and
  // memory of its own.
  static TextBox* grown(TextBox* box, std::size_t needed) {
    if (needed <= box->capacity) return box;
    const std::size_t spare = std::min<std::size_t>(box->capacity, kMostSpare);
    const std::size_t wanted = std::max<std::size_t>(needed, box->capacity + spare);
    const std::size_t capacity = std::min<std::size_t>(wanted, kImmortal - sizeof(TextBox));
    if (needed > capacity) throw std::bad_alloc();
    void* memory = std::realloc(static_cast<void*>(box), sizeof(TextBox) + capacity);
    if (memory == nullptr) throw std::bad_alloc();
    auto* moved = static_cast<TextBox*>(memory);
    moved->capacity = static_cast<std::uint32_t>(capacity);
    return moved;
  }
};

struct HeaderValue::ListBox : Box {
  // What a long list knows of its slots. While there is one, elements stay in their slots. Slots
  // are numbered from 1 here; 0 is none.
  struct Order {
    LiveSlots live;  // while there are holes
    HashOf hash_of = nullptr;
    std::vector<std::uint32_t> first;  // of each bucket; their number is a power of 2
    std::vector<std::uint32_t> last;
    std::vector<std::uint32_t> next;  // of each slot that is in the table
  };

  std::uint32_t size = 0;   // slots in use, empty ones among them
  std::uint32_t capacity;   // of the block
  std::uint32_t front = 0;  // free room before the first slot
  std::uint32_t holes = 0;  // empty slots
  HeaderValue* block;       // behind this header, or memory of its own
  union {
    Order* order = nullptr;
    ListBox* next;  // chain of lists that are being destroyed
  };

  [[nodiscard]] std::size_t count() const { return size - holes; }
  [[nodiscard]] HeaderValue& at(std::size_t position) { return items()[slot_at(position)]; }
  [[nodiscard]] HeaderValue* items() { return block + front; }
  [[nodiscard]] HeaderValue* inline_block() { return reinterpret_cast<HeaderValue*>(this + 1); }
  [[nodiscard]] bool is_inline() { return block == inline_block(); }

  static ListBox* make(std::uint32_t capacity) {
    void* memory = std::malloc(sizeof(ListBox) + capacity * sizeof(HeaderValue));
    if (memory == nullptr) throw std::bad_alloc();
    return place(memory, capacity);
  }
  // In memory for the header and the elements.
  static ListBox* place(void* memory, std::uint32_t capacity) {
    return ::new (memory) ListBox(capacity);
  }

  // Values are moved as the bytes they are: a value holds no address of itself.
  static void move_values(HeaderValue* to, const HeaderValue* from, std::size_t count) {
    if (count > 0) {
      std::memmove(static_cast<void*>(to), static_cast<const void*>(from),
                   count * sizeof(HeaderValue));
    }
  }

  void push(HeaderValue&& value) {
    make_room();
    if (holes > 0) order->live.append();
    ::new (static_cast<void*>(items() + size)) HeaderValue(std::move(value));
    ++size;
  }

  // Takes the element at a position below count() out of the list.
  HeaderValue take(std::size_t position) {
    constexpr std::size_t kFewMoves = 64;
    const std::size_t moves = std::min(position, count() - 1 - position);
    const bool few_moves = order == nullptr && moves <= kFewMoves;
    if (holes == 0 && (few_moves || !allow_holes())) {
      forget_order();
      HeaderValue taken = std::move(items()[position]);
      close_gap(position);
      return taken;
    }
    const std::size_t slot = slot_at(position);
    HeaderValue taken = std::move(items()[slot]);
    order->live.erase(slot);
    ++holes;
    if (holes > size / 2) close_ranks();
    return taken;
  }

  // The position of the first element with this hash that fits; count() when there is none.
  [[nodiscard]] std::size_t find(std::size_t hash, HashOf hash_of, const Fits& fits) {
    if (!index(hash_of)) {
      std::size_t position = 0;
      while (position < count() && !fits(at(position))) ++position;
      return position;
    }
    const std::size_t bucket = hash & (order->first.size() - 1);
    std::uint32_t before = 0;
    for (std::uint32_t slot = order->first[bucket]; slot != 0; slot = order->next[slot - 1]) {
      if (holes > 0 && !order->live.is_live(slot - 1)) {
        (before == 0 ? order->first[bucket] : order->next[before - 1]) = order->next[slot - 1];
        if (order->last[bucket] == slot) order->last[bucket] = before;
        continue;
      }
      if (fits(items()[slot - 1])) {
        return holes == 0 ? slot - 1 : order->live.position_of(slot - 1);
      }
      before = slot;
    }
    return count();
  }

  void forget_order() { delete std::exchange(order, nullptr); }

  void free() {
    if (!is_inline()) std::free(static_cast<void*>(block));
    give_back(this);
  }

 private:
  explicit ListBox(std::uint32_t room)
      : Box{.kind = ValueKind::List}, capacity(room), block(inline_block()) {}

  [[nodiscard]] std::size_t slot_at(std::size_t position) const {
    return holes == 0 ? position : order->live.slot_at(position);
  }

  // Room for one more slot behind the last.
  void make_room() {
    if (front + size < capacity) return;
    if (front > capacity / 2) {
      move_values(block, items(), size);
      front = 0;
      return;
    }
    const std::size_t wanted = std::max<std::size_t>(std::size_t{capacity} * 2, 4);
    if (wanted > kImmortal) throw std::bad_alloc();
    void* old = is_inline() ? nullptr : static_cast<void*>(block);
    void* memory = std::realloc(old, wanted * sizeof(HeaderValue));
    if (memory == nullptr) throw std::bad_alloc();
    if (old == nullptr) move_values(static_cast<HeaderValue*>(memory), block, front + size);
    block = static_cast<HeaderValue*>(memory);
    capacity = static_cast<std::uint32_t>(wanted);
  }

  // Closes the gap from the nearer end, so that emptying a list from either end costs its length.
  void close_gap(std::size_t index) {
    if (index < size / 2) {
      move_values(items() + 1, items(), index);
      ++front;
    } else {
      move_values(items() + index, items() + index + 1, size - index - 1);
    }
    --size;
  }

  void close_ranks() {
    for (std::size_t i = 0; i < count(); ++i) move_values(items() + i, &at(i), 1);
    size -= std::exchange(holes, 0);
    forget_order();
  }

  void need_order() {
    if (order == nullptr) order = new Order;
  }

  // False when the memory for it cannot be had.
  bool allow_holes() {
    try {
      need_order();
      order->live.assign(size);
      return true;
    } catch (const std::bad_alloc&) {
      return false;
    }
  }

  // Brings the table up to the last slot. False when the memory for it cannot be had.
  bool index(HashOf hash_of) {
    try {
      need_order();
      if (order->hash_of != hash_of || order->first.size() < size) {
        const std::size_t buckets = std::bit_ceil(std::size_t{size} + 1);
        order->next.clear();
        order->first.assign(buckets, 0);
        order->last.assign(buckets, 0);
        order->hash_of = hash_of;
      }
      while (order->next.size() < size) add_to_table();
      return true;
    } catch (const std::bad_alloc&) {
      forget_table();
      return false;
    }
  }

  void add_to_table() {
    order->next.push_back(0);
    const auto slot = static_cast<std::uint32_t>(order->next.size());
    if (holes > 0 && !order->live.is_live(slot - 1)) return;
    const std::size_t bucket = order->hash_of(items()[slot - 1]) & (order->first.size() - 1);
    const std::uint32_t before = std::exchange(order->last[bucket], slot);
    (before == 0 ? order->first[bucket] : order->next[before - 1]) = slot;
  }

  void forget_table() {
    if (order != nullptr) order->hash_of = nullptr;
  }
};

// --- HeaderValue
// -----------------------------------------------------------------------------------

inline HeaderValue::HeaderValue(const HeaderValue& other)
    : kind_(other.kind_), borrowed_(other.borrowed_), number_(other.number_), p_(other.p_) {
  if (p_ == nullptr || borrowed_) return;
  Box& box = as<Box>();
  if (box.references != kImmortal) ++box.references;
}

inline HeaderValue& HeaderValue::operator=(HeaderValue&& other) noexcept {
  if (this != &other) {
    drop();
    kind_ = other.kind_;
    borrowed_ = other.borrowed_;
    number_ = other.number_;
    p_ = other.p_;
    other.forget();
  }
  return *this;
}

inline std::string_view HeaderValue::text_view() const {
  if (kind_ != ValueKind::Text) return {};
  if (borrowed_) return {static_cast<const char*>(p_), static_cast<std::size_t>(number_)};
  return as<TextBox>().view();
}

inline bool HeaderValue::is_entry_name(EntryName name) const {
  if (kind_ != ValueKind::Text) return false;
  if (number_ != 0 && !borrowed_) return number_ == static_cast<std::int32_t>(name) + 1;
  return text_view() == entry_name_text(name);
}

inline std::size_t HeaderValue::size() const {
  return is(ValueKind::List) ? as<ListBox>().count() : 0;
}

inline const HeaderValue& HeaderValue::operator[](std::size_t index) const {
  if (index >= size()) return empty_value();
  ListBox& box = as<ListBox>();
  return box.holes == 0 ? box.items()[index] : box.at(index);
}

inline std::span<const HeaderValue> HeaderValue::elements() const {
  if (!is(ValueKind::List)) return {};
  ListBox& box = as<ListBox>();
  if (box.holes > 0) return {};
  return {box.items(), box.size};
}

}  // namespace tallowbrook
