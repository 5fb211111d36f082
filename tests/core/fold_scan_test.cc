#include "core/fold_scan.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace tallowbrook::test {
namespace {

TEST(FoldScan, SkipsPlainFoldsAlone) {
  const struct {
    const char* text;
    std::size_t end;
  } cases[] = {{"", 0},         {"a\n b\n\tc\r\n d\n", 11}, {"a\n  b", 1},     {"a\nb", 1},
               {"a\n b\n ", 4}, {"a\n \r\n b", 1},          {"a\n \xe4\nb", 4}};
  for (const auto& [text, end] : cases) EXPECT_EQ(skip_plain_folds(text), end) << text;
}

TEST(FoldScan, AgreesWithThePlainWay) {
  static constexpr char kBytes[] =
      " \t\r\n\x1f\xff"
      "abcdefgh";
  std::mt19937 random(11);
  for (int round = 0; round < 20000; ++round) {
    std::string text(random() % 40, 'x');
    for (std::size_t folds = random() % 6; folds > 0; --folds) {
      text.append(random() % 2 == 0 ? "\n " : "\r\n\t").append(random() % 40, 'y');
    }
    for (std::size_t odd = random() % 3; odd > 0 && !text.empty(); --odd) {
      text[random() % text.size()] = kBytes[random() % (sizeof kBytes - 1)];
    }
    text.shrink_to_fit();
    EXPECT_EQ(skip_plain_folds(text), portable_skip_plain_folds(text)) << text;
  }
}

}  // namespace
}  // namespace tallowbrook::test
