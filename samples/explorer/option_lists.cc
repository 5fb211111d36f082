#include "samples/explorer/option_lists.h"

#include <algorithm>

#include "platform/automation/late_bound.h"
#include "tallowbrook/events.h"

namespace bramblescope {

using tallowbrook::_IAccessorEvents;
namespace platform = tallowbrook::platform;

// --- both lists ----------------------------------------------------------------------------------

template <class... Faces>
HRESULT OptionList<Faces...>::get_Item(LONG position, VARIANT* item) {
  if (item == nullptr) return E_POINTER;
  VariantInit(item);
  if (!has(position)) return E_FAIL;
  Variant(items_[static_cast<std::size_t>(position)].get()).detach_to(item);
  return S_OK;
}

template <class... Faces>
HRESULT OptionList<Faces...>::get_Count(LONG* count) {
  return give(static_cast<LONG>(items_.size()), count);
}

template <class... Faces>
HRESULT OptionList<Faces...>::Add(VARIANT item) {
  return guarded([&] {
    Variant value;
    const HRESULT status = VariantCopyInd(&value, &item);
    if (FAILED(status)) return status;
    if (value.vt != VT_DISPATCH || value.pdispVal == nullptr) return E_INVALIDARG;
    const ComPtr<IDispatch> held(this);
    items_.emplace_back(value.pdispVal);
    added(*value.pdispVal);
    return S_OK;
  });
}

template <class... Faces>
HRESULT OptionList<Faces...>::Remove(LONG position) {
  if (!has(position)) return E_FAIL;
  return guarded([&] {
    const ComPtr<IDispatch> held(this);
    const auto at = items_.begin() + position;
    const ComPtr<IDispatch> item = *at;
    items_.erase(at);
    removed(*item);
    return S_OK;
  });
}

template <class... Faces>
HRESULT OptionList<Faces...>::put_Options(IDispatch* target) {
  if (target == nullptr) return E_POINTER;
  return guarded([&] {
    const auto items = items_;
    for (const auto& item : items) {
      const HRESULT status = platform::call(target, u"Add", Variant(item.get())).status;
      if (FAILED(status)) return status;
    }
    return S_OK;
  });
}

template class OptionList<>;
template class OptionList<IConnectionPointContainer>;

// --- the list of values --------------------------------------------------------------------------

OptionValueCollection::OptionValueCollection()
    : points_(*this, {&_IAccessorEvents::kIid, 1},
              {[] { ++living_objects; }, [] { --living_objects; }}) {}

OptionValueCollection::~OptionValueCollection() {
  for (const auto& item : items()) {
    if (const auto value = item.query<IOwnedValue>()) value->leave(*this);
  }
}

HRESULT OptionValueCollection::EnumConnectionPoints(IEnumConnectionPoints** all) {
  return points_.enumerate(all);
}

HRESULT OptionValueCollection::FindConnectionPoint(REFIID iid, IConnectionPoint** point) {
  return points_.find(iid, point);
}

void OptionValueCollection::added(IDispatch& item) {
  if (const auto value = platform::query<IOwnedValue>(&item)) value->enter(*this);
  raise(_IAccessorEvents::kAdded, item);
}

void OptionValueCollection::removed(IDispatch& item) {
  const auto value = platform::query<IOwnedValue>(&item);
  const bool again = std::any_of(items().begin(), items().end(),
                                 [&](const auto& other) { return other.get() == &item; });
  if (value && !again) value->leave(*this);
  raise(_IAccessorEvents::kRemoved, item);
}

void OptionValueCollection::value_changed(IDispatch& value) {
  const ComPtr<IDispatch> held(this);
  raise(_IAccessorEvents::kChanged, value);
}

void OptionValueCollection::raise(DISPID event, IDispatch& value) {
  for (const auto& sink : points_.sinks(_IAccessorEvents::kIid)) {
    const auto target = sink.query<IDispatch>();
    if (!target) continue;
    Variant arguments[] = {Variant(&value), Variant(static_cast<IDispatch*>(this))};
    DISPPARAMS parameters{arguments, nullptr, 2, 0};  // the last argument comes first
    target->Invoke(event, GUID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &parameters, nullptr,
                   nullptr, nullptr);
  }
}

}  // namespace bramblescope
