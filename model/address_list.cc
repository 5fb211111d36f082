#include "model/address_list.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <new>
#include <span>
#include <utility>

#include "core/few_sort.h"

namespace tallowbrook {
namespace {

using Mailbox = AddressList::Mailbox;
using Mailboxes = std::span<Mailbox>;

constexpr std::size_t kBytes = sizeof(std::uint64_t);
constexpr std::size_t kTopByte = 8 * (kBytes - 1);  // a shift

// Sorts byte by byte, the first one first, and in place; what has the same address keeps its order.
// Many mailboxes are dealt out by one byte. Few are sorted by the next seven at once: these differ
// in most of them.
class Sorter {
 public:
  Sorter(std::string_view text, Mailboxes all) : text_(text), all_(all), starts_(all.size()) {}

  // True when some address is there more than once.
  bool run() {
    add(0, all_.size(), 0);
    while (!waiting_.empty()) {
      const Range range = waiting_.back();
      waiting_.pop_back();
      sort(range);
    }
    return repeated_;
  }

 private:
  // Mailboxes whose addresses have their first `depth` bytes in common.
  struct Range {
    std::uint32_t begin;
    std::uint32_t size;
    std::uint32_t depth;
  };

  void add(std::size_t begin, std::size_t size, std::size_t depth) {
    if (size < 2) return;
    waiting_.push_back({static_cast<std::uint32_t>(begin), static_cast<std::uint32_t>(size),
                        static_cast<std::uint32_t>(depth)});
  }

  void sort(Range range) {
    for (;;) {
      const std::uint64_t differing = take_starts(range);
      if (differing >> 8 == 0) {  // the last byte is left for later: see sort_few
        const bool ended = (starts_[0] >> 8 & 0xFF) == 0;
        if (ended) {
          repeated_ = true;
          return;
        }
        range.depth += kBytes - 1;
        continue;
      }
      const auto common = static_cast<std::uint32_t>(std::countl_zero(differing)) / 8;
      if (common == 0) break;
      range.depth += common;
    }
    if (range.size <= kFewNumbers) {
      sort_few(range);
    } else {
      deal_out(range);
    }
  }

  // Sets `starts_` to the next bytes of each address. Returns the bits in which they differ.
  std::uint64_t take_starts(const Range& range) {
    const Mailbox* const from = all_.data() + range.begin;
    std::uint64_t* const to = starts_.data();
    std::uint64_t differing = 0;
    for (std::uint32_t i = 0; i < range.size; ++i) {
      to[i] = start_of(from[i], range.depth);
      differing |= to[i] ^ to[0];
    }
    return differing;
  }
  // The bytes from `depth` on as one number, zeros behind the last.
  [[nodiscard]] std::uint64_t start_of(const Mailbox& mailbox, std::size_t depth) const {
    const char* const bytes = text_.data() + mailbox.address;
    std::uint64_t start = 0;
    if (depth + kBytes <= mailbox.address_size) {
      std::memcpy(&start, bytes + depth, kBytes);
    } else if (depth < mailbox.address_size) {
      std::memcpy(&start, bytes + depth, mailbox.address_size - depth);
    }
    return std::endian::native == std::endian::little ? __builtin_bswap64(start) : start;
  }

  void sort_few(const Range& range) {
    std::array<std::uint64_t, kFewNumbers> keys;
    std::array<Mailbox, kFewNumbers> before;
    const Mailboxes here = all_.subspan(range.begin, range.size);
    std::copy(here.begin(), here.end(), before.begin());
    // The last byte gives way to the place, so that all keys differ.
    for (std::size_t i = 0; i < here.size(); ++i) keys[i] = (starts_[i] & ~std::uint64_t{0xFF}) | i;
    tallowbrook::sort_few(std::span(keys).first(here.size()));
    std::size_t first = 0;  // of those alike
    for (std::size_t i = 0; i < here.size(); ++i) {
      here[i] = before[keys[i] & 0xFF];
      if (keys[i] >> 8 == keys[first] >> 8) continue;
      add(range.begin + first, i - first, range.depth + kBytes - 1);
      first = i;
    }
    add(range.begin + first, here.size() - first, range.depth + kBytes - 1);
  }

  // By one byte, or by two of which the first is "<": most addresses begin with that.
  void deal_out(const Range& range) {
    std::array<std::uint32_t, 512> places{};
    for (std::uint32_t i = 0; i < range.size; ++i) ++places[pile_of(starts_[i])];
    std::uint32_t begin = 0;
    // An address that ended is the same as all others that did: they stay as they are.
    repeated_ = repeated_ || places[0] > 1 || places[kBracket] > 1;
    for (std::size_t pile = 0; pile < places.size(); ++pile) {
      const std::uint32_t count = std::exchange(places[pile], begin);
      const bool two = pile > kBracket && pile < kBracket + 256;
      if (pile > 0 && pile != kBracket)
        add(range.begin + begin, count, range.depth + (two ? 2 : 1));
      begin += count;
    }
    const Mailboxes here = all_.subspan(range.begin, range.size);
    before_.assign(here.begin(), here.end());
    for (std::uint32_t i = 0; i < range.size; ++i) {
      here[places[pile_of(starts_[i])]++] = before_[i];
    }
  }
  // The piles stand in the order of the addresses.
  static std::size_t pile_of(std::uint64_t start) {
    const std::size_t first = start >> kTopByte;
    const std::size_t second = start >> (kTopByte - 8) & 0xFF;
    // Without branches, whose outcomes no processor could foresee.
    const std::size_t in_bracket = std::size_t{0} - static_cast<std::size_t>(first == kBracket);
    const std::size_t above = std::size_t{0} - static_cast<std::size_t>(first > kBracket);
    return first + (in_bracket & second) + (above & 255);
  }
  static constexpr std::size_t kBracket = '<';

  const std::string_view text_;
  const Mailboxes all_;
  std::vector<std::uint64_t> starts_;
  std::vector<Mailbox> before_;
  std::vector<Range> waiting_;
  bool repeated_ = false;
};

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
  if (!Sorter(text_, mailboxes_).run()) return;
  const auto same_address = [this](const Mailbox& a, const Mailbox& b) {
    const std::string_view text(text_);
    return a.address_size == b.address_size &&
           text.substr(a.address, a.address_size) == text.substr(b.address, b.address_size);
  };
  mailboxes_.erase(std::unique(mailboxes_.begin(), mailboxes_.end(), same_address),
                   mailboxes_.end());
}

}  // namespace tallowbrook
