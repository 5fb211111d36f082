// ContentStream: the content of a part on its way into a coder, and whether all of it could be had.
//
// Coders take a Read that fails for the end. What they read passes through here, so that the save
// can tell that content is missing. It lives on the stack of one save and counts no references; all
// but Read and Seek is refused.
#pragma once

#include "platform/storage/stream.h"

namespace tallowbrook {

class ContentStream final : public IStream {
 public:
  // Goes to the start of `content`, which must outlive this object. Zero bytes, which the line
  // codings cannot hold, are left out when told so.
  explicit ContentStream(IStream& content, bool without_zeros = false)
      : content_(content), without_zeros_(without_zeros) {
    Seek({0}, STREAM_SEEK_SET, nullptr);
  }
  ContentStream(const ContentStream&) = delete;
  ContentStream& operator=(const ContentStream&) = delete;

  // True once a Read or Seek of the content failed; nothing is read after that.
  [[nodiscard]] bool failed() const { return FAILED(status_); }

  HRESULT QueryInterface(REFIID iid, void** object) override;
  ULONG AddRef() override { return 1; }
  ULONG Release() override { return 1; }
  HRESULT Read(void* pv, ULONG cb, ULONG* read) override;
  HRESULT Write(const void*, ULONG, ULONG* written) override;
  HRESULT Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) override;
  HRESULT SetSize(ULARGE_INTEGER) override { return E_NOTIMPL; }
  HRESULT CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER* read, ULARGE_INTEGER* written) override;
  HRESULT Commit(DWORD) override { return E_NOTIMPL; }
  HRESULT Revert() override { return E_NOTIMPL; }
  HRESULT LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return E_NOTIMPL; }
  HRESULT UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return E_NOTIMPL; }
  HRESULT Stat(STATSTG* stat, DWORD) override;
  HRESULT Clone(IStream** clone) override;

 private:
  // Keeps the first failure.
  HRESULT noted(HRESULT status) {
    if (!failed()) status_ = status;
    return status;
  }

  IStream& content_;
  HRESULT status_ = S_OK;
  bool without_zeros_;
};

}  // namespace tallowbrook
