#include "writer/dot_guard.h"

#include <gtest/gtest.h>

#include <string>

namespace tallowbrook {
namespace {

std::string guarded(DotGuard::Style style, std::string_view text, std::size_t block) {
  DotGuard guard(style);
  std::string result;
  const auto put = [&result](std::string_view piece) { result += piece; };
  for (; !text.empty(); text.remove_prefix(std::min(block, text.size()))) {
    guard.take(text.substr(0, block), put);
  }
  guard.finish(put);
  return result;
}

TEST(DotGuard, GuardsTheDotsThatCodersDoNotSee) {
  const struct {
    const char* coded;
    const char* quoted;
    const char* doubled;
  } kRows[] = {
      {"a.b\r\n..c\r\n", "a.b\r\n=2E.c\r\n", "a.b\r\n..c\r\n"},
      {"a\n.b\n..\n.", "a\n=2Eb\n=2E.\n=2E", "a\n..b\n...\n.."},
      {"a\n\r\n..\r\n", "a\n\r\n=2E.\r\n", "a\n\r\n..\r\n"},
      {"a\r.b\r..\r\n", "a\r=2Eb\r=2E.\r\n", "a\r.b\r..\r\n"},
      {"a\r.\r.b", "a\r=2E\r=2Eb", "a\r..\r.b"},
      {"a\r. \t\r\nb", "a\r=2E \t\r\nb", "a\r.. \t\r\nb"},
      {"a\r. \n.", "a\r=2E \n=2E", "a\r.. \n.."},
      {"a\r. b", "a\r=2E b", "a\r. b"},
      {"a\r. ", "a\r=2E ", "a\r.. "},
      {"=20\r\n.\r\n", "=20\r\n=2E\r\n", "=20\r\n.\r\n"},
  };
  for (const auto& row : kRows) {
    for (const std::size_t block : {1, 2, 3, 100}) {
      EXPECT_EQ(guarded(DotGuard::Style::kQuoted, row.coded, block), row.quoted) << block;
      EXPECT_EQ(guarded(DotGuard::Style::kDoubled, row.coded, block), row.doubled) << block;
    }
  }
}

}  // namespace
}  // namespace tallowbrook
