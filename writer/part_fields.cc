#include "writer/part_fields.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>

#include "coding/encoded_words.h"
#include "core/text.h"
#include "model/header_text.h"

namespace tallowbrook {
namespace {

// Parameters of types for messages held elsewhere (RFC 2046 section 5.2.3) that the parser reads
// into numbers.
constexpr std::string_view kAccessTypes[] = {"ftp",        "anon-ftp", "tftp",
                                             "local-file", "afs",      "mail-server"};
constexpr std::string_view kPermissions[] = {"read", "read-write"};

// A character of the words that types and parameters are named by (RFC 2045 section 5.1); those
// above ASCII among them, as mail has it.
bool is_token_character(char byte) {
  return static_cast<unsigned char>(byte) > ' ' &&
         std::string_view("()<>@,;:\\\"/[]?=").find(byte) == std::string_view::npos;
}

bool is_token(std::string_view name) {
  return !name.empty() && std::all_of(name.begin(), name.end(), is_token_character);
}

// What a host put as a type, without what a type cannot hold.
std::string token_of(const HeaderValue& value) {
  std::string text = value.AsText();
  std::erase_if(text, [](char byte) { return !is_token_character(byte); });
  return text;
}

// Words that types are named by: a parameter of such a name makes a type unreadable, which with a
// multipart loses the whole message.
bool is_type_word(std::string_view name) {
  return major_from_name(name).is(ValueKind::Integer) ||
         minor_from_name(name).is(ValueKind::Integer);
}

void append_parameter(std::string& text, std::string_view name, std::string_view value) {
  if (value.empty()) return;
  text.append(";\r\n\t").append(name).append("=").append(quoted(value));
}

// Values that programs compare, not people read: encoded words that a host's put made of them go.
bool is_plain(std::string_view name) {
  return equals_ignoring_case(name, "boundary") || equals_ignoring_case(name, "charset");
}

// Appends one parameter as a reader of the message expects it: names for the parser's numbers.
void append_value(std::string& text, std::string_view name, const HeaderValue& value) {
  const auto number = static_cast<std::size_t>(value.number());
  if (value.is(ValueKind::Integer) && name == "access" && number < std::size(kAccessTypes)) {
    append_parameter(text, "access-type", kAccessTypes[number]);
  } else if (value.is(ValueKind::Integer) && name == "permission" &&
             number < std::size(kPermissions)) {
    append_parameter(text, name, kPermissions[number]);
  } else {
    const std::string written = value.AsText();
    const bool worded = is_plain(name) && written.find("=?") != written.npos;
    append_parameter(text, name, worded ? remove_quotes_and_words(written) : written);
  }
}

// Parameters whose value is empty, or whose name is none, are left out. Of several boundaries,
// which names in other letter cases would make, the one that delimiter lines are made of goes out.
void append_parameters(std::string& text, const HeaderValue& parameters, bool multipart = false) {
  const HeaderValue* boundary = find_parameter(parameters, "boundary");
  for (const auto& [name, value] : parameters.entries()) {
    if (!is_token(name) || (multipart && is_type_word(name))) continue;
    if (&value != boundary && equals_ignoring_case(name, "boundary")) continue;
    append_value(text, name, value);
  }
}

bool is_blank(const HeaderValue& value) {
  return !value.is_set() || (value.is(ValueKind::Text) && trim(value.text_view()).empty());
}

bool is_multipart_type(const HeaderValue& type) { return type[kTypeMajor].is_integer(kMultipart); }

// The name of a minor type: the default of its major one where it has none.
std::string minor_text(const HeaderValue& major, const HeaderValue& minor) {
  const bool known = major.is(ValueKind::Integer);
  if (minor.is(ValueKind::Integer)) {
    return known ? std::string(minor_name(major.number(), minor.number())) : minor.AsText();
  }
  const std::string text = token_of(minor);
  if (!text.empty()) return text;
  return known ? std::string(minor_name(major.number(), default_minor(major.number()))) : "unknown";
}

// "major/minor" of a Content-Type; false for a number outside the tables.
bool type_text(const HeaderValue& type, std::string& text) {
  const HeaderValue& major = type[kTypeMajor];
  text = major.is(ValueKind::Integer) ? std::string(major_name(major.number())) : token_of(major);
  const std::string minor = minor_text(major, type[kTypeMinor]);
  if (text.empty() || minor.empty()) return false;
  text.append("/").append(minor);
  return true;
}

class FieldWriter {
 public:
  FieldWriter(MessageOutput& out, HeaderValue& record, const MessageRef& message,
              PartFields& result)
      : out_(out), record_(record), message_(message), result_(result) {}

  HRESULT write() {
    prepare();
    const HeaderValue fields = record_[kPartFields];  // a host's target may change the model
    for (std::size_t i = 0; i < fields.size(); ++i) {
      const HRESULT status = write_entry(fields[i]);
      if (FAILED(status)) return status;
    }
    return S_OK;
  }

