#include "cli/terminal.h"

#include <gtest/gtest.h>

#include <string>

#include "cli/file_stream.h"

namespace tallowbrook::cli {
namespace {

TEST(Terminal, ShowsNothingThatSteersATerminal) {
  const struct {
    std::string text;
    std::string shown;
  } cases[] = {
      {"plain, Grüße, 日本, 😀", "plain, Grüße, 日本, 😀"},
      {"\x1B[2J\a\r\n\t", "\\x1B[2J\\x07\\x0D\\x0A\\x09"},
      {std::string("\0\x7F", 2), "\\x00\\x7F"},
      {"\xC2\x9B"
       "31m",
       "\\x9B31m"},                                           // C1: the one-character CSI
      {"a\xFFz\xC3", "a\\xFFz\\xC3"},                         // no UTF-8, cut off
      {"\xC0\xAF\xED\xA0\x80", "\\xC0\\xAF\\xED\\xA0\\x80"},  // overlong, surrogate
      {"\xF4\x90\x80\x80", "\\xF4\\x90\\x80\\x80"},           // past U+10FFFF
      {"\u202Egpj.exe\u2028", "\\u{202E}gpj.exe\\u{2028}"},
  };
  for (const auto& [text, shown] : cases) EXPECT_EQ(printable(text), shown);
}

TEST(Terminal, UnfoldsAndConverts) {
  EXPECT_EQ(unfold(" one\r\n\ttwo \n three  four\r\n"), "one two three  four");
  EXPECT_EQ(unfold("\r\n"), "");
  EXPECT_EQ(to_utf8(u"aé€\U0001F600"), "aé€😀");
  EXPECT_EQ(to_utf8(std::u16string{0xD83D, u'x', 0xDE00}), "\uFFFDx\uFFFD");
  EXPECT_EQ(columns("aé€😀"), 4U);
}

// The end of the header is found whatever the blocks are.
TEST(ContentCounter, CountsWhatFollowsTheHeader) {
  const struct {
    std::string text;
    std::uint64_t size;
  } cases[] = {
      {"A: b\r\nC: d\r\n\r\n12345\r\n\r\n", 9},
      {"\r\n123", 3},  // no fields
      {"A: b\r\n", 0},
      {"A: b\r\r\n\r\n1", 1},
      {"", 0},
  };
  for (const auto& [text, size] : cases) {
    for (const std::size_t block : {std::size_t{1}, std::size_t{3}, std::size_t{4096}}) {
      auto counter = platform::ComPtr<ContentCounter>::adopt(new ContentCounter);
      for (std::size_t at = 0; at < text.size(); at += block) {
        const std::string piece = text.substr(at, block);
        ASSERT_EQ(counter->Write(piece.data(), static_cast<ULONG>(piece.size()), nullptr), S_OK);
      }
      EXPECT_EQ(counter->content_size(), size) << text << " in blocks of " << block;
    }
  }
}

}  // namespace
}  // namespace tallowbrook::cli
