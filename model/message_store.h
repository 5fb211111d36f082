// The plain data of one message: what the parser fills, the views edit and the writer reads.
//
// Most fields stay unparsed (`Raw`) until they are read. A field that was read keeps its source
// text beside the parsed value, so that reading never changes what a save writes; whoever changes
// a value drops its source.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "model/header_value.h"

namespace tallowbrook {

// The header fields that have a place of their own, in the order in which they are written.
enum class SlotId : std::uint8_t {
  ReturnPath,
  Date,
  ResentDate,
  Sender,
  From,
  ReplyTo,
  ResentSender,
  ResentFrom,
  ResentReplyTo,
  To,
  ResentTo,
  Cc,
  ResentCc,
  Bcc,
  ResentBcc,
  MessageID,
  Subject,
  ReturnReceiptTo,
};
inline constexpr std::size_t kSlotCount = 18;

// How a field meets an earlier one of the same name, and how its text is read.
enum class FieldRule : std::uint8_t {
  SingleAddress,  // parsed values replace, unparsed ones are joined; read as one address
  AddressList,    // parsed values merge, unparsed ones are joined; read leniently as a list
  Date,           // the last one wins
  Text,           // the last one wins; never unparsed
};

struct FieldInfo {
  SlotId slot;
  std::string_view name;  // as written
  FieldRule rule;
};

[[nodiscard]] const FieldInfo& field_info(SlotId slot);
[[nodiscard]] const std::array<FieldInfo, kSlotCount>& all_fields();

// One header field: its value, the text it was parsed from, and where unparsed occurrences were
// joined (offsets of the CR LF TAB between two of them, ascending).
struct FieldSlot {
  HeaderValue value;
  HeaderValue source;  // `Raw` as loaded, while `value` says the same; else empty
  std::vector<std::uint32_t> joins;

  // Takes a value that a host gave: what was loaded is forgotten.
  void put(HeaderValue replacement);
  void reset();
  // An unparsed text, a `Text`, with every join turned into a comma (folded), for reading a list;
  // white space and commas that end an occurrence go.
  [[nodiscard]] HeaderValue list_text() const;
};

// Elements of a trace header record, a `List`: the clauses (an `AddressMap`, `Empty` while
// unparsed), the date (`Raw` text of the whole header while unparsed), and the text that it was
// parsed from (`Raw`, else empty).
inline constexpr std::size_t kTraceParameters = 0;
inline constexpr std::size_t kTraceDate = 1;
inline constexpr std::size_t kTraceSource = 2;

// What a record's clauses and date say as header text: each clause as its name, a blank and its
// value, CR LF TAB between two of them, then "; " and the date. An `Empty` clause is none: looking
// one up adds it. A clause whose value is missing holds a `Foreign` empty variant.
[[nodiscard]] std::string trace_text(const HeaderValue& record);

// Elements of a body part record, a `List`: the field list, the body (`Raw` content, or a `List` of
// child records), and whether the content is held decoded (`Integer`).
inline constexpr std::size_t kPartFields = 0;
inline constexpr std::size_t kPartBody = 1;
inline constexpr std::size_t kPartDecoded = 2;

// Elements of a field entry, a `List`: the name (`Text`), the value, and the text that a parsed
// value was read from (`Raw`, else absent). An extension field's name is "ExtField" and its value a
// `List` of its own name (`Text`) and its text (`Raw`).
inline constexpr std::size_t kEntryName = 0;
inline constexpr std::size_t kEntryValue = 1;
inline constexpr std::size_t kEntrySource = 2;

// Elements of a Content-Type value and of a Content-Disposition value, both a `List`.
inline constexpr std::size_t kTypeMajor = 0;
inline constexpr std::size_t kTypeMinor = 1;
inline constexpr std::size_t kTypeParameters = 2;
inline constexpr std::size_t kDispositionValue = 0;
inline constexpr std::size_t kDispositionParameters = 1;

class MessageStore {
 public:
  [[nodiscard]] FieldSlot& slot(SlotId id) { return slots_[static_cast<std::size_t>(id)]; }
  [[nodiscard]] const FieldSlot& slot(SlotId id) const {
    return slots_[static_cast<std::size_t>(id)];
  }

  // --- what the parser's actions call -------------------------------------------------------
  // A field's value, parsed or `Raw`, meets what the slot holds by the field's rule.
  void store_field(SlotId id, HeaderValue value);
  void store_mime_version(std::int32_t major, std::int32_t minor);
  // A parsed trace header; parameters that are no map become an empty one.
  void add_received(HeaderValue parameters, HeaderValue date);
  void add_raw_received(HeaderValue raw);
  void store_root(HeaderValue record) { root = std::move(record); }

  // Forgets the header fields, the trace headers and the MIME version; root body, charset and
  // options stay.
  void reset_header();

  std::int32_t mime_major = 1;
  std::int32_t mime_minor = 0;
  HeaderValue received;  // `List` of trace header records; pinned by views
  HeaderValue root;      // body part record; pinned by views
  std::string charset;   // for texts that a host puts
  bool interpret_embedded_mails = true;
  bool collect_raw_stream = false;
  bool load_error_flag = false;

 private:
  void join_raw(FieldSlot& slot, HeaderValue raw);

  std::array<FieldSlot, kSlotCount> slots_;
};

}  // namespace tallowbrook
