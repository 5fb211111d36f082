#include "writer/shared_stream.h"

#include <vector>

#include "model/message_store.h"
#include "writer/message_output.h"

namespace tallowbrook {

bool is_stream_of(const HeaderValue& raw, ISequentialStream& stream) {
  if (!raw.is(ValueKind::Raw)) return false;
  if (raw.raw_in_memory()) {
    const auto memory = platform::query<CISSHelper>(&stream);
    if (!memory || memory->bytes().data() != raw.raw_view().data()) return false;
    return memory->size() > 0 || raw.stream().get() == memory.get();
  }
  const auto own = platform::query<IUnknown>(raw.stream().get());
  return own.get() == platform::query<IUnknown>(&stream).get();
}

bool reads_from(const HeaderValue& record, ISequentialStream& stream) {
  std::vector<HeaderValue> open{record};
  while (!open.empty()) {
    const HeaderValue body = open.back()[kPartBody];
    open.pop_back();
    if (is_stream_of(body, stream)) return true;
    for (std::size_t i = 0; i < body.size(); ++i) open.push_back(body[i]);
  }
  return false;
}

BufferedTarget::BufferedTarget(ISequentialStream& target)
    : target_(target), seekable_(platform::query<IStream>(&target)) {
  if (seekable_ && FAILED(seekable_->Seek({0}, STREAM_SEEK_CUR, &position_))) seekable_.reset();
}

bool BufferedTarget::hand_on() {
  if (seekable_) {
    const LARGE_INTEGER position{static_cast<LONGLONG>(position_.QuadPart)};
    seekable_->Seek(position, STREAM_SEEK_SET, nullptr);
  }
  MessageOutput out(target_);
  out.text(buffer_->bytes());
  return out.flush();
}

}  // namespace tallowbrook
