#include "model/header_block.h"

#include <cstdlib>
#include <new>

namespace tallowbrook {

HeaderBlock::HeaderBlock(std::size_t room) {
  static_assert(in_units(sizeof(HeaderValue::Block)) == kBoxUnit);
  void* memory = std::malloc(kBoxUnit + room);
  if (memory == nullptr) throw std::bad_alloc();
  block_ = ::new (memory) HeaderValue::Block;
  next_ = static_cast<std::byte*>(memory) + kBoxUnit;
}

}  // namespace tallowbrook
