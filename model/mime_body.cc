#include "model/mime_body.h"

#include <optional>
#include <utility>

#include "core/creators.h"
#include "core/guard.h"
#include "core/text.h"
#include "model/body_part.h"
#include "model/content_disposition.h"
#include "model/content_type.h"
#include "model/dates.h"
#include "model/field_collection.h"
#include "model/header_text.h"
#include "model/mime_decoder.h"
#include "model/variant_conversion.h"
#include "tallowbrook/class_ids.h"
#include "writer/part_writer.h"

namespace tallowbrook {
namespace {

using platform::ComPtr;
using platform::Variant;

// A host's value for a descriptive field. False for a type that such a field cannot hold.
bool set_from_variant(const VARIANT& value, HeaderValue& field) {
  Variant direct;
  if (FAILED(VariantCopyInd(&direct, &value))) return false;
  switch (direct.vt) {
    case VT_I2:
      field = HeaderValue::integer(direct.iVal);
      return true;
    case VT_UI2:
      field = HeaderValue::integer(direct.uiVal);
      return true;
    case VT_I4:
    case VT_INT:
    case VT_UI4:
    case VT_UINT:
      field = HeaderValue::integer(direct.lVal);
      return true;
    case VT_DATE:
      field = HeaderValue::date_time({}, {});
      put_date(field, direct);
      return true;
    case VT_BSTR:
      field = HeaderValue::text(to_ansi(direct.text()));
      return true;
    case VT_DISPATCH:
    case VT_UNKNOWN: {
      ComPtr<IStream> stream = platform::query<IStream>(direct.punkVal);
      if (!stream) return false;
      field = HeaderValue::raw_stream(std::move(stream));
      return true;
    }
    default:
      return false;
  }
}

bool is_below(LONG index, std::size_t count) {
  return index >= 0 && static_cast<std::size_t>(index) < count;
}

}  // namespace

CMimeBody::CMimeBody() : record_(HeaderValue::list()) { record_.pin(); }

CMimeBody::CMimeBody(HeaderValue& slot, ComPtr<CMimeBody> parent, MessageRef message,
                     BodyFlags flags)
    : record_(share_list(slot)),
      parent_(std::move(parent)),
      message_(std::move(message)),
      flags_(flags),
      bound_(true),
      looks_inside_(!flags.no_embedded_message && message_ != nullptr &&
                    message_->owner != nullptr &&
                    message_->owner->store().interpret_embedded_mails) {}

// A chain of handles that nobody else holds is taken apart link by link, not by recursion.
CMimeBody::~CMimeBody() {
  ComPtr<CMimeBody> next = std::move(parent_);
  while (next) {
    next->AddRef();
    if (next->Release() != 1) break;
    ComPtr<CMimeBody> above = std::move(next->parent_);
    next = std::move(above);
  }
}

void CMimeBody::changed() {
  set_dirty(true);
  notify_changed(message_);
}

const HeaderValue& CMimeBody::content_type() {
  return resolved_value(record_, EntryName::ContentType, message_);
}

bool CMimeBody::in_digest() const { return parent_ && is_digest(parent_->record_); }

HeaderValue CMimeBody::default_type() const {
  return HeaderValue::list(HeaderValue::integer(in_digest() ? kMessage : kText),
                           HeaderValue::integer(0));
}

bool CMimeBody::multipart() { return content_type()[kTypeMajor].is_integer(kMultipart); }

std::string CMimeBody::message_charset() const {
  if (message_ == nullptr || message_->owner == nullptr) return {};
  return message_->owner->store().charset;
}

// --- children ------------------------------------------------------------------------------------

HRESULT CMimeBody::get_Item(LONG index, IDispatch** part) {
  if (part == nullptr) return E_POINTER;
  *part = nullptr;
  return guarded([&] {
    const HeaderValue& type = content_type();
    const bool has_children = type[kTypeMajor].is_integer(kMultipart);
    if (CMimeDecoder* const message = has_children ? nullptr : embedded(type)) {
      Variant body;
      const HRESULT status = message->get_Body(&body);
      if (FAILED(status) || body.vt != VT_DISPATCH) return FAILED(status) ? status : E_INVALIDARG;
      *part = std::exchange(body.pdispVal, nullptr);
      body.vt = VT_EMPTY;
      return S_OK;
    }
    if (!has_children || !is_below(index, record_[kPartBody].size())) return E_INVALIDARG;
    HeaderValue& child = record_.element(kPartBody).element(static_cast<std::size_t>(index));
    *part = make_mime_body(child, ComPtr<CMimeBody>(this), message_).detach();
    return S_OK;
  });
}

HRESULT CMimeBody::get_Count(LONG* count) {
  if (count == nullptr) return E_POINTER;
  *count = 0;
  return guarded([&] {
    const HeaderValue& type = content_type();
    if (type[kTypeMajor].is_integer(kMultipart)) {
      *count = static_cast<LONG>(record_[kPartBody].size());
    } else if (embedded(type) != nullptr) {
      *count = 1;
    }
    return S_OK;
  });
}

HRESULT CMimeBody::AddNew(IDispatch** part) {
  if (part != nullptr) *part = nullptr;
  return guarded([&] {
    if (!multipart()) return E_INVALIDARG;
    HeaderValue& child = add_child(record_);
    ComPtr<CMimeBody> handle;
    if (part != nullptr) handle = make_mime_body(child, ComPtr<CMimeBody>(this), message_);
    changed();
    if (part != nullptr) *part = handle.detach();
    return S_OK;
  });
}

HRESULT CMimeBody::Remove(LONG index) {
  return guarded([&] {
    if (!multipart()) return S_OK;
    if (!is_below(index, record_[kPartBody].size())) return E_INVALIDARG;
    record_.element(kPartBody).erase_element(static_cast<std::size_t>(index));
    changed();
    return S_OK;
  });
}

HRESULT CMimeBody::Clear() {
  return guarded([&] {
    if (!multipart()) return S_OK;
    record_.element(kPartBody).clear_elements();
    changed();
    return S_OK;
  });
}

// --- types and encoding --------------------------------------------------------------------------

HRESULT CMimeBody::get_MajorContentType(VARIANT* type) {
  if (type == nullptr) return E_POINTER;
  VariantInit(type);
  return guarded([&] {
    const HeaderValue& value = content_type();
    if (!value.is_set()) {
      to_variant(default_type()[kTypeMajor]).detach_to(type);
      return S_OK;
    }
    if (value.is(ValueKind::List) && value.size() == 0) return E_FAIL;
    to_variant(value.is(ValueKind::List) ? value[kTypeMajor] : value).detach_to(type);
    return S_OK;
  });
}

HRESULT CMimeBody::put_MajorContentType(VARIANT type) {
  return guarded([&] {
    resolve_field(record_, EntryName::ContentType, message_);
    set_major(record_, number_or_name(type, major_from_name, kApplication));
    changed();
    return S_OK;
  });
}

HRESULT CMimeBody::get_MinorContentType(VARIANT* type) {
  if (type == nullptr) return E_POINTER;
  VariantInit(type);
  return guarded([&] {
    const HeaderValue& value = content_type();
    if (!value.is_set()) {
      Variant(LONG{0}).detach_to(type);
      return S_OK;
    }
    if (value.size() < 2) return E_FAIL;
    to_variant(value[kTypeMinor]).detach_to(type);
    return S_OK;
  });
}

HRESULT CMimeBody::put_MinorContentType(VARIANT type) {
  return guarded([&] {
    resolve_field(record_, EntryName::ContentType, message_);
    set_minor(record_, number_or_name(type, minor_from_name, 0));
    changed();
    return S_OK;
  });
}

// --- other fields --------------------------------------------------------------------------------

HRESULT CMimeBody::get_field(EntryName name, VARIANT* value) {
  if (value == nullptr) return E_POINTER;
  VariantInit(value);
  return guarded([&] {
    to_variant(field_value(record_, name)).detach_to(value);
    return S_OK;
  });
}

HRESULT CMimeBody::put_field(EntryName name, const VARIANT& value) {
  return guarded([&] {
    HeaderValue replacement;
    if (set_from_variant(value, replacement)) {
      HeaderValue entry = find_or_add_entry(record_, name);
      edit_value(entry) = std::move(replacement);
    }
    changed();
    return S_OK;
  });
}

HRESULT CMimeBody::get_Description(VARIANT* description) {
  return get_field(EntryName::ContentDescription, description);
}

HRESULT CMimeBody::put_Description(VARIANT description) {
  return put_field(EntryName::ContentDescription, description);
}

HRESULT CMimeBody::get_ContentID(VARIANT* id) { return get_field(EntryName::ContentID, id); }

HRESULT CMimeBody::put_ContentID(VARIANT id) { return put_field(EntryName::ContentID, id); }

HRESULT CMimeBody::get_ExtField(BSTR name, VARIANT* value) {
  if (value == nullptr) return E_POINTER;
  VariantInit(value);
  return guarded([&] {
    const HeaderValue entry = find_extension(record_, to_ansi(platform::view_of(name)));
    Variant(to_wide(entry[kEntryValue][kEntryValue].AsText())).detach_to(value);
    return S_OK;
  });
}

HRESULT CMimeBody::put_ExtField(BSTR name, VARIANT value) {
  return guarded([&] {
    const std::string field_name = to_ansi(platform::view_of(name));
    if (!is_field_name(field_name)) return E_INVALIDARG;
    const std::string text = text_of(value).value_or("");
    HeaderValue content = HeaderValue::raw(text);
    HeaderValue entry = find_or_add_extension(record_, field_name);
    edit_value(entry).element(kEntryValue) = std::move(content);
    changed();
    return S_OK;
  });
}

HRESULT CMimeBody::get_Fields(IDispatch** fields) {
  if (fields == nullptr) return E_POINTER;
  *fields = nullptr;
  return guarded([&] {
    if (!record_[kPartFields].is(ValueKind::List)) return E_FAIL;
    HeaderValue list = share_list(record_.element(kPartFields));
    *fields = make_object<CFieldCollection>(std::move(list), message_).detach();
    return S_OK;
  });
}

HRESULT CMimeBody::get_ContentType(IDispatch** type) {
  if (type == nullptr) return E_POINTER;
  *type = nullptr;
  return guarded([&] {
    resolve_field(record_, EntryName::ContentType, message_);
    HeaderValue entry = find_or_add_entry(record_, EntryName::ContentType);
    if (!entry[kEntryValue].is_set()) entry.element(kEntryValue) = default_type();
    *type = make_object<CContentType>(ComPtr<IMimeBody>(this), std::move(entry), message_).detach();
    return S_OK;
  });
}

HRESULT CMimeBody::get_ContentDisposition(IDispatch** disposition) {
  if (disposition == nullptr) return E_POINTER;
  *disposition = nullptr;
  return guarded([&] {
    resolve_field(record_, EntryName::ContentDisposition, message_);
    HeaderValue entry = find_or_add_entry(record_, EntryName::ContentDisposition);
    if (!entry[kEntryValue].is_set()) {
      entry.element(kEntryValue) = HeaderValue::list(HeaderValue());
    }
    *disposition = make_object<CContentDisposition>(std::move(entry), message_).detach();
    return S_OK;
  });
}

// --- parameters with a property of their own -----------------------------------------------------

HeaderValue CMimeBody::entry_with_parameters(EntryName name) {
  HeaderValue entry = find_or_add_entry(record_, name);
  if (!entry[kEntryValue].is(ValueKind::Raw)) return entry;
  resolve_field(record_, name, message_);
  if (field_value(record_, name).is(ValueKind::Raw)) return {};
  return find_or_add_entry(record_, name);
}

std::string CMimeBody::type_parameter(std::string_view name) {
  const HeaderValue* value = find_parameter(content_type()[kTypeParameters], name);
  return value == nullptr ? std::string() : parameter_text(*value);
}

HRESULT CMimeBody::put_type_parameter(std::string_view name, std::string_view value) {
  HeaderValue entry = entry_with_parameters(EntryName::ContentType);
  if (!entry.is_set()) return E_FAIL;
  // Where there are parameters, nothing has changed yet when memory does not suffice.
  std::optional<EntryUndo> undo;
  if (!entry[kEntryValue][kTypeParameters].is(ValueKind::AddressMap)) {
    undo.emplace(record_, EntryName::ContentType);
    if (!entry[kEntryValue].is_set()) entry.element(kEntryValue) = default_type();
  }
  HeaderValue text = HeaderValue::text(value);
  HeaderValue parameters = share_parameters(entry, kTypeParameters);
  parameters.mutable_entries().at_or_add(name) = std::move(text);
  drop_source(entry);
  if (undo) undo->keep();
  return S_OK;
}

HRESULT CMimeBody::get_Charset(VARIANT* charset) {
  if (charset == nullptr) return E_POINTER;
  VariantInit(charset);
  return guarded([&] {
    Variant::adopt(header_text_to_bstr(type_parameter("charset"))).detach_to(charset);
    return S_OK;
  });
}

HRESULT CMimeBody::put_Charset(VARIANT charset) {
  return guarded([&] {
    Variant direct;
    if (charset.vt != VT_BSTR) {
      if (FAILED(VariantCopyInd(&direct, &charset)) || direct.vt != VT_BSTR) return E_INVALIDARG;
    }
    const BSTR name = charset.vt == VT_BSTR ? charset.bstrVal : direct.bstrVal;
    const std::string text = quoted(to_ansi(platform::view_of(name)));
    const HRESULT status = put_type_parameter("charset", text);
    if (SUCCEEDED(status)) changed();
    return status;
  });
}

HRESULT CMimeBody::get_Name(BSTR* name) {
  if (name == nullptr) return E_POINTER;
  *name = nullptr;
  return guarded([&] {
    *name = header_text_to_bstr(type_parameter("name")).detach();
    return S_OK;
  });
}

HRESULT CMimeBody::put_Name(BSTR name) {
  return guarded([&] {
    const std::string encoded = encode_header_text(platform::view_of(name), message_charset());
    const HRESULT status = put_type_parameter("name", in_quotes(encoded));
    if (SUCCEEDED(status)) changed();
    return status;
  });
}

// Looking for the file name leaves an empty parameter where there is none, as reading it through
// the parameter map would; an empty parameter is not written.
HRESULT CMimeBody::get_FileName(BSTR* name) {
  if (name == nullptr) return E_POINTER;
  *name = nullptr;
  return guarded([&] {
    resolve_field(record_, EntryName::ContentDisposition, message_);
    const HeaderValue& value = field_value(record_, EntryName::ContentDisposition);
    if (!value.is(ValueKind::List)) return get_Name(name);
    HeaderValue entry = find_entry(record_, EntryName::ContentDisposition);
    HeaderValue parameters = share_parameters(entry, kDispositionParameters);
    const HeaderValue* found = find_parameter(parameters, "filename");
    if (found == nullptr) found = &parameters.mutable_entries().at_or_add("filename");
    if (!found->is(ValueKind::Text)) return get_Name(name);
    const std::string text = unquoted(found->text_view());
    *name = header_text_to_bstr(text).detach();
    return S_OK;
  });
}

HRESULT CMimeBody::put_FileName(BSTR name) {
  return guarded([&] {
    const std::string encoded = encode_header_text(platform::view_of(name), message_charset());
    resolve_field(record_, EntryName::ContentDisposition, message_);
    if (field_value(record_, EntryName::ContentDisposition).is(ValueKind::Raw)) return E_FAIL;
    EntryUndo undo_type(record_, EntryName::ContentType);
    EntryUndo undo_disposition(record_, EntryName::ContentDisposition);
    const HRESULT status = put_type_parameter("name", in_quotes(encoded));
    if (FAILED(status)) return status;
    HeaderValue entry = entry_with_parameters(EntryName::ContentDisposition);
    drop_source(entry);
    HeaderValue parameters = share_parameters(entry, kDispositionParameters);
    parameters.mutable_entries().at_or_add("filename") = HeaderValue::text(encoded);
    undo_type.keep();
    undo_disposition.keep();
    changed();
    return S_OK;
  });
}

// --- embedded message ----------------------------------------------------------------------------

CMimeDecoder* CMimeBody::embedded(const HeaderValue& type) {
  if (!looks_inside_) return nullptr;
  const bool by_default = !type.is_set() && in_digest();
  if (!by_default && !type[kTypeMajor].is_integer(kMessage)) {
    embedded_.reset();
  } else {
    embedded_ = embedded_message(record_, by_default, message_);
  }
  return embedded_.get();
}

HRESULT CMimeBody::get_EmbeddedMessage(IDispatch** message) {
  if (message == nullptr) return E_POINTER;
  *message = nullptr;
  return guarded([&] { return ComPtr<IDispatch>(embedded()).copy_to(message); });
}

// --- persistence ---------------------------------------------------------------------------------

HRESULT CMimeBody::GetClassID(CLSID* clsid) {
  if (clsid == nullptr) return E_POINTER;
  *clsid = CLSID_MimeBody;
  return S_OK;
}

HRESULT CMimeBody::Load(IStream*) { return E_NOTIMPL; }

HRESULT CMimeBody::Save(IStream* stream, BOOL clear_dirty) {
  if (stream == nullptr) return E_INVALIDARG;
  if (!bound_) return E_FAIL;
  return guarded([&] {
    const WriteOutcome outcome = save_part(stream, record_, message_, flags_.header_only);
    const bool written = SUCCEEDED(outcome.status) && outcome.complete;
    if (written && clear_dirty != FALSE) set_dirty(false);
    return outcome.status;
  });
}

HRESULT CMimeBody::InitNew() { return S_OK; }

ComPtr<CMimeBody> make_mime_body(HeaderValue& slot, ComPtr<CMimeBody> parent, MessageRef message,
                                 BodyFlags flags) {
  return make_object<CMimeBody>(slot, std::move(parent), std::move(message), flags);
}

HRESULT create_mime_body(REFIID iid, void** object) {
  return create_instance<CMimeBody>(iid, object);
}

}  // namespace tallowbrook
