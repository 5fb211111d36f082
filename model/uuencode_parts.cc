#include "model/uuencode_parts.h"

#include <string>
#include <utility>

#include "coding/charset.h"
#include "coding/uuencode.h"
#include "core/text.h"
#include "model/body_part.h"
#include "model/header_text.h"
#include "model/message_store.h"
#include "parser/load.h"
#include "platform/kernel/code_page.h"
#include "streams/memory_stream.h"

namespace tallowbrook {

namespace {

using platform::ComPtr;

constexpr ULONG kFileStep = 65536;  // how the stream of a file grows

bool is_plain_text(const HeaderValue& record) {
  const HeaderValue& type = field_value(record, EntryName::ContentType);
  if (!type.is_set()) return true;
  return type.is(ValueKind::List) && type[kTypeMajor].is_integer(kText) &&
         (!type[kTypeMinor].is_set() || type[kTypeMinor].is_integer(0));
}

bool is_identity(const HeaderValue& encoding) {
  return !encoding.is_set() || encoding.is_integer(kSevenBit) || encoding.is_integer(kEightBit) ||
         encoding.is_integer(kBinary);
}

void set_field(HeaderValue& record, EntryName name, HeaderValue value) {
  HeaderValue entry = find_or_add_entry(record, name);
  edit_value(entry) = std::move(value);
}

// The text behind the second item of "begin 644 name".
std::string_view name_in(std::string_view begin_line) {
  constexpr std::string_view kBlanks = " \t";
  for (int item = 0; item < 2; ++item) {
    const std::size_t end = begin_line.find_first_of(kBlanks);
    const std::size_t next = begin_line.find_first_not_of(kBlanks, end);
    if (end == begin_line.npos || next == begin_line.npos) return {};
    begin_line.remove_prefix(next);
  }
  return trim(begin_line);
}

HeaderValue parameters(std::string_view name, const std::string& value) {
  HeaderValue map = HeaderValue::map();
  if (!value.empty()) map.mutable_entries().at_or_add(name) = HeaderValue::text(value);
  return map;
}

ComPtr<CISSHelper> decoded(const HeaderValue& lines) {
  CISSHelper input;
  input.write(lines.raw_view());
  input.rewind();
  auto file = CISSHelper::create(kFileStep);
  CUUCoder().Decode(input, *file);
  file->rewind();
  return file;
}

// `name` as a field holds it, encoded words and all.
HeaderValue attachment(const HeaderValue& lines, const std::string& name) {
  HeaderValue part = HeaderValue::list(HeaderValue());
  HeaderValue type =
      HeaderValue::list(HeaderValue::integer(kApplication), HeaderValue::integer(kOctetStream));
  if (!name.empty()) type.push_back(parameters("name", in_quotes(name)));
  set_field(part, EntryName::ContentType, std::move(type));
  set_field(part, EntryName::ContentTransferEncoding, HeaderValue::integer(kBase64));
  set_field(part, EntryName::ContentDisposition,
            HeaderValue::list(HeaderValue::text("attachment"), parameters("filename", name)));
  set_decoded_content(part, decoded(lines));
  return part;
}

// The text takes the record's type, with all its parameters, and its encoding over.
HeaderValue text_part(const HeaderValue& record, HeaderValue text) {
  HeaderValue part = HeaderValue::list(HeaderValue());
  HeaderValue type = field_value(record, EntryName::ContentType);
  if (!type.is_set()) {
    type = HeaderValue::list(HeaderValue::integer(kText), HeaderValue::integer(0));
  }
  set_field(part, EntryName::ContentType, std::move(type));
  const HeaderValue& encoding = field_value(record, EntryName::ContentTransferEncoding);
  if (encoding.is_set()) set_field(part, EntryName::ContentTransferEncoding, encoding);
  part.element(kPartBody) = std::move(text);
  return part;
}

// Begin lines name files in the charset of the text around them.
std::string encoded_name(std::string_view begin_line, UINT page, std::string_view charset) {
  return encode_header_text(platform::widen(page, name_in(begin_line)), charset);
}

HeaderValue children_of(const HeaderValue& record, HeaderValue& blocks, std::string_view charset) {
  const HeaderValue* text_charset =
      find_parameter(field_value(record, EntryName::ContentType)[kTypeParameters], "charset");
  const UINT page =
      text_charset == nullptr ? CP_ACP : charset_code_page(unquoted(text_charset->AsText()));
  HeaderValue children = HeaderValue::list(text_part(record, std::move(blocks.element(0))));
  for (std::size_t i = 1; i < blocks.size(); ++i) {
    const HeaderValue& block = blocks[i];
    children.push_back(attachment(block[1], encoded_name(block[0].text_view(), page, charset)));
    blocks.element(i) = {};  // its lines are not needed any more
  }
  return children;
}

// Every Content-Type and Content-Transfer-Encoding goes, and the type becomes multipart/mixed.
void make_multipart(HeaderValue& record) {
  const HeaderValue& old = record[kPartFields];
  HeaderValue fields = HeaderValue::list();
  for (std::size_t i = 0; i < old.size(); ++i) {
    const std::string_view name = old[i][kEntryName].text_view();
    if (name == entry_name_text(EntryName::ContentType) ||
        name == entry_name_text(EntryName::ContentTransferEncoding)) {
      continue;
    }
    fields.push_back(old[i]);
  }
  record.element(kPartFields) = std::move(fields);
  set_major(record, HeaderValue::integer(kMultipart));
  set_minor(record, HeaderValue::integer(0));
}

}  // namespace

bool extract_uuencoded_parts(HeaderValue& record, std::string_view charset,
                             const MessageRef& message) {
  if (!record[kPartBody].has_begin_line()) return false;
  resolve_field(record, EntryName::ContentType, message);
  if (!is_plain_text(record) ||
      !is_identity(field_value(record, EntryName::ContentTransferEncoding))) {
    return false;
  }
  const std::string content = record[kPartBody].raw_text();
  std::string_view lines = content;  // the parse ends the last line
  if (lines.ends_with('\n')) lines.remove_suffix(1);
  if (lines.ends_with('\r')) lines.remove_suffix(1);
  HeaderValue blocks;
  if (FAILED(parse_field(kPseudoUuencode, lines, blocks)) || blocks.size() < 2) return false;
  HeaderValue children = children_of(record, blocks, charset);
  make_multipart(record);
  record.element(kPartBody) = std::move(children);
  return true;
}

}  // namespace tallowbrook
