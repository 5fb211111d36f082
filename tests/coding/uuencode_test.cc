// The lines of uuencoded files: those that count and those that are dropped.
#include "coding/uuencode.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "tests/support/conversion.h"

namespace tallowbrook {
namespace {

using test::converted;
using test::kDecode;
using test::kEncode;

struct Case {
  std::string input, output;
};

// As encoders write it, with `zero` for the value 0 and `fill` for what fills the last group up.
std::string encoded(const std::string& bytes, char zero, char fill) {
  std::string text;
  for (std::size_t at = 0; at < bytes.size(); at += 45) {
    const std::string line = bytes.substr(at, 45);
    text += static_cast<char>(' ' + line.size());
    for (const unsigned value : test::sextets(line)) {
      text += value == 0 ? zero : static_cast<char>(' ' + value);
    }
    if (line.size() % 3 != 0) text.append(3 - line.size() % 3, fill);
    text += "\r\n";
  }
  return text + "`\r\n";
}

TEST(UUCoder, Lines) {
  CUUCoder coder;
  std::string most;  // 92 bytes of the value 1 in each six bits
  while (most.size() < 92) most += "\x04\x10\x41";
  most.resize(92);
  const std::string full = "M" + std::string(60, '!');
  const Case cases[] = {
      {"#0V%T\n", "Cat"},
      {"#0V%T", "Cat"},
      {"#0V%T`AB\r\r\n\r\n#0V%T\r\n", "CatCat"},
      {"#0V%Tx\n#0V% \n#0V%\n", "Ca@"},                // something behind, whole, cut
      {"#0\rV%T\n\r#0V%T\n", "Cat"},                   // a CR inside, CRs before a line
      {"\r#0V%T\n#0V%T\n", "Cat"},                     // a CR before the first
      {"!00\n!00``\n!00zz\n!00zzz\n!00\r\n", "AAAA"},  // the last group's fill
      {"\"0V$\n\"0V$z\n\"0V$zz\n", "CaCa"},
      {"`\n \n" + std::string(1, '}') + full + "\nstray text\n\n", ""},
      {"#0\rV%\n#0V%T \n!00\rx\n", ""},  // a CR as data, a blank behind, something behind the fill
      {"`" + std::string(88, '!') + "\n}" + std::string(124, '!') + "\n", ""},
      {"|" + std::string(124, '!') + "\n", most},
      {"#````\n#    \n", std::string(6, '\0')},
      {"", ""},
  };
  for (const Case& c : cases) EXPECT_EQ(converted(coder, kDecode, c.input), c.output) << c.input;
  EXPECT_EQ(converted(coder, kDecode, full + "\n").size(), 45u);
  EXPECT_EQ(converted(coder, kEncode, "anything"), "");
}

TEST(UUCoder, Files) {
  CUUCoder coder;
  // "begin" and "end" left out, as a common encoder wrote it.
  EXPECT_EQ(converted(coder, kDecode,
                      "M5&AE('%U:6-K(&)R;W=N(&9O>\"!J=6UP<R!O=F5R('1H92!L87IY(&1O9RX@\n"
                      ",,#$R,S0U-C<X.0T*\n \n"),
            "The quick brown fox jumps over the lazy dog. 0123456789\r\n");
  std::mt19937 random(3);
  for (const std::size_t size : {1u, 2u, 3u, 44u, 45u, 46u, 4095u, 4096u, 4097u, 100000u}) {
    std::string bytes(size, '\0');
    for (char& byte : bytes) byte = random() % 4 == 0 ? '\0' : static_cast<char>(random());
    for (const char fill : {'`', ' ', 'z'}) {
      ASSERT_EQ(converted(coder, kDecode, encoded(bytes, fill == ' ' ? ' ' : '`', fill)), bytes);
    }
  }
}

}  // namespace
}  // namespace tallowbrook
