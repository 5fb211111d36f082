// MessageOutput: collects what the writer puts out and hands it on in blocks.
//
// It is a stream itself, so that coders can write through it. A failing target ends the output:
// what follows is dropped, as the bytes behind a gap would be worth nothing.
#pragma once

#include <string>
#include <string_view>

#include "model/header_value.h"
#include "platform/storage/stream.h"
#include "writer/dot_guard.h"
#include "writer/stack_stream.h"

namespace tallowbrook {

class MessageOutput final : public StackStream {
 public:
  explicit MessageOutput(ISequentialStream& target) : target_(target) {
    buffer_.reserve(kFirstBlock);
  }

  void text(std::string_view bytes);
  // The lines of a header field: the text as `folded` makes it.
  void field(std::string_view name, std::string_view text);
  // The same with the text of a stored value (AsText).
  void field(std::string_view name, const HeaderValue& stored);
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

  HRESULT Write(const void* pv, ULONG cb, ULONG* written) override;

 private:
  static constexpr std::size_t kFirstBlock = 8192;  // grows to kBlock
  static constexpr std::size_t kBlock = 65536;
  void pass_on(std::string_view block);

  ISequentialStream& target_;
  std::string buffer_;
  DotGuard* guard_ = nullptr;
  bool at_line_start_ = true;
  bool failed_ = false;
  bool missed_ = false;
};

}  // namespace tallowbrook
