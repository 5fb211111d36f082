#include "writer/lone_dots.h"

#include <gtest/gtest.h>

#include <string>

namespace tallowbrook {
namespace {

using namespace std::string_literals;

TEST(LoneDots, AreDoubledAndTheClosingOneGoes) {
  const struct {
    std::string text;
    std::string guarded;
    std::string unclosed;
  } kCases[] = {
      {"", "", ""},
      {".", "..", ""},
      {".\r\n", "..\r\n", ""},
      {"a\r\n.\r\nb\r\n", "a\r\n..\r\nb\r\n", "a\r\n.\r\nb\r\n"},
      {"a\n.\nb\n.\n", "a\n..\nb\n..\n", "a\n.\nb\n"},
      {"a\r.\rb", "a\r..\rb", "a\r.\rb"},
      {"a\r\n. \t\r\nb", "a\r\n.. \t\r\nb", "a\r\n. \t\r\nb"},
      {"a\r\n. \r\r\n", "a\r\n.. \r\r\n", "a\r\n"},
      {"a\n\0.\0\r\nb"s, "a\n\0..\0\r\nb"s, "a\n\0.\0\r\nb"s},
      {"a.\r\n..\r\n.b\r\n", "a.\r\n..\r\n.b\r\n", "a.\r\n..\r\n.b\r\n"},
      {"a\r\n.\r\n\r\n", "a\r\n..\r\n\r\n", "a\r\n.\r\n\r\n"},
  };
  for (const auto& [text, guarded, unclosed] : kCases) {
    std::string result;
    guard_lone_dots(text, [&result](std::string_view piece) { result += piece; });
    EXPECT_EQ(result, guarded) << text;
    const auto copy = guarded_copy(text);
    EXPECT_EQ(copy ? std::string(copy->bytes()) : text, guarded) << text;
    EXPECT_EQ(without_closing_dot(text), unclosed) << text;
  }
}

}  // namespace
}  // namespace tallowbrook
