#include "platform/kernel/code_page.h"

#include <gtest/gtest.h>
#include <iconv.h>

#include <cstdlib>
#include <random>

#include "platform/kernel/handles.h"
#include "platform/kernel/iconv_page.h"
#include "platform/kernel/unicode.h"

namespace tallowbrook::platform {
namespace {

struct Case {
  UINT page;
  std::string bytes;
  std::u16string wide;
};

TEST(CodePage, RoundTrips) {
  const Case cases[] = {
      {1252,
       "Gr\xFC\xDF"
       "e \x80\x81\x8D\x8F\x90\x9D\x9F",
       u"Grüße €\x81\x8D\x8F\x90\x9D\x178"},
      {CP_ACP, "\xE9", u"é"},
      {CP_THREAD_ACP, "\xE9", u"é"},
      {28591, "\x80\x81\xFF", u"€\x81ÿ"},
      {1255, "\xE9\xC8.", u"י\x5B8."},
      {1258, "Ti\xEA\xECng Vi\xEA\xF2t", u"Tiếng Việt"},
      {28606, "\xAA\xFE", u"Șț"},
      {CP_UTF8, "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80z", u"aé€😀z"},
      {437, "\x81\xE1", u"üß"},
      {874, "\xA1", u"ก"},
      {932, "\x93\xFA\x96{\\~", u"日本\\~"},
      {936, "\xD6\xD0", u"中"},
      {949, "\xC7\xD1", u"한"},
      {950, "\xA4\xA4", u"中"},
      {1251, "\xCF\xF0", u"Пр"},
      {20866, "\xF0", u"П"},
      {28605, "\xA4", u"€"},
      {50220, "\x1B$B;3\x1B(B.", u"山."},
      {51949, "\xC7\xD1", u"한"},
      {54936, "\x94\x39\xFC\x36", u"😀"},
      {65000, "+AOk-", u"é"},
      {1200, std::string("a\0", 2), u"a"},
      {12001, std::string("\0\x01\xF6\0", 4), u"😀"},
      {37, "\xC1", u"A"},
      {20127, std::string(40, 'x') + std::string("\0y", 2),
       std::u16string(40, u'x') + std::u16string(u"\0y", 2)},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(widen(c.page, c.bytes), c.wide) << c.page;
    EXPECT_EQ(narrow(c.page, c.wide), c.bytes) << c.page;
  }
}

TEST(CodePage, ReplacesWhatMeansNothing) {
  const Case to_wide[] = {
      {CP_UTF8, "\xC3", u"\xFFFD"},
      {CP_UTF8,
       "a\x80\xFF"
       "b",
       u"a\xFFFD\xFFFD"
       u"b"},
      {CP_UTF8, "\xC0\xAF", u"\xFFFD\xFFFD"},
      {CP_UTF8, "\xE2\x82z", u"\xFFFDz"},
      {CP_UTF8, "\xED\xA0\x80", u"\xFFFD\xFFFD\xFFFD"},
      {CP_UTF8, "\xF4\x90\x80\x80", u"\xFFFD\xFFFD\xFFFD\xFFFD"},
      {20127, "a\xE9", u"a\xFFFD"},
      {932, "\x93", u"\xFFFD"},
      {949, "a\xFF\xFFz", u"a\xFFFD\xFFFDz"},
      {1201, std::string("\xD8\0", 2), u"\xFFFD"},
  };
  for (const Case& c : to_wide) {
    EXPECT_EQ(widen(c.page, c.bytes), c.wide) << c.page;
    std::u16string room(64, 0);
    EXPECT_EQ(MultiByteToWideChar(c.page, MB_ERR_INVALID_CHARS, c.bytes.data(),
                                  static_cast<int>(c.bytes.size()), room.data(), 64),
              0);
    EXPECT_EQ(GetLastError(), ERROR_NO_UNICODE_TRANSLATION) << c.page;
  }
  const std::u16string lone = {u'a', 0xD83D, u'b', 0xDE00};
  const Case to_bytes[] = {
      {1252, "a?b?", lone},
      {1252, "?\xFC", u"😀ü"},
      {20127, "?", u"\xFFFD"},
      {1251, "a?b?", lone},
      {50220, "?\x1B$B;3\x1B(B?", u"€山€"},
      {CP_UTF8,
       "a\xEF\xBF\xBD"
       "b\xEF\xBF\xBD",
       lone},
  };
  for (const Case& c : to_bytes) EXPECT_EQ(narrow(c.page, c.wide), c.bytes) << c.page;
}

TEST(CodePage, CShapedCallsMeasureConvertAndRefuse) {
  OLECHAR wide[8];
  char bytes[8];
  BOOL used = FALSE;
  EXPECT_EQ(MultiByteToWideChar(1252, 0, "abc", -1, nullptr, 0), 4);
  EXPECT_EQ(MultiByteToWideChar(1252, 0, "abc", -1, wide, 4), 4);
  EXPECT_EQ(wide[3], 0);
  EXPECT_EQ(MultiByteToWideChar(1252, 0, "abc", 3, wide, 2), 0);
  EXPECT_EQ(GetLastError(), ERROR_INSUFFICIENT_BUFFER);
  EXPECT_EQ(WideCharToMultiByte(1252, 0, u"a€☃", 3, bytes, 8, "!", &used), 3);
  EXPECT_EQ(std::string(bytes, 3), "a\x80!");
  EXPECT_TRUE(used);
  EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, u"a€", 2, nullptr, 0, nullptr, &used), 4);
  EXPECT_FALSE(used);
  for (const UINT page : {UINT{4711}, UINT{65002}}) {
    EXPECT_FALSE(IsValidCodePage(page));
    EXPECT_EQ(MultiByteToWideChar(page, 0, "a", 1, wide, 8), 0);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(WideCharToMultiByte(page, 0, u"a", 1, bytes, 8, nullptr, nullptr), 0);
  }
  EXPECT_EQ(MultiByteToWideChar(1252, 0, "a", 0, wide, 8), 0);
  EXPECT_EQ(MultiByteToWideChar(1252, 0, nullptr, 1, wide, 8), 0);
}

