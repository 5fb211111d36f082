#include "host/accessor_events.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "core/guard.h"
#include "platform/kernel/message_queue.h"
#include "tallowbrook/events.h"

namespace tallowbrook {

using platform::ComPtr;
using platform::Variant;

namespace {

// The argument at `position`, counted from the first, without by-reference indirection; empty when
// it cannot be copied.
Variant argument(const DISPPARAMS& arguments, UINT position) {
  Variant value;
  const VARIANT& given = arguments.rgvarg[arguments.cArgs - 1 - position];
  if (FAILED(VariantCopyInd(&value, &given))) value.clear();
  return value;
}

ComPtr<IDispatch> object_in(const Variant& value) {
  if (value.vt == VT_DISPATCH) return ComPtr<IDispatch>(value.pdispVal);
  if (value.vt == VT_UNKNOWN) return platform::query<IDispatch>(value.punkVal);
  return nullptr;
}

}  // namespace

CAccessorEvents::CAccessorEvents(CAccessorEventsCallback& callback, Delivery delivery)
    : callback_(&callback), owner_(GetCurrentThreadId()), delivery_(delivery) {}

HRESULT CAccessorEvents::QueryInterface(REFIID iid, void** object) {
  return Object::QueryInterface(iid == _IAccessorEvents::kIid ? IDispatch::kIid : iid, object);
}

HRESULT CAccessorEvents::GetTypeInfoCount(UINT* count) {
  if (count == nullptr) return E_POINTER;
  *count = 0;
  return S_OK;
}

HRESULT CAccessorEvents::GetTypeInfo(UINT, LCID, ITypeInfo** info) {
  if (info == nullptr) return E_POINTER;
  *info = nullptr;
  return DISP_E_BADINDEX;
}

HRESULT CAccessorEvents::GetIDsOfNames(REFIID, OLECHAR**, UINT count, LCID, DISPID* ids) {
  if (ids != nullptr) std::fill_n(ids, count, DISPID_UNKNOWN);
  return DISP_E_UNKNOWNNAME;
}

bool CAccessorEvents::read(DISPID id, const DISPPARAMS* arguments, Event& event) {
  const UINT wanted = id == _IAccessorEvents::kStateChanged ? 3 : 2;
  if (arguments == nullptr || arguments->rgvarg == nullptr || arguments->cArgs < wanted) {
    return false;
  }
  event.id = id;
  event.accessor = object_in(argument(*arguments, 0));
  if (!event.accessor) return false;
  event.value = argument(*arguments, 1);
  if (wanted == 2) return true;
  Variant state = argument(*arguments, 2);
  if (FAILED(VariantChangeType(&state, &state, 0, VT_I2))) return false;
  event.state = state.iVal;
  return true;
}

HRESULT CAccessorEvents::post(Event event) {
  const auto kept = std::make_shared<Event>(std::move(event));
  const ComPtr<CAccessorEvents> sink(this);
  const BOOL posted = platform::post_call(owner_, [sink, kept] { sink->deliver(*kept); });
  return posted != FALSE ? S_OK : E_FAIL;
}

void CAccessorEvents::deliver(const Event& event) {
  CAccessorEventsCallback* const callback = callback_.load(std::memory_order_acquire);
  if (callback == nullptr) return;
  const ComPtr<CAccessorEvents> sink(this);
  const auto kept = callback->keeper();
  IDispatch& accessor = *event.accessor;
  switch (event.id) {
    case _IAccessorEvents::kAdded:
      return callback->on_added(*this, accessor, event.value);
    case _IAccessorEvents::kRemoved:
      return callback->on_removed(*this, accessor, event.value);
    case _IAccessorEvents::kChanged:
      return callback->on_changed(*this, accessor, event.value);
    case _IAccessorEvents::kReloaded:
      return callback->on_reloaded(*this, accessor, event.value);
    default:
      return callback->on_state_changed(*this, accessor, event.value, event.state);
  }
}

HRESULT CAccessorEvents::Invoke(DISPID member, REFIID, LCID, WORD, DISPPARAMS* arguments,
                                VARIANT* result, EXCEPINFO*, UINT*) {
  if (result != nullptr) VariantInit(result);
  CAccessorEventsCallback* const callback = callback_.load(std::memory_order_acquire);
  const bool known =
      member >= _IAccessorEvents::kAdded && member <= _IAccessorEvents::kStateChanged;
  if (callback == nullptr || !known) return DISP_E_MEMBERNOTFOUND;
  const bool foreign = GetCurrentThreadId() != owner_;
  return guarded([&] {
    if (delivery_ == Delivery::kForward) {
      if (foreign) return E_FAIL;  // what stands on the caller's stack cannot wait
      const auto kept = callback->keeper();
      return callback->forward(*this, member, arguments);
    }
    Event event;
    if (!read(member, arguments, event)) return S_OK;
    if (foreign) return post(std::move(event));
    deliver(event);
    return S_OK;
  });
}

}  // namespace tallowbrook
