#include "model/content_type.h"

#include "core/creators.h"
#include "core/guard.h"
#include "model/body_part.h"
#include "model/parameter_map.h"

namespace tallowbrook {

HRESULT CContentType::get_Major(VARIANT* type) {
  if (type == nullptr) return E_POINTER;
  VariantInit(type);
  return body_ ? body_->get_MajorContentType(type) : E_FAIL;
}

HRESULT CContentType::put_Major(VARIANT type) {
  return body_ ? body_->put_MajorContentType(type) : E_FAIL;
}

HRESULT CContentType::get_Minor(VARIANT* type) {
  if (type == nullptr) return E_POINTER;
  VariantInit(type);
  return body_ ? body_->get_MinorContentType(type) : E_FAIL;
}

HRESULT CContentType::put_Minor(VARIANT type) {
  return body_ ? body_->put_MinorContentType(type) : E_FAIL;
}

HRESULT CContentType::get_Parameters(IDispatch** parameters) {
  if (parameters == nullptr) return E_POINTER;
  *parameters = nullptr;
  return guarded([&] {
    if (!entry_.is_set() || entry_[kEntryValue].is(ValueKind::Raw)) return E_FAIL;
    HeaderValue map = share_parameters(entry_, kTypeParameters);
    *parameters = make_object<CParameterMap>(std::move(map), entry_, message_).detach();
    return S_OK;
  });
}

HRESULT create_content_type(REFIID iid, void** object) {
  return create_instance<CContentType>(iid, object);
}

}  // namespace tallowbrook
