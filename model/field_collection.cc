#include "model/field_collection.h"

#include <utility>

#include "core/creators.h"
#include "core/guard.h"
#include "core/text.h"
#include "model/body_part.h"
#include "model/view_index.h"

namespace tallowbrook {

CFieldCollection::CFieldCollection(HeaderValue fields, MessageRef message)
    : fields_(std::move(fields)), message_(std::move(message)) {
  fields_.pin();
}

HRESULT CFieldCollection::get_Item(LONG index, BSTR* name) {
  if (name == nullptr) return E_POINTER;
  *name = nullptr;
  return guarded([&] {
    const ViewMutex::Hold hold(mutex_, *this);
    if (index < 0 || static_cast<std::size_t>(index) >= fields_.size()) return E_INVALIDARG;
    *name = to_bstr(shown_name(fields_[static_cast<std::size_t>(index)])).detach();
    return S_OK;
  });
}

HRESULT CFieldCollection::get_Count(LONG* count) {
  if (count == nullptr) return E_POINTER;
  *count = 0;
  return guarded([&] {
    const ViewMutex::Hold hold(mutex_, *this);
    *count = static_cast<LONG>(fields_.size());
    return S_OK;
  });
}

HRESULT CFieldCollection::Remove(VARIANT index) {
  return guarded([&] {
    const ViewMutex::Hold hold(mutex_, *this);
    const ViewIndex wanted = view_index(index);
    if (wanted.kind == ViewIndex::Name) {
      if (erase_fields(fields_, wanted.name) == 0) return E_FAIL;
    } else if (wanted.below(fields_.size())) {
      fields_.erase_element(static_cast<std::size_t>(wanted.position));
    } else {
      return E_INVALIDARG;
    }
    notify_changed(message_);
    return S_OK;
  });
}

HRESULT CFieldCollection::Clear() {
  return guarded([&] {
    const ViewMutex::Hold hold(mutex_, *this);
    fields_.clear_elements();
    notify_changed(message_);
    return S_OK;
  });
}

HRESULT create_field_collection(REFIID iid, void** object) {
  return create_instance<CFieldCollection>(iid, object);
}

}  // namespace tallowbrook
