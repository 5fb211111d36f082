// StackStream: a stream between a coder and another stream. It lives on the stack of one transfer
// and counts no references. Everything is refused but what a derived class does.
#pragma once

#include "platform/storage/stream.h"

namespace tallowbrook {

class StackStream : public IStream {
 public:
  StackStream() = default;
  StackStream(const StackStream&) = delete;
  StackStream& operator=(const StackStream&) = delete;

  HRESULT QueryInterface(REFIID iid, void** object) final;
  ULONG AddRef() final { return 1; }
  ULONG Release() final { return 1; }
  HRESULT Read(void* pv, ULONG cb, ULONG* read) override;
  HRESULT Write(const void* pv, ULONG cb, ULONG* written) override;
  HRESULT Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) override;
  HRESULT SetSize(ULARGE_INTEGER) final { return E_NOTIMPL; }
  HRESULT CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER* read, ULARGE_INTEGER* written) final;
  HRESULT Commit(DWORD) final { return E_NOTIMPL; }
  HRESULT Revert() final { return E_NOTIMPL; }
  HRESULT LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) final { return E_NOTIMPL; }
  HRESULT UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) final { return E_NOTIMPL; }
  HRESULT Stat(STATSTG* stat, DWORD) final;
  HRESULT Clone(IStream** clone) final;

 protected:
  ~StackStream() = default;
};

}  // namespace tallowbrook
