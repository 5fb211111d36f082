#include "writer/part_transfer.h"

#include <string>
#include <string_view>
#include <utility>

#include "coding/base64.h"
#include "coding/block_io.h"
#include "coding/charset.h"
#include "coding/coder_factory.h"
#include "coding/default_coder.h"
#include "coding/quoted_printable.h"
#include "coding/x_coder.h"
#include "core/text.h"
#include "model/body_part.h"
#include "streams/memory_stream.h"
#include "writer/content_stream.h"
#include "writer/part_charset.h"
#include "writer/shared_stream.h"
#include "writer/stack_stream.h"

namespace tallowbrook {
namespace {

using platform::ComPtr;

// These three answer false when the content could not be read to its end.

bool decode(CMIMECode& coder, IStream& content, IStream& target) {
  return use_content(content, [&](IStream& input) { coder.Decode(input, target); });
}

// Content that is decoded from its transfer encoding but still in the part's charset.
bool decode_charset(CMIMECode* coder, IStream& content, IStream& target) {
  return decode(coder != nullptr ? *coder : *make_coder(kNoEncoding), content, target);
}

bool export_wire(const HeaderValue& record, CMIMECode* charset, IStream& target) {
  const ComPtr<IStream> content = record[kPartBody].stream();
  const auto transfer = make_coder(encoding_number(record));
  if (charset == nullptr) return decode(*transfer, *content, target);
  CISSHelper encoded;
  encoded.set_growth(4096, 1);
  const bool whole = decode(*transfer, *content, encoded);
  return decode_charset(charset, encoded, target) && whole;
}

// --- short content -------------------------------------------------------------------------------

// Longer content goes from stream to stream.
constexpr std::size_t kShort = 32768;

// Appends to a text that has the room for it.
class TextTarget final : public StackStream {
 public:
  explicit TextTarget(std::string& text) : text_(text) {}
  HRESULT Write(const void* pv, ULONG cb, ULONG* written) override {
    text_.append(static_cast<const char*>(pv), cb);
    if (written != nullptr) *written = cb;
    return S_OK;
  }

 private:
  std::string& text_;
};

// Short wire content that lies in memory, decoded from its transfer encoding: where it lies or in
// `room`. Nothing for other content.
std::optional<std::string_view> decoded_short(const HeaderValue& record, std::string& room) {
  const HeaderValue& body = record[kPartBody];
  if (is_decoded(record) || !body.raw_in_memory()) return std::nullopt;
  const std::string_view content = body.raw_view();
  if (content.size() > kShort) return std::nullopt;
  const std::int32_t encoding = encoding_number(record);
  switch (encoding) {
    case kSevenBit:
    case kEightBit:
    case kBinary:
      return CDefaultCoder::decoded_in_place(content);
    case kQuotedPrintable:
    case kBase64: {
      room.reserve(content.size());
      TextTarget target(room);
      if (encoding == kBase64) {
        CBase64().decode_text(content, target);
      } else {
        CQuotedPrintable().decode_text(content, target);
      }
      return room;
    }
    default:
      return content;
  }
}

// Decoded bytes in the part's charset as text. Nothing for a charset whose coder works on streams.
std::optional<std::u16string> short_text(const std::string& charset, std::string_view bytes) {
  if (charset.empty()) return to_wide(bytes);
  if (has_utf8_coder(charset)) return std::nullopt;
  return CXCoder(charset).decode(bytes);
}

// True when the content is short; it is then written.
bool export_short(const HeaderValue& record, IStream& target) {
  std::string room;
  const auto bytes = decoded_short(record, room);
  if (!bytes) return false;
  const std::string charset = part_charset(record);
  if (charset.empty()) {
    // Of a copy: while the target takes it, a host's code may change the part.
    if (bytes->data() != room.data()) room = *bytes;
    write_block(target, room);
    return true;
  }
  const auto text = short_text(charset, *bytes);
  if (text) write_block(target, bytes_of(*text));
  return text.has_value();
}

// --- any content ---------------------------------------------------------------------------------

bool export_held(const HeaderValue& record, CMIMECode* charset, IStream& target) {
  switch (content_form(record)) {
    case ContentForm::Wire:
      return export_wire(record, charset, target);
    case ContentForm::Charset:
      return decode_charset(charset, *record[kPartBody].stream(), target);
    default:
      return decode_charset(nullptr, *charset_input(record, charset), target);
  }
}

}  // namespace

bool export_content(const HeaderValue& record, IStream& target) {
  const HeaderValue body = record[kPartBody];
  if (!body.is(ValueKind::Raw)) return false;
  if (is_stream_of(body, target)) {
    BufferedTarget buffered(target);
    const bool whole = export_content(record, buffered.buffer());
    return buffered.hand_on() && whole;
  }
  TargetStream watched(target);
  if (export_short(record, watched)) return !watched.failed();
  const bool whole = export_held(record, make_part_coder(record).get(), watched);
  return whole && !watched.failed();
}

bool import_content(HeaderValue& record, ComPtr<IStream> source, bool by_reference) {
  if (is_multipart(record)) return false;
  if (!by_reference) {
    ComPtr<CISSHelper> copy = CISSHelper::create();
    if (in_memory(*source)) {
      copy->append_from(*source);
    } else {
      ContentStream watched(*source, ContentStream::From::kHere);
      copy->append_from(watched);
      if (watched.failed()) return false;
    }
    copy->rewind();
    source = std::move(copy);
  }
  set_decoded_content(record, std::move(source));
  return true;
}

std::optional<std::u16string> content_text(const HeaderValue& record) {
  std::string room;
  if (const auto bytes = decoded_short(record, room)) {
    if (auto text = short_text(part_charset(record), *bytes)) return text;
  }
  const auto content = CISSHelper::create();
  if (!export_content(record, *content)) return std::nullopt;
  const auto charset = make_part_coder(record);
  if (charset == nullptr || !charset->ProducesWideText()) return to_wide(content->bytes());
  return units_of(content->bytes());
}

bool put_content_text(HeaderValue& record, std::u16string_view text) {
  if (is_multipart(record)) return false;
  const auto charset = make_part_coder(record);
  if (charset == nullptr || !charset->ProducesWideText()) {
    set_content(record, CISSHelper::create_with(to_ansi(text)), ContentForm::AnsiText);
  } else {
    set_content(record, CISSHelper::create_with(bytes_of(text)), ContentForm::WideText);
  }
  return true;
}

bool recode_content(HeaderValue& record, std::int32_t encoding) {
  const HeaderValue body = record[kPartBody];
  const std::int32_t old = encoding_number(record);
  if (is_decoded(record) || !body.is(ValueKind::Raw)) return true;
  if (old == encoding || (is_line_encoding(old) && is_line_encoding(encoding))) return true;
  ComPtr<CISSHelper> content = CISSHelper::create();
  if (!decode(*make_coder(old), *body.stream(), *content)) return false;
  content->rewind();
  set_content(record, std::move(content), ContentForm::Charset);
  return true;
}

}  // namespace tallowbrook
