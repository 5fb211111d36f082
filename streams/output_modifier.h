// COutputStreamModifier: turns bare LFs into CR LF on the way to another stream.
//
// An LF stays as it is when a CR stands before it, also when that CR ended the previous Write.
// Every other LF goes out as CR LF. Blocks without a bare LF are passed on whole.
//
// The filter counts no references of its own: AddRef and Release go to the inner stream, which must
// outlive the filter. All methods but Write and Release act on the inner stream unchanged; so a
// query leads past the filter.
#pragma once

#include <string_view>

#include "platform/storage/stream.h"

namespace tallowbrook {

class COutputStreamModifier final : public IStream {
 public:
  // With `delete_on_release` the filter, made with `new`, deletes itself when the inner stream's
  // count reaches 0 through it.
  explicit COutputStreamModifier(IStream& inner, bool delete_on_release = false)
      : inner_(inner), delete_on_release_(delete_on_release) {}
  COutputStreamModifier(const COutputStreamModifier&) = delete;
  COutputStreamModifier& operator=(const COutputStreamModifier&) = delete;

  // True once a write to the inner stream failed; `status` is the first failure, else S_OK.
  [[nodiscard]] bool failed() const { return FAILED(status_); }
  [[nodiscard]] HRESULT status() const { return status_; }

  HRESULT QueryInterface(REFIID iid, void** object) override {
    return inner_.QueryInterface(iid, object);
  }
  ULONG AddRef() override { return inner_.AddRef(); }
  ULONG Release() override;

  // `written` counts the bytes that reached the inner stream, added CRs included. A failing inner
  // write ends the call with its status; one that takes fewer bytes than it got is followed by
  // another for the rest, one that takes none has failed, with STG_E_MEDIUMFULL.
  HRESULT Write(const void* pv, ULONG cb, ULONG* written) override;

  HRESULT Read(void* pv, ULONG cb, ULONG* read) override { return inner_.Read(pv, cb, read); }
  HRESULT Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) override {
    return inner_.Seek(move, origin, position);
  }
  HRESULT SetSize(ULARGE_INTEGER size) override { return inner_.SetSize(size); }
  HRESULT CopyTo(IStream* target, ULARGE_INTEGER cb, ULARGE_INTEGER* read,
                 ULARGE_INTEGER* written) override {
    return inner_.CopyTo(target, cb, read, written);
  }
  HRESULT Commit(DWORD flags) override { return inner_.Commit(flags); }
  HRESULT Revert() override { return inner_.Revert(); }
  HRESULT LockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER cb, DWORD type) override {
    return inner_.LockRegion(offset, cb, type);
  }
  HRESULT UnlockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER cb, DWORD type) override {
    return inner_.UnlockRegion(offset, cb, type);
  }
  HRESULT Stat(STATSTG* stat, DWORD flags) override { return inner_.Stat(stat, flags); }
  HRESULT Clone(IStream** clone) override { return inner_.Clone(clone); }

 private:
  HRESULT pass_on(std::string_view block, ULONG* written);

  IStream& inner_;
  HRESULT status_ = S_OK;
  bool delete_on_release_;
  bool ended_with_cr_ = false;
};

}  // namespace tallowbrook
