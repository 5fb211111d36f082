#include "writer/message_writer.h"

#include <string>
#include <string_view>

#include "core/text.h"
#include "model/addresses.h"
#include "model/dates.h"
#include "model/header_text.h"
#include "model/received.h"
#include "streams/output_modifier.h"
#include "writer/shared_stream.h"

namespace tallowbrook {
namespace {

// A value, or the text that it was read from where that is kept.
const HeaderValue& stored(const HeaderValue& value, const HeaderValue& source) {
  return source.is_set() ? source : value;
}

// True for a date whose fields name no moment: a host put what does not convert to one.
bool says_no_date(const HeaderValue& value, const HeaderValue& source) {
  return !source.is_set() && value.is(ValueKind::DateTime) && value.AsText().empty();
}

void write_received(MessageOutput& out, const HeaderValue& record) {
  const bool parsed =
      !record[kTraceSource].is_set() && record[kTraceParameters].is(ValueKind::AddressMap);
  if (parsed) {
    out.field("Received", std::string_view(trace_text(record)));
  } else {
    out.field("Received", stored(record[kTraceDate], record[kTraceSource]));
  }
}

// Nothing for a text of blanks.
void write_address_text(MessageOutput& out, std::string_view name, const HeaderValue& text) {
  if (!text.raw_in_memory()) {
    const std::string read = text.AsText();
    if (!trim(read).empty()) out.field(name, std::string_view(read));
  } else if (!trim(text.raw_view()).empty()) {
    out.field(name, text);
  }
}

void write_address_field(MessageOutput& out, std::string_view name, const HeaderValue& value,
                         const HeaderValue& source) {
  if (source.is_set() || value.is(ValueKind::Raw)) {
    write_address_text(out, name, stored(value, source));
  } else if (const std::string layout = address_layout(value); !layout.empty()) {
    out.text(name);
    out.text(": ");
    out.text(layout);
  }
}

void write_field(MessageOutput& out, const FieldInfo& field, const HeaderValue& value,
                 const HeaderValue& source) {
  if ((!value.is_set() && !source.is_set()) || says_no_date(value, source)) return;
  if (field.slot == SlotId::ReturnPath && value.is(ValueKind::Address)) {
    const HeaderValue path = HeaderValue::address(HeaderValue::text(value.address_text()), {});
    write_address_field(out, field.name, path, source);  // without the display name
  } else if (field.rule == FieldRule::AddressList || field.rule == FieldRule::SingleAddress) {
    write_address_field(out, field.name, value, source);
  } else {
    out.field(field.name, stored(value, source));
  }
}

void write_header(MessageOutput& out, MessageStore& store) {
  const HeaderValue received = store.received;  // a host's target may change the model
  for (std::size_t i = 0; i < received.size(); ++i) write_received(out, received[i]);
  FieldSlot& date = store.slot(SlotId::Date);
  if (!date.value.is_set() || says_no_date(date.value, date.source)) date.put(current_date());
  for (const FieldInfo& field : all_fields()) {
    if (field.slot == SlotId::MessageID) {
      const std::string version =
          std::to_string(store.mime_major) + "." + std::to_string(store.mime_minor);
      out.field("MIME-Version", std::string_view(version));
    }
    const FieldSlot& slot = store.slot(field.slot);
    if (!slot.value.is_set() && !slot.source.is_set()) continue;
    const HeaderValue value = slot.value;
    const HeaderValue source = slot.source;
    write_field(out, field, value, source);
  }
}

// The root's shape is not the message's failure: the fields and the dot line are written anyway.
bool write_root(MessageOutput& out, MessageStore& store, const MessageRef& message,
                bool header_only) {
  if (!store.root.is_set()) return true;
  if (!store.root.is(ValueKind::List)) return false;
  store.root.pin();
  return write_part(out, store.root, message, header_only).complete;
}

WriteOutcome write_raw_copy(IStream& raw_copy, IStream& target) {
  MessageOutput out(target);
  out.raw(HeaderValue::raw_stream(platform::ComPtr<IStream>(&raw_copy)));
  return {S_OK, out.flush()};
}

}  // namespace

WriteOutcome write_message(MessageStore& store, const MessageRef& message, IStream* target,
                           const WriteOptions& options) {
  if (target == nullptr) return {E_INVALIDARG, false};
  const platform::ComPtr<IStream> held(target);
  if (options.raw_copy != nullptr && !options.header_only) {
    return write_raw_copy(*options.raw_copy, *target);
  }
  if (!options.header_only && reads_from(store.root, *target)) {
    return write_buffered(
        *target, [&](IStream& buffer) { return write_message(store, message, &buffer, options); });
  }
  COutputStreamModifier filter(*target);
  MessageOutput out(filter);
  write_header(out, store);
  bool complete = write_root(out, store, message, options.header_only);
  if (!options.enclosed) {
    out.close_line();
    out.text(".\r\n");
  }
  if (!out.flush()) complete = false;
  return {S_OK, complete};
}

}  // namespace tallowbrook
