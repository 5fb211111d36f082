// Mailboxes come into the order of their addresses.
#include "model/address_list.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "core/few_sort.h"

namespace tallowbrook::test {
namespace {

// A map that keeps the first name of each address is the reference.
void expect_sorted(const std::vector<std::string>& addresses) {
  AddressList list;
  std::map<std::string, std::string> sorted;
  for (std::size_t i = 0; i < addresses.size(); ++i) {
    const std::string name = std::to_string(i);
    list.add(addresses[i], name);
    sorted.emplace(addresses[i], name);
  }
  list.sort();
  ASSERT_EQ(list.size(), sorted.size());
  std::size_t at = 0;
  for (const auto& [address, name] : sorted) {
    ASSERT_EQ(list.address(at), address);
    ASSERT_EQ(list.name(at++), name);
  }
}

TEST(AddressList, SortsByAddress) {
  std::mt19937 random(17);
  const auto letters = [&](std::size_t most, unsigned among) {
    std::string text(random() % (most + 1), 'x');
    for (char& c : text) c = "ab\x7f\xff<;=>"[random() % among];
    return text;
  };
  for (const std::size_t count : {0, 1, 2, 3, 5, 63, 64, 65, 200, 3000}) {
    for (int round = 0; round < 12; ++round) {
      const unsigned among = round % 2 == 0 ? 2 : 8;
      const std::string common = letters(round % 3 * 9, among);  // of all
      std::vector<std::string> addresses;
      for (std::size_t i = 0; i < count; ++i) {
        std::string address = common;
        if (random() % 4 != 0) address += '<';
        address += letters(round < 6 ? 4 : 20, among);
        if (random() % 8 == 0) address += addresses.empty() ? "" : addresses.back();
        addresses.push_back(address);
      }
      expect_sorted(addresses);
    }
  }
}

TEST(AddressList, SortsFewNumbersByEitherWay) {
  std::mt19937_64 random(19);
  for (std::size_t count = 0; count <= kFewNumbers; ++count) {
    std::vector<std::uint64_t> numbers(count);
    for (std::size_t i = 0; i < count; ++i) numbers[i] = (random() & ~std::uint64_t{0xFF}) | i;
    std::vector<std::uint64_t> plainly = numbers;
    sort_few(numbers);
    portable_sort_few(plainly);
    EXPECT_EQ(numbers, plainly);
    EXPECT_TRUE(std::is_sorted(numbers.begin(), numbers.end()));
  }
}

}  // namespace
}  // namespace tallowbrook::test
