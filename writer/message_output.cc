#include "writer/message_output.h"

#include <algorithm>
#include <limits>

#include "model/header_text.h"
#include "streams/write_whole.h"

namespace tallowbrook {

void MessageOutput::pass_on(std::string_view block) {
  while (!block.empty() && !failed_) {
    const auto size =
        static_cast<ULONG>(std::min<std::size_t>(block.size(), std::numeric_limits<LONG>::max()));
    ULONG taken = 0;
    failed_ = FAILED(write_whole(target_, block.substr(0, size), taken));
    block.remove_prefix(size);
  }
}

void MessageOutput::text(std::string_view bytes) {
  if (bytes.empty()) return;
  at_line_start_ = bytes.back() == '\n';
  if (buffer_.size() + bytes.size() > kBlock) flush();
  if (bytes.size() >= kBlock) {
    pass_on(bytes);
  } else {
    buffer_.append(bytes);
  }
}

void MessageOutput::field(std::string_view name, std::string_view text) {
  this->text(name);
  this->text(": ");
  fold(text, [this](std::string_view piece) { this->text(piece); });
  this->text("\r\n");
}

// A text in memory goes straight into the buffer while there is room: without a write to the
// target nobody can change it meanwhile.
void MessageOutput::field(std::string_view name, const HeaderValue& stored) {
  const std::string_view text = stored.is(ValueKind::Raw) ? stored.raw_view() : stored.text_view();
  const bool in_memory = stored.is(ValueKind::Text) || stored.raw_in_memory();
  if (in_memory && buffer_.size() + name.size() + text.size() + 4 <= kBlock && is_folded(text)) {
    buffer_.append(name).append(": ").append(text).append("\r\n");
    at_line_start_ = true;
  } else {
    const HeaderValue own = stored.shared_text();
    field(name, own.text_view());
  }
}

void MessageOutput::raw(const HeaderValue& value) {
  const HeaderValue held = value;  // a host's target may change the model while it is written to
  if (held.raw_in_memory()) {
    // Block by block through the buffer, the view taken anew each time: the target may be the very
    // stream that holds the content.
    const std::size_t size = held.raw_view().size();
    for (std::size_t done = 0; done < size && !failed_; done += kBlock / 2) {
      text(held.raw_view().substr(done, std::min(kBlock / 2, size - done)));
    }
    return;
  }
  const platform::ComPtr<IStream> source = held.stream();
  if (!source) return;
  if (FAILED(source->Seek({0}, STREAM_SEEK_SET, nullptr))) miss_content();  // and read from here
  std::string block(65536, '\0');
  for (;;) {
    ULONG got = 0;
    if (FAILED(source->Read(block.data(), static_cast<ULONG>(block.size()), &got))) break;
    if (got == 0) return;
    text(std::string_view(block).substr(0, got));
  }
  miss_content();
}

void MessageOutput::close_line() {
  if (!at_line_start_) text("\r\n");
}

bool MessageOutput::flush() {
  pass_on(buffer_);
  buffer_.clear();
  return !failed_ && !missed_;
}

HRESULT MessageOutput::Write(const void* pv, ULONG cb, ULONG* written) {
  if (written != nullptr) *written = 0;
  if (pv == nullptr) return STG_E_INVALIDPOINTER;
  const std::string_view bytes(static_cast<const char*>(pv), cb);
  if (guard_ == nullptr) {
    text(bytes);
  } else {
    guard_->take(bytes, [this](std::string_view piece) { text(piece); });
  }
  if (failed_) return E_FAIL;
  if (written != nullptr) *written = cb;
  return S_OK;
}

}  // namespace tallowbrook
