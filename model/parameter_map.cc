#include "model/parameter_map.h"

#include <string>
#include <utility>

#include "coding/encoded_words.h"
#include "core/creators.h"
#include "core/guard.h"
#include "core/text.h"
#include "model/body_part.h"
#include "model/header_text.h"
#include "model/variant_conversion.h"
#include "model/view_index.h"

namespace tallowbrook {

using platform::Variant;

static_assert(kEntrySource == kTraceSource, "drop_source serves entries and trace headers");

CParameterMap::CParameterMap() : CParameterMap(HeaderValue::map(), {}, nullptr) {}

CParameterMap::CParameterMap(HeaderValue map, HeaderValue holder, MessageRef message,
                             HeaderValue records)
    : map_(std::move(map)),
      holder_(std::move(holder)),
      records_(std::move(records)),
      message_(std::move(message)) {
  map_.pin();
}

void CParameterMap::changed() {
  drop_source(holder_);
  if (!records_.is_set() || has_trace(message_, records_)) notify_changed(message_);
}

HRESULT CParameterMap::get_Item(VARIANT index, VARIANT* value) {
  if (value == nullptr) return E_POINTER;
  VariantInit(value);
  return guarded([&] {
    const ViewMutex::Hold hold(mutex_, *this);
    const ViewIndex wanted = view_index(index);
    if (wanted.kind == ViewIndex::None) return S_OK;
    if (wanted.kind == ViewIndex::Position && !wanted.below(map_.entries().size())) return E_FAIL;
    // An empty entry is not written, so adding one changes no message.
    const HeaderValue& found =
        wanted.kind == ViewIndex::Name
            ? map_.mutable_entries().at_or_add(wanted.name)
            : map_.entries().at(static_cast<std::size_t>(wanted.position))->value;
    (found.is(ValueKind::Text) ? Variant(decode_words_keeping_quotes(found.text_view()))
                               : to_variant(found))
        .detach_to(value);
    return S_OK;
  });
}

HRESULT CParameterMap::get_Count(LONG* count) {
  if (count == nullptr) return E_POINTER;
  *count = 0;
  return guarded([&] {
    const ViewMutex::Hold hold(mutex_, *this);
    *count = static_cast<LONG>(map_.entries().size());
    return S_OK;
  });
}

HRESULT CParameterMap::Remove(VARIANT index) {
  return guarded([&] {
    const ViewMutex::Hold hold(mutex_, *this);
    const ViewIndex wanted = view_index(index);
    if (wanted.kind == ViewIndex::Name) {
      if (!map_.mutable_entries().erase(wanted.name)) return S_OK;
    } else if (wanted.below(map_.entries().size())) {
      map_.mutable_entries().erase_at(static_cast<std::size_t>(wanted.position));
    } else {
      return E_INVALIDARG;
    }
    changed();
    return S_OK;
  });
}

HRESULT CParameterMap::Clear() {
  return guarded([&] {
    const ViewMutex::Hold hold(mutex_, *this);
    map_.mutable_entries().clear();
    changed();
    return S_OK;
  });
}

HRESULT CParameterMap::Modify(VARIANT index, VARIANT item, VARIANT_BOOL quote) {
  return guarded([&] {
    const ViewMutex::Hold hold(mutex_, *this);
    const ViewIndex wanted = view_index(index);
    if (wanted.kind != ViewIndex::Name) return S_OK;
    HeaderValue value;
    if (quote == VARIANT_FALSE) {
      value = from_variant(item);
    } else {
      Variant text;
      if (FAILED(VariantCopyInd(&text, &item))) return S_OK;
      if (FAILED(VariantChangeType(&text, &text, 0, VT_BSTR))) return S_OK;
      value = HeaderValue::text(encode_header_text(text.text(), {}));
    }
    map_.mutable_entries().at_or_add(wanted.name) = std::move(value);
    changed();
    return S_OK;
  });
}

HRESULT CParameterMap::get_ParameterName(LONG index, BSTR* name) {
  if (name == nullptr) return E_POINTER;
  *name = nullptr;
  return guarded([&] {
    const ViewMutex::Hold hold(mutex_, *this);
    if (index < 0 || static_cast<std::size_t>(index) >= map_.entries().size()) return E_INVALIDARG;
    *name = to_bstr(map_.entries().at(static_cast<std::size_t>(index))->name).detach();
    return S_OK;
  });
}

HRESULT CParameterMap::Exists(VARIANT index, VARIANT_BOOL* exists) {
  if (exists == nullptr) return E_POINTER;
  *exists = VARIANT_FALSE;
  return guarded([&] {
    const ViewMutex::Hold hold(mutex_, *this);
    const ViewIndex wanted = view_index(index);
    if (wanted.kind == ViewIndex::Name && map_.entries().find(wanted.name) != nullptr) {
      *exists = VARIANT_TRUE;
    }
    return S_OK;
  });
}

HRESULT create_parameter_map(REFIID iid, void** object) {
  return create_instance<CParameterMap>(iid, object);
}

}  // namespace tallowbrook
