// The mail properties. A getter of a field that a load left unparsed has it parsed first; a put
// forgets what was loaded. Waiting for the parser, and an object that a host puts, may run code
// that releases the message: those members hold it.
#include <algorithm>
#include <iterator>
#include <string>
#include <utility>

#include "core/guard.h"
#include "core/text.h"
#include "model/addresses.h"
#include "model/body_part.h"
#include "model/dates.h"
#include "model/header_text.h"
#include "model/mime_body.h"
#include "model/mime_decoder.h"
#include "model/received.h"
#include "model/variant_conversion.h"
#include "tallowbrook/enumerations.h"
#include "tallowbrook/events.h"

namespace tallowbrook {

using platform::Variant;

// --- the ways of reading and putting a field -----------------------------------------------------

HRESULT CMimeDecoder::get_field(SlotId id, ReadMode mode, Reader reader, VARIANT* value) {
  if (value == nullptr) return E_POINTER;
  VariantInit(value);
  return guarded([&] {
    const auto held = self();
    FieldSlot& field = store_.slot(id);
    ReparseHeader(*this, field, field_info(id).name, mode);
    // A list that says nothing ("To: (nobody)") is there, and empty.
    if (field.value.is_set() || field.source.is_set()) reader(field.value).detach_to(value);
    return S_OK;
  });
}

HRESULT CMimeDecoder::put_field(SlotId id, HeaderValue value) {
  store_.slot(id).put(std::move(value));
  NotifyChanged();
  return S_OK;
}

HRESULT CMimeDecoder::put_date_field(SlotId id, const VARIANT& date) {
  return guarded([&] {
    const auto held = self();
    HeaderValue value = store_.slot(id).value;
    put_date(value, date);
    return put_field(id, std::move(value));
  });
}

// A value that is no text leaves the field as it was.
HRESULT CMimeDecoder::put_plain_text(SlotId id, const VARIANT& value) {
  return guarded([&] {
    const auto held = self();
    const auto text = text_of(value);
    return text ? put_field(id, HeaderValue::text(*text)) : S_OK;
  });
}

HRESULT CMimeDecoder::get_address(SlotId id, VARIANT* value) {
  return get_field(id, ReadMode::Single, single_address, value);
}

HRESULT CMimeDecoder::put_address(SlotId id, const VARIANT& value) {
  return guarded([&] {
    const auto held = self();
    return put_field(id, put_single_address(value));
  });
}

HRESULT CMimeDecoder::get_addresses(SlotId id, VARIANT* value) {
  return get_field(id, ReadMode::List, address_list, value);
}

HRESULT CMimeDecoder::put_addresses(SlotId id, const VARIANT& value) {
  return guarded([&] {
    const auto held = self();
    return put_field(id, put_address_list(value));
  });
}

// --- addresses -----------------------------------------------------------------------------------

HRESULT CMimeDecoder::get_ReturnPath(VARIANT* value) {
  return get_address(SlotId::ReturnPath, value);
}
HRESULT CMimeDecoder::put_ReturnPath(VARIANT value) {
  return put_address(SlotId::ReturnPath, value);
}
HRESULT CMimeDecoder::get_ReplyTo(VARIANT* value) { return get_address(SlotId::ReplyTo, value); }
HRESULT CMimeDecoder::put_ReplyTo(VARIANT value) { return put_address(SlotId::ReplyTo, value); }
HRESULT CMimeDecoder::get_Sender(VARIANT* value) { return get_address(SlotId::Sender, value); }
HRESULT CMimeDecoder::put_Sender(VARIANT value) { return put_address(SlotId::Sender, value); }
HRESULT CMimeDecoder::get_ResentSender(VARIANT* value) {
  return get_address(SlotId::ResentSender, value);
}
HRESULT CMimeDecoder::put_ResentSender(VARIANT value) {
  return put_address(SlotId::ResentSender, value);
}
HRESULT CMimeDecoder::get_From(VARIANT* value) { return get_addresses(SlotId::From, value); }
HRESULT CMimeDecoder::put_From(VARIANT value) {
  return guarded([&] {
    const auto held = self();
    return put_field(SlotId::From, put_enumerated_or_single(value));
  });
}
HRESULT CMimeDecoder::get_ResentReplyTo(VARIANT* value) {
  return get_addresses(SlotId::ResentReplyTo, value);
}
HRESULT CMimeDecoder::put_ResentReplyTo(VARIANT value) {
  return put_addresses(SlotId::ResentReplyTo, value);
}
HRESULT CMimeDecoder::get_ResentFrom(VARIANT* value) {
  return get_addresses(SlotId::ResentFrom, value);
}
HRESULT CMimeDecoder::put_ResentFrom(VARIANT value) {
  return put_addresses(SlotId::ResentFrom, value);
}
HRESULT CMimeDecoder::get_To(VARIANT* value) { return get_addresses(SlotId::To, value); }
HRESULT CMimeDecoder::put_To(VARIANT value) { return put_addresses(SlotId::To, value); }
HRESULT CMimeDecoder::get_CC(VARIANT* value) { return get_addresses(SlotId::Cc, value); }
HRESULT CMimeDecoder::put_CC(VARIANT value) { return put_addresses(SlotId::Cc, value); }
HRESULT CMimeDecoder::get_BCC(VARIANT* value) { return get_addresses(SlotId::Bcc, value); }
HRESULT CMimeDecoder::put_BCC(VARIANT value) { return put_addresses(SlotId::Bcc, value); }
HRESULT CMimeDecoder::get_ReturnReceiptTo(VARIANT* value) {
  return get_addresses(SlotId::ReturnReceiptTo, value);
}
HRESULT CMimeDecoder::put_ReturnReceiptTo(VARIANT value) {
  return put_addresses(SlotId::ReturnReceiptTo, value);
}

// --- dates ---------------------------------------------------------------------------------------

HRESULT CMimeDecoder::get_Date(VARIANT* value) {
  return get_field(SlotId::Date, ReadMode::Single, to_variant, value);
}
HRESULT CMimeDecoder::put_Date(VARIANT value) { return put_date_field(SlotId::Date, value); }
HRESULT CMimeDecoder::get_ResentDate(VARIANT* value) {
  return get_field(SlotId::ResentDate, ReadMode::Single, to_variant, value);
}
HRESULT CMimeDecoder::put_ResentDate(VARIANT value) {
  return put_date_field(SlotId::ResentDate, value);
}

// --- texts ---------------------------------------------------------------------------------------

HRESULT CMimeDecoder::get_Subject(VARIANT* value) {
  if (value == nullptr) return E_POINTER;
  VariantInit(value);
  return guarded([&] {
    const HeaderValue subject = store_.slot(SlotId::Subject).value.shared_text();
    Variant::adopt(header_text_to_bstr(subject.text_view())).detach_to(value);
    return S_OK;
  });
}

HRESULT CMimeDecoder::put_Subject(VARIANT value) {
  return guarded([&] {
    const auto held = self();
    const auto text = wide_text_of(value);
    if (!text) return S_OK;
    const std::string encoded = encode_header_text(*text, store_.charset);
    const HRESULT status = put_field(SlotId::Subject, HeaderValue::text(encoded));
    raise_subject_changed();
    return status;
  });
}

// The host renames its node: the event carries the message itself and an empty value. What a sink
// puts in turn raises no further event, and what it throws is its own.
void CMimeDecoder::raise_subject_changed() {
  if (raising_) return;
  const auto sinks = points_.sinks(_IAccessorEvents::kIid);
  raising_ = true;
  for (const auto& sink : sinks) {
    (void)guarded([&] {
      const auto target = sink.query<IDispatch>();
      if (!target) return S_OK;
      Variant arguments[] = {Variant(), Variant(static_cast<IDispatch*>(this))};  // last one first
      DISPPARAMS parameters{arguments, nullptr, 2, 0};
      return target->Invoke(_IAccessorEvents::kChanged, GUID_NULL, LOCALE_USER_DEFAULT,
                            DISPATCH_METHOD, &parameters, nullptr, nullptr, nullptr);
    });
  }
  raising_ = false;
}

HRESULT CMimeDecoder::get_SubjectRaw(VARIANT* value) {
  if (value == nullptr) return E_POINTER;
  VariantInit(value);
  return guarded([&] {
    Variant(to_wide(store_.slot(SlotId::Subject).value.AsText())).detach_to(value);
    return S_OK;
  });
}

HRESULT CMimeDecoder::put_SubjectRaw(VARIANT value) {
  return put_plain_text(SlotId::Subject, value);
}

HRESULT CMimeDecoder::get_MessageID(VARIANT* value) {
  if (value == nullptr) return E_POINTER;
  VariantInit(value);
  return guarded([&] {
    const HeaderValue& id = store_.slot(SlotId::MessageID).value;
    if (id.is_set()) Variant(to_wide(id.AsText())).detach_to(value);
    return S_OK;
  });
}

HRESULT CMimeDecoder::put_MessageID(VARIANT value) {
  return put_plain_text(SlotId::MessageID, value);
}

HRESULT CMimeDecoder::put_Charset(VARIANT charset) {
  return guarded([&] {
    Variant given;
    if (FAILED(VariantCopyInd(&given, &charset)) || given.vt != VT_BSTR) return E_INVALIDARG;
    store_.charset = to_ansi(given.text());
    return S_OK;
  });
}

HRESULT CMimeDecoder::get_MessageHeader(BSTR* header) {
  if (header == nullptr) return E_POINTER;
  *header = nullptr;
  return guarded([&] {
    const auto target = CISSHelper::create();
    const WriteOutcome outcome = write(*target, true);
    if (FAILED(outcome.status)) return outcome.status;
    *header = to_bstr(target->bytes()).detach();
    return S_OK;
  });
}

// --- version and options -------------------------------------------------------------------------

namespace {

template <class Out, class Value>
HRESULT yield(Out* target, Value value) {
  if (target == nullptr) return E_POINTER;
  *target = static_cast<Out>(value);
  return S_OK;
}

}  // namespace

HRESULT CMimeDecoder::get_MajorMimeVersion(LONG* version) {
  return yield(version, store_.mime_major);
}

HRESULT CMimeDecoder::put_MajorMimeVersion(LONG version) {
  return guarded([&] {
    store_.mime_major = version;
    NotifyChanged();
    return S_OK;
  });
}

HRESULT CMimeDecoder::get_MinorMimeVersion(LONG* version) {
  return yield(version, store_.mime_minor);
}

HRESULT CMimeDecoder::put_MinorMimeVersion(LONG version) {
  return guarded([&] {
    store_.mime_minor = version;
    NotifyChanged();
    return S_OK;
  });
}

// Options say how later calls work; they are no change of the message.
HRESULT CMimeDecoder::get_InterpretEmbeddedMails(VARIANT_BOOL* interpret) {
  return yield(interpret, store_.interpret_embedded_mails ? VARIANT_TRUE : VARIANT_FALSE);
}

HRESULT CMimeDecoder::put_InterpretEmbeddedMails(VARIANT_BOOL interpret) {
  store_.interpret_embedded_mails = interpret != VARIANT_FALSE;
  return S_OK;
}

HRESULT CMimeDecoder::get_CollectRawStream(VARIANT_BOOL* collect) {
  return yield(collect, store_.collect_raw_stream ? VARIANT_TRUE : VARIANT_FALSE);
}

HRESULT CMimeDecoder::put_CollectRawStream(VARIANT_BOOL collect) {
  store_.collect_raw_stream = collect != VARIANT_FALSE;
  return S_OK;
}

// --- trace headers and body ----------------------------------------------------------------------

HRESULT CMimeDecoder::get_Received(IDispatch** trace_headers) {
  if (trace_headers == nullptr) return E_POINTER;
  *trace_headers = nullptr;
  return guarded([&] {
    *trace_headers = make_object<CReceivedCollection>(link()).detach();
    return S_OK;
  });
}

HRESULT CMimeDecoder::get_Body(VARIANT* body) {
  if (body == nullptr) return E_POINTER;
  VariantInit(body);
  if (store_.load_error_flag) return S_OK;
  return guarded([&] {
    const auto part = make_root_body(store_, link());
    Variant(static_cast<IDispatch*>(part.get())).detach_to(body);
    return S_OK;
  });
}

HRESULT CMimeDecoder::put_Body(VARIANT body) {
  return guarded([&] {
    const auto held = self();
    Variant text;
    if (FAILED(VariantCopyInd(&text, &body)) || text.vt != VT_BSTR) return E_FAIL;
    const auto part = make_root_body(store_, link_);
    const Variant charset(to_wide(store_.charset));
    // All of it or, for want of memory, nothing.
    HeaderValue record = store_.root;
    const HeaderValue content = record[kPartBody];
    const HeaderValue form = record[kPartDecoded];
    (void)record.element(kPartDecoded);
    EntryUndo undo_type(record, EntryName::ContentType);
    EntryUndo undo_encoding(record, EntryName::ContentTransferEncoding);
    const HRESULT steps[] = {
        part->put_MajorContentType(Variant(static_cast<LONG>(MajorMimeTypes::Text))),
        part->put_MinorContentType(Variant(static_cast<LONG>(TextTypes::Plain))),
        part->put_Encoding(Variant(static_cast<LONG>(EncoderTypes::QuotedPrintable))),
        store_.charset.empty() ? S_OK : part->put_Charset(charset), part->put_Value(text.bstrVal)};
    if (std::find(std::begin(steps), std::end(steps), E_OUTOFMEMORY) != std::end(steps)) {
      record.element(kPartBody) = content;
      record.element(kPartDecoded) = form;
      return E_OUTOFMEMORY;
    }
    undo_type.keep();
    undo_encoding.keep();
    return steps[std::size(steps) - 1];
  });
}

}  // namespace tallowbrook
