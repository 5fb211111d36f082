#include "model/header_block.h"

#include <new>
#include <utility>

#include "model/value_boxes.h"

namespace tallowbrook {
namespace {

constexpr std::size_t in_units(std::size_t bytes) {
  return (bytes + kBoxUnit - 1) / kBoxUnit * kBoxUnit;
}

}  // namespace

std::size_t HeaderBlock::room_for_text(std::size_t bytes) {
  return in_units(sizeof(HeaderValue::TextBox) + bytes);
}

std::size_t HeaderBlock::room_for_raw(std::size_t bytes) {
  return in_units(sizeof(HeaderValue::RawBox)) + (bytes == 0 ? 0 : room_for_text(bytes));
}

std::size_t HeaderBlock::room_for_list(std::size_t elements) {
  return in_units(sizeof(HeaderValue::ListBox) + elements * sizeof(HeaderValue));
}

HeaderBlock::HeaderBlock(std::size_t room) {
  static_assert(in_units(sizeof(HeaderValue::Block)) == kBoxUnit);
  void* memory = std::malloc(kBoxUnit + room);
  if (memory == nullptr) throw std::bad_alloc();
  block_ = ::new (memory) HeaderValue::Block;
  next_ = static_cast<std::byte*>(memory) + kBoxUnit;
}

HeaderBlock::~HeaderBlock() { HeaderValue::Block::leave(block_); }

void* HeaderBlock::take(std::size_t room) { return std::exchange(next_, next_ + room); }

template <class Box>
Box* HeaderBlock::at_home(Box* box) {
  const auto distance = reinterpret_cast<std::byte*>(box) - reinterpret_cast<std::byte*>(block_);
  box->home = static_cast<std::uint16_t>(static_cast<std::size_t>(distance) / kBoxUnit);
  ++block_->users;
  return box;
}

HeaderValue HeaderBlock::text(std::string_view text) {
  void* memory = take(room_for_text(text.size()));
  return {ValueKind::Text, at_home(HeaderValue::TextBox::place(memory, text, text.size()))};
}

HeaderValue HeaderBlock::raw(std::string_view text) {
  void* memory = take(in_units(sizeof(HeaderValue::RawBox)));
  auto* box = ::new (memory) HeaderValue::RawBox{
      {.kind = ValueKind::Raw}, text.empty() ? HeaderValue() : this->text(text), {}};
  return {ValueKind::Raw, at_home(box)};
}

HeaderValue HeaderBlock::list_for(std::size_t elements) {
  void* memory = take(room_for_list(elements));
  auto* box = HeaderValue::ListBox::place(memory, static_cast<std::uint32_t>(elements));
  return {ValueKind::List, at_home(box)};
}

HeaderValue HeaderBlock::list(HeaderValue first, HeaderValue second) {
  auto* box = HeaderValue::ListBox::place(take(room_for_list(2)), 2);
  box->push(std::move(first));
  box->push(std::move(second));
  return {ValueKind::List, at_home(box)};
}

}  // namespace tallowbrook
