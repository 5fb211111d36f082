// Header texts: read over a table, written and read back whatever they hold, in linear time.
#include "coding/encoded_words.h"

#include <gtest/gtest.h>

#include <chrono>
#include <iterator>
#include <random>
#include <string>

#include "coding/usual_word.h"
#include "core/text.h"
#include "platform/kernel/code_page.h"

namespace tallowbrook {
namespace {

struct AnsiPage {
  explicit AnsiPage(UINT page) { platform::set_ansi_code_page(page); }
  ~AnsiPage() { platform::set_ansi_code_page(0); }
};

std::string encoded(std::u16string_view text, const char* charset) {
  std::string result = "old";
  EXPECT_EQ(EncodeHeaderText(text, charset, result), 1);
  return result;
}

TEST(EncodedWords, Encode) {
  EXPECT_EQ(encoded(u"Gr\u00FC\u00DFe", "iso-8859-1"), "=?iso-8859-1?Q?Gr=FC=DFe?=");
  EXPECT_EQ(encoded(u"Gr\u00FC\u00DFe", "UTF8"), "=?UTF-8?B?R3LDvMOfZQ==?=");
  EXPECT_EQ(encoded(u"", "iso-8859-1"), "");
  EXPECT_EQ(encoded(u"", nullptr), "");
  EXPECT_EQ(encoded(u"", "utf-8"), "=?UTF-8?B?\?=");
  EXPECT_EQ(encoded(u"\u20AC 5", nullptr), "=?iso-8859-1?Q?=80_5?=");
  // What the ANSI code page lacks, a surrogate pair among it.
  EXPECT_EQ(encoded(u"\u0416", "koi8-r"), "=?UTF-8?B?0JY=?=");
  EXPECT_EQ(encoded(u"\U0001F600", "us-ascii"), "=?UTF-8?B?8J+YgA==?=");
  const AnsiPage utf8(CP_UTF8);
  EXPECT_EQ(encoded(u"a", "iso-8859-1"), "=?UTF-8?B?YQ==?=");
  EXPECT_EQ(encoded(u"", "iso-8859-1"), "");
}

TEST(EncodedWords, Decode) {
  struct Case {
    std::string input;
    std::u16string output;
  };
  const Case cases[] = {
      {"", u""},
      {"plain \xE9", u"plain \u00E9"},
      {"=?iso-8859-1?Q?a_b?=", u"a b"},
      {"=?utf-8?B?w6k=?=", u"\u00E9"},
      {"a =?UTF-8?q?=C3=A9?= b", u"a \u00E9 b"},
      {"=??Q?=E9?=", u"\u00E9"},
      {"=?utf-8*en?Q?=C3?= =?utf-8?Q?=A9?=", u"\u00E9"},
      {"=?iso-8859-1?Q?=41?=", u"A"},
      {"=?iso-8859-1?Q?=80?=", u"\u20AC"},
      // Between two words white space goes, padding or not, and nothing else does.
      {"=?utf-8?B?w6k=?==?utf-8?B?w6k=?=", u"\u00E9\u00E9"},
      {"=?utf-8?Q?a?=\r\n\t =?koi8-r?Q?=D6?= x =?utf-8?Q?b?=", u"a\u0436 x b"},
      {"=?utf-8?Q?=C3?=\n =?UTF-8?B?qQ==?= =?utf-8?Q?=C3?= x", u"\u00E9\uFFFD x"},
      {"\"=?utf-8?Q?a?= =?utf-8?Q?b?=\" =?utf-8?Q?c?= <d@e>", u"ab c <d@e>"},
      // Quoted strings, one in the other as well.
      {R"("Doe, John" <j@d>)", u"Doe, John <j@d>"},
      {R"("a\\b\c" d\e)", uR"(a\bc d\e)"},
      {R"("a \"b\" c")", u"a b c"},
      {R"("a)", u"a"},
      {R"(a"b\)", u"ab"},
      // What a word holds is text.
      {"=?utf-8?Q?=22a=22_=3D=3Futf-8=3FQ=3Fx=3F=3D?=", u"\"a\" =?utf-8?Q?x?="},
      {"\"\\\"=?utf-8?Q?=22=5Ca=22?=\\\"\"", u"\"\\a\""},
      {"=?utf-8?=?koi8-r?Q?=D6?=?Q?b?=", u"=?utf-8?\u0436?Q?b?="},
      // Words that are none.
      {"=?utf-8?B?w6k=", u"=?utf-8?B?w6k="},
      {"=?utf-8?X?w6k=?= \"q\"", u"=?utf-8?X?w6k=?= \"q\""},
      {"=?a \"b\" =?utf-8?Q?=C3=A9?= =?", u"=?a \"b\" \u00E9 =?"},
      {"=?q?x?=", u"=?q?x?="},
      {"=? = ? ?= =", u"=? = ? ?= ="},
      {"\"=?utf-8\"?Q?=C3=A9?=", u"\u00E9"},
      {"=?nobody-knows?Q?=E9?=", u"\u00E9"},
      {"=?iso-2022-jp?B?GyRCRnxLXBsoQg==?= =?iso-2022-jp?B?GyRCOGwbKEI=?=", u"\u65E5\u672C\u8A9E"},
  };
  for (const Case& c : cases) {
    std::string ansi;
    std::u16string wide;
    DecodeHeaderText(c.input, ansi, &wide);
    EXPECT_EQ(wide, c.output) << c.input;
    EXPECT_EQ(ansi, to_ansi(c.output)) << c.input;
  }
}

TEST(EncodedWords, QuotesCanBeKept) {
  EXPECT_EQ(decode_words_keeping_quotes(R"("a\" "=?utf-8?Q?=C3=A9=22?="")"),
            u"\"a\\\" \"\u00E9\"\"\"");
  EXPECT_EQ(remove_quotes_and_words("\"=?us-ascii?Q?a_b?=\""), "a b");
  EXPECT_EQ(remove_quotes_and_words(R"("a\"b")"), "a\"b");
}

TEST(EncodedWords, OneWordWithTheTextAroundIt) {
  DecodedWord word;
  EXPECT_EQ(DecodeEncodedWord("\xE9 =?utf-8?Q?=C3=A9?= b", word), 1);
  EXPECT_TRUE(word.is_wide);
  EXPECT_EQ(word.wide, u"\u00E9 \u00E9 b");
  EXPECT_EQ(DecodeEncodedWord("=?utf-8?Q?=C3?==?utf-8?Q?=A9?=", word), 1);
  EXPECT_EQ(word.wide, u"\u00E9");
  EXPECT_EQ(DecodeEncodedWord("a=??B?6Q==?=b", word), 1);
  EXPECT_FALSE(word.is_wide);
  EXPECT_EQ(word.bytes,
            "a\xE9"
            "b");
  for (const char* text : {"", "=??q?\?=", "=?utf-8?Q?=", "utf-8?Q?abc?=", "=?utf-8?X?abc?="}) {
    EXPECT_EQ(DecodeEncodedWord(text, word), 0) << text;
  }
}

TEST(EncodedWords, UsualOnesAreReadAsAllAre) {
  static constexpr const char* kPieces[] = {
      "a",   "_",    "=41",  "=C3=A9", "=e9",      "=E2=82=AC", "=F0=9F",    "=98",
      "=80", "QUJD", "w6k=", "QQ==",   "w6nDqcOp", "5oqV",      "=EF=BB=BF", "=00",
      "=4",  "?",    " ",    "\r\n",   "\xe9",     "AA"};
  std::mt19937 random(23);
  int read = 0;
  for (int round = 0; round < 20000; ++round) {
    std::string text = random() % 2 == 0 ? "=?utf-8?" : "=?ISO-8859-1?";
    text += random() % 16 == 0 ? "x?" : random() % 2 == 0 ? "Q?" : "b?";
    const std::size_t among = round % 2 == 0 ? std::size(kPieces) : 14;
    for (std::size_t i = random() % 5; i > 0; --i) text += kPieces[random() % among];
    if (random() % 16 != 0) text += "?=";
    UsualWord word;
    if (!word.read(text)) continue;
    ++read;
    DecodedWord plainly;
    ASSERT_EQ(DecodeEncodedWord(text, plainly), 1) << text;
    EXPECT_EQ(word.text(), plainly.wide) << text;
  }
  EXPECT_GT(read, 1500);
}

TEST(EncodedWords, WhatIsPutReadsBack) {
  std::mt19937 random(5);
  const std::u16string common = u"\"\\=?_ \r\n\tqQbB?=\u00E9\u20AC\u0081\u0416\u65E5";
  for (const UINT page : {1252u, 1251u, 932u, 65001u}) {
    const AnsiPage ansi(page);
    for (int round = 0; round < 300; ++round) {
      std::u16string text(random() % 200, u'\0');
      const std::size_t kinds = round % 3 == 0 ? 14 : common.size();
      for (char16_t& unit : text) unit = common[random() % kinds];
      if (round % 5 == 0) text += u"\U0001F600";
      const char* const charsets[] = {nullptr, "iso-8859-1", "Utf-8"};
      ASSERT_EQ(decode_words(encoded(text, charsets[round % 3])), text) << page;
    }
  }
}

// Each takes milliseconds; were one quadratic, it would take minutes.
TEST(EncodedWords, HostileTextsTakeLinearTime) {
  const auto repeated = [](const std::string& piece, std::size_t size) {
    std::string text;
    while (text.size() < size) text += piece;
    return text;
  };
  constexpr std::size_t kSize = 1 << 20;
  EXPECT_EQ(decode_words(repeated("=?utf-8?Q?a?=\r\n ", 1600000)),
            std::u16string(100000, u'a') + u"\r\n ");
  for (const char* piece : {"=?", "=?a?Q?", "\"=?", "\\\"", "\"\\\"=?x?B?",
                            "=?\"?q?=?=", "?=", "\\", "=?x?Q?=?", "=?utf-8?B?=?koi8-r?Q?\"=?="}) {
    const auto start = std::chrono::steady_clock::now();
    EXPECT_LE(decode_words("\"" + repeated(piece, kSize)).size(), kSize + 16) << piece;
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5)) << piece;
  }
}

}  // namespace
}  // namespace tallowbrook
