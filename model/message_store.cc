#include "model/message_store.h"

#include <utility>

#include "core/text.h"

namespace tallowbrook {
namespace {

constexpr std::array<FieldInfo, kSlotCount> kFields = {{
    {SlotId::ReturnPath, "Return-path", FieldRule::SingleAddress},
    {SlotId::Date, "Date", FieldRule::Date},
    {SlotId::ResentDate, "Resent-Date", FieldRule::Date},
    {SlotId::Sender, "Sender", FieldRule::SingleAddress},
    {SlotId::From, "From", FieldRule::AddressList},
    {SlotId::ReplyTo, "Reply-To", FieldRule::SingleAddress},
    {SlotId::ResentSender, "Resent-Sender", FieldRule::SingleAddress},
    {SlotId::ResentFrom, "Resent-From", FieldRule::AddressList},
    {SlotId::ResentReplyTo, "Resent-Reply-To", FieldRule::AddressList},
    {SlotId::To, "To", FieldRule::AddressList},
    {SlotId::ResentTo, "Resent-To", FieldRule::AddressList},
    {SlotId::Cc, "cc", FieldRule::AddressList},
    {SlotId::ResentCc, "Resent-cc", FieldRule::AddressList},
    {SlotId::Bcc, "bcc", FieldRule::AddressList},
    {SlotId::ResentBcc, "Resent-bcc", FieldRule::AddressList},
    {SlotId::MessageID, "Message-ID", FieldRule::Text},
    {SlotId::Subject, "Subject", FieldRule::Text},
    {SlotId::ReturnReceiptTo, "Return-Receipt-To", FieldRule::AddressList},
}};

constexpr std::string_view kJoin = "\r\n\t";

// An occurrence without the blanks and commas at its end; empty when nothing else is in it.
std::string_view without_trailing_commas(std::string_view text) {
  const std::size_t last = text.find_last_not_of(" \t\r\n,");
  return last == std::string_view::npos ? std::string_view() : text.substr(0, last + 1);
}

}  // namespace

const FieldInfo& field_info(SlotId slot) { return kFields[static_cast<std::size_t>(slot)]; }

const std::array<FieldInfo, kSlotCount>& all_fields() { return kFields; }

std::string trace_text(const HeaderValue& record) {
  std::string text;
  for (const auto& [clause, value] : record[kTraceParameters].entries()) {
    if (!value.is_set()) continue;  // looked up, never given
    if (!text.empty()) text += kJoin;
    text.append(clause).append(" ").append(value.AsText());
  }
  return text.append("; ").append(record[kTraceDate].AsText());
}

void FieldSlot::put(HeaderValue replacement) {
  source.Reset();
  joins.clear();
  value = std::move(replacement);
}

void FieldSlot::reset() {
  if (value.is_set() || source.is_set() || !joins.empty()) put({});
}

HeaderValue FieldSlot::list_text() const {
  if (joins.empty()) return value.shared_text();
  const std::string raw = value.raw_text();
  std::string result;
  result.reserve(raw.size() + joins.size());
  std::size_t start = 0;
  for (std::size_t i = 0; i <= joins.size(); ++i) {
    const std::size_t end = i < joins.size() ? joins[i] : raw.size();
    const auto occurrence =
        without_trailing_commas(std::string_view(raw).substr(start, end - start));
    if (!occurrence.empty()) {
      if (!result.empty()) result.append(",").append(kJoin);
      result.append(occurrence);
    }
    start = end + kJoin.size();
  }
  return HeaderValue::text(result);
}

void MessageStore::join_raw(FieldSlot& slot, HeaderValue raw) {
  if (!slot.value.is_set()) {
    slot.put(std::move(raw));
    return;
  }
  // A handler that ran during the load may have read the field: it goes back to its text.
  if (slot.source.is_set()) slot.value = std::exchange(slot.source, {});
  if (!slot.value.is(ValueKind::Raw)) return;
  slot.joins.push_back(static_cast<std::uint32_t>(slot.value.raw_view().size()));
  slot.value.AppendText(kJoin);
  slot.value.Append(std::move(raw));
}

void MessageStore::store_field(SlotId id, HeaderValue value) {
  FieldSlot& target = slot(id);
  const FieldRule rule = field_info(id).rule;
  const bool joins = rule == FieldRule::SingleAddress || rule == FieldRule::AddressList;
  if (joins && value.is(ValueKind::Raw)) {
    join_raw(target, std::move(value));
  } else if (rule == FieldRule::AddressList) {
    if (!target.value.is_set()) target.put(HeaderValue::map());
    target.value.Append(std::move(value));
  } else {
    target.put(std::move(value));
  }
}

void MessageStore::store_mime_version(std::int32_t major, std::int32_t minor) {
  mime_major = major;
  mime_minor = minor;
}

void MessageStore::add_received(HeaderValue parameters, HeaderValue date) {
  if (!parameters.is(ValueKind::AddressMap)) parameters = HeaderValue::map();
  received.push_back(HeaderValue::list(std::move(parameters), std::move(date)));
}

void MessageStore::add_raw_received(HeaderValue raw) {
  received.push_back(HeaderValue::list({}, std::move(raw)));
}

void MessageStore::reset_header() {
  for (FieldSlot& field : slots_) field.reset();
  received.Reset();
  store_mime_version(1, 0);
}

}  // namespace tallowbrook