// What follows a sequence that means nothing is read as it stands, and what mail sends beyond the
// charset that it names is read as the larger one.
TEST(CodePage, ReadsOnBehindWhatMeansNothing) {
  const struct {
    UINT page;
    std::string bytes;
    std::u16string text;
  } kRows[] = {
      {932, "\xA0\x93\xFA\xFC\xFC\x96{", u"\uFFFD日\uFFFD本"},
      {936, "\xFF\xD6\xD0\xA6\xF6\xCE\xC4", u"\uFFFD中\uFFFD文"},
      {936, "\xD6\"\xD6\xD0", u"\uFFFD\"中"},
      {949, "\xFF\xC7\xD1", u"\uFFFD한"},
      {950, "\xFF\xA4\xA4\xF9\xFE\xA4\xE5", u"\uFFFD中▓文"},
      {950, "\x87\x40\xA4\xA4", u"\u43F0中"},
      {51936, "\xFE\xFE\xD6\xD0 \xA2\xA1", u"\uFFFD中 ⅰ"},
      {51949, "\x8C\x63\xB9\xE6", u"똠방"},
      {54936, "\x82\x35\x90\x37x\x80\xD6\xD0", u"\uFFFDx\uFFFD中"},
      {51932, "\xAD\xA1\xC6\xFC\xFE\xFE\xCB\xDC", u"①日\uE3AB本"},
      {51932, "\x8F\xB0\xA1\x8F\xA9\xD5\xC6\xFC", u"丂\uFFFD日"},
      {1200,
       std::string("a\0\0\xD8"
                   "b\0\xFF",
                   7),
       u"a\uFFFDb\uFFFD"},
      {1200, std::string("\xFE\xFF\0a\xD8=\xDE\0", 8), u"a😀"},
      {1200,
       std::string("\xFF\xFE"
                   "a\0",
                   4),
       u"a"},
      {1201, std::string("\0a\0b", 4), u"ab"},
      {65005,
       std::string("a\0\0\0\xFF\xFF\xFF\xFF"
                   "b\0\0\0",
                   12),
       u"a\uFFFDb"},
      {50220, "\x1B$B-!\x7F~", u"①\x7F\uFFFD"},
      {50220, "\x1B$B~~F|K\\\x1B(B abc", u"\uE3AB日本 abc"},
      {50220, "\x1B$BF|\nabc \x1B$BF", u"日\nabc \uFFFD"},
      {50220,
       "\x1B(I6E\x1B(J\\~\x1B(B\\~\x0E"
       "6\x0F"
       "6",
       u"ｶﾅ¥‾\\~ｶ6"},
      {50222, "\x1B$(D0!\x1B$AVP\x1B$(CGQ\x1B[0m\xE9\x1B(B.", u"丂中한\uFFFD"},
      {52936, "~{VP~}~\n~{ND\n~x~~}~{V~{", u"中文\n~x~}筑\uFFFD"},
  };
  for (const auto& row : kRows) {
    const std::u16string text = widen(row.page, row.bytes);
    EXPECT_TRUE(text.starts_with(row.text))
        << row.page << ' ' << narrow(CP_UTF8, text) << " not " << narrow(CP_UTF8, row.text);
  }
}

