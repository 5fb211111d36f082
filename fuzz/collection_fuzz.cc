// A collection from a stream of a stranger's bytes: what could be read is kept, is written, and
// reads back as often as one likes.
#include "fuzz/fuzz.h"
#include "tallowbrook/collections.h"

namespace {

using namespace tallowbrook;

std::string written(const platform::ComPtr<ICollection>& collection) {
  const auto stream = CISSHelper::create();
  (void)collection.query<IPersistStream>()->Save(stream.get(), FALSE);
  return std::string(stream->bytes());
}

platform::ComPtr<ICollection> read(std::string_view bytes, HRESULT& status) {
  platform::ComPtr<ICollection> collection;
  (void)create_collection(ICollection::kIid, collection.out_void());
  const auto stream = CISSHelper::create_with(bytes);
  status = collection.query<IPersistStream>()->Load(stream.get());
  return collection;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tallowbrook::fuzz;
  HRESULT status = S_OK;
  const auto collection = read(Input(data, size).rest(), status);
  touch(collection.get());
  const std::string first = written(collection);
  const auto again = read(first, status);
  require(SUCCEEDED(status), "what was written does not read", first);
  LONG count = 0;
  LONG count_again = 0;
  (void)collection->get_Count(&count);
  (void)again->get_Count(&count_again);
  require(count_again <= count, "items appear", first);
  return 0;
}
