// AddressMap: entries in order, in blocks. A full block is cut in two; where entries come in order,
// the next block is begun instead, so that all of them are full.
#include <algorithm>
#include <iterator>
#include <utility>

#include "model/header_value.h"

namespace tallowbrook {

namespace {
constexpr std::size_t kMostInBlock = 128;
}  // namespace

AddressMap::Place AddressMap::lower_bound(std::string_view name) const {
  if (only_) return {only_->name < name ? std::size_t{1} : std::size_t{0}, 0};
  const auto block =
      std::partition_point(blocks_.begin(), blocks_.end(),
                           [name](const Block& candidate) { return candidate.back().name < name; });
  if (block == blocks_.end()) return {blocks_.size(), 0};
  const auto entry =
      std::partition_point(block->begin(), block->end(),
                           [name](const Entry& candidate) { return candidate.name < name; });
  return {static_cast<std::size_t>(block - blocks_.begin()),
          static_cast<std::size_t>(entry - block->begin())};
}

bool AddressMap::is_at(const Place& place, std::string_view name) const {
  return place.block < block_count() && block(place.block)[place.index].name == name;
}

// The place of a position below size().
AddressMap::Place AddressMap::place_of(std::size_t position) const {
  if (only_) return {0, 0};
  while (position < cursor_before_) cursor_before_ -= blocks_[--cursor_].size();
  while (position - cursor_before_ >= blocks_[cursor_].size()) {
    cursor_before_ += blocks_[cursor_++].size();
  }
  return {cursor_, position - cursor_before_};
}

// Where an entry that belongs at `place` can be put in; nothing changes but the blocks' bounds.
AddressMap::Place AddressMap::make_room(Place place) {
  const bool at_end = place.block == blocks_.size();
  if (at_end && place.block > 0) place = {place.block - 1, blocks_.back().size()};
  if (!blocks_.empty() && blocks_[place.block].size() < kMostInBlock) return place;
  Block block;
  block.reserve(at_end ? 1 : kMostInBlock);
  if (at_end) {
    blocks_.push_back(std::move(block));
    return {blocks_.size() - 1, 0};
  }
  const auto upper = static_cast<std::ptrdiff_t>(place.block) + 1;
  blocks_.insert(blocks_.begin() + upper, std::move(block));
  cursor_ = cursor_before_ = 0;
  Block& full = blocks_[place.block];
  const auto middle = full.begin() + kMostInBlock / 2;
  std::move(middle, full.end(), std::back_inserter(blocks_[place.block + 1]));
  full.erase(middle, full.end());
  if (place.index <= full.size()) return place;
  return {place.block + 1, place.index - full.size()};
}

HeaderValue& AddressMap::add(Place place, std::string_view name, HeaderValue value) {
  Entry entry{std::string(name), std::move(value)};
  if (size_ == 0) {
    only_ = std::move(entry);
    size_ = 1;
    return only_->value;
  }
  if (only_) open_block();
  place = make_room(place);
  Block& block = blocks_[place.block];
  block.insert(block.begin() + static_cast<std::ptrdiff_t>(place.index), std::move(entry));
  if (place.block < cursor_) ++cursor_before_;
  ++size_;
  return block[place.index].value;
}

// The only entry moves into a block.
void AddressMap::open_block() {
  blocks_.reserve(1);
  Block block;
  block.reserve(2);
  block.push_back(std::move(*only_));
  blocks_.push_back(std::move(block));
  only_.reset();
}

void AddressMap::take_out(const Place& place) {
  if (only_) return clear();
  Block& block = blocks_[place.block];
  block.erase(block.begin() + static_cast<std::ptrdiff_t>(place.index));
  if (place.block < cursor_) --cursor_before_;
  --size_;
  if (!block.empty()) return;
  blocks_.erase(blocks_.begin() + static_cast<std::ptrdiff_t>(place.block));
  if (place.block < cursor_) --cursor_;
}

void AddressMap::insert(std::string_view name, HeaderValue value) {
  const Place place = lower_bound(name);
  if (!is_at(place, name)) add(place, name, std::move(value));
}

HeaderValue& AddressMap::at_or_add(std::string_view name) {
  const Place place = lower_bound(name);
  return is_at(place, name) ? entry(place).value : add(place, name, {});
}

const HeaderValue* AddressMap::find(std::string_view name) const {
  const Place place = lower_bound(name);
  return is_at(place, name) ? &block(place.block)[place.index].value : nullptr;
}

HeaderValue* AddressMap::find(std::string_view name) {
  return const_cast<HeaderValue*>(std::as_const(*this).find(name));
}

bool AddressMap::erase(std::string_view name) {
  const Place place = lower_bound(name);
  if (!is_at(place, name)) return false;
  take_out(place);
  return true;
}

const AddressMap::Entry* AddressMap::at(std::size_t position) const {
  if (position >= size_) return nullptr;
  const Place place = place_of(position);
  return &block(place.block)[place.index];
}

void AddressMap::erase_at(std::size_t position) {
  if (position < size_) take_out(place_of(position));
}

void AddressMap::clear() {
  only_.reset();
  blocks_.clear();
  size_ = cursor_ = cursor_before_ = 0;
}

}  // namespace tallowbrook
