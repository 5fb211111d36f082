// MessageOutput: collects what the writer puts out and hands it on in blocks.
//
// It is a stream itself, so that coders can write through it; all but Write is refused. It lives on
// the stack of one save and counts no references. A failing target ends the output: what follows is
// dropped, as the bytes behind a gap would be worth nothing.
#pragma once

#include <string>
#include <string_view>

#include "model/header_value.h"
#include "platform/storage/stream.h"
#include "writer/dot_guard.h"

namespace tallowbrook {

class MessageOutput final : public IStream {
 public:
  explicit MessageOutput(ISequentialStream& target) : target_(target) { buffer_.reserve(kBlock); }
  MessageOutput(const MessageOutput&) = delete;
  MessageOutput& operator=(const MessageOutput&) = delete;

  void text(std::string_view bytes);
  // All the content of a `Raw` value, whose stream is read from its start in blocks; what cannot be
  // read is missed.
  void raw(const HeaderValue& value);
  // Begins a new line unless the output stands at the beginning of one.
  void close_line();
  // From here on what coders write passes through `guard`, which must outlive it; null for none.
  void set_guard(DotGuard* guard) { guard_ = guard; }
  // Notes that content could not be read: the output goes on, but it is not whole.
  void miss_content() { missed_ = true; }
  // Hands on what is collected; false when a write failed, then or earlier, or content is missing.
  bool flush();

  HRESULT QueryInterface(REFIID iid, void** object) override;
  ULONG AddRef() override { return 1; }
  ULONG Release() override { return 1; }
  HRESULT Write(const void* pv, ULONG cb, ULONG* written) override;
  HRESULT Read(void*, ULONG, ULONG* read) override;
  HRESULT Seek(LARGE_INTEGER, DWORD, ULARGE_INTEGER* position) override;
  HRESULT SetSize(ULARGE_INTEGER) override { return E_NOTIMPL; }
  HRESULT CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER* read, ULARGE_INTEGER* written) override;
  HRESULT Commit(DWORD) override { return E_NOTIMPL; }
  HRESULT Revert() override { return E_NOTIMPL; }
  HRESULT LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return E_NOTIMPL; }
  HRESULT UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return E_NOTIMPL; }
  HRESULT Stat(STATSTG* stat, DWORD) override;
  HRESULT Clone(IStream** clone) override;

 private:
  static constexpr std::size_t kBlock = 16384;
  void pass_on(std::string_view block);

  ISequentialStream& target_;
  std::string buffer_;
  DotGuard* guard_ = nullptr;
  bool at_line_start_ = true;
  bool failed_ = false;
  bool missed_ = false;
};

}  // namespace tallowbrook
