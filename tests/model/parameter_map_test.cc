#include "model/parameter_map.h"

#include "tests/model/host.h"
#include "tests/support/dump.h"
#include "tests/support/fake_message.h"

namespace tallowbrook::test {
namespace {

struct ParameterMapTest : ::testing::Test {
  FakeMessage message;
  HeaderValue map = HeaderValue::map();
  HeaderValue holder =
      HeaderValue::list(HeaderValue::text("Content-Type"), {}, HeaderValue::raw("as loaded"));
  ComPtr<CParameterMap> view;

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
  Variant null;
  null.vt = VT_NULL;
  const struct {
    Variant index;
    HRESULT status;
    VARTYPE found;
  } kRows[] = {
      {Variant(u"name"), S_OK, VT_BSTR},
      {Variant(LONG{0}), S_OK, VT_I4},
      {Variant(LONG{3}), E_FAIL, VT_EMPTY},
      {Variant(LONG{-1}), E_FAIL, VT_EMPTY},
      {Variant(u"2"), S_OK, VT_EMPTY},  // a string is a name, which is added
      {null, S_OK, VT_EMPTY},
  };
  for (const auto& row : kRows) {
    Variant value;
    EXPECT_EQ(view->get_Item(row.index, &value), row.status);
    EXPECT_EQ(value.vt, row.found);
  }
  EXPECT_FALSE(edited()) << "an empty entry is no change";
  Variant name(u"charset");
  EXPECT_FALSE(done(*view, &CParameterMap::Exists, Variant(u"Charset")));
  EXPECT_TRUE(done(*view, &CParameterMap::Exists, Variant::by_reference(&name)));
}

TEST_F(ParameterMapTest, EveryEditDropsTheSourceAndNotifies) {
  EXPECT_EQ(view->Modify(Variant(u"name"), Variant(u"b"), VARIANT_TRUE), S_OK);
  EXPECT_TRUE(edited());
  EXPECT_EQ(view->Modify(Variant(u"size"), Variant(LONG{7}), VARIANT_FALSE), S_OK);
  EXPECT_TRUE(edited());
  EXPECT_EQ(view->Modify(Variant(LONG{0}), Variant(u"b"), VARIANT_TRUE), S_OK);
  EXPECT_FALSE(edited()) << "only names are modified";
  EXPECT_EQ(dump(map), "{access=2, charset=\"utf-8\", name=\"=?iso-8859-1?Q?b?=\", size=7}");
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
}  // namespace tallowbrook::test
