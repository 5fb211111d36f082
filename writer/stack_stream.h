// StackStream: a stream between a coder and another stream. It lives on the stack of one transfer
// and counts no references. Everything is refused but what a derived class does.
#pragma once

#include "streams/sequential_stream.h"

namespace tallowbrook {

class StackStream : public SequentialStream {
 public:
  StackStream() = default;
  StackStream(const StackStream&) = delete;
  StackStream& operator=(const StackStream&) = delete;

  HRESULT QueryInterface(REFIID iid, void** object) final;
  ULONG AddRef() final { return 1; }
  ULONG Release() final { return 1; }
  HRESULT Read(void* pv, ULONG cb, ULONG* read) override;
  HRESULT Write(const void* pv, ULONG cb, ULONG* written) override;

 protected:
  ~StackStream() = default;
};

}  // namespace tallowbrook
