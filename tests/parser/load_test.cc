// Messages in, printed trees or error texts out.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "parser/load.h"
#include "tests/support/dump.h"
#include "tests/support/scratch_folder.h"

namespace tallowbrook::test {
namespace {

struct Case {
  const char* name;
  const char* input;
  const char* printed;
};

// The case's message without its last line end, which the end-of-data line brings back.
std::string message_of(const Case& c) {
  const std::string text = c.input;
  return text.ends_with("\r\n") ? text.substr(0, text.size() - 2) : text;
}

std::string with_bare_lf(std::string text) {
  std::erase(text, '\r');
  return text;
}

const Case kTrees[] = {
    {"fields of slots leave no entry",
     "From: a@b\r\nX-One: 1\r\nTo: c@d\r\nsubject : hi\r\nX-Two:\r\n two\r\n\r\nbody\r\n",
     "From: raw \"a@b\"\nTo: raw \"c@d\"\nSubject: \"hi\"\n"
     "part\n  X-One: raw \"1\"\n  X-Two: raw \"\\r\\n two\"\n  body raw \"body\\r\\n\"\n"},
    {"repeated fields join, dates and subjects replace",
     "To: a\r\nTo: b\r\nDate: 1\r\nDate: 2\r\nSubject: x\r\nSubject: y\r\n\r\n",
     "Date: raw \"2\"\nTo: raw \"a\\r\\n\\tb\"\nSubject: \"y\"\npart\n  body raw \"\"\n"},
    {"folded unstructured text", "Subject: Hello\r\n\tworld \r\n again\r\n\r\n",
     "Subject: \"Helloworld again\"\npart\n  body raw \"\"\n"},
    {"blank line ends the header after an empty value", "To:\r\n \r\nbody: x\r\n",
     "To: raw \"\"\npart\n  body raw \"body: x\\r\\n\"\n"},
    {"blank line before an indented body", "Subject:\r\n \r\n  indented\r\nmore\r\n",
     "part\n  body raw \"  indented\\r\\nmore\\r\\n\"\n"},
    {"pseudo-headers are fields like any in a message",
     "X: y\r\n__$$InternalAddress$$__: a\r\n__$$InternalUUEncode$$__\r\nZ: z\r\n\r\n",
     "part\n  X: raw \"y\"\n  __$$InternalAddress$$__: raw \"a\"\n  Z: raw \"z\"\n  body raw "
     "\"\"\n"},
    {"blank line inside unparsed text", "X: a\r\n b \r\n \t\r\nY: b\r\n",
     "part\n  X: raw \"a\\r\\n b\"\n  body raw \"Y: b\\r\\n\"\n"},
    {"a run of CRs before LF is one line end", "X: a\r\r\n\r\r\nb\r\n",
     "part\n  X: raw \"a\"\n  body raw \"b\\r\\n\"\n"},
    {"trace fields keep their text and order", "Received: from a\r\n\tby b; x\r\nReceived:\r\n\r\n",
     "Received: [-, raw \"from a\\r\\n\\tby b; x\"]\nReceived: [-, raw \"\"]\npart\n  body raw "
     "\"\"\n"},
    {"MIME version", "MIME-Version: 2.5 (x) .9\r\n\r\n",
     "MIME-Version: 2.5\npart\n  body raw \"\"\n"},
    {"header alone", "X: y", "part\n  X: raw \"y\"\n"},
    {"junk lines", "From sender Mon\r\nX: y\r\nFrom sender 10:00\r\n\r\n",
     "part\n  X: raw \"y\"\n  From sender 10: raw \"00\"\n  body raw \"\"\n"},
    {"two parts, preamble, epilogue",
     "Content-Type: multipart/mixed; boundary=\"b\"\r\n\r\npre\r\n--b \r\n\r\none\r\n--b\r\n"
     "Content-Type: text/html\r\nSubject: s\r\nTo: t\r\n\r\ntwo\r\n--b--\r\nepi\r\n--b\r\n",
     "part\n  Content-Type: [0, 0, {boundary=\"\"b\"\"}]\n"
     "  part\n    body raw \"one\\r\\n\"\n"
     "  part\n    Content-Type: raw \"text/html\"\n    Subject: raw \"s\"\n    To: raw \"t\"\n"
     "    body raw \"two\\r\\n\"\n"},
    {"nested, outer delimiter inside inner is text, missing closes",
     "Content-Type: multipart/mixed; boundary=o\r\n\r\n--o\r\nContent-Type: multipart/digest;\r\n"
     " boundary=i\r\n\r\n--i\r\n\r\nx\r\n--o\r\n",
     "part\n  Content-Type: [0, 0, {boundary=\"o\"}]\n  part\n"
     "    Content-Type: [0, 2, {boundary=\"i\"}]\n    part\n      body raw \"x\\r\\n--o\\r\\n\"\n"},
    {"delimiter right after the header",
     "Content-Type: multipart/mixed; boundary=b\r\n--b\r\nX: y\r\n--b\r\n--b--\r\n",
     "part\n  Content-Type: [0, 0, {boundary=\"b\"}]\n  part\n    X: raw \"y\"\n    body raw \"\"\n"
     "  part\n    body raw \"\"\n"},
    {"part cut off in its header by the end of data",
     "Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\nX: y",
     "part\n  Content-Type: [0, 0, {boundary=\"b\"}]\n  part\n    X: raw \"y\"\n    body raw "
     "\"\"\n"},
    {"multipart with a keyword of another type as its subtype",
     "Content-Type: multipart/text; boundary=b\r\n\r\n--b\r\n\r\n1\r\n--b--\r\n",
     "part\n  Content-Type: [0, \"text\", {boundary=\"b\"}]\n  part\n    body raw \"1\\r\\n\"\n"},
    {"multipart without a boundary is text", "Content-Type: multipart/mixed\r\n\r\n--b\r\nx\r\n",
     "part\n  Content-Type: [1, 0]\n  body raw \"--b\\r\\nx\\r\\n\"\n"},
    {"multipart without a boundary, but with parameters, as the last field",
     "X: y\r\nContent-Type: multipart/mixed; a=b\r\n\r\nx\r\n",
     "part\n  X: raw \"y\"\n  Content-Type: [1, 0]\n  body raw \"x\\r\\n\"\n"},
    {"a boundary of nothing is none",
     "Content-Type: multipart/mixed; boundary=\" \"\r\n\r\n-- \r\n",
     "part\n  Content-Type: [1, 0]\n  body raw \"-- \\r\\n\"\n"},
    {"a boundary behind a colon",
     "Content-Type: multipart/mixed; boundary:b\r\n\r\n--b\r\n\r\nx\r\n",
     "part\n  Content-Type: [0, 0, {boundary=\"b\"}]\n  part\n    body raw \"x\\r\\n\"\n"},
    {"white space and comments around a boundary",
     "Content-Type: multipart/mixed; boundary=\r\n \"a b\" ; x=1 (c)\r\n\r\n--a b\r\n\r\n1\r\n"
     "--a b--\r\n",
     "part\n  Content-Type: [0, 0, {boundary=\"\"a b\"\", x=\"1\"}]\n  part\n    body raw "
     "\"1\\r\\n\"\n"},
    {"unquoted boundary loses trailing blanks",
     "Content-Type: multipart/x-y; boundary=a b \r\n\r\n--a b\r\n\r\n1\r\n--a b--\r\n",
     "part\n  Content-Type: [0, \"x-y\", {boundary=\"a b\"}]\n  part\n    body raw \"1\\r\\n\"\n"},
    {"uuencode lines mark the body", "X: y\r\n\r\nbeginner\r\nbegin 644 a b\r\nM\r\nending\r\n",
     "part\n  X: raw \"y\"\n  body raw \"beginner\\r\\nbegin 644 a b\\r\\nM\\r\\nending\\r\\n\" "
     "uuencode\n"},
    {"a dot line ends the data", "X: y\r\n\r\na\r\n..b\r\n.\r\nc\r\n",
     "part\n  X: raw \"y\"\n  body raw \"a\\r\\n..b\\r\\n\"\n"},
    {"MIME fields",
     "Content-Transfer-Encoding: (c) Base64 7bit\r\nContent-Description: d e\r\nContent-ID: <x>\r\n"
     "content-disposition: inline\r\nContent-Transfer-Encoding: x-uue\r\nContent-Type:\r\n\r\n",
     "part\n  Content-Transfer-Encoding: 2\n  Content-Description: \"d e\"\n  Content-ID: "
     "\"<x>\"\n  Content-Disposition: raw \"inline\"\n  Content-Transfer-Encoding: \"x-uue\"\n"
     "  Content-Type: raw \"\"\n  body raw \"\"\n"},
};

// What comes out does not depend on how the input is cut up. (LF in place of CR LF shows in the
// texts, so there the reference is the LF form read in one piece.)
TEST(Load, PrintsTheTree) {
  for (const Case& c : kTrees) {
    const std::string lf = with_bare_lf(message_of(c));
    const std::string printed_lf = load_and_dump(lf);
    for (const ULONG step : {1U, 2U, 7U, 4096U, kWhole}) {
      EXPECT_EQ(load_and_dump(message_of(c), step), c.printed) << c.name << " by " << step;
      EXPECT_EQ(load_and_dump(lf, step), printed_lf) << c.name << " (LF) by " << step;
    }
  }
  EXPECT_EQ(load_and_dump("To:\n \nbody"), "To: raw \"\"\npart\n  body raw \"body\\r\\n\"\n");
}

TEST(Load, SyntaxErrors) {
  const Case cases[] = {
      {"empty", "", "parse error \"\" in Line 2"},
      {"no header field", "\r\ntext\r\n", "parse error \"\" in Line 2"},
      {"multipart without a delimiter", "Content-Type: multipart/mixed; boundary=b\r\n\r\ntext\r\n",
       "parse error, expecting `tok_Delimiter' \"\" in Line 5"},
      {"bad parameter", "Content-Type: multipart/mixed; =x\r\n\r\n",
       "parse error, expecting `$end' \"\" in Line 1"},
      {"value that no rule takes", "Content-Type: multipart/a/b; boundary=x\r\n\r\n",
       "parse error, expecting `';'' \"\" in Line 1"},
  };
  for (const Case& c : cases) EXPECT_EQ(load_and_dump(c.input), c.printed) << c.name;
}

TEST(ParseField, GivesTheValue) {
  const struct {
    const char* name;
    const char* text;
    const char* printed;  // "error" when it does not parse
  } cases[] = {
      {"To", "a@b, \"C D\" <c@d.e>,a@b", "{<c@d.e>=\"\"C D\"\", a@b=-}"},
      {"To", "Group: x;, y@[1.2\\.3]", "{x=-, y@[1.2\\.3]=-}"},
      {"To", "Group:;", "{=\"Group\"}"},
      {"From", "a <@r.s,@t:x@y.z>", "error"},
      {"From", "a <@r.s:x@y.z> (comment (nested\\)))", "{<@r.s:x@y.z>=\"a\"}"},
      {"From", "=?utf-8?Q?J=C3=BCrgen?= X <j@x>", "{<j@x>=\"=?utf-8?Q?J=C3=BCrgen?= X\"}"},
      {"From", "(unclosed comment a@b", "-"},
      {"Reply-To", "x@y <z>", "address \"<z>\" -"},
      {"Return-Path", "<>", "address \"<>\" -"},
      {"Sender", "a.b.c@d.e.f", "address \"a.b.c@d.e.f\" -"},
      {"Sender", "a@b c@d", "error"},
      {"Date", "Mon, 1 Jan 2000 10:00:00 MEZ", "date \"Sat, 1 Jan 2000 10:00:00 +0100\""},
      {"Date", "1 Jan 99 10:00 +0100", "date \"Fri, 1 Jan 1999 10:00:00 +0100\""},
      {"Date", "1 Jan 2000 10:00:00 100", "date \"Sat, 1 Jan 2000 10:00:00 0100\""},
      {"Date", "1 Jan 2000 Z", "date \"Sat, 1 Jan 2000 00:00:00 Z\""},
      {"Date", "Monday, 1 Jan 2000 10:00", "error"},
      {"Received", "from a by b; Mon, 1 Jan 2000 10:00:00 GMT",
       "[{by=\"b\", from=\"a\"}, date \"Sat, 1 Jan 2000 10:00:00 -0000\"]"},
      {"Received", "from a.b (c [1.2]) by d with E id X-1; 1 Jan 2000 00:00 UT",
       "[{by=\"d\", from=\"a b\", id=\"X-1\", with=\"E\"}, date \"Sat, 1 Jan 2000 00:00:00 "
       "-0000\"]"},
      {"Received", "by b for <x@y>; 1 Jan 2000 00:00",
       "[{by=\"b\", for=\"<x@y>\"}, date \"Sat, 1 Jan 2000 00:00:00\"]"},
      {"Received", "for x@y; 1 Jan 2000 00:00",
       "[{for=\"x@y\"}, date \"Sat, 1 Jan 2000 00:00:00\"]"},
      {"Received", "from a", "[{from=\"a\"}, \"<no date>\"]"},
      {"__$$InternalCTTYPE$$__", "plain/text; CHARSET=\"ISO-8859-1\"; X-Param=1; ;n=",
       "[1, 0, {charset=\"\"iso-8859-1\"\", n=-, x-param=\"1\"}]"},
      {"__$$InternalCTTYPE$$__", "image", "[2, 1]"},
      {"__$$InternalCTTYPE$$__", "multipart/mixed", "[1, 0]"},
      {"__$$InternalCTTYPE$$__", "foo/application; name=\r\n\tx y",
       "[\"foo\", \"unknown\", "
       "{name=\"x\"}]"},
      {"__$$InternalCTTYPE$$__", "text/plain charset=x", "[1, 0, {charset=\"x\"}]"},
      {"__$$InternalCTTYPE$$__", "Audio/MPEG; name=mpeg", "[4, \"MPEG\", {name=\"mpeg\"}]"},
      {"__$$InternalCTTYPE$$__", "image/(c)basic", "[2, \"basic\"]"},
      {"__$$InternalCTTYPE$$__", "video/video", "[5, 0]"},
      {"__$$InternalCTTYPE$$__", "text/partial; id=1", "[1, \"partial\", {id=\"1\"}]"},
      {"__$$InternalCTTYPE$$__", "application/read-write", "[3, \"read-write\"]"},
      {"__$$InternalCTTYPE$$__", "gif/text", "error"},
      {"__$$InternalCTTYPE$$__", "message/partial; id=a@b; number=1; total=2",
       "[6, 1, {id=\"a@b\", number=\"1\", total=\"2\"}]"},
      {"__$$InternalDisposition$$__", "attachment;\r\n filename=\"a\\\"b\"; size=12",
       "[\"attachment\", {filename=\"\"a\\\"b\"\", size=\"12\"}]"},
      {"__$$InternalKommaSep$$__", "a b@c , \"d, e\" f", "[raw \"a b@c\", raw \"\"d, e\" f\"]"},
      {"__$$InternalUUEncode$$__", "\r\nbegin 1 f\r\n", "[raw \"\\r\\nbegin 1 f\\r\\n\\r\\n\"]"},
      {"__$$InternalUUEncode$$__", "x\r\nbegin 644 f\r\n#abcd\r\nend\r\ny\r\nend\r\n",
       "[raw \"x\\r\\ny\\r\\nend\\r\\n\\r\\n\", [\"begin 644 f\\r\\n\", raw \"#abcd\\r\\n\"]]"},
  };
  for (const auto& c : cases) {
    HeaderValue value = HeaderValue::text("untouched");
    const HRESULT status = parse_field(c.name, c.text, value);
    EXPECT_EQ(FAILED(status) ? "error" : dump(value), c.printed) << c.name << ": " << c.text;
    if (FAILED(status)) {
      EXPECT_EQ(dump(value), "\"untouched\"") << c.text;
    }
  }
  EXPECT_EQ(take_error_text(), "");
}

// Depth and size cost neither stack nor more than linear time.
TEST(Load, DeepAndWide) {
  constexpr int kDepth = 10000;
  std::string deep;
  for (int i = 0; i < kDepth; ++i) {
    const std::string b = std::to_string(i);
    deep += "Content-Type: multipart/mixed; boundary=b" + b + "\r\n\r\n--b" + b + "\r\n";
  }
  MessageStore store;
  EXPECT_EQ(load(deep + "\r\nx\r\n", store), S_OK);
  int depth = 0;
  for (const HeaderValue* part = &store.root; (*part)[kPartBody].is(ValueKind::List);
       part = &(*part)[kPartBody][0]) {
    ++depth;
  }
  EXPECT_EQ(depth, kDepth);

  std::string wide = "To: a\r\n";
  for (int i = 0; i < 20000; ++i) wide += "To: a" + std::to_string(i) + "@b\r\nX: y\r\n";
  MessageStore flat;
  EXPECT_EQ(load(wide, flat), S_OK);
  EXPECT_EQ(flat.slot(SlotId::To).joins.size(), 20000U);
  EXPECT_EQ(flat.root[kPartFields].size(), 20000U);

  HeaderValue list;
  std::string dots = "a";
  for (int i = 0; i < 100000; ++i) dots += ".a";
  EXPECT_EQ(parse_field("Sender", dots + "@" + dots, list), S_OK);
  EXPECT_EQ(list.address_text().size(), 2 * dots.size() + 1);
  // None of these may take more than linear time.
  const std::string blanks(3'000'000, ' ');
  EXPECT_EQ(load("X: a" + blanks + "b\r\nY: a" + blanks + "\r\n", store), S_OK);
  EXPECT_EQ(load("Subject: " + std::string(1'000'000, '\r') + "x\r\n", store), S_OK);
  for (const std::string& text :
       {std::string(99999, '('), "<" + blanks + "x", std::string(1'000'000, '<'), blanks + ","}) {
    for (const std::string_view name : {std::string_view("To"), kPseudoCommaList, kPseudoAddress}) {
      EXPECT_NE(parse_field(name, text, list), E_OUTOFMEMORY);
    }
  }
  std::string ids = "from a";
  for (int i = 0; i < 100'000; ++i) ids += " id <a";
  EXPECT_EQ(parse_field("Received", ids, list), S_OK);
}

// Every public test message loads, or gives the error that an independent reading of the grammar
// expects for it.
TEST(Load, Corpus) {
  const std::filesystem::path folder =
      std::filesystem::path(TALLOWBROOK_SOURCE_DIR) / ".." / "shared" / "corpus";
  std::ifstream expected(folder / "EXPECTED.txt");
  if (!expected) GTEST_SKIP() << "no corpus beside the project";
  std::string line;
  while (std::getline(expected, line)) {
    const std::size_t tab = line.find('\t');
    if (line.starts_with('#') || tab == std::string::npos) continue;
    const std::string text = read_file(folder / line.substr(0, tab));
    MessageStore store;
    const bool loads = SUCCEEDED(load(text, store));
    EXPECT_EQ(loads ? "loads" : "error: " + take_error_text(), line.substr(tab + 1))
        << line.substr(0, tab);
    MessageStore by_one;
    EXPECT_EQ(SUCCEEDED(load(text, by_one, 1)), loads) << line.substr(0, tab);
    (void)take_error_text();
    EXPECT_EQ(dump(by_one), dump(store)) << line.substr(0, tab);
  }
}

}  // namespace
}  // namespace tallowbrook::test
