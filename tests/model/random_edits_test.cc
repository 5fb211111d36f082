// Whatever a host puts, what is saved is a message: it loads again, ends with its dot line and
// nowhere before, and from its second save on it stays the same.
#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <vector>

#include "tallowbrook/mime_body.h"
#include "tests/model/host.h"
#include "tests/support/dump.h"

namespace tallowbrook::test {
namespace {

using Object = ComPtr<IDispatch>;
using platform::Bstr;
using Texts = std::vector<std::u16string>;

constexpr std::string_view kNested =
    "Date: Mon, 1 Jan 2024 00:00:00 +0000\r\nSubject: outer\r\n"
    "Content-Type: multipart/mixed; boundary=o\r\n\r\n--o\r\n"
    "Content-Type: text/plain; charset=utf-8\r\nContent-Transfer-Encoding: base64\r\n\r\nw6k=\r\n"
    "--o\r\nContent-Type: multipart/digest; boundary=i\r\n\r\n--i\r\n\r\nSubject: d\r\n\r\nx\r\n"
    "--i--\r\n--o\r\nContent-Type: message/rfc822\r\n\r\nSubject: inner\r\n\r\n..\r\n--o--\r\n";

class RandomHost {
 public:
  explicit RandomHost(unsigned seed) : random_(seed) {}

  void edit(const Object& message) {
    const Object part = some_part(object(message, u"Body"));
    const auto body = part.query<IMimeBody>();
    if (!body) return;
    const std::function<void()> kEdits[] = {
        [&] { (void)platform::call(part.get(), u"AddNew"); },
        [&] { (void)platform::call(part.get(), u"Remove", number(3)); },
        [&] { (void)body->put_MajorContentType(one_of(kMajors)); },
        [&] { (void)body->put_MinorContentType(one_of(kMinors)); },
        [&] { (void)body->put_Encoding(one_of(kEncodings)); },
        [&] { (void)body->put_Charset(one_of(kCharsets)); },
        [&] { (void)body->put_Value(Bstr(text()).get()); },
        [&] {
          VARIANT_BOOL done = VARIANT_FALSE;
          const auto content = CISSHelper::create_with(to_ansi(text()));
          (void)body->Import(content.get(), number(2) > 0 ? VARIANT_TRUE : VARIANT_FALSE, &done);
        },
        [&] { (void)body->put_Name(Bstr(text()).get()); },
        [&] { (void)body->put_FileName(Bstr(text()).get()); },
        [&] { (void)body->put_Description(value()); },
        [&] { (void)body->put_ContentID(value()); },
        [&] { (void)body->put_ExtField(Bstr(text()).get(), value()); },
        [&] { parameter(part, number(2) > 0 ? u"ContentType" : u"ContentDisposition"); },
        [&] {
          const Object disposition = object(part, u"ContentDisposition");
          (void)platform::put(disposition.get(), u"Value", value());
        },
        [&] {
          const Object fields = object(part, u"Fields");
          if (fields) (void)platform::call(fields.get(), u"Remove", number(3));
        },
        [&] { (void)platform::put(message.get(), kProperties[random_() % 9], value()); },
        [&] {
          const Object inner = object(part, u"EmbeddedMessage");
          if (inner) edit(inner);
        },
    };
    kEdits[random_() % std::size(kEdits)]();
  }

  LONG number(unsigned below) { return static_cast<LONG>(random_() % below); }

 private:
  static inline const Texts kMajors{u"multipart", u"multipart", u"text", u"message", u"image"};
  static inline const Texts kMinors{u"plain", u"mixed", u"digest", u"rfc822", u"x-y"};
  static inline const Texts kEncodings{u"7bit", u"8bit", u"binary", u"base64", u"quoted"};
  static inline const Texts kCharsets{u"utf-8", u"koi8-r", u"utf-16", u"", u"x-none"};
  static inline const Texts kNames{u"boundary", u"Boundary", u"charset", u"name", u"text"};
  static constexpr const char16_t* kProperties[] = {u"Subject", u"SubjectRaw", u"MessageID",
                                                    u"To",      u"From",       u"Sender",
                                                    u"Date",    u"Charset",    u"Body"};

  Object some_part(Object part) {
    while (part && number(3) > 0) {
      const Variant count = platform::get(part.get(), u"Count").value;
      if (count.vt != VT_I4 || count.lVal == 0) break;
      const Object child = item(part, number(static_cast<unsigned>(count.lVal)));
      if (!child) break;
      part = child;
    }
    return part;
  }

  void parameter(const Object& part, std::u16string_view field) {
    const Object shown = object(part, field);
    if (!shown) return;
    const Object parameters = object(shown, u"Parameters");
    if (!parameters) return;
    (void)platform::call(parameters.get(), u"Modify", one_of(kNames), value(),
                         Variant::boolean(number(2) > 0));
  }

  static inline const std::u16string kLong = std::u16string(90, u'w');

  // Pieces that mean something to a reader of messages.
  std::u16string text() {
    using namespace std::string_view_literals;
    static const std::u16string_view kPieces[] = {
        u"a",       u"b c",  u"\"",       u"\\",        u"=?utf-8?Q?x?=",
        u"=?",      u"?=",   u"\r\n",     u"\n",        u"\r",
        u" ",       u"\t",   u".",        u"--o",       u"\u00E9",
        u"\u0416",  u";",    u"=",        u":",         u",",
        u"<",       u">",    u"(",        u")",         u"@",
        u"[",       u"\0"sv, u"\r\n\r\n", u"\r\n.\r\n", u"begin 644 a\r\n#0V%T\r\nend\r\n",
        u"From: x", kLong};
    std::u16string result;
    for (LONG left = number(6); left > 0; --left) result += kPieces[random_() % std::size(kPieces)];
    return result;
  }

  Variant value() {
    switch (number(8)) {
      case 0:
        return Variant(number(10) - 2);
      case 1:
        return {};
      case 2:
        return Variant::date_value(38139.5);
      default:
        return Variant(text());
    }
  }

  Variant one_of(const Texts& usual) {
    return number(6) > 0 ? Variant(usual[random_() % usual.size()]) : value();
  }

  std::mt19937 random_;
};

TEST(RandomEdits, WhateverIsSavedLoadsAgain) {
  for (unsigned seed = 1; seed <= 600; ++seed) {
    SCOPED_TRACE(seed);
    RandomHost host(seed);
    const auto message = host.number(2) > 0 ? loaded(kNested) : new_message();
    for (LONG left = host.number(25); left >= 0; --left) host.edit(message);
    const std::string first = saved(message);
    EXPECT_EQ(first.find("\r\n.\r\n"), first.size() - 5) << first;
    for (std::size_t at = first.find('\n'); at != first.npos; at = first.find('\n', at + 1)) {
      ASSERT_EQ(first[at - 1], '\r') << first;
    }
    const auto again = new_message();
    ASSERT_EQ(load(again, first), S_OK) << take_error_text() << first;
    EXPECT_EQ(again.query<IPersistStream>()->IsDirty(), S_FALSE);
    // Reading takes folds out of some texts, once.
    const std::string second = saved(again);
    EXPECT_EQ(saved(loaded(second)), second);
  }
}

}  // namespace
}  // namespace tallowbrook::test
