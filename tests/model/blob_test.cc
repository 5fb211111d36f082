#include "model/blob.h"

#include <gtest/gtest.h>

#include "core/creators.h"
#include "tests/support/host_stream.h"

namespace tallowbrook {
namespace {

using platform::Bstr;
using platform::ComPtr;

TEST(Blob, HoldsBytesAndHandsOutItsStream) {
  ComPtr<IBlob> blob;
  ASSERT_EQ(create_blob(IBlob::kIid, blob.out_void()), S_OK);
  const auto persist = blob.query<IPersistStream>();
  const auto stream = blob.query<IStream>();
  ASSERT_TRUE(persist && stream);
  EXPECT_EQ(blob->AssignString(Bstr(u"h\u00e9llo").get()), S_OK);
  ULARGE_INTEGER size{};
  EXPECT_EQ(persist->GetSizeMax(&size), S_OK);
  EXPECT_EQ(size.QuadPart, 5u);
  char bytes[8] = {};
  ULONG read = 0;
  EXPECT_EQ(stream->Read(bytes, sizeof bytes, &read), S_FALSE);
  EXPECT_EQ(std::string(bytes, read), "h\xE9llo");

  test::HostStream host(std::string(10000, 'x'), 7);
  EXPECT_EQ(persist->Load(&host), S_OK);
  test::HostStream target;
  EXPECT_EQ(persist->Save(&target, TRUE), S_OK);
  EXPECT_EQ(target.written(), std::string(10000, 'x'));
  EXPECT_EQ(target.writes.size(), 3u);
  EXPECT_EQ(persist->Save(stream.get(), TRUE), S_OK) << "into itself";
  EXPECT_EQ(persist->Load(nullptr), E_POINTER);
  EXPECT_EQ(blob->AssignString(nullptr), S_OK);
  EXPECT_EQ(persist->GetSizeMax(&size), S_OK);
  EXPECT_EQ(size.QuadPart, 0u);
}

}  // namespace
}  // namespace tallowbrook
