// ErasableVector: a vector that loses elements anywhere at little cost.
//
// A loss near the end, or in a short vector, moves up what stands behind it. Any other leaves an
// empty slot; when more slots are empty than not, the elements close ranks. So taking out all
// elements, in whatever order, costs n log n.
#pragma once

#include <cstddef>
#include <utility>
#include <vector>

#include "core/live_slots.h"

namespace tallowbrook {

template <class T>
class ErasableVector {
 public:
  ErasableVector() = default;
  explicit ErasableVector(std::vector<T> elements) : slots_(std::move(elements)) {}
  ErasableVector(const ErasableVector&) = delete;
  ErasableVector& operator=(const ErasableVector&) = delete;
  ErasableVector(ErasableVector&& other) noexcept
      : slots_(std::exchange(other.slots_, {})),
        holes_(std::exchange(other.holes_, 0)),
        live_(std::exchange(other.live_, {})) {}
  ErasableVector& operator=(ErasableVector&& other) noexcept {
    std::swap(slots_, other.slots_);
    std::swap(holes_, other.holes_);
    std::swap(live_, other.live_);
    return *this;
  }

  [[nodiscard]] std::size_t size() const { return slots_.size() - holes_; }
  [[nodiscard]] const T& operator[](std::size_t index) const { return slots_[slot(index)]; }
  [[nodiscard]] T& operator[](std::size_t index) { return slots_[slot(index)]; }

  void reserve(std::size_t size) { slots_.reserve(size); }

  void push_back(T value) {
    slots_.push_back(std::move(value));
    if (holes_ == 0) return;
    try {
      live_.append();
    } catch (...) {
      slots_.pop_back();
      throw;
    }
  }

  // Takes out the element at `index`, which is below size().
  T take(std::size_t index) {
    if (holes_ == 0 && slots_.size() - index <= kFewMoves) {
      T taken = std::move(slots_[index]);
      slots_.erase(slots_.begin() + static_cast<std::ptrdiff_t>(index));
      return taken;
    }
    if (holes_ == 0) live_.assign(slots_.size());
    const std::size_t at = slot(index);
    T taken = std::exchange(slots_[at], T());
    live_.erase(at);
    ++holes_;
    if (holes_ > slots_.size() / 2) close_ranks();
    return taken;
  }

 private:
  static constexpr std::size_t kFewMoves = 64;

  [[nodiscard]] std::size_t slot(std::size_t index) const {
    return holes_ == 0 ? index : live_.slot_at(index);
  }

  void close_ranks() {
    const std::size_t count = size();
    for (std::size_t i = 0; i < count; ++i) {
      const std::size_t from = slot(i);
      if (from != i) slots_[i] = std::move(slots_[from]);
    }
    slots_.resize(count);
    holes_ = 0;
    live_.assign(0);
  }

  std::vector<T> slots_;
  std::size_t holes_ = 0;
  LiveSlots live_;  // while there are holes
};

}  // namespace tallowbrook
