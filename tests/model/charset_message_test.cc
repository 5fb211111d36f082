// Subjects, names, bodies and file names in every charset read as the text they hold, and a body
// that is put reads back.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "coding/base64.h"
#include "tests/model/host.h"
#include "tests/support/charset_texts.h"

namespace tallowbrook::test {
namespace {

std::string base64(const std::string& bytes) {
  std::string text;
  CBase64(true).EncodeToString(bytes.data(), static_cast<std::int32_t>(bytes.size()), text);
  return text;
}

// Every byte escaped.
std::string quoted_printable(const std::string& bytes) {
  std::string text;
  for (const char byte : bytes) {
    char escape[4];
    std::snprintf(escape, sizeof escape, "=%02X", static_cast<unsigned>(byte & 0xFF));
    text += escape;
  }
  return text;
}

TEST(CharsetMessage, ReadsAsTheTextItHolds) {
  for (const CharsetText& c : kCharsetTexts) {
    const std::string charset = c.name;
    const bool zeros = c.bytes.find('\0') != c.bytes.npos;
    const std::string b_word = "=?" + charset + "?B?" + base64(c.bytes) + "?=";
    const std::string q_word = "=?" + charset + "?q?" + quoted_printable(c.bytes) + "?=";
    const std::pair<const char*, std::string> kBodies[] = {
        {"base64", base64(c.bytes) + "\r\n"},
        {"quoted-printable", quoted_printable(c.bytes) + "=\r\n"},
        {"8bit", c.bytes + "\r\n"},
    };
    for (const auto& [encoding, body] : kBodies) {
      const std::string type = encoding[0] == 'b' ? '"' + charset + '"' : charset;
      const auto message =
          loaded("Subject: " + b_word + "\r\nFrom: " + q_word +
                 " <a@b>\r\nContent-Type: text/plain; charset=" + type + "; name=\"" + q_word +
                 "\"\r\nContent-Transfer-Encoding: " + encoding + "\r\n\r\n" + body + ".\r\n");
      EXPECT_EQ(read_wide(message.get(), u"Subject"), c.text) << charset;
      const auto author = item(object(message, u"From"), 0);
      EXPECT_EQ(read_wide(author.get(), u"Name"), c.text) << charset;
      const auto part = object(message, u"Body");
      EXPECT_EQ(read_wide(part.get(), u"Name"), c.text) << charset;
      // Zero bytes get through base64 alone.
      if (!zeros || encoding[0] == 'b') {
        EXPECT_EQ(read_wide(part.get(), u"Value"), c.text) << charset << ' ' << encoding;
      }
    }
  }
}

TEST(CharsetMessage, WhatIsPutReadsBack) {
  for (const CharsetText& c : kCharsetTexts) {
    for (const char16_t* encoding : {u"base64", u"quoted-printable", u"8bit"}) {
      if (c.bytes.find('\0') != c.bytes.npos && encoding[0] != u'b') continue;
      const auto message = new_message();
      const Variant part = read(message.get(), u"Body");
      EXPECT_EQ(put(part.pdispVal, u"MajorContentType", text("text")), S_OK);
      EXPECT_EQ(put(part.pdispVal, u"Encoding", Variant(encoding)), S_OK);
      EXPECT_EQ(put(part.pdispVal, u"Charset", text(c.name)), S_OK);
      EXPECT_EQ(put(part.pdispVal, u"Value", Variant(c.text)), S_OK);
      const auto again = loaded(saved(message));
      EXPECT_EQ(read_wide(read(again.get(), u"Body").pdispVal, u"Value"), c.text) << c.name;
    }
  }
}

}  // namespace
}  // namespace tallowbrook::test
