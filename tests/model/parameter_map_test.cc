#include "model/parameter_map.h"

#include <gtest/gtest.h>

#include "tests/support/dump.h"
#include "tests/support/fake_message.h"

namespace tallowbrook {
namespace {

using platform::Bstr;
using platform::Variant;
using test::FakeMessage;

struct ParameterMapTest : ::testing::Test {
  FakeMessage message;
  HeaderValue map = HeaderValue::map();
  HeaderValue holder =
      HeaderValue::list(HeaderValue::text("Content-Type"), {}, HeaderValue::raw("as loaded"));
  platform::ComPtr<CParameterMap> view;

  ParameterMapTest() {
    map.mutable_entries().insert("name", HeaderValue::text("\"a.txt\""));
    map.mutable_entries().insert("charset", HeaderValue::text("utf-8"));
    map.mutable_entries().insert("access", HeaderValue::integer(2));
    map.pin();
    holder.pin();
    view = make_object<CParameterMap>(map, holder, message.link);
  }
  bool edited() {
    const bool result = message.changes > 0 && !holder[2].is_set();
    message.changes = 0;
    holder.element(2) = HeaderValue::raw("as loaded");
    return result;
  }
};

TEST_F(ParameterMapTest, ReadsByNameAndPosition) {
  Variant value;
  EXPECT_EQ(view->get_Item(Variant(u"name"), &value), S_OK);
  EXPECT_EQ(value.text(), u"\"a.txt\"") << "quotes stay";
  value.clear();
  EXPECT_EQ(view->get_Item(Variant(LONG{0}), &value), S_OK);
  EXPECT_EQ(value.vt, VT_I4);
  value.clear();
  EXPECT_EQ(view->get_Item(Variant(u"2"), &value), S_OK);
  EXPECT_EQ(value.vt, VT_EMPTY) << "a string is a name, which is added";
  LONG count = 0;
  EXPECT_EQ(view->get_Count(&count), S_OK);
  EXPECT_EQ(count, 4);
  EXPECT_FALSE(edited()) << "an empty entry is no change";
  for (const LONG position : {4, -1}) {
    EXPECT_EQ(view->get_Item(Variant(position), &value), E_FAIL);
    Bstr name;
    EXPECT_EQ(view->get_ParameterName(position, name.out()), E_INVALIDARG);
  }
  Bstr name;
  EXPECT_EQ(view->get_ParameterName(2, name.out()), S_OK);
  EXPECT_EQ(name.view(), u"charset");
  Variant null;
  null.vt = VT_NULL;
  EXPECT_EQ(view->get_Item(null, &value), S_OK);
  VARIANT_BOOL exists = VARIANT_TRUE;
  EXPECT_EQ(view->Exists(Variant(u"Charset"), &exists), S_OK);
  EXPECT_EQ(exists, VARIANT_FALSE);
  Variant by_reference_target(u"charset");
  EXPECT_EQ(view->Exists(Variant::by_reference(&by_reference_target), &exists), S_OK);
  EXPECT_EQ(exists, VARIANT_TRUE);
}

TEST_F(ParameterMapTest, EveryEditDropsTheSourceAndNotifies) {
  EXPECT_EQ(view->Modify(Variant(u"name"), Variant(u"b"), VARIANT_TRUE), S_OK);
  EXPECT_TRUE(edited());
  EXPECT_EQ(view->Modify(Variant(u"size"), Variant(LONG{7}), VARIANT_FALSE), S_OK);
  EXPECT_TRUE(edited());
  EXPECT_EQ(view->Modify(Variant(LONG{0}), Variant(u"b"), VARIANT_TRUE), S_OK);
  EXPECT_FALSE(edited()) << "only names are modified";
  EXPECT_EQ(test::dump(map), "{access=2, charset=\"utf-8\", name=\"=?iso-8859-1?Q?b?=\", size=7}");
  EXPECT_EQ(view->Remove(Variant(u"nothing")), S_OK);
  EXPECT_FALSE(edited());
  EXPECT_EQ(view->Remove(Variant(LONG{9})), E_INVALIDARG);
  EXPECT_EQ(view->Remove(Variant(u"size")), S_OK);
  EXPECT_TRUE(edited());
  EXPECT_EQ(view->Remove(Variant(LONG{0})), S_OK);
  EXPECT_TRUE(edited());
  EXPECT_EQ(view->Clear(), S_OK);
  EXPECT_TRUE(edited());
  EXPECT_EQ(map.entries().size(), 0u);
}

}  // namespace
}  // namespace tallowbrook
