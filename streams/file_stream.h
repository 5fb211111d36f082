// CFileSystemStream: a stream over a file handle, buffered in blocks of 4096 bytes.
//
// Transfers of a block or more go straight to the file, smaller ones through one buffer for reading
// and one for writing. Reading and writing have a position each; `Seek` sets both. Positions are
// 32 bits wide: a transfer that would pass 4 GiB fails. What has no positions, as a pipe, is read
// and written in order whatever the positions say.
//
// A write may be reported only by a later call, since it sits in the buffer until then, and the
// last one only when the stream is flushed: ask `write_status()` after `flush()`.
#pragma once

#include <memory>

#include "core/object.h"
#include "streams/sequential_stream.h"

namespace tallowbrook {

class CFileSystemStream final : public Object<Confined, SequentialStream> {
 public:
  // Opens an existing file for reading (others may read it too), or makes an empty file for writing
  // that nobody shares. Null when the file cannot be opened; GetLastError tells why. `path` is a
  // zero-ended text, or null, which no file has for its name.
  [[nodiscard]] static platform::ComPtr<CFileSystemStream> open_for_reading(const OLECHAR* path);
  [[nodiscard]] static platform::ComPtr<CFileSystemStream> open_for_writing(const OLECHAR* path);

  // Closes `file` in the end when it owns it.
  explicit CFileSystemStream(HANDLE file, bool owns_handle = true)
      : file_(file), owns_handle_(owns_handle) {}

  // Writes the buffered bytes. E_FAIL when that failed; the buffer is empty then, too.
  HRESULT flush();
  // S_OK, or the status of the first write that failed since the stream was made.
  [[nodiscard]] HRESULT write_status() const { return write_status_; }

  // S_OK also at the end of the file, with fewer bytes than asked.
  HRESULT Read(void* pv, ULONG cb, ULONG* read) override;
  HRESULT Write(const void* pv, ULONG cb, ULONG* written) override;
  // STREAM_SEEK_END counts back from the end of the file.
  HRESULT Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) override;

 private:
  ~CFileSystemStream() override;
  HRESULT read_at_position(void* pv, ULONG cb, ULONG* got);
  HRESULT refill();
  HRESULT write_at_position(const void* pv, ULONG cb, ULONG* written);
  HRESULT append_to_buffer(const void* pv, ULONG cb, ULONG* written);

  HANDLE file_;
  ULONG read_position_ = 0;
  ULONG write_position_ = 0;
  std::unique_ptr<char[]> write_buffer_;
  ULONG write_fill_ = 0;
  std::unique_ptr<char[]> read_buffer_;
  ULONG read_fill_ = 0;
  ULONG read_offset_ = 0;
  HRESULT write_status_ = S_OK;
  bool owns_handle_;
};

}  // namespace tallowbrook