 private:
  // The lasting effects on the model, and what the fields mean together.
  void prepare() {
    body_type_ = find_entry(record_, EntryName::ContentType);
    if (is_multipart_type(body_type_[kEntryValue])) {
      HeaderValue& type = body_type_.element(kEntryValue);
      if (ensure_boundary(type)) drop_source(body_type_);
      result_.multipart = true;
      result_.boundary = boundary_text(type);
      result_.digest = type[kTypeMinor].is_integer(kDigest);
    }
    name_disposition();
    result_.message = !result_.multipart && (encoding().is_set() || is_decoded(record_)) &&
                      holds_message(content_type(), encoding());
    if (!result_.message) result_.encoding = encoding_number(record_);
  }

  [[nodiscard]] const HeaderValue& encoding() const {
    return field_value(record_, EntryName::ContentTransferEncoding);
  }

  void name_disposition() {
    const HeaderValue& value = field_value(record_, EntryName::ContentDisposition);
    if (value.size() == 0 || !is_blank(value[kDispositionValue])) return;
    std::string parameters;
    append_parameters(parameters, value[kDispositionParameters]);
    if (parameters.empty()) return;
    HeaderValue entry = find_entry(record_, EntryName::ContentDisposition);
    if (entry[kEntrySource].is_set()) return;
    entry.element(kEntryValue).element(kDispositionValue) = HeaderValue::text("attachment");
  }

  // The Content-Type value; an unparsed one is looked into when it may name a message.
  HeaderValue content_type() {
    const HeaderValue& value = field_value(record_, EntryName::ContentType);
    if (!value.is(ValueKind::Raw)) return value;
    const std::string text = to_lower(value.raw_text());
    if (text.find("message") == text.npos && text.find("rfc822") == text.npos) return value;
    return parse_mime_field(EntryName::ContentType, text, message_).value_or(value);
  }

  HRESULT write_entry(const HeaderValue& entry) {
    if (entry.size() < 2 || !entry[kEntryName].is(ValueKind::Text)) return E_FAIL;
    const std::string_view name = entry[kEntryName].text_view();
    const HeaderValue& value = entry[kEntryValue];
    if (!value.is_set()) return S_OK;
    if (name == entry_name_text(EntryName::ExtField)) return write_extension(value);
    if (name == entry_name_text(EntryName::ContentTransferEncoding)) return write_encoding(value);
    if (entry[kEntrySource].is_set()) {
      out_.field(name, entry[kEntrySource]);
    } else if (name == entry_name_text(EntryName::ContentType)) {
      // A leaf's further Content-Type that is a multipart would make its content one.
      const bool misleading = !result_.multipart && is_multipart_type(value);
      return misleading ? S_OK : write_type(value);
    } else if (name == entry_name_text(EntryName::ContentDisposition)) {
      write_disposition(value);
    } else if (name == entry_name_text(EntryName::ContentDescription) ||
               name == entry_name_text(EntryName::ContentID)) {
      out_.field(name, value);
    }
    return S_OK;
  }

  HRESULT write_extension(const HeaderValue& field) {
    if (field.size() < 2 || !field[1].is(ValueKind::Raw)) return E_FAIL;
    const std::string_view name = field[0].text_view();
    if (is_field_name(name)) out_.field(name, field[1]);
    return S_OK;
  }

  HRESULT write_encoding(const HeaderValue& value) {
    const bool known = value.is(ValueKind::Integer);
    const bool none = known && encoding_name(value.number()).empty();
    const bool coded = value.is_integer(kQuotedPrintable) || value.is_integer(kBase64);
    if (result_.message || is_blank(value)) return S_OK;
    if (result_.multipart && (coded || none)) return S_OK;
    if (none) return E_FAIL;
    const std::string text = known ? std::string(encoding_name(value.number())) : value.AsText();
    out_.field(entry_name_text(EntryName::ContentTransferEncoding), std::string_view(text));
    return S_OK;
  }

  HRESULT write_type(const HeaderValue& value) {
    if (!value.is(ValueKind::List)) {
      out_.field(entry_name_text(EntryName::ContentType), value);
      return S_OK;
    }
    if (!value[kTypeMajor].is_set()) return S_OK;
    std::string text;
    if (!type_text(value, text)) return E_FAIL;
    append_parameters(text, value[kTypeParameters], is_multipart_type(value));
    out_.field(entry_name_text(EntryName::ContentType), std::string_view(text));
    return S_OK;
  }

  void write_disposition(const HeaderValue& value) {
    const std::string_view name = entry_name_text(EntryName::ContentDisposition);
    if (!value.is(ValueKind::List)) return out_.field(name, value);
    std::string text = value[kDispositionValue].AsText();
    if (text.empty()) return;
    append_parameters(text, value[kDispositionParameters]);
    out_.field(name, std::string_view(text));
  }

  MessageOutput& out_;
  HeaderValue& record_;
  const MessageRef& message_;
  PartFields& result_;
  HeaderValue body_type_;  // the entry
};

}  // namespace

HRESULT write_part_fields(MessageOutput& out, HeaderValue& record, const MessageRef& message,
                          PartFields& result) {
  return FieldWriter(out, record, message, result).write();
}

}  // namespace tallowbrook
