#include "writer/part_transfer.h"

#include <array>
#include <cstring>
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

using platform::Bstr;
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
constexpr std::size_t kShort = 8192;

// Takes in what a short content is decoded to, which is never longer.
class ShortRoom final : public StackStream {
 public:
  ShortRoom() = default;

  HRESULT Write(const void* pv, ULONG cb, ULONG* written) override {
    if (cb > bytes_.size() - size_) return STG_E_MEDIUMFULL;
    std::memcpy(bytes_.data() + size_, pv, cb);
    size_ += cb;
    if (written != nullptr) *written = cb;
    return S_OK;
  }
  [[nodiscard]] std::string_view bytes() const { return {bytes_.data(), size_}; }

 private:
  std::size_t size_ = 0;
  std::array<char, kShort> bytes_;
};

// Short wire content that lies in memory, decoded from its transfer encoding: where it lies or in
// `room`. Nothing for other content.
std::optional<std::string_view> decoded_short(const HeaderValue& record, ShortRoom& room) {
  const HeaderValue& body = record[kPartBody];
  if (is_decoded(record) || !body.raw_in_memory()) return std::nullopt;
  const std::string_view content = body.raw_view();
  if (content.size() > kShort) return std::nullopt;
  switch (encoding_number(record)) {
    case kSevenBit:
    case kEightBit:
    case kBinary:
      return CDefaultCoder::decoded_in_place(content);
    case kQuotedPrintable:
      CQuotedPrintable().decode_text(content, room);
      return room.bytes();
    case kBase64:
      CBase64().decode_text(content, room);
      return room.bytes();
    default:
      return content;
  }
}

// Decoded bytes in the part's charset as text. Nothing for a charset whose coder works on streams.
std::optional<Bstr> short_text(const HeaderValue& record, std::string_view bytes) {
  const std::string charset = part_charset(record);
  if (charset.empty()) return to_bstr(bytes);
  if (has_utf8_coder(charset)) return std::nullopt;
  return CXCoder(charset).decode_to_bstr(bytes);
}

// True when the content is short and no text in a charset; it is then written.
bool export_short(const HeaderValue& record, IStream& target) {
  ShortRoom room;
  const auto bytes = decoded_short(record, room);
  if (!bytes || !part_charset(record).empty()) return false;
  // Of a copy: while the target takes it, a host's code may change the part.
  if (room.bytes().empty() && !bytes->empty()) {
    room.Write(bytes->data(), static_cast<ULONG>(bytes->size()), nullptr);
  }
  write_block(target, room.bytes());
  return true;
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

std::optional<Bstr> content_text(const HeaderValue& record) {
  ShortRoom room;
  if (const auto bytes = decoded_short(record, room)) {
    if (auto text = short_text(record, *bytes)) return text;
  }
  const auto content = CISSHelper::create();
  if (!export_content(record, *content)) return std::nullopt;
  const auto charset = make_part_coder(record);
  if (charset == nullptr || !charset->ProducesWideText()) return to_bstr(content->bytes());
  return Bstr(units_of(content->bytes()));
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
