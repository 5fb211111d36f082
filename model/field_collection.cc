#include "model/field_collection.h"

#include <string_view>
#include <utility>

#include "core/creators.h"
#include "core/guard.h"
#include "core/text.h"
#include "model/view_index.h"

namespace tallowbrook {
namespace {

bool is_extension(const HeaderValue& entry) {
  return entry[kEntryName].text_view() == entry_name_text(EntryName::ExtField);
}

std::string_view shown_name(const HeaderValue& entry) {
  return is_extension(entry) ? entry[kEntryValue][kEntryName].text_view()
                             : entry[kEntryName].text_view();
}

// An extension field answers to its own name and to the marker that all of them have.
bool answers_to(const HeaderValue& entry, std::string_view name) {
  return equals_ignoring_case(shown_name(entry), name) ||
         equals_ignoring_case(entry[kEntryName].text_view(), name);
}

}  // namespace

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

// Entries that stay move up, so that any number of erasures costs one pass.
std::size_t CFieldCollection::remove_named(std::string_view name) {
  std::size_t kept = 0;
  for (std::size_t i = 0; i < fields_.size(); ++i) {
    if (answers_to(fields_[i], name)) continue;
    if (kept != i) std::swap(fields_.element(kept), fields_.element(i));
    ++kept;
  }
  const std::size_t removed = fields_.size() - kept;
  while (fields_.size() > kept) fields_.erase_element(fields_.size() - 1);
  return removed;
}

HRESULT CFieldCollection::Remove(VARIANT index) {
  return guarded([&] {
    const ViewMutex::Hold hold(mutex_, *this);
    const ViewIndex wanted = view_index(index);
    if (wanted.kind == ViewIndex::Name) {
      if (remove_named(wanted.name) == 0) return E_FAIL;
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
