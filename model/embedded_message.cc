#include "model/embedded_message.h"

#include <algorithm>
#include <limits>
#include <new>
#include <string_view>
#include <utility>

#include "model/body_part.h"
#include "model/mime_decoder.h"
#include "writer/content_stream.h"
#include "writer/lone_dots.h"
#include "writer/stack_stream.h"

namespace tallowbrook {
namespace {

using platform::ComPtr;

// Puts the thread's error object back where it was.
class KeptError {
 public:
  KeptError() { GetErrorInfo(0, error_.out()); }
  ~KeptError() { SetErrorInfo(0, error_.get()); }
  KeptError(const KeptError&) = delete;
  KeptError& operator=(const KeptError&) = delete;

 private:
  ComPtr<IErrorInfo> error_;
};

// False when the stream cannot be emptied or does not take every byte.
bool replace_bytes(IStream& stream, std::string_view bytes) {
  if (FAILED(stream.SetSize({0})) || FAILED(stream.Seek({0}, STREAM_SEEK_SET, nullptr))) {
    return false;
  }
  while (!bytes.empty()) {
    const auto size =
        static_cast<ULONG>(std::min<std::size_t>(bytes.size(), std::numeric_limits<LONG>::max()));
    ULONG written = 0;
    if (FAILED(stream.Write(bytes.data(), size, &written)) || written < size) return false;
    bytes.remove_prefix(size);
  }
  return true;
}

// Behind a message that ends with a line end, the dot line keeps the reader from adding a line end
// of its own, by which the part would grow with the first change.
constexpr std::string_view kDotLine = ".\r\n";
std::string_view dot_line_behind(std::string_view text) {
  return text.ends_with('\n') ? kDotLine : std::string_view();
}

// Content in its wire form, from where it lies in memory. It is looked for in each call: between
// two of them a message handler may have changed it.
class WireMessage final : public StackStream {
 public:
  explicit WireMessage(HeaderValue content) : content_(std::move(content)) {}

  HRESULT Read(void* pv, ULONG cb, ULONG* read) override {
    const std::string_view text = content_.raw_view();
    const std::string_view end = dot_line_behind(text);
    auto* to = static_cast<char*>(pv);
    std::size_t got = 0;
    if (position_ < text.size()) got = text.copy(to, cb, position_);
    if (position_ + got >= text.size()) {
      const std::size_t given = std::min(position_ + got - text.size(), end.size());
      got += end.copy(to + got, cb - got, given);
    }
    position_ += got;
    if (read != nullptr) *read = static_cast<ULONG>(got);
    return got == cb ? S_OK : S_FALSE;
  }

 private:
  HeaderValue content_;
  std::size_t position_ = 0;
};

// Loads the message from content that is somewhere else or in another form. Imported content may
// hold dot lines, which it is saved without. E_FAIL when the content cannot be read.
HRESULT load_copy(CMimeDecoder& message, const HeaderValue& record, const HeaderValue& content) {
  CISSHelper copy;
  if (!content.raw_in_memory()) {
    ContentStream watched(*content.stream());
    if (!watched.failed()) copy.append_from(watched);
    if (watched.failed()) return E_FAIL;
  }
  std::string_view text = content.raw_in_memory() ? content.raw_view() : copy.bytes();
  const ComPtr<CISSHelper> source = CISSHelper::create();
  source->reserve(static_cast<ULONG>(text.size() + kDotLine.size()));
  if (is_decoded(record)) {
    text = without_closing_dot(text);
    guard_lone_dots(text, [&source](std::string_view piece) { source->write(piece); });
  } else {
    source->write(text);
  }
  source->write(dot_line_behind(text));
  source->rewind();
  return message.load_from_part(*source);
}

HRESULT load_content(CMimeDecoder& message, const HeaderValue& record, const HeaderValue& content) {
  if (!content.raw_in_memory() || is_decoded(record)) return load_copy(message, record, content);
  WireMessage wire(content);
  return message.load_from_part(wire);
}

}  // namespace

// --- the place -----------------------------------------------------------------------------------

EmbeddedPlace::EmbeddedPlace(HeaderValue record)
    : record_(std::move(record)), content_(record_[kPartBody]) {}

bool EmbeddedPlace::holds(const CMimeDecoder& message) const {
  if (content_.companion() != &message) return false;
  return record_[kPartBody].same_content(content_) && holds_message(record_, true);
}

void EmbeddedPlace::rewrite(CISSHelper& message) {
  ComPtr<CISSHelper> guarded = guarded_copy(message.bytes());
  CISSHelper& bytes = guarded ? *guarded : message;
  const ComPtr<IStream> stream = content_.stream();
  (void)record_.element(kPartDecoded);  // is there: below nothing but a host's code can fail
  if (content_.raw_in_memory()) {
    static_cast<CISSHelper*>(stream.get())->take(bytes);
  } else if (!replace_bytes(*stream, bytes.bytes())) {
    ComPtr<CISSHelper> own = CISSHelper::create();
    own->take(bytes);
    content_.set_stream(std::move(own));
  }
  // A host's stream may have run code that changed the part.
  if (!record_[kPartBody].same_content(content_)) return;
  record_.element(kPartDecoded) = HeaderValue::integer(0);
}

void EmbeddedPlace::forget(const CMimeDecoder& message) {
  if (content_.companion() == &message) content_.set_companion(nullptr);
}

// --- making and finding --------------------------------------------------------------------------

ComPtr<CMimeDecoder> embedded_message(HeaderValue& record, bool in_digest,
                                      const MessageRef& enclosing) {
  resolve_field(record, EntryName::ContentType, enclosing);
  const HeaderValue content = record[kPartBody];
  if (!content.is(ValueKind::Raw) || !holds_message(record, in_digest)) return {};
  const auto shown = [&content] {
    return ComPtr<CMimeDecoder>(static_cast<CMimeDecoder*>(content.companion()));
  };
  if (auto message = shown()) return message;

  const KeptError kept;
  record.pin();
  EmbeddedPlace place(record);
  auto message = make_object<CMimeDecoder>(enclosing, place);
  const HRESULT status = load_content(*message, record, content);
  if (status == E_OUTOFMEMORY) throw std::bad_alloc();
  if (FAILED(status)) return {};
  // A host's stream, while it was read, may have asked for the message or given the part another.
  if (auto earlier = shown()) return earlier;
  if (!record[kPartBody].same_content(content)) return {};
  place.show(*message);
  return message;
}

void detach_embedded_message(HeaderValue& record) {
  if (record[kPartBody].is(ValueKind::Raw)) record.element(kPartBody).set_companion(nullptr);
}

}  // namespace tallowbrook
