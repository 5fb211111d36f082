#include "core/line_scan.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

namespace tallowbrook {
namespace {

// Every scan against its definition, over texts that are rich in what is looked for and over long
// ones that have it once, at every distance from a vector's end.
TEST(LineScan, AllAgreeWithTheDefinition) {
  std::mt19937 random(11);
  const std::string_view alphabet("\r\n-..bBeEmM\x0Ex\xE2\xAD\xAE\xC5z");
  for (int round = 0; round < 3000; ++round) {
    std::string text(random() % 300, 'x');
    const bool rich = round % 2 == 0;
    for (std::size_t k = rich ? text.size() : random() % 4; k-- > 0 && !text.empty();) {
      const std::size_t at = rich ? k : random() % text.size();
      text[at] = random() % 200 == 0 ? '\0' : alphabet[random() % alphabet.size()];
      if (!rich && at > 0) text[at - 1] = '\n';
      if (!rich && random() % 4 == 0) text.replace(at, 3, "..\r");
    }
    bool dirty = false;
    std::size_t special = std::string::npos;
    std::size_t bare = std::string::npos;
    std::size_t dots = std::string::npos;
    for (std::size_t i = 0; i < text.size(); ++i) {
      dirty |=
          text[i] == '\0' || (text[i] == '\r' && (i + 1 == text.size() || text[i + 1] != '\n'));
      const bool begins = i > 0 && text[i - 1] == '\n' &&
                          std::string_view("-.bBeE").find(text[i]) != std::string_view::npos;
      if (begins) special = std::min(special, i);
      if (i > 0 && text[i] == '\n' && text[i - 1] != '\r') bare = std::min(bare, i);
      if (text[i] == '\0' || text.compare(i, 3, "..\r") == 0) dots = std::min(dots, i);
    }
    const auto lines = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
    for (const LineScan* scan : {&portable_line_scan(), &fastest_line_scan()}) {
      EXPECT_EQ(scan->needs_normalising(text), dirty) << text;
      EXPECT_EQ(scan->count_line_ends(text), lines) << text;
      EXPECT_EQ(scan->find_special_line(text), special) << text;
      EXPECT_EQ(scan->find_bare_line_end(text), bare) << text;
      EXPECT_EQ(scan->find_nul_or_dots(text), dots) << text;
    }
  }
  const std::string many(20000, '\n');  // more than a byte's worth of vectors
  EXPECT_EQ(fastest_line_scan().count_line_ends(many), many.size());
}

}  // namespace
}  // namespace tallowbrook