TEST(CodePage, WritesWhatTheNamedCharsetLacksAsTheLargerOneHasIt) {
  const struct {
    UINT page;
    std::u16string text;
    std::string bytes;
  } kRows[] = {
      {51932, u"①日", "\xAD\xA1\xC6\xFC"},
      {51949, u"똠", "\x8C\x63"},
      {51936, u"ⅰ", "\xA2\xA1"},
      {50220, u"①ｶ¥〜～丂é\x1B", "\x1B$B-!\x1B(I6\x1B(J\\\x1B$B!A!A\x1B$(D0!+1\x1B(B?"},
      {50220, u"日\r\n本", "\x1B$BF|\x1B(B\r\n\x1B$BK\\\x1B(B"},
      {52936, u"~中\n文é镕", "~~~{VP~}\n~{ND(&~}?"},
      {1201, u"a\xD800é", std::string("\0a\0?\0\xE9", 6)},
  };
  for (const auto& row : kRows) {
    EXPECT_EQ(narrow(row.page, row.text), row.bytes) << row.page;
  }
}

TEST(CodePage, EveryListedPageHasAConverter) {
  int pages = 0;
  for (UINT page = 4; page < 70000; ++page) {
    if (IsValidCodePage(page) == FALSE) continue;
    ++pages;
    EXPECT_NE(MultiByteToWideChar(page, 0, "\0\0\0A", 4, nullptr, 0), 0) << page;
    EXPECT_EQ(widen(page, narrow(page, u"AZ 09.,")), u"AZ 09.,") << page;
  }
  EXPECT_GT(pages, 90);
}

// The conversions made here agree with the C library's, for random text of well-formed characters.
TEST(CodePage, FastConversionsAgreeWithIconv) {
  std::mt19937 random(4);
  const auto through_iconv = [](const char* to, const char* from, std::string text) {
    const iconv_t converter = iconv_open(to, from);
    std::string out(text.size() * 4 + 4, '\0');
    char* in = text.data();
    char* at = out.data();
    std::size_t left = text.size();
    std::size_t room = out.size();
    iconv(converter, &in, &left, &at, &room);
    iconv_close(converter);
    out.resize(out.size() - room);
    return out;
  };
  for (int round = 0; round < 300; ++round) {
    std::u16string wide;
    const auto length = random() % 70;
    while (wide.size() < length) {
      const char32_t limits[] = {0x7F, 0x7F, 0x7F, 0xFF, 0x7FF, 0xFFFF, 0x10FFFF};
      const auto point = static_cast<char32_t>(random() % (limits[random() % 7] + 1));
      if (point >= 0xD800 && point < 0xE000) continue;
      WideOutput measure(nullptr, 0);
      put_utf16(point, measure);
      wide.resize(wide.size() + measure.count());
      WideOutput out(wide.data() + wide.size() - measure.count(), measure.count());
      put_utf16(point, out);
    }
    const std::string raw(reinterpret_cast<const char*>(wide.data()), wide.size() * 2);
    const std::string utf8 = narrow(CP_UTF8, wide);
    ASSERT_EQ(utf8, through_iconv("UTF-8", "UTF-16LE", raw));
    ASSERT_EQ(widen(CP_UTF8, utf8), wide);
  }
  for (int byte = 0; byte < 256; ++byte) {
    const std::string text(1, static_cast<char>(byte));
    const std::string theirs = through_iconv("UTF-16LE", "CP1252", text);
    if (theirs.empty()) continue;  // undefined there, a control here
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(widen(1252, text).data()), 2), theirs);
  }
}

