#include "model/address_list.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <new>
#include <numeric>

namespace tallowbrook {
namespace {

// What a mailbox is sorted by: most differ in the first bytes of their address, which compare as
// one number.
struct SortKey {
  std::uint64_t start;
  std::uint32_t index;
};

std::uint64_t start_of(std::string_view text) {
  std::uint64_t start = 0;
  if (text.size() >= sizeof start) {
    std::memcpy(&start, text.data(), sizeof start);
  } else if (!text.empty()) {
    std::memcpy(&start, text.data(), text.size());
  }
  return std::endian::native == std::endian::little ? __builtin_bswap64(start) : start;
}

using SortKeys = std::vector<SortKey>;

// A stable sort without comparisons, whose outcomes no processor could foresee: byte by byte, the
// last one first. Few keys are compared all the same.
void sort_by_start(SortKeys& keys) {
  constexpr std::size_t kFew = 64;
  constexpr std::size_t kBytes = sizeof(SortKey::start);
  if (keys.size() < kFew) {
    std::sort(keys.begin(), keys.end(), [](const SortKey& a, const SortKey& b) {
      return a.start != b.start ? a.start < b.start : a.index < b.index;
    });
    return;
  }
  std::array<std::array<std::uint32_t, 256>, kBytes> counts{};
  for (const SortKey& key : keys) {
    for (std::size_t byte = 0; byte < kBytes; ++byte) ++counts[byte][key.start >> 8 * byte & 0xFF];
  }
  SortKeys other(keys.size());
  for (std::size_t byte = 0; byte < kBytes; ++byte) {
    std::array<std::uint32_t, 256>& places = counts[byte];
    std::exclusive_scan(places.begin(), places.end(), places.begin(), 0U);
    for (const SortKey& key : keys) other[places[key.start >> 8 * byte & 0xFF]++] = key;
    keys.swap(other);
  }
}

}  // namespace

void AddressList::add(std::string_view address, std::string_view name) {
  const std::size_t all = text_.size() + address.size() + name.size();
  if (all >= kMostText) throw std::bad_alloc();
  Mailbox mailbox;
  mailbox.address = static_cast<std::uint32_t>(text_.size());
  mailbox.address_size = static_cast<std::uint32_t>(address.size());
  text_ += address;
  mailbox.name = static_cast<std::uint32_t>(text_.size());
  mailbox.name_size = static_cast<std::uint32_t>(name.size()) & (kMostText - 1);
  text_ += name;
  mailboxes_.push_back(mailbox);
}

void AddressList::sort() {
  if (size() < 2) return;
  std::vector<SortKey> keys(size());
  for (std::size_t i = 0; i < size(); ++i) {
    keys[i] = {start_of(address(i)), static_cast<std::uint32_t>(i)};
  }
  sort_by_start(keys);
  const auto by_address = [this](const SortKey& a, const SortKey& b) {
    const int order = address(a.index).compare(address(b.index));
    return order != 0 ? order < 0 : a.index < b.index;
  };
  for (auto first = keys.begin(); first != keys.end();) {
    auto last = first + 1;
    while (last != keys.end() && last->start == first->start) ++last;
    if (last - first > 1) std::sort(first, last, by_address);
    first = last;
  }
  std::vector<Mailbox> sorted;
  sorted.reserve(size());
  for (std::size_t i = 0; i < keys.size(); ++i) {
    const bool again = i > 0 && keys[i].start == keys[i - 1].start &&
                       address(keys[i].index) == address(keys[i - 1].index);
    if (!again) sorted.push_back(mailboxes_[keys[i].index]);
  }
  mailboxes_ = std::move(sorted);
}

}  // namespace tallowbrook
