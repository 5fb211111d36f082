#include "model/field_collection.h"

#include <gtest/gtest.h>

#include "model/body_part.h"
#include "tests/support/fake_message.h"

namespace tallowbrook {
namespace {

using platform::Bstr;
using platform::Variant;

HeaderValue sample_record() {
  HeaderValue record = HeaderValue::list();
  (void)find_or_add_entry(record, EntryName::ContentType);
  for (const char* name : {"X-One", "Content-Type", "x-one", "X-Two"}) {
    record.element(kPartFields)
        .push_back(HeaderValue::list(
            entry_name(EntryName::ExtField),
            HeaderValue::list(HeaderValue::text(name), HeaderValue::raw("value"))));
  }
  (void)find_or_add_entry(record, EntryName::ContentID);
  return record;
}

TEST(FieldCollection, RemovesByNameAndPosition) {
  const struct {
    Variant index;
    HRESULT status;
    const char16_t* left;
  } kRows[] = {
      {Variant(u"X-ONE"), S_OK, u"Content-Type,Content-Type,X-Two,Content-ID,"},
      {Variant(u"content-type"), S_OK, u"X-One,x-one,X-Two,Content-ID,"},
      {Variant(u"ExtField"), S_OK, u"Content-Type,Content-ID,"},
      {Variant(u"X-None"), E_FAIL, u"Content-Type,X-One,Content-Type,x-one,X-Two,Content-ID,"},
      {Variant(LONG{5}), S_OK, u"Content-Type,X-One,Content-Type,x-one,X-Two,"},
      {Variant(LONG{6}), E_INVALIDARG, u"Content-Type,X-One,Content-Type,x-one,X-Two,Content-ID,"},
      {Variant(LONG{-1}), E_INVALIDARG, u"Content-Type,X-One,Content-Type,x-one,X-Two,Content-ID,"},
  };
  for (const auto& row : kRows) {
    test::FakeMessage message;
    HeaderValue record = sample_record();
    const auto view =
        make_object<CFieldCollection>(share_list(record.element(kPartFields)), message.link);
    EXPECT_EQ(view->Remove(row.index), row.status);
    EXPECT_EQ(message.changes > 0, row.status == S_OK);
    std::u16string left;
    LONG count = 0;
    EXPECT_EQ(view->get_Count(&count), S_OK);
    for (LONG i = 0; i < count; ++i) {
      Bstr name;
      EXPECT_EQ(view->get_Item(i, name.out()), S_OK);
      left.append(name.view()).append(u",");
    }
    EXPECT_EQ(left, row.left);
    EXPECT_EQ(record[kPartFields].size(), static_cast<std::size_t>(count)) << "shared, not copied";
    Bstr name;
    EXPECT_EQ(view->get_Item(count, name.out()), E_INVALIDARG);
    EXPECT_EQ(view->Clear(), S_OK);
    EXPECT_EQ(record[kPartFields].size(), 0u);
  }
}

}  // namespace
}  // namespace tallowbrook
