#include "cli/file_name.h"

#include <gtest/gtest.h>

#include <string>

#include "cli/terminal.h"

namespace tallowbrook::cli {
namespace {

std::string repeated(const std::string& text, std::size_t times) {
  std::string result;
  for (std::size_t i = 0; i < times; ++i) result += text;
  return result;
}

TEST(FileName, IsASafeBaseName) {
  const struct {
    std::string sent;
    std::string safe;
  } cases[] = {
      {"seeds.csv", "seeds.csv"},
      {"Grüße 日本 😀.txt", "Grüße 日本 😀.txt"},
      {"/etc/passwd", "passwd"},
      {"../../.ssh/authorized_keys", "authorized_keys"},
      {"C:\\docs\\plan.doc", "plan.doc"},
      {"a/b\\", ""},
      {"..", ""},
      {" ... .bashrc ", "bashrc"},
      {"a\r\nb\x1B[2J\x7F\xC2\x9B.txt", "ab[2J.txt"},
      {std::string("a\0b", 3), "ab"},
      {"\u202Egpj.exe\uFEFF\u061C", "gpj.exe"},
      {"cut\xC3", "cut_"},
      {"", ""},
  };
  for (const auto& [sent, safe] : cases) EXPECT_EQ(safe_name(sent), safe) << sent;
}

TEST(FileName, IsCutBetweenCharactersAndKeepsItsExtension) {
  const std::string name = safe_name(repeated("é", 150) + ".tar");
  EXPECT_EQ(name, repeated("é", 98) + ".tar");
  EXPECT_EQ(safe_name("a" + repeated("😀", 60)), "a" + repeated("😀", 49));
  // What is no extension is cut like the rest.
  EXPECT_EQ(safe_name("a." + repeated("x", 300)).size(), kLongestName);
}

TEST(FileName, IsHandedOutOnce) {
  UniqueNames names;
  EXPECT_EQ(names.take("a-2.pdf"), "a-2.pdf");
  EXPECT_EQ(names.take("a.pdf"), "a.pdf");
  EXPECT_EQ(names.take("a.pdf"), "a-3.pdf");
  EXPECT_EQ(names.take("a-2.pdf"), "a-2-2.pdf");
  const std::string long_name = safe_name(repeated("é", 150) + ".tar");
  EXPECT_EQ(names.take(long_name), long_name);
  const std::string second = names.take(long_name);
  EXPECT_LE(second.size(), kLongestName);
  EXPECT_TRUE(is_utf8(second));
  EXPECT_TRUE(second.ends_with("-2.tar"));
}

}  // namespace
}  // namespace tallowbrook::cli
