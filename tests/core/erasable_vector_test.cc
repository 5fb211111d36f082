#include "core/erasable_vector.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <vector>

namespace tallowbrook {
namespace {

// Losses at the front, at the back and anywhere, with additions between, against a plain vector.
TEST(ErasableVector, IsAVector) {
  std::mt19937 random(1);
  for (const int place : {0, 1, 2}) {
    ErasableVector<std::unique_ptr<int>> vector;
    std::vector<int> model;
    for (int round = 0; round < 3000; ++round) {
      const bool grows = round < 700 || random() % 3 == 0;
      if (grows || model.empty()) {
        vector.push_back(std::make_unique<int>(round));
        model.push_back(round);
      } else {
        const std::size_t at = place == 0   ? 0
                               : place == 1 ? model.size() - 1
                                            : random() % model.size();
        EXPECT_EQ(*vector.take(at), model[at]);
        model.erase(model.begin() + static_cast<std::ptrdiff_t>(at));
      }
      ASSERT_EQ(vector.size(), model.size());
      if (round % 50 != 0) continue;
      for (std::size_t i = 0; i < model.size(); ++i) ASSERT_EQ(*vector[i], model[i]);
    }
    const auto moved = std::move(vector);
    EXPECT_EQ(moved.size(), model.size());
    EXPECT_EQ(vector.size(), 0U);
  }
}

}  // namespace
}  // namespace tallowbrook
