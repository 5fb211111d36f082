// Encoded words where a host meets them: subject, display names, part names, parameters, boundary.
#include <gtest/gtest.h>

#include "tests/model/host.h"

namespace tallowbrook::test {
namespace {

const std::u16string kTexts[] = {
    u"plain",
    u"Gr\u00FC\u00DFe, \"J\u00F6rg\" =?utf-8?Q?x?= \\ \"",
    u"\u65E5\u672C\U0001F600",
    u"line\r\nTo: b@c\r\n\r\nbody",
    std::u16string(300, u'\u00E9') + u" end ",
};

TEST(HeaderWords, PutsReadBackNowAndAfterALoad) {
  for (const char16_t* charset : {u"", u"utf-8"}) {
    for (const std::u16string& text : kTexts) {
      const auto message = new_message();
      EXPECT_EQ(put(message.get(), u"Charset", Variant(charset)), S_OK);
      EXPECT_EQ(put(message.get(), u"Subject", Variant(text)), S_OK);
      const auto body = object(message, u"Body");
      EXPECT_EQ(put(body.get(), u"FileName", Variant(text)), S_OK);
      EXPECT_EQ(read_wide(message.get(), u"Subject"), text);
      EXPECT_EQ(read_wide(body.get(), u"Name"), text);
      EXPECT_EQ(read_wide(body.get(), u"FileName"), text);
      put(body.get(), u"Value", Variant(u"x"));
      const auto again = loaded(saved(message));
      EXPECT_EQ(read_wide(again.get(), u"Subject"), text);
      const auto part = object(again, u"Body");
      EXPECT_EQ(read_wide(part.get(), u"Name"), text) << saved(message);
      EXPECT_EQ(read_wide(part.get(), u"FileName"), text);
    }
  }
}

TEST(HeaderWords, DisplayNames) {
  ComPtr<IDispatch> address;
  EXPECT_EQ(create_mail_address(IDispatch::kIid, address.out_void()), S_OK);
  for (const std::u16string& text : kTexts) {
    EXPECT_EQ(put(address.get(), u"Name", Variant(text)), S_OK);
    EXPECT_EQ(read_wide(address.get(), u"Name"), text);
  }
  const auto message = loaded(
      "To: =?iso-8859-1?Q?J=F6?= =?utf-8?B?cmc=?= <a@b>, \"Doe, =?utf-8?Q?J=C3=B6?=\" "
      "<c@d>\r\n\r\n");
  const auto list = object(message, u"To");
  const std::u16string names[] = {u"J\u00F6rg", u"Doe, J\u00F6"};
  for (LONG i = 0; i < 2; ++i) {
    const auto one = item(list, i);
    EXPECT_EQ(read_wide(one.get(), u"Name"), names[i]);
  }
}

TEST(HeaderWords, ParametersKeepTheirQuotesAndTheBoundaryIsPlain) {
  const auto message = loaded(
      "Content-Type: multipart/mixed; boundary=\"=?us-ascii?Q?a_b?=\"\r\n\r\n"
      "--a b\r\nContent-Type: text/plain; name=\"=?utf-8?Q?=C3=A9?=.txt\"\r\n\r\none\r\n--a "
      "b--\r\n");
  const auto body = object(message, u"Body");
  EXPECT_EQ(read(body.get(), u"Count").lVal, 1);
  const auto part = item(body, 0);
  EXPECT_EQ(read_wide(part.get(), u"Name"), u"\u00E9.txt");
  const auto type = object(part, u"ContentType");
  const auto parameters = object(type, u"Parameters");
  EXPECT_EQ(platform::get(parameters.get(), u"Item", Variant(u"name")).value.text(),
            u"\"\u00E9.txt\"");

  // A boundary put as text for readers is written as what it stands for.
  const auto root_type = object(body, u"ContentType");
  const auto root_parameters = object(root_type, u"Parameters");
  EXPECT_EQ(
      platform::call(root_parameters.get(), u"Modify", Variant(u"boundary"), Variant(u"new b"))
          .status,
      S_OK);
  EXPECT_TRUE(holds(saved(message), "boundary=\"new b\"", "\r\n--new b--"));
}

}  // namespace
}  // namespace tallowbrook::test
