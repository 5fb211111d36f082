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

// What a part's message is loaded from; null when the content cannot be read. Imported content may
// hold dot lines, which it is saved without. The dot line at the end keeps the reader from adding a
// line end of its own, by which the part would grow with the first change.
ComPtr<CISSHelper> message_source(const HeaderValue& record, const HeaderValue& content) {
  CISSHelper copy;
  if (!content.raw_in_memory()) {
    ContentStream watched(*content.stream());
    if (!watched.failed()) copy.append_from(watched);
    if (watched.failed()) return {};
  }
  std::string_view text = content.raw_in_memory() ? content.raw_view() : copy.bytes();
  ComPtr<CISSHelper> source = CISSHelper::create();
  source->reserve(static_cast<ULONG>(text.size()) + 3);
  if (is_decoded(record)) {
    text = without_closing_dot(text);
    guard_lone_dots(text, [&source](std::string_view piece) { source->write(piece); });
  } else {
    source->write(text);
  }
  if (text.ends_with('\n')) source->write(".\r\n");
  source->rewind();
  return source;
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
  const ComPtr<CISSHelper> source = message_source(record, content);
  if (!source) return {};
  auto message = make_object<CMimeDecoder>(enclosing, place);
  const HRESULT status = message->Load(static_cast<IStream*>(source.get()));
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
