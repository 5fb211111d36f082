#include "model/mime_body.h"

#include <gtest/gtest.h>

#include "model/body_part.h"
#include "tallowbrook/content.h"
#include "tests/model/host.h"
#include "tests/support/dump.h"
#include "tests/support/fake_message.h"

namespace tallowbrook::test {
namespace {

using Object = ComPtr<IDispatch>;
using platform::Bstr;

constexpr const char* kMessage = R"(Subject: s
Content-Type: multipart/digest; boundary=b

--b
Content-Type: TEXT/html; name="a.htm"; Charset=ISO-8859-1
Content-Disposition: inline
Content-Transfer-Encoding: base64
X-Extra: one
 two

YWJj
--b

no fields
--b
Content-Type: ;;;
Content-Transfer-Encoding: x-odd

odd
--b--
.
)";

TEST(MimeBody, ReadsWhatWasLoadedAndChangesNothing) {
  const auto message = loaded(kMessage);
  const std::string before = saved(message);
  const Object root = object(message, u"Body");
  const Object html = item(root, 0);
  const Object bare = item(root, 1);
  const Object odd = item(root, 2);
  const struct {
    const Object& part;
    const char16_t* property;
    const char* value;
  } kRows[] = {
      {root, u"Count", "3"},
      {html, u"MajorContentType", "1"},
      {html, u"MinorContentType", "1"},
      {html, u"Encoding", "2"},
      {html, u"Name", "\"a.htm\""},
      {html, u"FileName", "\"a.htm\""},
      {html, u"Charset", "\"iso-8859-1\""},
      {html, u"Value", "\"abc\""},
      {html, u"Description", "-"},
      {bare, u"MajorContentType", "6"},
      {bare, u"MinorContentType", "0"},
      {bare, u"Charset", "\"\""},
      {odd, u"MajorContentType", "\";;;\""},
      {odd, u"Encoding", "\"x-odd\""},
  };
  for (const auto& row : kRows) {
    EXPECT_EQ(shown(row.part.get(), row.property), row.value) << to_ansi(row.property);
  }
  EXPECT_EQ(platform::get(html.get(), u"ExtField", text("x-EXTRA")).value.text(), u"one\n two");
  const Object disposition = object(html, u"ContentDisposition");
  EXPECT_EQ(read_text(disposition.get(), u"Value"), "inline");
  const auto parameters = object(disposition, u"Parameters").query<IParameterMap>();
  EXPECT_TRUE(done(*parameters, &IParameterMap::Exists, text("filename"))) << "left by FileName";

  EXPECT_EQ(platform::get(bare.get(), u"Fields").status, E_FAIL);
  EXPECT_EQ(platform::call(bare.get(), u"AddNew").status, E_INVALIDARG);
  EXPECT_EQ(platform::get(object(odd, u"ContentType").get(), u"Parameters").status, E_FAIL);
  EXPECT_EQ(put(odd.get(), u"Charset", text("utf-8")), E_FAIL) << "it would lose the text";
  for (const LONG outside : {3, -1}) {
    EXPECT_EQ(platform::get(root.get(), u"Item", outside).status, E_INVALIDARG);
  }
  EXPECT_FALSE(is_dirty(message));
  EXPECT_EQ(saved(message), before);
}

TEST(MimeBody, PutsStoreByTheTypeOfTheValue) {
  FakeMessage message;
  HeaderValue record = HeaderValue::list();
  const auto part = make_mime_body(record, nullptr, message.link);
  Variant date = Variant::date_value(38139.5);
  Variant null;
  null.vt = VT_NULL;
  Variant small;
  small.vt = VT_I2;
  small.iVal = -3;
  constexpr EntryName kType = EntryName::ContentType;
  constexpr EntryName kEncoding = EntryName::ContentTransferEncoding;
  constexpr EntryName kDescription = EntryName::ContentDescription;
  const struct {
    const char16_t* property;
    Variant value;
    EntryName field;
    const char* stored;
  } kRows[] = {
      {u"MinorContentType", Variant(u"HTML"), kType, "[1, 1]"},
      {u"MajorContentType", Variant(u"Image"), kType, "[2, 1]"},
      {u"MajorContentType", Variant(LONG{9}), kType, "[9, 1]"},
      {u"MajorContentType", null, kType, "[3, 1]"},
      {u"MinorContentType", Variant(u"octet-string"), kType, "[3, 0]"},
      {u"MinorContentType", Variant(u"jpg"), kType, "[3, 1]"},
      {u"MajorContentType", Variant(u"font"), kType, "[\"font\", 1]"},
      {u"MinorContentType", Variant(u"Octet"), kType, "[\"font\", 0]"},
      {u"MinorContentType", Variant(u"ttf"), kType, "[\"font\", \"ttf\"]"},
      {u"Encoding", Variant(u"Quoted-Printable"), kEncoding, "1"},
      {u"Encoding", Variant(u"uuencode"), kEncoding, "0"},
      {u"Encoding", small, kEncoding, "-3"},
      {u"Encoding", null, kEncoding, "0"},
      {u"Description", Variant(u"text"), kDescription, "\"text\""},
      {u"Description", null, kDescription, "\"text\""},
      {u"Description", Variant(), kDescription, "\"text\""},
      {u"Description", small, kDescription, "-3"},
      {u"Description", date, kDescription, "date \"Tue, 1 Jun 2004 12:00:00\""},
  };
  for (const auto& row : kRows) {
    EXPECT_EQ(put(part.get(), row.property, row.value), S_OK);
    EXPECT_EQ(std::exchange(message.changes, 0), 1) << row.stored;
    EXPECT_EQ(dump(field_value(record, row.field)), row.stored);
  }
  EXPECT_EQ(put(object(part, u"ContentType").get(), u"Major", text("text")), S_OK);
  EXPECT_EQ(shown(part.get(), u"MajorContentType"), "1");
  EXPECT_EQ(part->put_Charset(Variant(LONG{1})), E_INVALIDARG);
  EXPECT_EQ(part->put_Charset(Variant(u"utf-8")), S_OK);
  EXPECT_EQ(part->put_Name(Bstr(u"a b").get()), S_OK);
  EXPECT_EQ(dump(field_value(record, kType)[kTypeParameters]),
            "{charset=\"\"utf-8\"\", name=\"\"=?iso-8859-1?Q?a_b?=\"\"}");
  EXPECT_EQ(part->put_ExtField(Bstr(u"X:Y").get(), Variant(u"v")), E_INVALIDARG);
  EXPECT_EQ(part->put_ExtField(nullptr, Variant(u"v")), E_INVALIDARG);
  EXPECT_EQ(part->put_ExtField(Bstr(std::u16string_view(u"\0", 1)).get(), Variant(u"v")),
            E_INVALIDARG);
  EXPECT_EQ(part->put_ExtField(Bstr(u"X-Y").get(), Variant(u"v")), S_OK);
  EXPECT_EQ(part->put_ExtField(Bstr(u"x-y").get(), null), S_OK);
  Variant extra;
  EXPECT_EQ(part->get_ExtField(Bstr(u"X-Y").get(), &extra), S_OK);
  EXPECT_EQ(extra.text(), u"");
}

TEST(MimeBody, StandsAloneWithoutAPart) {
  ComPtr<IMimeBody> body;
  ASSERT_EQ(create_mime_body(IMimeBody::kIid, body.out_void()), S_OK);
  const auto persist = body.query<IPersistStream>();
  EXPECT_EQ(persist->Save(CISSHelper::create().get(), TRUE), E_FAIL);
  EXPECT_EQ(persist->Save(nullptr, TRUE), E_INVALIDARG);
  EXPECT_EQ(persist->Load(CISSHelper::create().get()), E_NOTIMPL);
  EXPECT_EQ(put(body.get(), u"Encoding", text("base64")), S_OK);
  EXPECT_EQ(shown(body.get(), u"Encoding"), "2");
  EXPECT_TRUE(is_dirty(body));
  Object disposition;
  ASSERT_EQ(create_content_disposition(IDispatch::kIid, disposition.out_void()), S_OK);
  EXPECT_EQ(put(disposition.get(), u"Value", text("x")), E_FAIL);
  Object type;
  ASSERT_EQ(create_content_type(IDispatch::kIid, type.out_void()), S_OK);
  EXPECT_EQ(platform::get(type.get(), u"Major").status, E_FAIL);
}

}  // namespace
}  // namespace tallowbrook::test
