// Saving into a stream that is also the content of a part that is being saved: a host may give one
// stream for both. The output is collected first, so that no part reads what the save writes.
#pragma once

#include "model/header_value.h"
#include "streams/memory_stream.h"
#include "writer/part_writer.h"

namespace tallowbrook {

// True when `stream` is the stream of this `Raw` value.
[[nodiscard]] bool is_stream_of(const HeaderValue& raw, ISequentialStream& stream);
// True when it is the content of the part `record` or of one below it.
[[nodiscard]] bool reads_from(const HeaderValue& record, ISequentialStream& stream);

// Hands a buffer's bytes on to `target`, at the position at which it stood when the object was
// made.
class BufferedTarget {
 public:
  explicit BufferedTarget(ISequentialStream& target);
  [[nodiscard]] IStream& buffer() { return *buffer_; }
  // False when the target did not take every byte.
  bool hand_on();

 private:
  ISequentialStream& target_;
  platform::ComPtr<CISSHelper> buffer_ = CISSHelper::create();
  platform::ComPtr<IStream> seekable_;
  ULARGE_INTEGER position_{};
};

template <class Write>
WriteOutcome write_buffered(ISequentialStream& target, Write&& write) {
  BufferedTarget buffered(target);
  WriteOutcome outcome = write(buffered.buffer());
  if (!buffered.hand_on()) outcome.complete = false;
  return outcome;
}

}  // namespace tallowbrook
