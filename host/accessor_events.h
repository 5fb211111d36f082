// The sink that a host tells about changes of its value collections, and who hears them.
#pragma once

#include <atomic>

#include "core/object.h"
#include "platform/automation/variant.h"
#include "platform/com/unknown.h"

namespace tallowbrook {

class CAccessorEvents;

// `accessor` is the collection that the event is about. All calls arrive on the thread that the
// sink was made on.
class CAccessorEventsCallback {
 public:
  virtual void on_added(CAccessorEvents& sink, IDispatch& accessor, const VARIANT& value) = 0;
  virtual void on_removed(CAccessorEvents& sink, IDispatch& accessor, const VARIANT& value) = 0;
  virtual void on_changed(CAccessorEvents& sink, IDispatch& accessor, const VARIANT& value) = 0;
  virtual void on_reloaded(CAccessorEvents& sink, IDispatch& accessor, const VARIANT& value) = 0;
  virtual void on_state_changed(CAccessorEvents& sink, IDispatch& accessor, const VARIANT& value,
                                SHORT state) = 0;
  // A whole call as it came, from a sink that forwards; its status is the call's.
  virtual HRESULT forward(CAccessorEvents& sink, DISPID event, DISPPARAMS* arguments) = 0;
  // What keeps this object alive while an event is delivered to it.
  [[nodiscard]] virtual platform::ComPtr<IUnknown> keeper() = 0;

 protected:
  ~CAccessorEventsCallback() = default;
};

// Answers to IDispatch alone (and takes itself for the events' own interface). The host calls
// Invoke with the number of an event and its arguments, last one first: the accessor, a value, and
// for the fifth event a 16-bit state. DISP_E_MEMBERNOTFOUND for another number and once the sink is
// detached; an event with too few arguments, or whose accessor is no object, is ignored.
//
// An event on a foreign thread is put into the owner's message queue and delivered when the owner
// dispatches its messages; E_FAIL when the owner's thread has ended.
class CAccessorEvents final : public Object<Shared, IDispatch> {
 public:
  enum class Delivery { kCallbacks, kForward };

  // The owner is the calling thread. `callback` must outlive the sink or detach it.
  explicit CAccessorEvents(CAccessorEventsCallback& callback,
                           Delivery delivery = Delivery::kCallbacks);

  void detach() { callback_.store(nullptr, std::memory_order_release); }

  HRESULT QueryInterface(REFIID iid, void** object) override;
  HRESULT GetTypeInfoCount(UINT* count) override;
  HRESULT GetTypeInfo(UINT index, LCID lcid, ITypeInfo** info) override;
  HRESULT GetIDsOfNames(REFIID reserved, OLECHAR** names, UINT count, LCID lcid,
                        DISPID* ids) override;
  HRESULT Invoke(DISPID member, REFIID reserved, LCID lcid, WORD flags, DISPPARAMS* arguments,
                 VARIANT* result, EXCEPINFO* exception, UINT* argument_error) override;

 private:
  struct Event {
    DISPID id = 0;
    platform::ComPtr<IDispatch> accessor;
    platform::Variant value;
    SHORT state = 0;
  };

  [[nodiscard]] static bool read(DISPID id, const DISPPARAMS* arguments, Event& event);
  [[nodiscard]] HRESULT post(Event event);
  void deliver(const Event& event);

  std::atomic<CAccessorEventsCallback*> callback_;
  const DWORD owner_;
  const Delivery delivery_;
};

}  // namespace tallowbrook
