#include "platform/kernel/code_page.h"

#include <gtest/gtest.h>

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

// tests/coding/charset_test.cc tries the other families through their users.
TEST(CodePage, RoundTrips) {
  const Case cases[] = {
      {1252, "Gr\xFC\xDF \x80\x81\x8D\x8F\x90\x9D\x9F", u"Grüß €\x81\x8D\x8F\x90\x9D\x178"},
      {CP_ACP, "\xE9", u"é"},
      {CP_THREAD_ACP, "\xE9", u"é"},
      {1255, "\xE9\xC8.", u"י\x5B8."},
      {1258, "Ti\xEA\xECng Vi\xEA\xF2t", u"Tiếng Việt"},
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
      {CP_UTF8, "x\x80\xFFy", u"x\xFFFD\xFFFDy"},
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
  const std::u16string lone = {u'x', 0xD83D, u'y', 0xDE00};
  const Case to_bytes[] = {
      {1252, "x?y?", lone},
      {1252, "?\xFC", u"😀ü"},
      {20127, "?", u"\xFFFD"},
      {1251, "x?y?", lone},
      {1201, std::string("\0x\0?\0\xE9", 6), u"x\xD800é"},
      {50220, "?\x1B$B;3\x1B(B?", u"€山€"},
      {CP_UTF8, "x\xEF\xBF\xBDy\xEF\xBF\xBD", lone},
      // The larger set of the same form has what the named charset lacks.
      {51932, "\xAD\xA1\xC6\xFC", u"①日"},
      {51949, "\x8C\x63", u"똠"},
      {51936, "\xA2\xA1", u"ⅰ"},
      {50220, "\x1B$B-!\x1B(I6\x1B(J\\\x1B$B!A!A\x1B$(D0!+1\x1B(B?", u"①ｶ¥〜～丂é\x1B"},
      {50220, "\x1B$BF|\x1B(B\r\n\x1B$BK\\\x1B(B", u"日\r\n本"},
      {52936, "~~~{VP~}\n~{ND(&~}?", u"~中\n文é镕"},
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
  const Case cases[] = {
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
      {1200, std::string("x\0\0\xD8y\0\xFF", 7), u"x\uFFFDy\uFFFD"},
      {1200, std::string("\xFE\xFF\0a\xD8=\xDE\0", 8), u"a😀"},
      {1200, std::string("\xFF\xFEx\0", 4), u"x"},
      {1201, std::string("\0a\0b", 4), u"ab"},
      {65005, std::string("x\0\0\0\xFF\xFF\xFF\xFFy\0\0\0", 12), u"x\uFFFDy"},
      {50220, "\x1B$B-!\x7F~", u"①\x7F\uFFFD"},
      {50220, "\x1B$B~~F|K\\\x1B(B abc", u"\uE3AB日本 abc"},
      {50220, "\x1B$BF|\nabc \x1B$BF", u"日\nabc \uFFFD"},
      {50220, "\x1B(I6E\x1B(J\\~\x1B(B\\~\016K\017K", u"ｶﾅ¥‾\\~ﾋK"},
      {50222, "\x1B$(D0!\x1B$AVP\x1B$(CGQ\x1B[0m\xE9\x1B(B.", u"丂中한\uFFFD"},
      {52936, "~{VP~}~\n~{ND\n~x~~}~{V~{", u"中文\n~x~}筑\uFFFD"},
  };
  for (const Case& c : cases) {
    const std::u16string text = widen(c.page, c.bytes);
    EXPECT_TRUE(text.starts_with(c.wide))
        << c.page << ' ' << narrow(CP_UTF8, text) << " not " << narrow(CP_UTF8, c.wide);
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

std::u16string by_iconv(const IconvPage& page, std::string_view bytes) {
  std::u16string text(bytes.size() + 1, 0);
  WideOutput out(text.data(), text.size());
  iconv_to_wide(page, bytes, out);
  text.resize(out.count());
  return text;
}
std::string by_iconv(const IconvPage& page, std::u16string_view text) {
  std::string bytes(text.size() * 4 + 4, 0);
  ByteOutput out(bytes.data(), bytes.size());
  iconv_from_wide(page, text, '?', out);
  bytes.resize(out.count());
  return bytes;
}

// UTF-8, converted here, agrees with the C library's for random text of well-formed characters.
TEST(CodePage, Utf8AgreesWithIconv) {
  std::mt19937 random(4);
  for (int round = 0; round < 300; ++round) {
    std::u16string wide;
    const auto length = random() % 70;
    while (wide.size() < length) {
      const char32_t limits[] = {0x7F, 0x7F, 0x7F, 0xFF, 0x7FF, 0xFFFF, 0x10FFFF};
      const auto point = static_cast<char32_t>(random() % (limits[random() % 7] + 1));
      if (point >= 0xD800 && point < 0xE000) continue;
      char16_t units[2];
      WideOutput out(units, 2);
      put_utf16(point, out);
      wide.append(units, out.count());
    }
    const std::string utf8 = narrow(CP_UTF8, wide);
    ASSERT_EQ(utf8, by_iconv({CP_UTF8, "UTF-8"}, wide));
    ASSERT_EQ(widen(CP_UTF8, utf8), wide);
  }
}

// Tables and the letters with marks agree with the C library's converters.
TEST(CodePage, TablesAgreeWithIconv) {
  std::mt19937 random(5);
  for (const UINT number : {37U, 437U, 874U, 1251U, 1252U, 1255U, 1258U, 20866U, 28605U, 10000U}) {
    const IconvPage page = number == 1252 ? IconvPage{1252, "CP1252"} : *iconv_page(number);
    for (int round = 0; round < 200; ++round) {
      std::string bytes(random() % 60, '\0');
      for (char& byte : bytes) {
        byte = static_cast<char>(random() % (round % 2 == 0 ? 256 : 128) + 64);
        // The library holds a letter back for its marks, behind a byte that means nothing; what is
        // undefined there in 1252 is a control here.
        const char16_t unit = widen(number, {&byte, 1})[0];
        if (unit == kReplacement || (number == 1252 && unit >= 0x80 && unit < 0xA0)) byte = 'x';
      }
      const std::u16string wide = by_iconv(page, bytes);
      ASSERT_EQ(widen(number, bytes), wide) << number;
      ASSERT_EQ(narrow(number, wide), by_iconv(page, wide)) << number;
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
