#include "model/content_disposition.h"

#include <optional>
#include <string>

#include "core/creators.h"
#include "core/guard.h"
#include "core/text.h"
#include "model/body_part.h"
#include "model/header_text.h"
#include "model/parameter_map.h"

namespace tallowbrook {

using platform::Variant;

HRESULT CContentDisposition::get_Value(VARIANT* value) {
  if (value == nullptr) return E_POINTER;
  VariantInit(value);
  return guarded([&] {
    const HeaderValue& text = entry_[kEntryValue][kDispositionValue];
    if (text.is(ValueKind::Text)) Variant(to_wide(text.text_view())).detach_to(value);
    return S_OK;
  });
}

HRESULT CContentDisposition::put_Value(VARIANT value) {
  return guarded([&] {
    if (!entry_.is_set()) return E_FAIL;
    Variant direct;
    if (FAILED(VariantCopyInd(&direct, &value))) return E_INVALIDARG;
    HeaderValue replacement;
    if (direct.vt != VT_EMPTY) {
      const std::optional<std::string> text = text_of(direct);
      if (!text) return E_INVALIDARG;
      replacement = HeaderValue::text(*text);
    }
    edit_value(entry_).element(kDispositionValue) = std::move(replacement);
    notify_changed(message_);
    return S_OK;
  });
}

HRESULT CContentDisposition::get_Parameters(IDispatch** parameters) {
  if (parameters == nullptr) return E_POINTER;
  *parameters = nullptr;
  return guarded([&] {
    if (!entry_.is_set() || entry_[kEntryValue].is(ValueKind::Raw)) return E_FAIL;
    HeaderValue map = share_parameters(entry_, kDispositionParameters);
    *parameters = make_object<CParameterMap>(std::move(map), entry_, message_).detach();
    return S_OK;
  });
}

HRESULT create_content_disposition(REFIID iid, void** object) {
  return create_instance<CContentDisposition>(iid, object);
}

}  // namespace tallowbrook
