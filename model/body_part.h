// Body part records: finding, making and changing what is in them, without any automation.
//
// A record is a `List` (field list, body, decoded flag); see the element indexes in
// message_store.h. A record with fewer elements is read as if the missing ones were empty. None of
// these functions notifies a message of a change.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "model/header_value.h"
#include "model/message_owner.h"

namespace tallowbrook {

// Major types by number (RFC 2046), as Content-Type values hold them.
inline constexpr std::int32_t kMultipart = 0;
inline constexpr std::int32_t kText = 1;
inline constexpr std::int32_t kApplication = 3;
inline constexpr std::int32_t kMessage = 6;
inline constexpr std::int32_t kMajorTypes = 7;
// Minor types by number, each of its own major type.
inline constexpr std::int32_t kDigest = 2;
inline constexpr std::int32_t kOctetStream = 0;
inline constexpr std::int32_t kRfc822 = 0;
// Transfer encodings by number (RFC 2045 section 6).
inline constexpr std::int32_t kSevenBit = 0;
inline constexpr std::int32_t kQuotedPrintable = 1;
inline constexpr std::int32_t kBase64 = 2;
inline constexpr std::int32_t kEightBit = 3;
inline constexpr std::int32_t kBinary = 4;
inline constexpr std::int32_t kNoEncoding = -1;

// --- names and numbers ---------------------------------------------------------------------------

// A type's or encoding's name as it is stored: its number, or `Text` when it is in no table. Minor
// names map to numbers whatever the major type is; an unknown encoding is kSevenBit.
[[nodiscard]] HeaderValue major_from_name(std::string_view name);
[[nodiscard]] HeaderValue minor_from_name(std::string_view name);
[[nodiscard]] HeaderValue encoding_from_name(std::string_view name);

// Names as a header writes them; empty for a number outside the table.
[[nodiscard]] std::string_view major_name(std::int32_t major);
[[nodiscard]] std::string_view minor_name(std::int32_t major, std::int32_t minor);
[[nodiscard]] std::string_view encoding_name(std::int32_t encoding);
// The minor type of a major one that was given none.
[[nodiscard]] std::int32_t default_minor(std::int32_t major);

// --- shared parts of a record --------------------------------------------------------------------

// Makes `slot` a `List` unless it is one, and yields it shared by reference (pinned).
[[nodiscard]] HeaderValue share_list(HeaderValue& slot);

// The entry of a standard field, shared by reference; empty when there is none. Of several the
// first; of several Content-Types the first that is a multipart, for a body that is a list of
// children.
[[nodiscard]] HeaderValue find_entry(HeaderValue& record, EntryName name);
// The same; an absent one is appended with an empty value.
[[nodiscard]] HeaderValue find_or_add_entry(HeaderValue& record, EntryName name);
// The entry of the extension field with this name, whatever its letter case.
[[nodiscard]] HeaderValue find_extension(HeaderValue& record, std::string_view name);
[[nodiscard]] HeaderValue find_or_add_extension(HeaderValue& record, std::string_view name);

// The name of a field entry as a host sees it: that of the field, or an extension field's own.
[[nodiscard]] std::string_view shown_name(const HeaderValue& entry);
// Erases the entries that show this name, whatever its letter case, from a field list; all
// extension fields for the name "ExtField". Returns how many there were.
std::size_t erase_fields(HeaderValue& fields, std::string_view name);

// Forgets the text that an entry's value was read from: the value is about to change.
void drop_source(HeaderValue& entry);
// The entry's value to change; its source text is forgotten.
[[nodiscard]] HeaderValue& edit_value(HeaderValue& entry);

// The value of a standard field without looking into unparsed text; the shared empty value when
// the field is absent or an entry before it is malformed.
[[nodiscard]] const HeaderValue& field_value(const HeaderValue& record, EntryName name);

// Takes back what was done to a standard field's entry, unless it is kept: for an edit in several
// steps, any of which memory may not suffice for. The record is pinned, and what follows adds no
// further entry unless there is an undo for it, made later.
class EntryUndo {
 public:
  EntryUndo(HeaderValue& record, EntryName name);
  ~EntryUndo();
  EntryUndo(const EntryUndo&) = delete;
  EntryUndo& operator=(const EntryUndo&) = delete;

  void keep() { record_.Reset(); }

