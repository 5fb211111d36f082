#include "writer/part_transfer.h"

#include <utility>

#include "coding/coder_factory.h"
#include "model/body_part.h"
#include "streams/memory_stream.h"

namespace tallowbrook {

bool export_content(const HeaderValue& record, IStream& target) {
  const HeaderValue body = record[kPartBody];
  if (!body.is(ValueKind::Raw)) return false;
  const auto coder = make_coder(is_decoded(record) ? kNoEncoding : encoding_number(record));
  const platform::ComPtr<IStream> content = body.stream();
  content->Seek({0}, STREAM_SEEK_SET, nullptr);
  coder->Decode(*content, target);
  return true;
}

bool import_content(HeaderValue& record, platform::ComPtr<IStream> source, bool by_reference) {
  if (is_multipart(record)) return false;
  if (!by_reference) {
    platform::ComPtr<CISSHelper> copy = CISSHelper::create();
    copy->append_from(*source);
    copy->rewind();
    source = std::move(copy);
  }
  set_decoded_content(record, std::move(source));
  return true;
}

}  // namespace tallowbrook
