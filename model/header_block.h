// Values that are made together, in one block of memory: what a load takes in of a header.
//
//   HeaderBlock block(HeaderBlock::room_for_raw(a.size()) + HeaderBlock::room_for_raw(b.size()));
//   first = block.raw(a);
//   second = block.raw(b);
//
// The values are like any others: they are copied, changed and let go singly, and what grows moves
// into memory of its own. The block itself goes with the last of them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>

#include "model/value_boxes.h"

namespace tallowbrook {

class HeaderBlock {
 public:
  // The most room that a block can have.
  static constexpr std::size_t kMostRoom = 65535 * 16;

  // What values take of the room: a text or raw text of so many bytes, a list of so many elements.
  [[nodiscard]] static constexpr std::size_t room_for_text(std::size_t bytes) {
    return in_units(sizeof(HeaderValue::TextBox) + bytes);
  }
  [[nodiscard]] static constexpr std::size_t room_for_raw(std::size_t bytes) {
    return in_units(sizeof(HeaderValue::RawBox)) + (bytes == 0 ? 0 : room_for_text(bytes));
  }
  [[nodiscard]] static constexpr std::size_t room_for_list(std::size_t elements) {
    return in_units(sizeof(HeaderValue::ListBox) + elements * sizeof(HeaderValue));
  }

  [[nodiscard]] static constexpr std::size_t room_for_map() {
    return in_units(sizeof(HeaderValue::MapBox));
  }

  // Throws std::bad_alloc.
  explicit HeaderBlock(std::size_t room);
  ~HeaderBlock() { HeaderValue::Block::leave(block_); }
  HeaderBlock(const HeaderBlock&) = delete;
  HeaderBlock& operator=(const HeaderBlock&) = delete;

  // The room for them must be there.
  [[nodiscard]] HeaderValue text(std::string_view text) {
    void* memory = take(room_for_text(text.size()));
    return {ValueKind::Text, at_home(HeaderValue::TextBox::place(memory, text, text.size()))};
  }
  [[nodiscard]] HeaderValue raw(std::string_view text) {
    void* memory = take(in_units(sizeof(HeaderValue::RawBox)));
    auto* box = ::new (memory) HeaderValue::RawBox{
        {.kind = ValueKind::Raw}, text.empty() ? HeaderValue() : this->text(text), {}};
    return {ValueKind::Raw, at_home(box)};
  }
  // The list has room for one element more when it is told to `grow`.
  [[nodiscard]] HeaderValue list(HeaderValue first, HeaderValue second, bool grows = false) {
    const std::uint32_t room = grows ? 3 : 2;
    auto* box = HeaderValue::ListBox::place(take(room_for_list(room)), room);
    append(*box, std::move(first));
    append(*box, std::move(second));
    return {ValueKind::List, at_home(box)};
  }
  // An empty list that takes so many elements without growing.
  [[nodiscard]] HeaderValue list_for(std::size_t elements) {
    void* memory = take(room_for_list(elements));
    auto* box = HeaderValue::ListBox::place(memory, static_cast<std::uint32_t>(elements));
    return {ValueKind::List, at_home(box)};
  }
  // An empty map, whose entries are elsewhere.
  [[nodiscard]] HeaderValue map() {
    auto* box =
        ::new (take(room_for_map())) HeaderValue::MapBox{{.kind = ValueKind::AddressMap}, {}, {}};
    return {ValueKind::AddressMap, at_home(box)};
  }
  // Appends to a list of this block that has room.
  static void append(HeaderValue& list, HeaderValue value) {
    append(list.as<HeaderValue::ListBox>(), std::move(value));
  }

 private:
  static constexpr std::size_t in_units(std::size_t bytes) {
    return (bytes + kBoxUnit - 1) / kBoxUnit * kBoxUnit;
  }
  [[nodiscard]] void* take(std::size_t room) { return std::exchange(next_, next_ + room); }
  static void append(HeaderValue::ListBox& box, HeaderValue&& value) {
    ::new (static_cast<void*>(box.items() + box.size)) HeaderValue(std::move(value));
    ++box.size;
  }
  template <class Box>
  Box* at_home(Box* box) {
    const auto distance = reinterpret_cast<std::byte*>(box) - reinterpret_cast<std::byte*>(block_);
    box->home = static_cast<std::uint16_t>(static_cast<std::size_t>(distance) / kBoxUnit);
    ++block_->users;
    return box;
  }

  HeaderValue::Block* block_;
  std::byte* next_;
};

}  // namespace tallowbrook
