// Uuencoded files in plain texts, as they are after the load of a message.
#include "model/uuencode_parts.h"

#include <gtest/gtest.h>

#include "model/body_part.h"
#include "model/header_text.h"
#include "platform/kernel/code_page.h"
#include "tests/model/host.h"
#include "tests/support/dump.h"

namespace tallowbrook::test {
namespace {

const std::string kCat = "begin 644 cat.txt\r\n#0V%T\r\n`\r\nend\r\n";
const std::string kDog = "Begin 600 my \"dog\".bin \r\n#1&]G\r\n`\r\nEND\r\n";

ComPtr<IMimeDecoder> loaded_raw(const std::string& source) {
  const auto message = new_message();
  EXPECT_EQ(message->put_CollectRawStream(VARIANT_TRUE), S_OK);
  EXPECT_EQ(load(message, source), S_OK);
  EXPECT_FALSE(is_dirty(message));
  EXPECT_EQ(saved(message), source) << "the raw copy";
  return message;
}

std::string parameter(const HeaderValue& parameters, std::string_view name) {
  const HeaderValue* text = find_parameter(parameters, name);
  if (text == nullptr) return "none";
  return platform::narrow(CP_UTF8, decode_header_text(unquoted(text->text_view())));
}

// A line for each child: type and encoding, the charset or both names, the content. The body alone
// when there are no children.
std::string tree(const std::string& text) {
  const auto message = loaded_raw("Subject: s\r\n" + text + ".\r\n");
  const HeaderValue& body = store_of(message).root[kPartBody];
  if (!body.is(ValueKind::List)) return body.raw_text();
  std::string lines;
  for (std::size_t i = 0; i < body.size(); ++i) {
    const HeaderValue& type = field_value(body[i], EntryName::ContentType);
    lines += dump(type[kTypeMajor]) + '/' + dump(type[kTypeMinor]) + ' ' +
             dump(field_value(body[i], EntryName::ContentTransferEncoding)) + ' ';
    const HeaderValue& names = type[kTypeParameters];
    const HeaderValue& disposition = field_value(body[i], EntryName::ContentDisposition);
    lines += is_decoded(body[i]) ? disposition[0].AsText() + ' ' + parameter(names, "name") + ' ' +
                                       parameter(disposition[kDispositionParameters], "filename")
                                 : parameter(names, "charset") + ' ' + parameter(names, "format");
    lines += ": " + body[i][kPartBody].raw_text() + "|\n";
  }
  return lines;
}

TEST(UuencodeParts, EachWholeBlockIsAnAttachment) {
  const std::string koi =
      "Content-Type: text/plain; charset=koi8-r; format=flowed\r\nContent-Transfer-Encoding: "
      "8bit\r\n"
      "\r\nbegin 644 \xC6.txt\r\n#0V%T\r\nend\r\n";
  const std::pair<std::string, std::string> cases[] = {
      {"\r\nsee:\r\n" + kCat + "and\r\n" + kDog + "bye\r\n",
       "1/0 - none none: see:\r\nand\r\nbye\r\n|\n"
       "3/0 2 attachment cat.txt cat.txt: Cat|\n"
       "3/0 2 attachment my \"dog\".bin my \"dog\".bin: Dog|\n"},
      {koi, "1/0 3 koi8-r flowed: |\n3/0 2 attachment ф.txt ф.txt: Cat|\n"},
      {"\r\n" + kCat + "\r\n", "1/0 - none none: \r\n|\n3/0 2 attachment cat.txt cat.txt: Cat|\n"},
      {"\r\nbegin 644\r\n#0V%T\r\nend\r\nbegin 644  \r\n#0V%T\r\nend\r\n",
       "1/0 - none none: |\n3/0 2 attachment none none: Cat|\n"
       "3/0 2 attachment none none: Cat|\n"},
  };
  for (const auto& [text, parts] : cases) EXPECT_EQ(tree(text), parts);
}

TEST(UuencodeParts, WhatIsNoBlockIsText) {
  // Stray end lines, a block without bytes, one that another begins in, one that never ends.
  const std::string before =
      "end of it\r\nbegin 644 none\r\n`\r\nend\r\nbegin 644 cut\r\n#0V%T\r\n";
  const std::string behind = "End\r\nbegin 644 open\r\n#0V%T\r\n";
  EXPECT_EQ(tree("\r\n" + before + kCat + behind),
            "1/0 - none none: " + before + behind + "|\n3/0 2 attachment cat.txt cat.txt: Cat|\n");
  // A line of a file that looks like an end line.
  const std::string chance = "begin 644 x\r\nEND" + std::string(50, '!') + "\r\nend\r\n";
  EXPECT_EQ(tree("\r\n" + chance).size(), 29 + std::string("3/0 2 attachment x x: ").size() + 29U);
  for (const std::string head :
       {"Content-Type: text/html\r\n", "Content-Transfer-Encoding: base64\r\n",
        "Content-Transfer-Encoding: quoted-printable\r\n",
        "Content-Transfer-Encoding: x-uuencode\r\n", "Content-Type: application/x-uu\r\n"}) {
    EXPECT_EQ(tree(head + "\r\n" + kCat), kCat) << head;
  }
  const std::string open = "text\r\nbegin 644 open\r\n#0V%T\r\nno end\r\n";
  EXPECT_EQ(tree("\r\n" + open), open);
}

TEST(UuencodeParts, TheRootIsWrittenAsItsNewTree) {
  const auto message = loaded_raw(
      "Subject: s\r\nContent-Type: text/plain; charset=koi8-r\r\nX-Keep: k\r\n"
      "Content-Transfer-Encoding: 8bit\r\n\r\nsee\r\n" +
      kCat + ".\r\n");
  static_cast<CMimeDecoder&>(*message).NotifyChanged();
  const std::string written = saved(message);
  ASSERT_EQ(store_of(loaded(written)).root[kPartBody].size(), 2U) << written;
  EXPECT_EQ(written.find("8bit"), written.rfind("8bit"));
  EXPECT_EQ(written.find("koi8-r"), written.rfind("koi8-r"));
  EXPECT_TRUE(holds(written, "\r\nQ2F0\r\n", "X-Keep: k"));
}

}  // namespace
}  // namespace tallowbrook::test
