// Charset coders: texts of every family of charsets both ways, names, the quirks of CUTF8Coder
// against a plain reference, and bytes that mean nothing.
#include "coding/charset.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "coding/utf8_coder.h"
#include "coding/x_coder.h"
#include "platform/kernel/code_page.h"
#include "streams/memory_stream.h"
#include "tests/support/charset_texts.h"
#include "tests/support/conversion.h"

namespace tallowbrook {
namespace {

std::string raw(std::u16string_view wide) {
  return {reinterpret_cast<const char*>(wide.data()), wide.size() * sizeof(char16_t)};
}

std::string decoded(CMIMECode& coder, const std::string& text) {
  return test::converted(coder, test::kDecode, text, {text.size() < 100 ? 1u : 4095u});
}
std::string encoded(CMIMECode& coder, const std::string& text) {
  return test::converted(coder, test::kEncode, text, {text.size() < 100 ? 1u : 4095u});
}

using test::kCharsetTexts;

TEST(CharsetCoder, ReadsAndWritesTexts) {
  for (const test::CharsetText& c : kCharsetTexts) {
    const auto coder = make_charset_coder(c.name, 0);
    ASSERT_TRUE(coder) << c.name;
    EXPECT_TRUE(coder->ProducesWideText());
    EXPECT_EQ(decoded(*coder, c.bytes), raw(c.text)) << c.name;
    EXPECT_EQ(encoded(*coder, raw(c.text)), c.bytes) << c.name;
    // A long text is converted in pieces.
    std::string bytes;
    std::u16string text;
    for (int times = 0; times < 8000; ++times) {
      bytes += c.bytes;
      text += c.text;
    }
    const bool states =
        c.bytes[0] == '\x1B' || c.bytes[0] == '~' || c.bytes.find('+') != c.bytes.npos;
    if (!states) {
      EXPECT_TRUE(encoded(*coder, raw(text)) == bytes) << c.name;
    }
    EXPECT_TRUE(decoded(*coder, encoded(*coder, raw(text))) == raw(text)) << c.name;
  }
}

TEST(CharsetCoder, KnowsNames) {
  const struct {
    UINT page;
    std::vector<const char*> names;
  } kPages[] = {
      {65001, {"UTF-8", "utf8"}},
      {932, {"sjis", "x-sjis", "Windows-31J", "shift-jis"}},
      {28591, {"latin1", "ISO8859-1", "iso_8859-1", "l1"}},
      {28605, {"ISO-8859-15", "latin-9"}},
      {20127, {"ascii", "ANSI_X3.4-1968"}},
      {936, {"gbk", "cp936", "gb_2312-80"}},
      {54936, {"gb18030"}},
      {51936, {"EUC-CN"}},
      {950, {"big5-hkscs"}},
      {949, {"ks_c_5601-1987"}},
      {51949, {"EUC-KR"}},
      {1251, {"cp1251", "win-1251"}},
      {1250, {"x-cp1250"}},
      {20866, {"KOI8-R"}},
      {21866, {"koi8-ru"}},
      {50220, {"iso-2022-jp"}},
      {50225, {"iso-2022-kr"}},
      {51932, {"euc-jp"}},
      {38598, {"iso-8859-8-i"}},
      {874, {"tis-620"}},
      {10000, {"macintosh"}},
      {10029, {"x-mac-ce"}},
      {57002, {"x-iscii-de"}},
      {29001, {"x-Europa"}},
      {0, {"x-nobody", "", "\xC3\xA9"}},
      {0, {"none of these names is longer than sixty-four characters, so this one is unknown"}},
  };
  for (const auto& [page, names] : kPages) {
    for (const char* name : names) EXPECT_EQ(charset_code_page(name), page) << name;
  }
}

TEST(CharsetCoder, TableTakesTheFirstOfTwins) {
  const std::pair<const char*, UINT> names[] = {
      {"IBM037", 37},         {"ibm037", 37},      {"iso-2022-jp", 50220},
      {"CSISO2022JP", 50221}, {"euc-jp", 20932},   {"EUC-JP", 20932},
      {"utf-8", 65001},       {"utf-32be", 65006}, {"latin1", 0},
      {"shift_jis", 0},       {"utf-16", 1200},    {"x-EBCDIC-KoreanExtended", 20833}};
  for (const auto& [name, page] : names) EXPECT_EQ(charset_table_code_page(name), page) << name;
}

TEST(CharsetCoder, IsChosenByName) {
  EXPECT_FALSE(make_charset_coder(nullptr, 1));
  EXPECT_FALSE(make_charset_coder("", 1));
  EXPECT_NE(dynamic_cast<CXCoder*>(make_charset_coder("UTF-8", 1).get()), nullptr);
  const auto wide = make_charset_coder("UTF-FSS", 1);
  EXPECT_NE(dynamic_cast<CUTF8Coder*>(wide.get()), nullptr);
  EXPECT_TRUE(wide->ProducesWideText());
  EXPECT_FALSE(make_charset_coder("utf-2", 0)->ProducesWideText());
  // What nobody knows, and what is known but has no converter, is in the ANSI code page.
  for (const char* name :
       {"x-nobody", "x-Europa", "DOS-720", "x-mac-arabic", "x-mac-hebrew", "x-mac-greek",
        "x-mac-romanian", "x-mac-thai", "x-mac-turkish", "x-mac-croatian", "x-cp20001",
        "x-Chinese-Eten", "x-Chinese-CNS", "x-EBCDIC-KoreanExtended", "IBM-Thai", "IBM00924",
        "x-iscii-de", "x-iscii-pa"}) {
    const auto coder = make_charset_coder(name, 0);
    EXPECT_EQ(decoded(*coder, "\x80\xE9"), raw(u"€é")) << name;
    EXPECT_EQ(encoded(*coder, raw(u"€é日")), "\x80\xE9?") << name;
  }
}

TEST(CharsetCoder, TakesWhatIsLeftAndWholeUnits) {
  CXCoder coder("utf-8");
  EXPECT_EQ(encoded(coder, raw(u"é") + "x"), "\xC3\xA9");
  EXPECT_EQ(decoded(coder, ""), "");
  CISSHelper input;
  input.write("x\xC3\xA9");
  input.rewind();
  input.consume(1);
  CISSHelper output;
  coder.Decode(input, output);
  EXPECT_EQ(output.bytes(), raw(u"é"));
}

// --- CUTF8Coder ----------------------------------------------------------------------------------

std::string units(std::initializer_list<std::uint32_t> values) {
  return {reinterpret_cast<const char*>(values.begin()), values.size() * sizeof(std::uint32_t)};
}

TEST(Utf8Coder, EncodesEachUnitByItself) {
  CUTF8Coder ansi;
  CUTF8Coder utf16(CUTF8Coder::Mode::kUtf16);
  CUTF8Coder utf32(CUTF8Coder::Mode::kUtf32);
  EXPECT_EQ(encoded(ansi, "a\xE9\x80"), "a\xC3\xA9\xE2\x82\xAC");
  EXPECT_EQ(encoded(utf16, raw(u"aé€😀") + "x"), "a\xC3\xA9\xE2\x82\xAC\xED\xA0\xBD\xED\xB8\x80");
  EXPECT_EQ(encoded(utf32, units({0x7F, 0x80, 0x7FF, 0x800, 0xFFFF, 0x10000})),
            "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF\xF0\x90\x80\x80");
  EXPECT_EQ(encoded(utf32, units({0x1FFFFF, 0x200000, 0x3FFFFFF, 0x4000000, 0x7FFFFFFF}) + "xyz"),
            "\xF7\xBF\xBF\xBF\xF8\x88\x80\x80\x80\xFB\xBF\xBF\xBF\xBF"
            "\xFC\x84\x80\x80\x80\x80\xFD\xBF\xBF\xBF\xBF\xBF");
}

TEST(Utf8Coder, DecodesByTheLeadByteAlone) {
  CUTF8Coder ansi;
  CUTF8Coder utf16(CUTF8Coder::Mode::kUtf16);
  CUTF8Coder utf32(CUTF8Coder::Mode::kUtf32);
  EXPECT_EQ(decoded(ansi, "a\xC3\xA9\xE2\x82\xAC\xE6\x97\xA5z"), std::string("a\xE9\x80\0z", 5));
  EXPECT_EQ(decoded(utf16, "a\xC3\xA9\xE2\x82\xAC\xED\xA0\xBD\xED\xB8\x80"), raw(u"aé€😀"));
  EXPECT_EQ(decoded(utf16, "\xF0\x9F\x98\x80"), raw(u"\xF600"));
  EXPECT_EQ(decoded(utf32, "\xF0\x9F\x98\x80\xFD\xBF\xBF\xBF\xBF\xBF"),
            units({0x1F600, 0x7FFFFFFF}));
  for (const char* nothing : {"\x80", "\xC3", "\xBF\xFE\xFF", "\xE2\x82", "\xFC\x80\x80\x80\x80"}) {
    EXPECT_EQ(decoded(utf16, nothing), "");
  }
  EXPECT_EQ(decoded(utf16,
                    "\xC3"
                    "A\xE2"
                    "AB\x80z"),
            raw(u"\xC1\x2042z"));
}

// --- bytes that mean nothing ---------------------------------------------------------------------

TEST(CharsetCoder, SurvivesAnyBytes) {
  std::mt19937 random(11);
  for (const test::CharsetText& c : kCharsetTexts) {
    CXCoder coder(c.name);
    for (int round = 0; round < 20; ++round) {
      std::string bytes(random() % 300, '\0');
      const unsigned lowest = round % 2 != 0 ? 0 : 0xA0;
      for (char& byte : bytes) byte = static_cast<char>(lowest + random() % (0x100 - lowest));
      const std::string wide = decoded(coder, bytes + c.bytes);
      EXPECT_EQ(wide.size() % 2, 0U);
      EXPECT_FALSE(encoded(coder, wide + "\xD8").empty() && !wide.empty()) << c.name;
      // What follows is read on, unless bytes switched to another set of characters.
      const bool keeps_no_state = c.name != std::string("utf-7") && c.bytes[0] != '\x1B';
      if (keeps_no_state && bytes.find('\x1B') == bytes.npos) {
        bytes += std::string(8, '\0') + "\r\n\r\nend.\r\n\r\n";
        const std::string tail = decoded(coder, bytes);
        EXPECT_NE(c.name == std::string("utf-16") ? 0 : tail.find(raw(u"end.")), tail.npos)
            << c.name;
      }
    }
  }
}

TEST(CharsetCoder, PiecesAgreeWithTheWhole) {
  std::mt19937 random(12);
  const char pool[] = "ab\xC3\xA9\xF0\x9F\x98\x80\xE2\x82\xEC\xC8";
  for (const UINT page : {65001U, 1252U, 28592U, 1255U, 1258U, 37U}) {
    for (const unsigned ascii : {0U, 2U, 1000U}) {
      std::string bytes(100000, '\0');
      for (char& byte : bytes) {
        const std::size_t at = random() % (sizeof pool - 1 + ascii);
        byte = at < sizeof pool - 1 ? pool[at] : 'x';
      }
      CXCoder coder(page == 37U ? "ibm037" : "cp" + std::to_string(page));
      ASSERT_EQ(coder.code_page(), page);
      const std::u16string wide = platform::widen(page, bytes);
      EXPECT_TRUE(decoded(coder, bytes) == raw(wide)) << page << ' ' << ascii;
      EXPECT_TRUE(encoded(coder, raw(wide)) == platform::narrow(page, wide)) << page;
    }
  }
}

}  // namespace
}  // namespace tallowbrook
