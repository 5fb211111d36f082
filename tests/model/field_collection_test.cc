#include "model/field_collection.h"

#include "tests/model/host.h"

namespace tallowbrook::test {
namespace {

TEST(FieldCollection, RemovesByNameAndPosition) {
  constexpr const char* kAll = "Content-ID,X-One,Content-Type,x-one,X-Two,";
  const struct {
    Variant index;
    HRESULT status;
    const char* left;
  } kRows[] = {
      {text("X-ONE"), S_OK, "Content-ID,Content-Type,X-Two,"},
      {text("content-type"), S_OK, "Content-ID,X-One,x-one,X-Two,"},
      {text("ExtField"), S_OK, "Content-ID,Content-Type,"},
      {text("X-None"), E_FAIL, kAll},
      {Variant(LONG{4}), S_OK, "Content-ID,X-One,Content-Type,x-one,"},
      {Variant(LONG{5}), E_INVALIDARG, kAll},
      {Variant(LONG{-1}), E_INVALIDARG, kAll},
  };
  for (const auto& row : kRows) {
    const auto message = loaded(
        "Content-ID: <a>\r\nX-One: 1\r\nContent-Type: text/plain\r\nx-one: 2\r\nX-Two: 3\r\n\r\n");
    const auto fields = object(object(message, u"Body"), u"Fields");
    EXPECT_EQ(platform::call(fields.get(), u"Remove", row.index).status, row.status);
    EXPECT_EQ(is_dirty(message), row.status == S_OK);
    std::string left;
    const LONG count = read(fields.get(), u"Count").lVal;
    for (LONG i = 0; i < count; ++i) {
      left += to_ansi(platform::get(fields.get(), u"Item", i).value.text()) + ",";
    }
    EXPECT_EQ(left, row.left);
    EXPECT_EQ(platform::get(fields.get(), u"Item", count).status, E_INVALIDARG);
  }
}

}  // namespace
}  // namespace tallowbrook::test
