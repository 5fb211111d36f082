#include "smtp/data_end.h"

#include <gtest/gtest.h>

#include <string>

#include "smtp/reply.h"

namespace tallowbrook {
namespace {

using Verdict = DataEnd::Verdict;

struct Case {
  const char* text;
  Verdict verdict;
  int length;           // taken; -1: all of it
  const char* missing;  // when it goes on
};

const Case kCases[] = {
    {"", Verdict::kGoesOn, -1, ".\r\n"},
    {"text", Verdict::kGoesOn, -1, "\r\n.\r\n"},
    {"text\r", Verdict::kGoesOn, -1, "\n.\r\n"},
    {"text\r\n", Verdict::kGoesOn, -1, ".\r\n"},
    {"text\n", Verdict::kGoesOn, -1, "\r\n.\r\n"},
    {"text\r\n.", Verdict::kGoesOn, -1, "\r\n"},
    {"text\r\n.\r", Verdict::kGoesOn, -1, "\n"},
    {"text\r\n..", Verdict::kGoesOn, -1, "\r\n.\r\n"},
    {"text\r\n..\r\n", Verdict::kGoesOn, -1, ".\r\n"},
    {"a.\r\n", Verdict::kGoesOn, -1, ".\r\n"},
    {"a.b\r\n.c\r\n...\r\n", Verdict::kGoesOn, -1, ".\r\n"},
    {".\r\n", Verdict::kEnded, -1, nullptr},
    {"text\r\n.\r\nMAIL", Verdict::kEnded, 9, nullptr},
    {"text\r\r\n.\r\nMAIL", Verdict::kEnded, 10, nullptr},
    {"text\n.\r\nMAIL", Verdict::kAmbiguous, 0, nullptr},
    {"text\n.\nMAIL", Verdict::kAmbiguous, 0, nullptr},
    {"text\r.\r\nMAIL", Verdict::kAmbiguous, 0, nullptr},
    {"text\r.\rMAIL", Verdict::kAmbiguous, 0, nullptr},
    {"text\r\n.\nMAIL", Verdict::kAmbiguous, 0, nullptr},
    {"text\r\n.\rMAIL", Verdict::kAmbiguous, 0, nullptr},
    {"\n.x\r.y\r\n.z\r\n", Verdict::kGoesOn, -1, ".\r\n"},
};

// Whatever blocks the text comes in.
TEST(DataEnd, FindsTheEndAndWhatIsAmbiguous) {
  for (const Case& c : kCases) {
    const std::string text = c.text;
    for (std::size_t step = 1; step <= text.size() + 1; ++step) {
      DataEnd end;
      DataEnd::Result result{Verdict::kGoesOn, 0};
      std::size_t taken = 0;
      while (taken < text.size() && result.verdict == Verdict::kGoesOn) {
        result = end.take(std::string_view(text).substr(taken, step));
        taken += result.length;
      }
      EXPECT_EQ(result.verdict, c.verdict) << text << " by " << step;
      const std::size_t length = c.length < 0 ? text.size() : static_cast<std::size_t>(c.length);
      if (c.verdict != Verdict::kAmbiguous) {
        EXPECT_EQ(taken, length) << text << " by " << step;
      }
      if (c.missing != nullptr) {
        EXPECT_EQ(end.missing(), c.missing) << text << " by " << step;
      }
    }
  }
}

TEST(Reply, CodeIsTheNumberOfTheFirstThreeCharacters) {
  const struct {
    const char* reply;
    int code;
  } cases[] = {{"250 ok\r\n", 250}, {"250-ok\r\n", 250}, {"2500\r\n", 250}, {"25\r\n", 25},
               {"abc\r\n", 0},      {"\r\n", 0},         {"", 0},           {"2x0", 2}};
  for (const auto& c : cases) EXPECT_EQ(reply_code(c.reply), c.code) << c.reply;
}

TEST(Reply, LinesTellWhetherMoreIsToCome) {
  const struct {
    const char* text;
    bool complete;
  } cases[] = {{"", true},
               {"250 ok\r\n", true},
               {"250\r\n", true},
               {"\r\n", true},
               {"250 ok\r", false},
               {"250-ok\r\n", false},
               {"250-ok\r\n250 done\r\n", true},
               {"250-a\r\n250-b\r\n", false},
               {"25", false}};
  for (const auto& c : cases) {
    ReplyLines lines;
    for (const char* at = c.text; *at != '\0'; ++at) lines.take({at, 1});
    EXPECT_EQ(lines.complete(), c.complete) << c.text;
  }
}

}  // namespace
}  // namespace tallowbrook
