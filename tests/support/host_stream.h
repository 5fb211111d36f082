// A host's stream as tests want it: it gives a few bytes at a time, fails when told to, and keeps
// what was written, write by write. It lives on the test's stack.
#pragma once

#include <algorithm>
#include <cstring>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "platform/storage/stream.h"

namespace tallowbrook::test {

class HostStream final : public IStream {
 public:
  explicit HostStream(std::string bytes = {}, ULONG step = std::numeric_limits<ULONG>::max())
      : content(std::move(bytes)), most_at_once(step) {}

  std::string content;  // what Read gives
  ULONG most_at_once;   // bytes a Read gives at most
  // Bytes a Write takes at most.
  ULONG most_taken = std::numeric_limits<ULONG>::max();
  std::size_t position = 0;
  std::vector<std::string> writes;  // what each successful Write got
  bool keep_writes = true;
  int reads_before_failure = -1;  // -1: never fails
  int writes_before_failure = -1;
  bool can_seek = true;
  std::function<void()> on_call;  // what the host does inside of Read and Write
  int references = 1;

  [[nodiscard]] std::string written() const {
    std::string all;
    for (const std::string& piece : writes) all += piece;
    return all;
  }

  HRESULT QueryInterface(REFIID iid, void** object) override {
    *object = nullptr;
    if (iid != IUnknown::kIid && iid != ISequentialStream::kIid && iid != IStream::kIid) {
      return E_NOINTERFACE;
    }
    *object = static_cast<IStream*>(this);
    AddRef();
    return S_OK;
  }
  ULONG AddRef() override { return static_cast<ULONG>(++references); }
  ULONG Release() override { return static_cast<ULONG>(--references); }

  HRESULT Read(void* pv, ULONG cb, ULONG* read) override {
    if (read != nullptr) *read = 0;
    if (on_call) on_call();
    if (reads_before_failure >= 0 && reads_before_failure-- == 0) return E_ACCESSDENIED;
    const std::size_t count = std::min<std::size_t>({cb, most_at_once, content.size() - position});
    if (count > 0) std::memcpy(pv, content.data() + position, count);
    position += count;
    if (read != nullptr) *read = static_cast<ULONG>(count);
    return count == cb ? S_OK : S_FALSE;
  }
  HRESULT Write(const void* pv, ULONG cb, ULONG* taken) override {
    if (taken != nullptr) *taken = 0;
    if (on_call) on_call();
    if (writes_before_failure >= 0 && writes_before_failure-- == 0) return STG_E_MEDIUMFULL;
    cb = std::min(cb, most_taken);
    if (keep_writes) writes.emplace_back(static_cast<const char*>(pv), cb);
    if (taken != nullptr) *taken = cb;
    return S_OK;
  }
  HRESULT Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* now) override {
    if (!can_seek) return E_NOTIMPL;
    const LONGLONG base = origin == STREAM_SEEK_SET   ? 0
                          : origin == STREAM_SEEK_CUR ? static_cast<LONGLONG>(position)
                                                      : static_cast<LONGLONG>(content.size());
    position = static_cast<std::size_t>(base + move.QuadPart);
    if (now != nullptr) now->QuadPart = position;
    return S_OK;
  }
  HRESULT SetSize(ULARGE_INTEGER) override { return E_NOTIMPL; }
  HRESULT CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER*, ULARGE_INTEGER*) override {
    return E_NOTIMPL;
  }
  HRESULT Commit(DWORD) override { return S_OK; }
  HRESULT Revert() override { return E_NOTIMPL; }
  HRESULT LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return E_NOTIMPL; }
  HRESULT UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return E_NOTIMPL; }
  HRESULT Stat(STATSTG*, DWORD) override { return E_NOTIMPL; }
  HRESULT Clone(IStream**) override { return E_NOTIMPL; }
};

}  // namespace tallowbrook::test
