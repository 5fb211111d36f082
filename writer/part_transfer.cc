#include "writer/part_transfer.h"

#include <utility>

#include "coding/coder_factory.h"
#include "core/text.h"
#include "model/body_part.h"
#include "streams/memory_stream.h"
#include "writer/part_charset.h"
#include "writer/shared_stream.h"

namespace tallowbrook {
namespace {

using platform::ComPtr;

void rewind(IStream& stream) { stream.Seek({0}, STREAM_SEEK_SET, nullptr); }

void decode(CMIMECode& coder, IStream& content, IStream& target) {
  rewind(content);
  coder.Decode(content, target);
}

// Content that is decoded from its transfer encoding but still in the part's charset.
void decode_charset(CMIMECode* coder, IStream& content, IStream& target) {
  if (coder != nullptr) {
    decode(*coder, content, target);
  } else {
    decode(*make_coder(kNoEncoding), content, target);
  }
}

void export_wire(const HeaderValue& record, CMIMECode* charset, IStream& target) {
  const ComPtr<IStream> content = record[kPartBody].stream();
  const auto transfer = make_coder(encoding_number(record));
  if (charset == nullptr) {
    decode(*transfer, *content, target);
    return;
  }
  CISSHelper encoded;
  encoded.set_growth(4096, 1);
  decode(*transfer, *content, encoded);
  decode_charset(charset, encoded, target);
}

}  // namespace

bool export_content(const HeaderValue& record, IStream& target) {
  const HeaderValue body = record[kPartBody];
  if (!body.is(ValueKind::Raw)) return false;
  if (is_stream_of(body, target)) {
    BufferedTarget buffered(target);
    return export_content(record, buffered.buffer()) && (buffered.hand_on(), true);
  }
  const auto charset = make_part_coder(record);
  switch (content_form(record)) {
    case ContentForm::Wire:
      export_wire(record, charset.get(), target);
      break;
    case ContentForm::Charset:
      decode_charset(charset.get(), *body.stream(), target);
      break;
    default:
      decode_charset(nullptr, *charset_input(record, charset.get()), target);
      break;
  }
  return true;
}

bool import_content(HeaderValue& record, ComPtr<IStream> source, bool by_reference) {
  if (is_multipart(record)) return false;
  if (!by_reference) {
    ComPtr<CISSHelper> copy = CISSHelper::create();
    copy->append_from(*source);
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

void recode_content(HeaderValue& record, std::int32_t encoding) {
  const HeaderValue body = record[kPartBody];
  const std::int32_t old = encoding_number(record);
  if (is_decoded(record) || !body.is(ValueKind::Raw)) return;
  if (old == encoding || (is_line_encoding(old) && is_line_encoding(encoding))) return;
  ComPtr<CISSHelper> content = CISSHelper::create();
  decode(*make_coder(old), *body.stream(), *content);
  content->rewind();
  set_content(record, std::move(content), ContentForm::Charset);
}

}  // namespace tallowbrook
