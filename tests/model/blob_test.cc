#include "model/blob.h"

#include "tests/model/host.h"

namespace tallowbrook::test {
namespace {

TEST(Blob, HoldsATextOfTheAnsiCodePageAndItself) {
  ComPtr<IBlob> blob;
  ASSERT_EQ(create_blob(IBlob::kIid, blob.out_void()), S_OK);
  const auto stream = blob.query<IStream>();
  EXPECT_EQ(blob->AssignString(platform::Bstr(u"h\u00e9llo").get()), S_OK);
  EXPECT_EQ(blob.query<IPersistStream>()->Save(stream.get(), TRUE), S_OK) << "into itself";
  EXPECT_EQ(blob.query<IPersistStream>()->Load(nullptr), E_POINTER);
  char bytes[16] = {};
  ULONG count = 0;
  EXPECT_EQ(stream->Read(bytes, sizeof bytes, &count), S_FALSE);
  EXPECT_EQ(std::string(bytes, count), "h\xE9lloh\xE9llo");
  EXPECT_EQ(blob.query<IPersistStream>()->Load(CISSHelper::create_with("new").get()), S_OK);
  EXPECT_EQ(stream->Read(bytes, sizeof bytes, &count), S_FALSE);
  EXPECT_EQ(std::string(bytes, count), "new");
  ULARGE_INTEGER size{};
  EXPECT_EQ(blob->AssignString(nullptr), S_OK);
  EXPECT_EQ(blob.query<IPersistStream>()->GetSizeMax(&size), S_OK);
  EXPECT_EQ(size.QuadPart, 0U);
}

}  // namespace
}  // namespace tallowbrook::test