// Tables and the letters with marks agree with the C library's converters.
TEST(CodePage, TablesAgreeWithIconv) {
  std::mt19937 random(5);
  for (const UINT page : {37U, 437U, 874U, 1251U, 1255U, 1258U, 20866U, 28605U, 10000U}) {
    for (int round = 0; round < 200; ++round) {
      std::string bytes(random() % 60, '\0');
      for (char& byte : bytes)
        byte = static_cast<char>(random() % (round % 2 == 0 ? 256 : 128) + 64);
      // The library holds a letter back for its marks, behind a byte that means nothing.
      for (char& byte : bytes) {
        if (widen(page, {&byte, 1}) == std::u16string{kReplacement}) byte = 'x';
      }
      std::u16string theirs(200, 0);
      WideOutput wide(theirs.data(), theirs.size());
      iconv_to_wide(*iconv_page(page), bytes, wide);
      theirs.resize(wide.count());
      ASSERT_EQ(widen(page, bytes), theirs) << page;
      std::string back(400, 0);
      ByteOutput narrowed(back.data(), back.size());
      iconv_from_wide(*iconv_page(page), theirs, '?', narrowed);
      back.resize(narrowed.count());
      ASSERT_EQ(narrow(page, theirs), back) << page;
    }
  }
}

TEST(CodePage, AnsiPageComesFromTheEnvironment) {
  const std::pair<const char*, UINT> settings[] = {{"65001", 65001}, {"1251", 1251},  {"932", 932},
                                                   {"1200", 1252},   {"65000", 1252}, {"37", 1252},
                                                   {"50220", 1252},  {"latin", 1252}, {"", 1252}};
  for (const auto& [setting, page] : settings) {
    setenv("TALLOWBROOK_CODE_PAGE", setting, 1);
    ASSERT_TRUE(set_ansi_code_page(0));
    EXPECT_EQ(GetACP(), page) << setting;
  }
  unsetenv("TALLOWBROOK_CODE_PAGE");
  EXPECT_FALSE(set_ansi_code_page(1201));
  set_ansi_code_page(65001);
  EXPECT_EQ(widen(CP_ACP, "\xC3\xA9"), u"é");
  EXPECT_EQ(path_from_ansi("\xC3\xFF"), "\xC3\xFF");
  set_ansi_code_page(0);
  EXPECT_EQ(GetACP(), 1252U);
  EXPECT_EQ(path_from_ansi("\xE9"), "\xC3\xA9");
  EXPECT_EQ(ansi_from_path("\xC3\xA9"), "\xE9");
}

TEST(CodePage, PathsSurviveAsWideText) {
  for (const std::string path :
       {"plain", "\xC3\xA9\xF0\x9F\x98\x80", "no\xE9utf8\xFF", "\xED\xA0\xBD", "cut\xE2\x82"}) {
    EXPECT_EQ(path_from_wide(wide_from_path(path)), path);
  }
  EXPECT_EQ(path_from_wide(std::u16string{0xD83D}), "\xED\xA0\xBD");
}

}  // namespace
}  // namespace tallowbrook::platform
