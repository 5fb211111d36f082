#include "model/received.h"

#include <utility>

#include "core/creators.h"
#include "core/guard.h"
#include "core/text.h"
#include "model/dates.h"
#include "model/header_text.h"
#include "model/parameter_map.h"
#include "model/variant_conversion.h"
#include "parser/load.h"

namespace tallowbrook {

using platform::Variant;

namespace {

bool is_unparsed(const HeaderValue& record) { return record[kTraceDate].is(ValueKind::Raw); }

// What a trace header says behind its last ";", where its date stands.
std::string_view date_part(std::string_view text) {
  const std::size_t semicolon = text.rfind(';');
  return semicolon == std::string_view::npos ? std::string_view()
                                             : trim(text.substr(semicolon + 1));
}

// Clauses that stand in a text without a value are there, unlike those that a host looks up.
void keep_bare_clauses(HeaderValue& parameters) {
  AddressMap& clauses = parameters.mutable_entries();
  for (const auto& [clause, value] : parameters.entries()) {
    if (!value.is_set()) *clauses.find(clause) = HeaderValue::foreign(Variant());
  }
}

}  // namespace

HRESULT ReparseReceived(HeaderValue& record) {
  const HeaderValue source = record[kTraceDate];
  const std::string text = source.raw_text();
  HeaderValue parameters;
  HeaderValue date;
  // A text that a host put may hold lines that would be fields of their own.
  const HRESULT status = parse_received(folded(text), parameters, date);
  // A handler that ran while the parser was waited for may have read or put the record.
  if (FAILED(status) || !record[kTraceDate].same_content(source)) return status;
  if (date.is(ValueKind::DateTime) && !is_valid(date.date())) {
    date = HeaderValue::text(date_part(text));
  }
  keep_bare_clauses(parameters);
  record.element(kTraceParameters) = std::move(parameters);
  record.element(kTraceDate) = std::move(date);
  record.element(kTraceSource) = source;
  return status;
}

// --- the collection ------------------------------------------------------------------------------

CReceivedCollection::CReceivedCollection(MessageRef message) : message_(std::move(message)) {
  (void)records();
}

HeaderValue& CReceivedCollection::records() {
  if (message_ != nullptr && message_->owner != nullptr) {
    HeaderValue& current = message_->owner->store().received;
    if (!current.is(ValueKind::List)) current = HeaderValue::list();
    current.pin();
    records_ = current;
  }
  return records_;
}

bool CReceivedCollection::has(LONG index) {
  return index >= 0 && static_cast<std::size_t>(index) < records().size();
}

HRESULT CReceivedCollection::get_Item(LONG index, IDispatch** item) {
  if (item == nullptr) return E_POINTER;
  *item = nullptr;
  return guarded([&] {
    const ViewMutex::Hold hold(mutex_, *this);
    if (!has(index)) return E_INVALIDARG;
    HeaderValue& record = records_.element(static_cast<std::size_t>(index));
    record.pin();
    *item = make_object<CReceived>(record, records_, message_).detach();
    return S_OK;
  });
}

HRESULT CReceivedCollection::get_Count(LONG* count) {
  if (count == nullptr) return E_POINTER;
  *count = 0;
  return guarded([&] {
    const ViewMutex::Hold hold(mutex_, *this);
    *count = static_cast<LONG>(records().size());
    return S_OK;
  });
}

HRESULT CReceivedCollection::Remove(LONG index) {
  return guarded([&] {
    const ViewMutex::Hold hold(mutex_, *this);
    if (!has(index)) return E_INVALIDARG;
    records_.erase_element(static_cast<std::size_t>(index));
    notify_changed(message_);
    return S_OK;
  });
}

HRESULT CReceivedCollection::Clear() {
  return guarded([&] {
    const ViewMutex::Hold hold(mutex_, *this);
    records().clear_elements();
    notify_changed(message_);
    return S_OK;
  });
}

// --- one record ----------------------------------------------------------------------------------

CReceived::CReceived() : CReceived(HeaderValue::list(), {}, nullptr) {}

CReceived::CReceived(HeaderValue record, HeaderValue records, MessageRef message)
    : record_(std::move(record)), records_(std::move(records)), message_(std::move(message)) {
  record_.pin();
}

// A changed record says something else than its source and than the message's loaded bytes; the
// message itself is not told.
void CReceived::record_changed() {
  if (record_[kTraceSource].is_set()) record_.element(kTraceSource).Reset();
  if (has_trace(message_, records_)) message_->owner->drop_raw_copy();
}

HRESULT CReceived::get_Value(BSTR* text) {
  if (text == nullptr) return E_POINTER;
  *text = nullptr;
  return guarded([&] {
    const ViewMutex::Hold hold(mutex_, *this);
    *text = to_bstr(is_unparsed(record_) ? record_[kTraceDate].raw_text() : trace_text(record_))
                .detach();
    return S_OK;
  });
}

HRESULT CReceived::put_Value(BSTR text) {
  return guarded([&] {
    const ViewMutex::Hold hold(mutex_, *this);
    record_.element(kTraceParameters).Reset();
    record_.element(kTraceDate) = HeaderValue::raw(to_ansi(platform::view_of(text)));
    record_changed();
    return S_OK;
  });
}

HRESULT CReceived::get_Date(VARIANT* date) {
  if (date == nullptr) return E_POINTER;
  VariantInit(date);
  return guarded([&] {
    const ViewMutex::Hold hold(mutex_, *this);
    if (is_unparsed(record_)) {
      const HRESULT status = ReparseReceived(record_);
      if (FAILED(status)) return status;
    }
    to_variant(record_[kTraceDate]).detach_to(date);
    return S_OK;
  });
}

HRESULT CReceived::put_Date(VARIANT date) {
  return guarded([&] {
    const ViewMutex::Hold hold(mutex_, *this);
    if (is_unparsed(record_)) {
      const HRESULT status = ReparseReceived(record_);
      if (FAILED(status)) return status;
    }
    put_date(record_.element(kTraceDate), date);
    record_changed();
    return S_OK;
  });
}

HRESULT CReceived::get_Parameters(IDispatch** parameters) {
  if (parameters == nullptr) return E_POINTER;
  *parameters = nullptr;
  return guarded([&] {
    const ViewMutex::Hold hold(mutex_, *this);
    if (is_unparsed(record_)) {
      const HRESULT status = ReparseReceived(record_);
      if (FAILED(status)) return status;
    }
    if (!record_[kTraceParameters].is(ValueKind::AddressMap)) return E_FAIL;
    HeaderValue& clauses = record_.element(kTraceParameters);
    clauses.pin();
    *parameters = make_object<CParameterMap>(clauses, record_, message_, records_).detach();
    return S_OK;
  });
}

HRESULT create_received_collection(REFIID iid, void** object) {
  return create_instance<CReceivedCollection>(iid, object);
}

HRESULT create_received(REFIID iid, void** object) {
  return create_instance<CReceived>(iid, object);
}

}  // namespace tallowbrook
