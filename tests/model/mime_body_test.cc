#include "model/mime_body.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <functional>

#include "core/creators.h"
#include "model/body_part.h"
#include "tallowbrook/content.h"
#include "tests/support/dump.h"
#include "tests/support/fake_message.h"
#include "tests/support/host_stream.h"

namespace tallowbrook {
namespace {

using platform::Bstr;
using platform::ComPtr;
using platform::Variant;
using test::FakeMessage;

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

struct MimeBodyTest : ::testing::Test {
  std::unique_ptr<FakeMessage> message = std::make_unique<FakeMessage>();
  ComPtr<CMimeBody> root;

  MimeBodyTest() {
    EXPECT_EQ(test::load(kMessage, message->data), S_OK);
    root = make_root_body(message->data, message->link);
  }
  ComPtr<CMimeBody> child(LONG index) {
    ComPtr<IDispatch> part;
    EXPECT_EQ(root->get_Item(index, part.out()), S_OK);
    return ComPtr<CMimeBody>(static_cast<CMimeBody*>(part.get()));
  }
  bool changed() { return std::exchange(message->changes, 0) > 0; }
};

template <class Part, class Result>
Variant get(Part& part, HRESULT (Part::*member)(Result*)) {
  if constexpr (std::is_same_v<Result, BSTR>) {
    Bstr text;
    EXPECT_EQ((part.*member)(text.out()), S_OK);
    return Variant(text.view());
  } else {
    Variant value;
    EXPECT_EQ((part.*member)(&value), S_OK);
    return value;
  }
}

template <class I, class Part>
ComPtr<I> view(Part& part, HRESULT (Part::*member)(IDispatch**)) {
  ComPtr<IDispatch> object;
  EXPECT_EQ((part.*member)(object.out()), S_OK);
  return object.template query<I>();
}

TEST_F(MimeBodyTest, ReadsWhatWasLoadedAndChangesNothing) {
  const std::string saved = message->saved();
  LONG count = 0;
  EXPECT_EQ(root->get_Count(&count), S_OK);
  EXPECT_EQ(count, 3);
  const auto html = child(0);
  EXPECT_EQ(get(*html, &CMimeBody::get_MajorContentType).lVal, kText);
  EXPECT_EQ(get(*html, &CMimeBody::get_MinorContentType).lVal, 1);
  EXPECT_EQ(get(*html, &CMimeBody::get_Encoding).lVal, kBase64);
  EXPECT_EQ(get(*html, &CMimeBody::get_Name).text(), u"a.htm");
  EXPECT_EQ(get(*html, &CMimeBody::get_FileName).text(), u"a.htm");
  EXPECT_EQ(get(*html, &CMimeBody::get_Charset).text(), u"iso-8859-1");
  EXPECT_EQ(get(*html, &CMimeBody::get_Value).text(), u"abc");
  EXPECT_EQ(get(*html, &CMimeBody::get_Description).vt, VT_EMPTY);
  Variant extra;
  EXPECT_EQ(html->get_ExtField(Bstr(u"x-EXTRA").get(), &extra), S_OK);
  EXPECT_EQ(extra.text(), u"one\n two");
  const auto disposition = view<IContentDisposition>(*html, &CMimeBody::get_ContentDisposition);
  EXPECT_EQ(get(*disposition, &IContentDisposition::get_Value).text(), u"inline");
  const auto parameters = view<IParameterMap>(*disposition, &IContentDisposition::get_Parameters);
  VARIANT_BOOL exists = VARIANT_FALSE;
  EXPECT_EQ(parameters->Exists(Variant(u"filename"), &exists), S_OK);
  EXPECT_EQ(exists, VARIANT_TRUE) << "left behind by FileName";

  const auto bare = child(1);
  EXPECT_EQ(get(*bare, &CMimeBody::get_MajorContentType).lVal, tallowbrook::kMessage);
  EXPECT_EQ(get(*bare, &CMimeBody::get_MinorContentType).lVal, kRfc822);
  EXPECT_EQ(get(*bare, &CMimeBody::get_Charset).text(), u"");
  ComPtr<IDispatch> none;
  EXPECT_EQ(bare->get_Fields(none.out()), E_FAIL);
  EXPECT_EQ(bare->get_Item(0, none.out()), E_INVALIDARG);
  EXPECT_EQ(bare->AddNew(nullptr), E_INVALIDARG);
  EXPECT_EQ(bare->Remove(0), S_OK);
  EXPECT_EQ(bare->Clear(), S_OK);

  const auto odd = child(2);
  EXPECT_EQ(get(*odd, &CMimeBody::get_MajorContentType).text(), u";;;");
  EXPECT_EQ(get(*odd, &CMimeBody::get_Encoding).text(), u"x-odd");
  const auto type = view<IContentType>(*odd, &CMimeBody::get_ContentType);
  EXPECT_EQ(type->get_Parameters(none.out()), E_FAIL);
  EXPECT_EQ(odd->put_Charset(Variant(u"utf-8")), E_FAIL) << "it would lose the text";

  EXPECT_EQ(root->get_Item(3, none.out()), E_INVALIDARG);
  EXPECT_EQ(root->get_Item(-1, none.out()), E_INVALIDARG);
  EXPECT_FALSE(changed());
  EXPECT_EQ(message->saved(), saved);
}

TEST_F(MimeBodyTest, PutsStoreByTheTypeOfTheValue) {
  HeaderValue record = HeaderValue::list();
  const auto part = make_mime_body(record, nullptr, message->link);
  Variant date = Variant::date_value(38139.5);
  Variant null;
  null.vt = VT_NULL;
  Variant small;
  small.vt = VT_I2;
  small.iVal = -3;
  using Put = HRESULT (CMimeBody::*)(VARIANT);
  constexpr Put major = &CMimeBody::put_MajorContentType;
  constexpr Put minor = &CMimeBody::put_MinorContentType;
  constexpr Put encoding = &CMimeBody::put_Encoding;
  constexpr Put description = &CMimeBody::put_Description;
  constexpr EntryName kType = EntryName::ContentType;
  constexpr EntryName kEncoding = EntryName::ContentTransferEncoding;
  constexpr EntryName kDescription = EntryName::ContentDescription;
  const struct {
    Put put;
    Variant value;
    EntryName field;
    const char* stored;
  } kRows[] = {
      {minor, Variant(u"HTML"), kType, "[1, 1]"},
      {major, Variant(u"Image"), kType, "[2, 1]"},
      {major, Variant(LONG{9}), kType, "[9, 1]"},
      {major, null, kType, "[3, 1]"},
      {major, Variant(u"font"), kType, "[\"font\", 1]"},
      {minor, Variant(u"Octet"), kType, "[\"font\", 0]"},
      {minor, Variant(u"ttf"), kType, "[\"font\", \"ttf\"]"},
      {encoding, Variant(u"Quoted-Printable"), kEncoding, "1"},
      {encoding, Variant(u"uuencode"), kEncoding, "0"},
      {encoding, small, kEncoding, "-3"},
      {encoding, null, kEncoding, "0"},
      {description, Variant(u"text"), kDescription, "\"text\""},
      {description, null, kDescription, "\"text\""},
      {description, Variant(), kDescription, "\"text\""},
      {description, small, kDescription, "-3"},
      {description, date, kDescription, "date \"Tue, 1 Jun 2004 12:00:00\""},
  };
  for (const auto& row : kRows) {
    EXPECT_EQ(((*part).*row.put)(row.value), S_OK);
    EXPECT_TRUE(changed());
    EXPECT_EQ(test::dump(field_value(record, row.field)), row.stored);
  }
  EXPECT_EQ(part->put_Charset(Variant(LONG{1})), E_INVALIDARG);
  EXPECT_EQ(part->put_Charset(Variant(u"utf-8")), S_OK);
  EXPECT_EQ(part->put_Name(Bstr(u"a b").get()), S_OK);
  EXPECT_EQ(test::dump(field_value(record, kType)[kTypeParameters]),
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

TEST_F(MimeBodyTest, MovesContentInAndOut) {
  const auto part = child(0);
  EXPECT_EQ(part->put_Charset(Variant(u"")), S_OK) << "with a charset the text goes as UTF-16";
  test::HostStream exported;
  VARIANT_BOOL done = VARIANT_FALSE;
  EXPECT_EQ(part->Export(&exported, &done), S_OK);
  EXPECT_EQ(exported.written(), "abc");
  EXPECT_EQ(done, VARIANT_TRUE);

  test::HostStream source("skipped, taken", 3);
  source.position = 9;
  EXPECT_EQ(part->Import(&source, VARIANT_FALSE, &done), S_OK);
  EXPECT_EQ(done, VARIANT_TRUE);
  EXPECT_TRUE(changed());
  EXPECT_EQ(get(*part, &CMimeBody::get_Value).text(), u"taken");
  EXPECT_NE(message->saved().find("dGFrZW4=\r\n"), std::string::npos);

  const auto shared = CISSHelper::create_with("shared");
  EXPECT_EQ(part->Import(shared.get(), VARIANT_TRUE, &done), S_OK);
  shared->write("SHARED");
  EXPECT_EQ(get(*part, &CMimeBody::get_Value).text(), u"SHARED");

  const std::string path = ::testing::TempDir() + "mime_body_content.bin";
  const std::u16string wide(path.begin(), path.end());
  EXPECT_EQ(part->ExportAsFile(Bstr(wide).get(), &done), S_OK);
  EXPECT_EQ(done, VARIANT_TRUE);
  EXPECT_EQ(part->put_Value(Bstr(u"other").get()), S_OK);
  EXPECT_EQ(part->ImportFromFile(Bstr(wide).get(), VARIANT_FALSE, &done), S_OK);
  EXPECT_EQ(get(*part, &CMimeBody::get_Value).text(), u"SHARED");
  std::remove(path.c_str());

  changed();
  const std::string saved = message->saved();
  Bstr text;
  EXPECT_EQ(root->get_Value(text.out()), E_FAIL);
  EXPECT_EQ(root->put_Value(Bstr(u"lost").get()), E_FAIL) << "a multipart keeps its children";
  EXPECT_EQ(root->Import(&source, VARIANT_FALSE, &done), S_OK);
  EXPECT_EQ(done, VARIANT_FALSE);
  EXPECT_EQ(part->Export(nullptr, &done), S_OK);
  EXPECT_EQ(done, VARIANT_FALSE);
  EXPECT_FALSE(changed());
  EXPECT_EQ(message->saved(), saved);
}

// Views that outlive what they show: each way of losing it, and then every view in use.
TEST_F(MimeBodyTest, ViewsOutliveTheirPartAndMessage) {
  const std::function<void()> kLosses[] = {
      [&] { EXPECT_EQ(root->Remove(0), S_OK); },
      [&] { EXPECT_EQ(root->Clear(), S_OK); },
      [&] { message->data.root.Reset(); },
      [&] { EXPECT_EQ(test::load(kMessage, message->data), S_OK); },
      [&] { message.reset(); },
      [&] {
        root.reset();
        message.reset();
      },
      [&] {
        ComPtr<IDispatch> fields;
        EXPECT_EQ(child(0)->get_Fields(fields.out()), S_OK);
        EXPECT_EQ(fields.query<IFieldCollection>()->Clear(), S_OK);
      },
  };
  for (const auto& lose : kLosses) {
    message = std::make_unique<FakeMessage>();
    ASSERT_EQ(test::load(kMessage, message->data), S_OK);
    root = make_root_body(message->data, message->link);
    auto part = child(0);
    const auto type = view<IContentType>(*part, &CMimeBody::get_ContentType);
    const auto disposition = view<IContentDisposition>(*part, &CMimeBody::get_ContentDisposition);
    const auto fields = view<IFieldCollection>(*part, &CMimeBody::get_Fields);
    const auto map = view<IParameterMap>(*type, &IContentType::get_Parameters);
    const auto filed = view<IParameterMap>(*disposition, &IContentDisposition::get_Parameters);
    lose();
    const std::string saved = message ? message->saved() : "";
    EXPECT_EQ(map->Modify(Variant(u"name"), Variant(u"edited"), VARIANT_TRUE), S_OK);
    EXPECT_EQ(filed->Modify(Variant(u"filename"), Variant(u"edited"), VARIANT_TRUE), S_OK);
    EXPECT_EQ(disposition->put_Value(Variant(u"edited")), S_OK);
    if (message) {
      EXPECT_EQ(message->saved(), saved) << "edits reach no message";
    }
    EXPECT_EQ(part->put_Name(Bstr(u"edited").get()), S_OK);
    EXPECT_EQ(part->put_Value(Bstr(u"edited").get()), S_OK);
    EXPECT_EQ(type->put_Major(Variant(u"multipart")), S_OK);
    EXPECT_EQ(part->AddNew(nullptr), S_OK);
    EXPECT_EQ(fields->Remove(Variant(LONG{0})), S_OK);
    part.reset();
    EXPECT_EQ(get(*type, &IContentType::get_Major).vt, VT_I4);
  }
}

TEST(MimeBody, StandsAloneWithoutAPart) {
  ComPtr<IMimeBody> body;
  ASSERT_EQ(create_mime_body(IMimeBody::kIid, body.out_void()), S_OK);
  const auto persist = body.query<IPersistStream>();
  ASSERT_TRUE(persist && body.query<IPersistStreamInit>());
  EXPECT_EQ(persist->Save(CISSHelper::create().get(), TRUE), E_FAIL);
  EXPECT_EQ(persist->Save(nullptr, TRUE), E_INVALIDARG);
  EXPECT_EQ(persist->Load(CISSHelper::create().get()), E_NOTIMPL);
  EXPECT_EQ(persist->IsDirty(), S_FALSE);
  EXPECT_EQ(body->put_Encoding(Variant(u"base64")), S_OK);
  EXPECT_EQ(persist->IsDirty(), S_OK);
  Variant encoding;
  EXPECT_EQ(body->get_Encoding(&encoding), S_OK);
  EXPECT_EQ(encoding.lVal, kBase64);
  ComPtr<IContentDisposition> disposition;
  ASSERT_EQ(create_content_disposition(IContentDisposition::kIid, disposition.out_void()), S_OK);
  EXPECT_EQ(disposition->put_Value(Variant(u"x")), E_FAIL);
  ComPtr<IContentType> type;
  ASSERT_EQ(create_content_type(IContentType::kIid, type.out_void()), S_OK);
  EXPECT_EQ(type->get_Major(&encoding), E_FAIL);
}

}  // namespace
}  // namespace tallowbrook
