#include "streams/output_modifier.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "streams/memory_stream.h"
#include "tests/support/host_stream.h"

namespace tallowbrook {
namespace {

TEST(OutputModifier, EndsEveryLineWithCrLf) {
  const struct {
    std::vector<std::string> writes;
    std::string result;
  } cases[] = {
      {{"a\nb"}, "a\r\nb"},
      {{"a\r", "\nb"}, "a\r\nb"},
      {{"a\r", "", "\nb"}, "a\r\nb"},
      {{"a\r", "b", "\n"}, "a\rb\r\n"},
      {{"a\r\nb\r\n"}, "a\r\nb\r\n"},
      {{"\n\n", "\n"}, "\r\n\r\n\r\n"},
      {{"\r\n\n\r\r\n"}, "\r\n\r\n\r\r\n"},
      {{"", "plain"}, "plain"},
  };
  for (const auto& c : cases) {
    test::HostStream target;
    COutputStreamModifier filter(target);
    ULONG total = 0;
    for (const std::string& piece : c.writes) {
      ULONG written = 0;
      EXPECT_EQ(filter.Write(piece.data(), static_cast<ULONG>(piece.size()), &written), S_OK);
      total += written;
    }
    EXPECT_EQ(target.written(), c.result);
    EXPECT_EQ(total, c.result.size());
    EXPECT_FALSE(filter.failed());
  }
}

TEST(OutputModifier, ReportsAndRemembersAFailingWrite) {
  for (int good = 0; good < 3; ++good) {
    test::HostStream target;
    target.writes_before_failure = good;
    COutputStreamModifier filter(target);
    ULONG written = 9;
    EXPECT_EQ(filter.Write("ab\ncd", 5, &written), STG_E_MEDIUMFULL) << good;
    EXPECT_EQ(written, target.written().size());
    EXPECT_EQ(filter.Write("x", 1, nullptr), S_OK);
    EXPECT_EQ(filter.status(), STG_E_MEDIUMFULL);
  }
}

// As a socket does. One that takes nothing has failed.
TEST(OutputModifier, GoesOnBehindAShortWrite) {
  test::HostStream target;
  target.most_taken = 3;
  COutputStreamModifier filter(target);
  ULONG written = 9;
  EXPECT_EQ(filter.Write("abcdef\nghij", 11, &written), S_OK);
  EXPECT_EQ(written, 12u);
  EXPECT_EQ(target.written(), "abcdef\r\nghij");
  target.most_taken = 0;
  EXPECT_EQ(filter.Write("abc", 3, &written), STG_E_MEDIUMFULL);
  EXPECT_EQ(written, 0u);
  EXPECT_TRUE(filter.failed());
}

TEST(OutputModifier, CountsOnTheInnerStreamAndAsksIt) {
  CISSHelper target;
  COutputStreamModifier filter(target);
  const auto face = platform::query<IStream>(static_cast<IStream*>(&filter));
  EXPECT_EQ(face.get(), &target);
  EXPECT_EQ(target.AddRef(), 3u);
  EXPECT_EQ(filter.Release(), 2u);
}

}  // namespace
}  // namespace tallowbrook
