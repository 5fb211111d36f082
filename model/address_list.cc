#include "model/address_list.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <new>
#include <numeric>
#include <span>
#include <utility>

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

using SortKeys = std::span<SortKey>;

constexpr std::size_t kBytes = sizeof(SortKey::start);

// How often each value of each byte occurs, the last byte first.
using Counts = std::array<std::array<std::uint32_t, 256>, kBytes>;

template <std::size_t... Byte>
void count(SortKeys keys, Counts& counts, std::index_sequence<Byte...>) {
  for (const SortKey& key : keys) (++counts[Byte][key.start >> 8 * Byte & 0xFF], ...);
}

// A stable sort without comparisons, whose outcomes no processor could foresee: byte by byte, the
// last one first. Few keys are compared all the same.
void sort_by_start(SortKeys keys) {
  constexpr std::size_t kFew = 64;
  if (keys.size() < kFew) {
    std::sort(keys.begin(), keys.end(), [](const SortKey& a, const SortKey& b) {
      return a.start != b.start ? a.start < b.start : a.index < b.index;
    });
    return;
  }
  Counts counts{};
  count(keys, counts, std::make_index_sequence<kBytes>());
  std::vector<SortKey> sorted(keys.size());
  SortKeys from = keys;
  SortKeys to = sorted;
  for (std::size_t byte = 0; byte < kBytes; ++byte) {
    std::array<std::uint32_t, 256>& places = counts[byte];
    const std::size_t shift = 8 * byte;
    if (places[keys[0].start >> shift & 0xFF] == keys.size()) continue;  // all have the same
    std::exclusive_scan(places.begin(), places.end(), places.begin(), 0U);
    for (const SortKey& key : from) to[places[key.start >> shift & 0xFF]++] = key;
    std::swap(from, to);
  }
  if (from.data() != keys.data()) std::copy(from.begin(), from.end(), keys.begin());
}

// Calls `job` for each run of keys with one start.
template <class Job>
void for_each_run(SortKeys keys, Job&& job) {
  for (std::size_t first = 0; first < keys.size();) {
    std::size_t last = first + 1;
    while (last < keys.size() && keys[last].start == keys[first].start) ++last;
    job(keys.subspan(first, last - first));
    first = last;
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
  std::vector<Mailbox> sorted;
  sorted.reserve(size());
  const auto by_address = [this](const SortKey& a, const SortKey& b) {
    const int order = address(a.index).compare(address(b.index));
    return order != 0 ? order < 0 : a.index < b.index;
  };
  const auto take = [&](SortKeys alike) {
    if (alike.size() > 1) std::sort(alike.begin(), alike.end(), by_address);
    sorted.push_back(mailboxes_[alike[0].index]);
    for (std::size_t i = 1; i < alike.size(); ++i) {
      const bool again = address(alike[i].index) == address(alike[i - 1].index);
      if (!again) sorted.push_back(mailboxes_[alike[i].index]);
    }
  };
  sort_by_start(keys);
  for_each_run(keys, [&](SortKeys alike) {
    if (alike.size() == 1) return take(alike);
    for (SortKey& key : alike) {
      const std::string_view whole = address(key.index);
      key.start = start_of(whole.substr(std::min(kBytes, whole.size())));
    }
    sort_by_start(alike);
    for_each_run(alike, take);
  });
  mailboxes_ = std::move(sorted);
}

}  // namespace tallowbrook
