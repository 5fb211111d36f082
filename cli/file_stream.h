// Streams of the host's own: over an open file, over a text in memory, and some that only pass on
// or count.
//
// All are counted plainly and used by one thread. What they do not offer answers E_NOTIMPL.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

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

// What ends a message on its way.
inline constexpr std::string_view kEndLine = ".\r\n";

// Finds the line that ends a message for the component, a dot with nothing but blanks behind it, in
// the bytes that are read, and keeps what follows it.
class DotLine {
 public:
  void take(std::string_view bytes);

  [[nodiscard]] bool found() const { return found_; }
  [[nodiscard]] const std::string& rest() const { return rest_; }

 private:
  enum class At { kStart, kDot, kCr, kInside };  // kCr: after the dot and a CR

  At at_ = At::kStart;
  bool found_ = false;
  std::string rest_;
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

  // Copies what has not been read yet.
  void pass_rest(ISequentialStream& target);

  // Writes what is still held back to the disk and closes the file; false when any write failed,
  // also an earlier one. Files that cannot be synced (pipes, devices) are only closed.
  [[nodiscard]] bool finish();
  // Only closes the file; as above.
  [[nodiscard]] bool close();
  // The errno of the first failure, 0 for none.
  [[nodiscard]] int error() const { return error_; }

 private:
  HRESULT fail(int error);

  int descriptor_;
  int error_ = 0;
};

// A message in a file, as the component reads it.
class MessageInput final : public StreamBase {
 public:
  // The component takes the end of a file for a further empty line and the line that ends a
  // message. With `closed` it gets that line alone where the file holds none, behind its last line.
  MessageInput(platform::ComPtr<FileStream> source, bool closed)
      : source_(std::move(source)), closed_(closed) {}

  HRESULT Read(void* pv, ULONG cb, ULONG* read) override;

  // The file itself holds that line.
  [[nodiscard]] bool found_end_line() const { return dot_line_.found(); }
  // Writes that line, if the file holds it, and all that follows it; 0 or the errno of reading.
  int pass_rest(IStream& target);

 private:
  platform::ComPtr<FileStream> source_;
  bool closed_;
  DotLine dot_line_;
  char last_ = '\0';            // of the file
  std::size_t line_given_ = 0;  // bytes of the line that is no part of the file
};

// A text to be read, in memory.
class TextStream final : public StreamBase {
 public:
  explicit TextStream(std::string text) : text_(std::move(text)) {}

  HRESULT Read(void* pv, ULONG cb, ULONG* read) override;
  HRESULT Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) override;
  HRESULT Stat(STATSTG* stat, DWORD flags) override;

 private:
  std::string text_;
  std::size_t position_ = 0;
};

// Collects what is written to it.
class Collector final : public StreamBase {
 public:
  HRESULT Write(const void* pv, ULONG cb, ULONG* written) override;

  [[nodiscard]] std::string take() { return std::move(text_); }

 private:
  std::string text_;
};

// Passes a saved message on without the line "." that the component puts at its end: it belongs to
// the transport, and other programs would show it.
class WithoutDotLine final : public StreamBase {
 public:
  explicit WithoutDotLine(IStream& target) : target_(target) {}

  HRESULT Write(const void* pv, ULONG cb, ULONG* written) override;
  // Passes on what was held back, unless it is that line.
  void finish();

 private:
  IStream& target_;
  std::string held_;  // the last bytes, at most as many as the line has
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
