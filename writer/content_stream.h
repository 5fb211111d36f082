// The two ends of a coder's work on a part's content, and whether all of it went through.
//
// Coders take a Read that fails for the end and ignore what Write answers. What they read passes
// through a ContentStream and what they write through a TargetStream, so that it can be told when
// content is missing.
#pragma once

#include <utility>

#include "streams/memory_stream.h"
#include "writer/stack_stream.h"

namespace tallowbrook {

class ContentStream final : public StackStream {
 public:
  enum class From { kStart, kHere };

  // Goes to the start of `content` unless told to stay; `content` must outlive this object. Zero
  // bytes, which the line codings cannot hold, are left out when told so.
  explicit ContentStream(IStream& content, From from = From::kStart, bool without_zeros = false)
      : content_(content), without_zeros_(without_zeros) {
    if (from == From::kStart) ContentStream::Seek({0}, STREAM_SEEK_SET, nullptr);
  }

  // True once a Read or Seek of the content failed. Nothing is read behind a Read that failed; what
  // cannot be rewound, as a pipe, is read from where it stands.
  [[nodiscard]] bool failed() const { return failed_; }

  HRESULT Read(void* pv, ULONG cb, ULONG* read) override;
  HRESULT Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) override;

 private:
  HRESULT read_on(void* pv, ULONG cb, ULONG& got);

  IStream& content_;
  HRESULT read_status_ = S_OK;
  bool failed_ = false;
  bool without_zeros_;
};

// Hands every write on to `target`, which must outlive it, until one fails or is not taken at all.
class TargetStream final : public StackStream {
 public:
  explicit TargetStream(ISequentialStream& target) : target_(target) {}

  [[nodiscard]] bool failed() const { return failed_; }

  HRESULT Write(const void* pv, ULONG cb, ULONG* written) override;

 private:
  ISequentialStream& target_;
  bool failed_ = false;
};

// The stream when it is one in memory, whose bytes may be looked at and cannot fail to be read.
[[nodiscard]] platform::ComPtr<CISSHelper> in_memory(IStream& stream);

// Calls `use` with a stream that gives `content` from its start. False when that could not be read
// to its end: `use` was then called with what could.
template <class Use>
[[nodiscard]] bool use_content(IStream& content, Use&& use) {
  if (const auto memory = in_memory(content)) {
    memory->rewind();
    std::forward<Use>(use)(content);
    return true;
  }
  ContentStream watched(content);
  std::forward<Use>(use)(watched);
  return !watched.failed();
}

}  // namespace tallowbrook
