#include "writer/message_writer.h"

#include <string>
#include <string_view>

#include "core/text.h"
#include "model/addresses.h"
#include "model/dates.h"
#include "model/header_text.h"
#include "streams/output_modifier.h"

namespace tallowbrook {
namespace {

void write_line(BlockWriter& out, std::string_view name, std::string_view text) {
  out.text(name);
  out.text(": ");
  out.text(folded(text));
  out.text("\r\n");
}

// One trace header: its source, or "clause value" lines with the date behind the last one.
void write_received(BlockWriter& out, const HeaderValue& record) {
  const HeaderValue& parameters = record[kTraceParameters];
  const HeaderValue& date = record[kTraceDate];
  if (record[kTraceSource].is_set()) {
    write_line(out, "Received", record[kTraceSource].AsText());
    return;
  }
  if (!parameters.is(ValueKind::AddressMap)) {
    write_line(out, "Received", date.AsText());
    return;
  }
  std::string text;
  for (const auto& [clause, value] : parameters.entries()) {
    if (!text.empty()) text.append("\r\n\t");
    text.append(clause).append(" ").append(value.AsText());
  }
  text.append("; ").append(date.AsText());
  write_line(out, "Received", text);
}

void write_address_field(BlockWriter& out, const FieldInfo& field, const FieldSlot& slot) {
  const bool unparsed = slot.source.is_set() || slot.value.is(ValueKind::Raw);
  if (unparsed) {
    const std::string text = slot.source.is_set() ? slot.source.AsText() : slot.value.AsText();
    if (!trim(text).empty()) write_line(out, field.name, text);
  } else if (has_addresses(slot.value)) {
    out.text(field.name);
    out.text(": ");
    out.text(address_layout(slot.value));
  }
}

void write_text_field(BlockWriter& out, const FieldInfo& field, const FieldSlot& slot) {
  if (slot.source.is_set()) {
    write_line(out, field.name, slot.source.AsText());
  } else if (field.slot == SlotId::ReturnPath && slot.value.is(ValueKind::Address)) {
    write_line(out, field.name, slot.value.address_text());
  } else if (slot.value.is_set()) {
    write_line(out, field.name, slot.value.AsText());
  }
}

void write_header(BlockWriter& out, MessageStore& store) {
  const HeaderValue received = store.received;  // a host's target may change the model
  for (std::size_t i = 0; i < received.size(); ++i) write_received(out, received[i]);
  if (!store.slot(SlotId::Date).value.is_set()) store.slot(SlotId::Date).put(current_date());
  for (const FieldInfo& field : all_fields()) {
    if (field.slot == SlotId::MessageID) {
      write_line(out, "MIME-Version",
                 std::to_string(store.mime_major) + "." + std::to_string(store.mime_minor));
    }
    const FieldSlot slot = store.slot(field.slot);
    const bool addresses = field.rule == FieldRule::AddressList ||
                           (field.rule == FieldRule::SingleAddress &&
                            field.slot != SlotId::ReturnPath);
    if (addresses) {
      write_address_field(out, field, slot);
    } else {
      write_text_field(out, field, slot);
    }
  }
}

// The root's shape is not the message's failure: the fields and the dot line are written anyway.
bool write_root(BlockWriter& out, MessageStore& store, const MessageRef& message,
                bool header_only) {
  if (!store.root.is_set()) return true;
  if (!store.root.is(ValueKind::List)) return false;
  store.root.pin();
  return write_part(out, store.root, message, header_only).complete;
}

WriteOutcome write_raw_copy(IStream& raw_copy, IStream& target) {
  BlockWriter out(target);
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
  COutputStreamModifier filter(*target);
  BlockWriter out(filter);
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
