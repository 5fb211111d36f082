// Uuencoded files in plain texts, as they are after the load of a message.
#include "model/uuencode_parts.h"

#include <gtest/gtest.h>

#include "model/body_part.h"
#include "model/header_text.h"
#include "model/message_store.h"
#include "model/mime_decoder.h"
#include "platform/kernel/code_page.h"
#include "streams/memory_stream.h"
#include "tests/support/dump.h"

namespace tallowbrook {
namespace {

using platform::ComPtr;

const std::string kCat = "begin 644 cat.txt\r\n#0V%T\r\n`\r\nend\r\n";
const std::string kDog = "Begin 600 my \"dog\".bin \r\n#1&]G\r\n`\r\nEND\r\n";

ComPtr<CMimeDecoder> loaded(const std::string& text) {
  const auto message = ComPtr<CMimeDecoder>::adopt(new CMimeDecoder);
  EXPECT_EQ(message->put_CollectRawStream(VARIANT_TRUE), S_OK);
  EXPECT_EQ(message->Load(CISSHelper::create_with(text).get()), S_OK);
  EXPECT_EQ(message->IsDirty(), S_FALSE);
  const auto copy = CISSHelper::create();
  EXPECT_EQ(message->Save(copy.get(), FALSE), S_OK);
  EXPECT_EQ(copy->bytes(), text) << "the raw copy";
  return message;
}

std::string shown(const HeaderValue& parameters, std::string_view name) {
  const HeaderValue* text = find_parameter(parameters, name);
  if (text == nullptr) return "none";
  return platform::narrow(CP_UTF8, decode_header_text(unquoted(text->text_view())));
}

// A line for each child: type and encoding, the charset or both names, the content. The body alone
// when there are no children.
std::string tree(const std::string& text) {
  const auto message = loaded("Subject: s\r\n" + text + ".\r\n");
  const HeaderValue& body = message->store().root[kPartBody];
  if (!body.is(ValueKind::List)) return body.raw_text();
  std::string lines;
  for (std::size_t i = 0; i < body.size(); ++i) {
    const HeaderValue& type = field_value(body[i], EntryName::ContentType);
    lines += test::dump(type[kTypeMajor]) + '/' + test::dump(type[kTypeMinor]) + ' ' +
             test::dump(field_value(body[i], EntryName::ContentTransferEncoding)) + ' ';
    const HeaderValue& names = type[kTypeParameters];
    const HeaderValue& disposition = field_value(body[i], EntryName::ContentDisposition);
    lines += is_decoded(body[i]) ? disposition[0].AsText() + ' ' + shown(names, "name") + ' ' +
                                       shown(disposition[kDispositionParameters], "filename")
                                 : shown(names, "charset") + ' ' + shown(names, "format");
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
  const auto message = loaded(
      "Subject: s\r\nContent-Type: text/plain; charset=koi8-r\r\nX-Keep: k\r\n"
      "Content-Transfer-Encoding: 8bit\r\n\r\nsee\r\n" +
      kCat + ".\r\n");
  message->NotifyChanged();
  const auto copy = CISSHelper::create();
  EXPECT_EQ(message->Save(copy.get(), FALSE), S_OK);
  const auto again = ComPtr<CMimeDecoder>::adopt(new CMimeDecoder);
  copy->rewind();
  ASSERT_EQ(again->Load(copy.get()), S_OK);
  const HeaderValue& root = again->store().root;
  ASSERT_EQ(root[kPartBody].size(), 2U) << copy->bytes();
  EXPECT_EQ(copy->bytes().find("8bit"), copy->bytes().rfind("8bit"));
  EXPECT_EQ(copy->bytes().find("koi8-r"), copy->bytes().rfind("koi8-r"));
  EXPECT_NE(copy->bytes().find("\r\nQ2F0\r\n"), copy->bytes().npos) << copy->bytes();
  EXPECT_NE(copy->bytes().find("X-Keep: k"), copy->bytes().npos);
}

}  // namespace
}  // namespace tallowbrook
