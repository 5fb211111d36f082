#include "model/body_part.h"

#include <cstdio>
#include <iterator>
#include <span>
#include <utility>

#include "coding/encoded_words.h"
#include "core/text.h"
#include "parser/load.h"
#include "platform/kernel/random.h"

namespace tallowbrook {
namespace {

using platform::ComPtr;

struct NameNumber {
  std::string_view name;
  std::int32_t number;
};

constexpr std::string_view kMajorNames[] = {"multipart", "text",  "image",  "application",
                                            "audio",     "video", "message"};
constexpr std::string_view kMinorNames[][4] = {
    {"mixed", "parallel", "digest", "alternative"},
    {"plain", "html"},
    {"gif", "jpeg"},
    {"octet-stream", "postscript"},
    {"basic"},
    {"mpeg"},
    {"rfc822", "partial", "external-body"},
};
static_assert(std::size(kMajorNames) == kMajorTypes && std::size(kMinorNames) == kMajorTypes);
constexpr std::string_view kEncodingNames[] = {"7bit", "quoted-printable", "base64", "8bit",
                                               "binary"};
constexpr NameNumber kMinorNumbers[] = {
    {"mixed", 0}, {"parallel", 1}, {"digest", 2},  {"alternative", 3},   {"plain", 0}, {"html", 1},
    {"gif", 0},   {"jpg", 1},      {"jpeg", 1},    {"postscript", 1},    {"basic", 0}, {"mpg", 0},
    {"mpeg", 0},  {"rfc822", 0},   {"partial", 1}, {"external-body", 2},
};

constexpr std::size_t kNowhere = static_cast<std::size_t>(-1);

using Elements = std::span<const HeaderValue>;

bool is_entry(Elements parts) { return parts.size() >= 2 && parts[kEntryName].is(ValueKind::Text); }

bool is_malformed(const HeaderValue& entry) { return !is_entry(entry.elements()); }

bool is_extension(const HeaderValue& entry) {
  return entry[kEntryName].is_entry_name(EntryName::ExtField);
}

// Of a name in any letter case (FNV-1a). It differs from process to process, so that no message can
// be made of names that meet.
std::size_t name_hash(std::string_view name) {
  static const char seed = 0;
  std::uint64_t hash = 0xCBF29CE484222325U ^ reinterpret_cast<std::uintptr_t>(&seed);
  for (const char byte : name) {
    const bool upper = byte >= 'A' && byte <= 'Z';
    hash ^= static_cast<unsigned char>(upper ? byte + ('a' - 'A') : byte);
    hash *= 0x100000001B3U;
  }
  return static_cast<std::size_t>(hash ^ (hash >> 32));
}

std::size_t field_hash(const HeaderValue& entry) {
  return is_malformed(entry) ? 0 : name_hash(shown_name(entry));
}

// The position of the first entry that fits; nowhere when an entry before it is malformed.
template <class Fits>
std::size_t find_field(const HeaderValue& record, Fits&& fits) {
  const HeaderValue& fields = record[kPartFields];
  const auto entries = fields.elements();
  const std::size_t count = fields.size();
  for (std::size_t i = 0; i < count; ++i) {
    const HeaderValue& entry = entries.empty() ? fields[i] : entries[i];
    const auto parts = entry.elements();
    if (!is_entry(parts)) break;
    if (fits(entry, parts)) return i;
  }
  return kNowhere;
}

// From this many entries on, a field list is looked up in through its table.
constexpr std::size_t kManyFields = 256;

// The first field that shows this name and fits, as find_field finds it.
template <class Fits>
std::size_t find_named(const HeaderValue& record, std::string_view name, const Fits& fits) {
  const HeaderValue& fields = record[kPartFields];
  if (fields.size() < kManyFields) return find_field(record, fits);
  const std::size_t found = fields.find_hashed(
      name_hash(name), field_hash,
      [&fits](const HeaderValue& entry) { return fits(entry, entry.elements()); });
  const std::size_t malformed = fields.find_hashed(0, field_hash, is_malformed);
  return found < malformed ? found : kNowhere;
}

std::size_t find_first(const HeaderValue& record, EntryName name) {
  const auto fits = [name](const HeaderValue&, Elements parts) {
    return parts[kEntryName].is_entry_name(name);
  };
  if (record[kPartFields].size() < kManyFields) return find_field(record, fits);
  return find_named(record, entry_name_text(name), fits);
}

bool is_multipart_type(const HeaderValue&, Elements parts) {
  return parts[kEntryName].is_entry_name(EntryName::ContentType) &&
         parts[kEntryValue][kTypeMajor].is_integer(kMultipart);
}

// Of several Content-Types, the one that made the part's body what it is: a multipart when the body
// is a list of children. Nearly every lookup ends at the first field of the name among a few that
// lie side by side.
std::size_t find_standard(const HeaderValue& record, EntryName name) {
  const Elements parts = record.elements();
  const Elements fields = parts.empty() ? Elements() : parts[kPartFields].elements();
  const std::size_t count = fields.size() < kManyFields ? fields.size() : 0;
  for (std::size_t i = 0; i < count; ++i) {
    const Elements entry = fields[i].elements();
    if (!is_entry(entry)) return kNowhere;
    if (!entry[kEntryName].is_entry_name(name)) continue;
    const bool multipart = entry[kEntryValue][kTypeMajor].is_integer(kMultipart);
    const bool children = parts.size() > kPartBody && parts[kPartBody].is(ValueKind::List);
    if (multipart || !children) return i;
    break;
  }
  const std::size_t first = find_first(record, name);
  if (name != EntryName::ContentType || first == kNowhere) return first;
  if (!record[kPartBody].is(ValueKind::List)) return first;
  const HeaderValue& entry = record[kPartFields][first];
  if (is_multipart_type(entry, entry.elements())) return first;
  const std::size_t multipart = find_field(record, is_multipart_type);
  return multipart == kNowhere ? first : multipart;
}

std::size_t find_extension_index(const HeaderValue& record, std::string_view name) {
  return find_named(record, name, [name](const HeaderValue& entry, Elements) {
    return is_extension(entry) &&
           equals_ignoring_case(entry[kEntryValue][kEntryName].text_view(), name);
  });
}

HeaderValue shared_field(HeaderValue& record, std::size_t index) {
  if (index == kNowhere) return {};
  return share_list(record.element(kPartFields).element(index));
}

HeaderValue append_field(HeaderValue& record, HeaderValue entry) {
  HeaderValue& fields = record.element(kPartFields);
  fields.push_back(std::move(entry));
  return share_list(fields.element(fields.size() - 1));
}

HeaderValue& content_type_to_edit(HeaderValue& record) {
  HeaderValue entry = find_or_add_entry(record, EntryName::ContentType);
  return edit_value(entry);  // lives in the list that the record shares with `entry`
}

}  // namespace

// --- names and numbers ---------------------------------------------------------------------------

HeaderValue major_from_name(std::string_view name) {
  for (std::int32_t i = 0; i < kMajorTypes; ++i) {
    if (equals_ignoring_case(name, kMajorNames[i])) return HeaderValue::integer(i);
  }
  return HeaderValue::text(name);
}

HeaderValue minor_from_name(std::string_view name) {
  for (const NameNumber& known : kMinorNumbers) {
    if (equals_ignoring_case(name, known.name)) return HeaderValue::integer(known.number);
  }
  if (starts_ignoring_case(name, "octet")) return HeaderValue::integer(kOctetStream);
  return HeaderValue::text(name);
}

HeaderValue encoding_from_name(std::string_view name) {
  if (starts_ignoring_case(name, "quoted")) return HeaderValue::integer(kQuotedPrintable);
  for (const std::int32_t known : {kBase64, kEightBit, kBinary}) {
    if (equals_ignoring_case(name, encoding_name(known))) return HeaderValue::integer(known);
  }
  return HeaderValue::integer(kSevenBit);
}

std::string_view major_name(std::int32_t major) {
  return major >= 0 && major < kMajorTypes ? kMajorNames[major] : std::string_view();
}

std::string_view minor_name(std::int32_t major, std::int32_t minor) {
  if (major < 0 || major >= kMajorTypes || minor < 0 || minor >= 4) return {};
  return kMinorNames[major][minor];
}

std::string_view encoding_name(std::int32_t encoding) {
  return encoding >= 0 && encoding <= kBinary ? kEncodingNames[encoding] : std::string_view();
}

std::int32_t default_minor(std::int32_t major) {
  constexpr std::int32_t kImage = 2;
  return major == kImage ? 1 : 0;
}

// --- shared parts of a record --------------------------------------------------------------------

HeaderValue share_list(HeaderValue& slot) {
  if (!slot.is(ValueKind::List)) slot = HeaderValue::list();
  slot.pin();
  return slot;
}

HeaderValue find_entry(HeaderValue& record, EntryName name) {
  return shared_field(record, find_standard(record, name));
}

HeaderValue find_or_add_entry(HeaderValue& record, EntryName name) {
  const std::size_t index = find_standard(record, name);
  if (index != kNowhere) return shared_field(record, index);
  return append_field(record, HeaderValue::list(entry_name(name), {}));
}

HeaderValue find_extension(HeaderValue& record, std::string_view name) {
  return shared_field(record, find_extension_index(record, name));
}

HeaderValue find_or_add_extension(HeaderValue& record, std::string_view name) {
  const std::size_t index = find_extension_index(record, name);
  if (index != kNowhere) return shared_field(record, index);
  return append_field(
      record, HeaderValue::list(entry_name(EntryName::ExtField),
                                HeaderValue::list(HeaderValue::text(name), HeaderValue::raw())));
}

std::string_view shown_name(const HeaderValue& entry) {
  return is_extension(entry) ? entry[kEntryValue][kEntryName].text_view()
                             : entry[kEntryName].text_view();
}

std::size_t erase_fields(HeaderValue& fields, std::string_view name) {
  const std::size_t before = fields.size();
  const auto shows = [name](const HeaderValue& entry) {
    return equals_ignoring_case(shown_name(entry), name);
  };
  const bool all_extensions = equals_ignoring_case(name, entry_name_text(EntryName::ExtField));
  if (before >= kManyFields && !all_extensions) {
    const std::size_t hash = name_hash(name);
    for (std::size_t at = fields.find_hashed(hash, field_hash, shows); at < fields.size();
         at = fields.find_hashed(hash, field_hash, shows)) {
      fields.erase_element(at);
    }
    return before - fields.size();
  }
  for (std::size_t i = before; i-- > 0;) {
    const HeaderValue& entry = fields[i];
    if (shows(entry) || (all_extensions && is_extension(entry))) fields.erase_element(i);
  }
  return before - fields.size();
}

void drop_source(HeaderValue& entry) {
  if (entry.size() > kEntrySource) entry.element(kEntrySource).Reset();
}

HeaderValue& edit_value(HeaderValue& entry) {
  drop_source(entry);
  return entry.element(kEntryValue);
}

const HeaderValue& field_value(const HeaderValue& record, EntryName name) {
  const std::size_t index = find_standard(record, name);
  return index == kNowhere ? empty_value() : record[kPartFields][index][kEntryValue];
}

bool is_field_name(std::string_view name) {
  return !name.empty() && name.front() != ' ' && name.front() != '\t' &&
         name.find_first_of(std::string_view("\r\n:\0", 4)) == std::string_view::npos;
}

EntryUndo::EntryUndo(HeaderValue& record, EntryName name) : record_(record) {
  const std::size_t before = record[kPartFields].size();
  entry_ = find_or_add_entry(record, name);
  added_ = record[kPartFields].size() > before;
  const HeaderValue& value = entry_[kEntryValue];
  source_ = entry_[kEntrySource];
  if (!value.is(ValueKind::List)) {
    value_ = value;
    return;
  }
  value_ = HeaderValue::list();
  for (std::size_t i = 0; i < value.size(); ++i) {
    HeaderValue copy = value[i].is(ValueKind::AddressMap) ? HeaderValue::map() : value[i];
    if (value[i].is(ValueKind::AddressMap)) copy.Append(value[i]);
    value_.push_back(std::move(copy));
  }
}

EntryUndo::~EntryUndo() {
  if (!record_.is_set()) return;
  entry_.element(kEntryValue) = std::move(value_);
  if (source_.is_set()) entry_.element(kEntrySource) = std::move(source_);
  HeaderValue& fields = record_.element(kPartFields);
  if (added_) fields.erase_element(fields.size() - 1);
}

// --- unparsed values -----------------------------------------------------------------------------

std::optional<HeaderValue> parse_mime_field(EntryName name, std::string_view text,
                                            const MessageRef& message) {
  const bool is_type = name == EntryName::ContentType;
  if (trim(text).empty()) {
    if (!is_type) return HeaderValue::list();
    return HeaderValue::list(HeaderValue::integer(kApplication),
                             HeaderValue::integer(kOctetStream));
  }
  const std::string_view pseudo = is_type ? kPseudoContentType : kPseudoDisposition;
  const MessageRef held = message;
  HeaderValue parsed;
  const HRESULT status = held != nullptr && held->owner != nullptr
                             ? held->owner->ParseHeaderInto(pseudo, text, parsed)
                             : parse_field(pseudo, text, parsed);
  if (FAILED(status)) return std::nullopt;
  if (!is_type && parsed.is(ValueKind::Text)) return HeaderValue::list(std::move(parsed));
  if (!parsed.is(ValueKind::List)) return std::nullopt;
  return parsed;
}

void resolve_field(HeaderValue& record, EntryName name, const MessageRef& message) {
  (void)resolved_value(record, name, message);
}

const HeaderValue& resolved_value(HeaderValue& record, EntryName name, const MessageRef& message) {
  const HeaderValue& value = field_value(record, name);
  if (!value.is(ValueKind::Raw)) return value;
  const HeaderValue raw = value;
  auto parsed = parse_mime_field(name, raw.shared_text().text_view(), message);
  // The wait for the message may have run a message handler that read or changed the same field.
  HeaderValue entry = parsed ? find_entry(record, name) : HeaderValue();
  if (!entry[kEntryValue].same_content(raw)) return field_value(record, name);
  entry.element(kEntrySource) = raw;  // needs room, for want of which the text stays as it is
  HeaderValue& resolved = entry.element(kEntryValue);  // of the list that the record shares
  resolved = std::move(*parsed);
  return resolved;
}

// --- content type and parameters -----------------------------------------------------------------

bool is_multipart(const HeaderValue& record) {
  return field_value(record, EntryName::ContentType)[kTypeMajor].is_integer(kMultipart);
}

bool is_digest(const HeaderValue& record) {
  const HeaderValue& type = field_value(record, EntryName::ContentType);
  return type[kTypeMajor].is_integer(kMultipart) && type[kTypeMinor].is_integer(kDigest);
}

namespace {

// An encoding that leaves a message as it stands.
bool is_identity(const HeaderValue& encoding) {
  return !encoding.is_set() || encoding.is_integer(kSevenBit) || encoding.is_integer(kEightBit) ||
         (encoding.is(ValueKind::Text) && encoding.text_view().empty());
}

}  // namespace

bool holds_message(const HeaderValue& content_type, const HeaderValue& encoding) {
  constexpr std::int32_t kNoMinor = -1;
  const HeaderValue& minor = content_type[kTypeMinor];
  if (!content_type[kTypeMajor].is_integer(kMessage)) return false;
  if (minor.is_set() && !minor.is_integer(kRfc822) && !minor.is_integer(kNoMinor)) return false;
  return is_identity(encoding);
}

bool holds_message(const HeaderValue& record, bool in_digest) {
  const HeaderValue& type = field_value(record, EntryName::ContentType);
  const HeaderValue& encoding = field_value(record, EntryName::ContentTransferEncoding);
  if (in_digest && !type.is_set()) return is_identity(encoding);
  return holds_message(type, encoding);
}

std::int32_t encoding_number(const HeaderValue& record) {
  const HeaderValue& encoding = field_value(record, EntryName::ContentTransferEncoding);
  return encoding.is(ValueKind::Integer) ? encoding.number() : kNoEncoding;
}

void set_major(HeaderValue& record, HeaderValue major) {
  HeaderValue& type = content_type_to_edit(record);
  const bool multipart = major.is_integer(kMultipart);
  type.element(kTypeMajor) = std::move(major);
  if (!multipart) return;
  HeaderValue& boundary = type.element(kTypeParameters).mutable_entries().at_or_add("boundary");
  if (!boundary.is_set()) boundary = HeaderValue::text(make_boundary());
}

void set_minor(HeaderValue& record, HeaderValue minor) {
  HeaderValue& type = content_type_to_edit(record);
  if (!type.is(ValueKind::List)) {
    type = HeaderValue::list(HeaderValue::integer(kText), HeaderValue::integer(0));
  }
  type.element(kTypeMinor) = std::move(minor);
}

std::string make_boundary() {
  char buffer[64];
  const int first = platform::NextRandom();
  const int second = platform::NextRandom();
  std::snprintf(buffer, sizeof buffer, "\"----_=_NeXtPaRt_BoUnDaRy_%d.%d\"", first, second);
  return buffer;
}

bool is_usable_boundary(std::string_view boundary) {
  if (trim(boundary).empty()) return false;
  for (const char byte : boundary) {
    const auto code = static_cast<unsigned char>(byte);
    if (code < ' ' || code == 0x7F || byte == '"' || byte == '\\') return false;
  }
  // A reader takes encoded words out of a boundary.
  return boundary.find("=?") == boundary.npos || remove_quotes_and_words(boundary) == boundary;
}

std::string boundary_text(const HeaderValue& content_type) {
  const HeaderValue* boundary = find_parameter(content_type[kTypeParameters], "boundary");
  if (boundary == nullptr) return {};
  const std::string text = boundary->AsText();
  if (text.find("=?") != text.npos) return remove_quotes_and_words(text);
  return is_quoted(text) ? text.substr(1, text.size() - 2) : text;
}

bool ensure_boundary(HeaderValue& content_type) {
  if (is_usable_boundary(boundary_text(content_type))) return false;
  AddressMap& parameters = content_type.element(kTypeParameters).mutable_entries();
  while (true) {  // spelt any way, so that one boundary is left
    std::string name;
    for (const auto& [key, value] : parameters) {
      if (equals_ignoring_case(key, "boundary")) name = key;
    }
    if (!parameters.erase(name)) break;
  }
  parameters.at_or_add("boundary") = HeaderValue::text(make_boundary());
  return true;
}

HeaderValue share_parameters(HeaderValue& entry, std::size_t element) {
  HeaderValue& value = entry.element(kEntryValue);
  if (element == kTypeParameters && value.size() == 0) {
    value = HeaderValue::list(HeaderValue::integer(kText), HeaderValue::integer(0));
  }
  HeaderValue& parameters = value.element(element);
  if (!parameters.is(ValueKind::AddressMap)) parameters = HeaderValue::map();
  parameters.pin();
  return parameters;
}

const HeaderValue* find_parameter(const HeaderValue& parameters, std::string_view name) {
  for (const auto& [key, value] : parameters.entries()) {
    if (equals_ignoring_case(key, name)) return &value;
  }
  return nullptr;
}

bool is_quoted(std::string_view text) {
  if (text.size() < 2 || text.front() != '"') return false;
  for (std::size_t i = 1; i < text.size(); ++i) {
    if (text[i] == '\\') {
      ++i;
    } else if (text[i] == '"') {
      return i + 1 == text.size();
    }
  }
  return false;
}

std::string unquoted(std::string_view text) {
  if (!is_quoted(text)) return std::string(text);
  std::string result;
  result.reserve(text.size());
  for (std::size_t i = 1; i + 1 < text.size(); ++i) {
    if (text[i] == '\\') ++i;
    result.push_back(text[i]);
  }
  return result;
}

std::string parameter_text(const HeaderValue& value) {
  return value.is(ValueKind::Text) ? unquoted(value.text_view()) : unquoted(value.AsText());
}

std::string quoted(std::string_view text) {
  return is_quoted(text) ? std::string(text) : in_quotes(text);
}

std::string in_quotes(std::string_view text) {
  std::string result = "\"";
  result.reserve(text.size() + 2);
  for (const char byte : text) {
    if (byte == '"' || byte == '\\') result.push_back('\\');
    result.push_back(byte);
  }
  result.push_back('"');
  return result;
}

// --- content -------------------------------------------------------------------------------------

HeaderValue& add_child(HeaderValue& record) {
  HeaderValue& children = record.element(kPartBody);
  children.push_back(HeaderValue::list(HeaderValue()));
  return children.element(children.size() - 1);
}

void set_content(HeaderValue& record, ComPtr<IStream> stream, ContentForm form) {
  HeaderValue content = HeaderValue::raw_stream(std::move(stream));
  record.element(kPartDecoded) = HeaderValue::integer(static_cast<std::int32_t>(form));
  record.element(kPartBody) = std::move(content);
}

ContentForm content_form(const HeaderValue& record) {
  const HeaderValue& form = record[kPartDecoded];
  return form.is(ValueKind::Integer) ? static_cast<ContentForm>(form.number()) : ContentForm::Wire;
}

bool is_text(const HeaderValue& record) {
  const HeaderValue& type = field_value(record, EntryName::ContentType);
  return !type.is_set() || type[kTypeMajor].is_integer(kText);
}

bool is_line_encoding(std::int32_t encoding) {
  return encoding != kQuotedPrintable && encoding != kBase64;
}

}  // namespace tallowbrook