 private:
  HeaderValue record_;
  HeaderValue entry_;
  HeaderValue value_;
  HeaderValue source_;
  bool added_ = false;
};

// True for the name of an extension field that cannot end its line, its name or the header.
[[nodiscard]] bool is_field_name(std::string_view name);

// --- unparsed values -----------------------------------------------------------------------------

// Parses a Content-Type or Content-Disposition that is still unparsed, keeping its text as the
// entry's source. A text that does not parse stays.
void resolve_field(HeaderValue& record, EntryName name, const MessageRef& message);
// The same, and the field's value from then on.
[[nodiscard]] const HeaderValue& resolved_value(HeaderValue& record, EntryName name,
                                                const MessageRef& message);
// The value that such a text stands for; nothing when it does not parse. `message` may be gone.
[[nodiscard]] std::optional<HeaderValue> parse_mime_field(EntryName name, std::string_view text,
                                                          const MessageRef& message);

// --- content type and parameters -----------------------------------------------------------------

[[nodiscard]] bool is_multipart(const HeaderValue& record);
[[nodiscard]] bool is_digest(const HeaderValue& record);
// Content of this type and encoding is a message as it stands: message/rfc822 without a coding.
[[nodiscard]] bool holds_message(const HeaderValue& content_type, const HeaderValue& encoding);
// The same of a record whose Content-Type was resolved; a child of a digest needs none.
[[nodiscard]] bool holds_message(const HeaderValue& record, bool in_digest);
// The number of the part's transfer encoding; kNoEncoding when it names none.
[[nodiscard]] std::int32_t encoding_number(const HeaderValue& record);

// The record's Content-Type becomes this major or minor type. A multipart gets a boundary.
void set_major(HeaderValue& record, HeaderValue major);
void set_minor(HeaderValue& record, HeaderValue minor);
// Makes sure that a multipart Content-Type value has a boundary that can be written as a delimiter
// line; an unusable one is replaced. True when the value changed.
bool ensure_boundary(HeaderValue& content_type);
// Text for a boundary, in double quotes: random, never met in real text.
[[nodiscard]] std::string make_boundary();
// The boundary of a Content-Type value as it stands in delimiter lines; empty when it has none.
[[nodiscard]] std::string boundary_text(const HeaderValue& content_type);
// True for a text that a delimiter line and a quoted parameter hold as it is.
[[nodiscard]] bool is_usable_boundary(std::string_view boundary);

// The parameters of a Content-Type or Content-Disposition entry, shared by reference; the value is
// brought into shape where it is not.
[[nodiscard]] HeaderValue share_parameters(HeaderValue& entry, std::size_t element);
// The first parameter in map order whose name matches whatever its letter case; null when none.
[[nodiscard]] const HeaderValue* find_parameter(const HeaderValue& parameters,
                                                std::string_view name);

// True when the text stands in double quotes: it begins with one that closes at its end.
[[nodiscard]] bool is_quoted(std::string_view text);
// The text without its double quotes and backslashes; any other text unchanged.
[[nodiscard]] std::string unquoted(std::string_view text);
// A parameter's value so.
[[nodiscard]] std::string parameter_text(const HeaderValue& value);
// The text in double quotes, unless it stands in them already.
[[nodiscard]] std::string quoted(std::string_view text);
// The text in double quotes, quotes and backslashes in it escaped.
[[nodiscard]] std::string in_quotes(std::string_view text);

// --- content -------------------------------------------------------------------------------------

// Appends a child to a multipart record and yields its slot.
[[nodiscard]] HeaderValue& add_child(HeaderValue& record);

// How the content is held: the number in a record's kPartDecoded, 0 when absent.
enum class ContentForm : std::int32_t {
  Wire = 0,      // as it was read, still in its transfer encoding
  Decoded = 1,   // as a host's stream gave it: UTF-16 where the part's text has a charset
  AnsiText = 2,  // text that a host put, in the system ANSI code page
  WideText = 3,  // the same in UTF-16
  Charset = 4,   // decoded from its transfer encoding, text still in the part's charset
};
[[nodiscard]] ContentForm content_form(const HeaderValue& record);
[[nodiscard]] inline bool is_decoded(const HeaderValue& record) {
  return content_form(record) != ContentForm::Wire;
}
// The content becomes `stream`'s.
void set_content(HeaderValue& record, platform::ComPtr<IStream> stream, ContentForm form);
inline void set_decoded_content(HeaderValue& record, platform::ComPtr<IStream> stream) {
  set_content(record, std::move(stream), ContentForm::Decoded);
}
// True for text, and for a part without a type, which is text. Others have no charset.
[[nodiscard]] bool is_text(const HeaderValue& record);
// True for encodings that write content line by line as it is, and for none.
[[nodiscard]] bool is_line_encoding(std::int32_t encoding);

}  // namespace tallowbrook
