// Streams of the host's own: over an open file, and one that only counts.
//
// Both are counted plainly and used by one thread. What they do not offer answers E_NOTIMPL.
#pragma once

#include <cstdint>
#include <string>

#include "platform/storage/stream.h"

namespace tallowbrook::cli {

// The methods that a sequential stream has no use for, and the count of references.
class StreamBase : public IStream {
 public:
  StreamBase(const StreamBase&) = delete;
  StreamBase& operator=(const StreamBase&) = delete;

  HRESULT QueryInterface(REFIID iid, void** object) override;
  ULONG AddRef() override { return ++references_; }
  ULONG Release() override;

  HRESULT Read(void* pv, ULONG cb, ULONG* read) override;
  HRESULT Write(const void* pv, ULONG cb, ULONG* written) override;
  HRESULT Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) override;
  HRESULT SetSize(ULARGE_INTEGER size) override;
  HRESULT CopyTo(IStream* target, ULARGE_INTEGER cb, ULARGE_INTEGER* read,
                 ULARGE_INTEGER* written) override;
  HRESULT Commit(DWORD flags) override;
  HRESULT Revert() override;
  HRESULT LockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER cb, DWORD type) override;
  HRESULT UnlockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER cb, DWORD type) override;
  HRESULT Stat(STATSTG* stat, DWORD flags) override;
  HRESULT Clone(IStream** clone) override;

 protected:
  StreamBase() = default;
  virtual ~StreamBase() = default;

 private:
  ULONG references_ = 1;
};

// An open file, pipe or terminal. `Read` goes on until the request is full or the end is reached;
// interrupted calls are repeated. The first failure is kept, since whoever reads or writes through
// the stream may take it for the end.
class FileStream final : public StreamBase {
 public:
  // Closes `descriptor` at the end unless it is 0, 1 or 2.
  explicit FileStream(int descriptor) : descriptor_(descriptor) {}
  ~FileStream() override;

  HRESULT Read(void* pv, ULONG cb, ULONG* read) override;
  HRESULT Write(const void* pv, ULONG cb, ULONG* written) override;
  // For regular files only.
  HRESULT Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) override;
  HRESULT Stat(STATSTG* stat, DWORD flags) override;

  // Writes what is still held back to the disk and closes the file; false when any write failed,
  // also an earlier one. Files that cannot be synced (pipes, devices) are only closed.
  [[nodiscard]] bool finish();
  // The errno of the first failure, 0 for none.
  [[nodiscard]] int error() const { return error_; }

 private:
  HRESULT fail(int error);

  int descriptor_;
  int error_ = 0;
};

// Takes what a body part writes and counts the bytes after the empty line that ends its header.
class ContentCounter final : public StreamBase {
 public:
  HRESULT Write(const void* pv, ULONG cb, ULONG* written) override;

  [[nodiscard]] std::uint64_t content_size() const { return content_; }

 private:
  static constexpr char kHeaderEnd[] = "\r\n\r\n";
  unsigned matched_ = 2;  // octets of kHeaderEnd seen; a part without fields starts with CR LF
  std::uint64_t content_ = 0;
};

}  // namespace tallowbrook::cli
