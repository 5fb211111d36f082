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

#include "model/header_value.h"

namespace tallowbrook {

class HeaderBlock {
 public:
  // The most room that a block can have.
  static constexpr std::size_t kMostRoom = 65535 * 16;

  // What values take of the room: a text or raw text of so many bytes, a list of so many elements.
  [[nodiscard]] static std::size_t room_for_text(std::size_t bytes);
  [[nodiscard]] static std::size_t room_for_raw(std::size_t bytes);
  [[nodiscard]] static std::size_t room_for_list(std::size_t elements);

  // Throws std::bad_alloc.
  explicit HeaderBlock(std::size_t room);
  ~HeaderBlock();
  HeaderBlock(const HeaderBlock&) = delete;
  HeaderBlock& operator=(const HeaderBlock&) = delete;

  // The room for them must be there.
  [[nodiscard]] HeaderValue text(std::string_view text);
  [[nodiscard]] HeaderValue raw(std::string_view text);
  [[nodiscard]] HeaderValue list(HeaderValue first, HeaderValue second);
  // An empty list that takes so many elements without growing.
  [[nodiscard]] HeaderValue list_for(std::size_t elements);

 private:
  [[nodiscard]] void* take(std::size_t room);
  template <class Box>
  Box* at_home(Box* box);

  HeaderValue::Block* block_;
  std::byte* next_;
};

}  // namespace tallowbrook
