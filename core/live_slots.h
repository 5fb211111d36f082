// LiveSlots: which slots of an array still hold an element, for arrays that lose elements anywhere.
//
// Moving up everything behind a lost element costs the array's length each time. Instead the slot
// stays, empty, and positions are counted over the slots that are not. The counts stand in a
// Fenwick tree: node i, from 1, holds the number of live slots among the lowest_bit(i) slots that
// end with slot i - 1. Every call but `assign` costs the logarithm of the number of slots.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace tallowbrook {

class LiveSlots {
 public:
  // `slots` slots, below 2^32, all of them live.
  void assign(std::size_t slots) {
    nodes_.clear();
    nodes_.reserve(slots);
    for (std::size_t i = 1; i <= slots; ++i) {
      nodes_.push_back(static_cast<std::uint32_t>(lowest_bit(i)));
    }
  }

  // One more slot behind the last, which is live.
  void append() {
    const std::size_t i = nodes_.size() + 1;
    std::uint32_t live = 1;
    for (std::size_t child = 1; child < lowest_bit(i); child *= 2) live += node(i - child);
    nodes_.push_back(live);
  }

  // The slot, which was live, is not any more.
  void erase(std::size_t slot) {
    for (std::size_t i = slot + 1; i <= nodes_.size(); i += lowest_bit(i)) --nodes_[i - 1];
  }

  // The slot of the live one that `position` live ones stand before; there must be one.
  [[nodiscard]] std::size_t slot_at(std::size_t position) const {
    std::size_t slot = 0;
    for (std::size_t step = std::bit_floor(nodes_.size()); step > 0; step /= 2) {
      if (slot + step <= nodes_.size() && node(slot + step) <= position) {
        slot += step;
        position -= node(slot);
      }
    }
    return slot;
  }

  [[nodiscard]] bool is_live(std::size_t slot) const {
    return position_of(slot + 1) > position_of(slot);
  }

  // How many live slots stand before this one.
  [[nodiscard]] std::size_t position_of(std::size_t slot) const {
    std::size_t position = 0;
    for (std::size_t i = slot; i > 0; i -= lowest_bit(i)) position += node(i);
    return position;
  }

 private:
  static std::size_t lowest_bit(std::size_t i) { return i & (~i + 1); }
  [[nodiscard]] std::uint32_t node(std::size_t i) const { return nodes_[i - 1]; }

  std::vector<std::uint32_t> nodes_;
};

}  // namespace tallowbrook
