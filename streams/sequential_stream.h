// An IStream that reads and writes and does no more: what it does not offer answers E_NOTIMPL, with
// cleared out-parameters. A class overrides what it has, and at least Read and Write.
#pragma once

#include "platform/storage/stream.h"

namespace tallowbrook {

struct SequentialStream : IStream {
  HRESULT Seek(LARGE_INTEGER, DWORD, ULARGE_INTEGER* position) override {
    if (position != nullptr) position->QuadPart = 0;
    return E_NOTIMPL;
  }
  HRESULT SetSize(ULARGE_INTEGER) override { return E_NOTIMPL; }
  HRESULT CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER* read, ULARGE_INTEGER* written) override {
    if (read != nullptr) read->QuadPart = 0;
    if (written != nullptr) written->QuadPart = 0;
    return E_NOTIMPL;
  }
  HRESULT Commit(DWORD) override { return E_NOTIMPL; }
  HRESULT Revert() override { return E_NOTIMPL; }
  HRESULT LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return E_NOTIMPL; }
  HRESULT UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return E_NOTIMPL; }
  HRESULT Stat(STATSTG* stat, DWORD) override {
    if (stat != nullptr) *stat = STATSTG{};
    return E_NOTIMPL;
  }
  HRESULT Clone(IStream** clone) override {
    if (clone != nullptr) *clone = nullptr;
    return E_NOTIMPL;
  }
};

}  // namespace tallowbrook
