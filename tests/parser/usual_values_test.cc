// The quick reading of dates, types and dispositions gives what the grammar gives, or leaves the
// text to it.
#include "parser/usual_values.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "parser/load.h"
#include "tests/support/dump.h"

namespace tallowbrook::test {
namespace {

struct Reading {
  std::string_view name;
  bool (*quick)(std::string_view text, HeaderValue& value);
  std::vector<const char*> taken;
  std::vector<const char*> left;
  std::vector<const char*> pieces;  // texts are put together of
};

const Reading kReadings[] = {
    {"Date",
     read_usual_date,
     {"Fri, 20 Mar 2020 02:03:52 -0100", "1 jan 1970 0:00 GMT", " Sat,\r\n 1 Dec 1900 9:59 UT",
      "MON, 99 May 9999 99:99:99 +9999 (CEST)", "1 Jan 2000 1:00:00 +0000 "},
     {"", "Fri 20 Mar 2020 02:03:52 -0100", "20 Mar 20 02:03:52 -0100", "1 Mai 2000 1:00 GMT",
      "1 Jan 2000 1:00", "1 Jan 2000 GMT", "1 Jan 2000 1:00 EST", "1 Jan 2000 1:00 100",
      "1 Jan 2000 1:00 +01000", "1 Jan 2000 1:00 GMTX", "1 Jan 2000 1:00 GMT (a (b))",
      "1 Jan 2000 1:00 GMT\r\n (a)", "Friday, 1 Jan 2000 1:00 GMT", "1 Jan 2000 1 : 00 GMT",
      "1 Jan 0099 1:00 GMT", "1 Jan 2000 1:00 GMT x"},
     {"Mon, ", "tue,",  "1 ",    "31",    "Jan ", "dez", "2000 ", "99",   "1:02", ":03", "12:00:00",
      " ",     "\r\n ", "+0100", "-0030", "GMT",  "UT",  "Z",     " (x)", "(",    ","}},
    {kPseudoContentType,
     read_usual_type,
     {"text/plain", "TEXT/x-y; Charset=UTF-8", "image/jpeg;\r\n\tname=\"a b\";", "audio/mpeg",
      "video/mpeg; a=b c=d;;e=f; A=g", "application/text ; charset=\"plain\"; charset=plain",
      "application/octet-stream; name*0*=utf-8''x; filename=a.b; size=1 ", "text/\xe4; \xe4=\xe4",
      "Message/RFC822; name=\"a\""},
     {"",
      "text",
      "text/",
      "text/text",
      "plain/text",
      "multipart/mixed; boundary=b",
      "message/partial",
      "x/y",
      "text/plain; a",
      "text/plain; a=",
      "text/plain; a =b",
      "text/plain; a= b",
      "text/plain;a=b/c",
      "text/plain; a=html",
      "text/plain; text=a",
      "text/plain; boundary=a",
      "text/plain (c)",
      "text/plain; a=\"b\\\"c\"",
      "text/plain; a=\"b\r\n c\"",
      "text/plain; a=\"b",
      "text/plain; a=\"b\"c",
      "text/plain\r\n ",
      "text/plain; a=b\r\nc",
      "text /plain",
      " text/plain",
      "text/plain; a:b",
      "text/plain; permission=read",
      "text/plain; a==?utf-8?Q?b?="},
     {"text",   "Image",    "application", "message", "x-y",  "/",     "/rfc822",
      "/",      "jpeg",     "partial",     "mpeg",    "; ",   ";",     " ",
      "\r\n\t", "charset=", "name=",       "NAME=",   "a=",   "size=", "boundary=",
      "id=",    "utf-8",    "\"b; c\"",    "\"",      "\"\"", "d.e",   "html",
      "=",      ":",        "(x)",         "\\",      "\xe4", "read"}},
    {kPseudoContentType,
     [](std::string_view text, HeaderValue& value) {
       std::string boundary;
       return read_usual_multipart(text, value, boundary);
     },
     {"multipart/mixed; boundary=b", "Multipart/Alternative;\r\n\tboundary=\"a b\"; type=x-y",
      "multipart/x-y; a=b; boundary==_1.2;boundary=c", "multipart/plain; boundary=\"=?a?q?b?=\";"},
     {"", "multipart", "multipart/; boundary=b", "multipart/mixed", "multipart/mixed; a=b",
      "multipart/mixed; boundary=", "multipart/mixed; boundary=a b", "multipart/mixed; boundary=a ",
      "multipart/mixed; boundary=a?b", "multipart2/mixed; boundary=b", "text/plain; boundary=b",
      "multipart/mixed; boundary=\"b", "multipart/mixed; boundary:b", "multipart/x; boundary=\"\""},
     {"multipart/", "mixed", "x-y",       "digest",    "text", "; ",      ";",
      " ",          "\r\n ", "boundary=", "Boundary=", "b",    "\"a b\"", "\"\"",
      "=_",         "a=b",   "charset=",  "(c)",       "?",    "partial"}},
    {kPseudoDisposition,
     read_usual_disposition,
     {"attachment", "Inline;", "attachment; filename=\"a b.c\"; size=12", "x-y a=b"},
     {"", "text", "\"a\"", "attachment; filename", "a/b", "; a=b", "attachment; name=image"},
     {"attachment", "inline", "x-y", "text", "; ", ";", " ",
      "filename=", "size=", "access-type=", "\"a\"", "b", "ftp", "=", "/", "(c)", "\r\n "}}};

// Whether the quick way took the text; it must then have read what the grammar reads.
bool quick(const Reading& reading, const std::string& text) {
  HeaderValue value = HeaderValue::text("untouched");
  if (!reading.quick(text, value)) {
    EXPECT_EQ(dump(value), "\"untouched\"") << text;
    return false;
  }
  HeaderValue reference;
  EXPECT_EQ(parse_field_by_grammar(reading.name, text, reference), S_OK) << text;
  EXPECT_EQ(dump(value), dump(reference)) << text;
  return true;
}

TEST(UsualValues, TakesTheUsualForms) {
  for (const Reading& reading : kReadings) {
    for (const char* text : reading.taken) EXPECT_TRUE(quick(reading, text)) << text;
    for (const char* text : reading.left) EXPECT_FALSE(quick(reading, text)) << text;
  }
}

TEST(UsualValues, AgreesWithTheGrammar) {
  std::mt19937 random(11);
  for (const Reading& reading : kReadings) {
    int taken = 0;
    for (int round = 0; round < 30000; ++round) {
      std::string text = round % 2 == 0 ? reading.taken[random() % reading.taken.size()] : "";
      if (!text.empty()) text.resize(random() % (text.size() + 1));
      for (std::size_t i = random() % 7; i > 0; --i) {
        text += reading.pieces[random() % reading.pieces.size()];
      }
      taken += quick(reading, text) ? 1 : 0;
    }
    EXPECT_GT(taken, 100) << reading.name;
  }
}

}  // namespace
}  // namespace tallowbrook::test
