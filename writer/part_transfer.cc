#include "writer/part_transfer.h"

#include <utility>

#include "coding/coder_factory.h"
#include "core/text.h"
#include "model/body_part.h"
#include "streams/memory_stream.h"
#include "writer/content_stream.h"
#include "writer/part_charset.h"
#include "writer/shared_stream.h"

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
