#include "streams/block.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <thread>
#include <vector>

namespace tallowbrook {
namespace {

constexpr std::size_t kStride = 1024;

// Blocks of all sizes grow, shrink and go in random order: each keeps what it held, and no two
// share a byte. A mark stands at every kStride bytes.
void churn(std::uint32_t seed) {
  struct Held {
    char* data = nullptr;
    std::size_t capacity = 0;
    std::uint32_t mark = 0;
  };
  std::mt19937 random(seed);
  std::vector<Held> blocks(6);
  const auto put_marks = [](const Held& block, std::size_t from) {
    for (std::size_t i = from; i + sizeof block.mark <= block.capacity; i += kStride) {
      __builtin_memcpy(block.data + i, &block.mark, sizeof block.mark);
    }
  };
  const auto has_marks = [](const Held& block, std::size_t end) {
    for (std::size_t i = 0; i + sizeof block.mark <= end; i += kStride) {
      if (__builtin_memcmp(block.data + i, &block.mark, sizeof block.mark) != 0) return false;
    }
    return true;
  };
  for (int round = 0; round < 400; ++round) {
    Held& block = blocks[random() % blocks.size()];
    const std::size_t capacity = std::size_t{1} << (10 + random() % 14);
    if (block.data != nullptr && random() % 4 == 0) {
      ASSERT_TRUE(has_marks(block, block.capacity));
      free_block(block.data, block.capacity);
      block = {};
      continue;
    }
    const std::size_t wanted = capacity + random() % capacity;
    char* const data = resize_block(block.data, block.capacity, wanted);
    ASSERT_NE(data, nullptr);
    const std::size_t kept = std::min(block.capacity, wanted);
    block = {data, wanted, kept == 0 ? static_cast<std::uint32_t>(random()) : block.mark};
    ASSERT_TRUE(has_marks(block, kept));
    put_marks(block, 0);
  }
  for (const Held& block : blocks) {
    EXPECT_TRUE(has_marks(block, block.capacity));
    if (block.data != nullptr) free_block(block.data, block.capacity);
  }
}

TEST(Block, KeepsItsBytesWhateverComesAndGoes) { churn(1); }

TEST(BlockThreads, ShareTheKeptPages) {
  std::vector<std::thread> threads;
  for (std::uint32_t seed = 2; seed < 6; ++seed) threads.emplace_back(churn, seed);
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
}  // namespace tallowbrook
