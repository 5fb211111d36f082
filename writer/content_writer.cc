#include "writer/content_writer.h"

#include <optional>
#include <string_view>
#include <utility>

#include "coding/coder_factory.h"
#include "model/body_part.h"
#include "streams/memory_stream.h"
#include "writer/content_stream.h"
#include "writer/lone_dots.h"
#include "writer/part_charset.h"

namespace tallowbrook {
namespace {

using platform::ComPtr;

// Calls `encode` with the content from its start, without its zero bytes. False when it could not
// be read to its end.
template <class Encode>
bool use_lines(IStream& content, Encode&& encode) {
  const auto memory = in_memory(content);
  if (memory && memory->bytes().find('\0') == std::string_view::npos) {
    return use_content(content, encode);
  }
  ContentStream watched(content, ContentStream::From::kStart, true);
  encode(watched);
  return !watched.failed();
}

// Decoded content as the transfer coder takes it.
ComPtr<IStream> in_charset(MessageOutput& out, const HeaderValue& record) {
  if (content_form(record) == ContentForm::Charset) return record[kPartBody].stream();
  const auto coder = make_part_coder(record);
  ComPtr<IStream> content = charset_input(record, coder.get());
  if (!coder) return content;
  const auto encoded = CISSHelper::create(4096, 1);
  if (!use_content(*content, [&](IStream& input) { coder->Encode(input, *encoded); })) {
    out.miss_content();
  }
  return encoded;
}

void write_coded(MessageOutput& out, IStream& content, std::int32_t encoding) {
  const bool quoted = encoding == kQuotedPrintable;
  const bool lines = is_line_encoding(encoding);
  const auto coder = make_coder(lines ? kEightBit : encoding);
  std::optional<DotGuard> guard;
  if (lines || quoted) {
    guard.emplace(quoted ? DotGuard::Style::kQuoted : DotGuard::Style::kDoubled);
    out.set_guard(&*guard);
  }
  const auto encode = [&](IStream& input) { coder->Encode(input, out); };
  if (!(lines ? use_lines(content, encode) : use_content(content, encode))) out.miss_content();
  out.set_guard(nullptr);
  if (guard) guard->finish([&out](std::string_view piece) { out.text(piece); });
}

void write_enclosed_message(MessageOutput& out, const HeaderValue& held) {
  CISSHelper buffer;
  if (!held.raw_in_memory()) {
    ContentStream watched(*held.stream());
    buffer.append_from(watched);
    if (watched.failed()) out.miss_content();
  }
  const std::string_view text = held.raw_in_memory() ? held.raw_view() : buffer.bytes();
  guard_lone_dots(without_closing_dot(text), [&out](std::string_view piece) { out.text(piece); });
  out.close_line();
}

}  // namespace

void write_content(MessageOutput& out, const HeaderValue& record, const PartFields& fields) {
  if (!is_decoded(record)) {
    out.raw(record[kPartBody]);
  } else if (fields.message) {
    write_enclosed_message(out, HeaderValue::raw_stream(charset_input(record, nullptr)));
  } else {
    const ComPtr<IStream> content = in_charset(out, record);
    write_coded(out, *content, fields.encoding);
  }
}

}  // namespace tallowbrook
