// What every automation object of the component has in common.
//
//   class CMailAddress final : public Object<Confined, Dispatching<IMailAddress>> { ... };
//
// A class lists the interfaces it answers to once; `Object` gives QueryInterface over them and
// their bases, the count of references, and the module lock. `Dispatching` gives an interface the
// four IDispatch methods out of the component's type information.
//
// `Confined` counts plainly (the object is used by one thread at a time), `Shared` atomically.
// `ConfinedInBlock` is for objects of which many lie in one block of memory: what holds the block
// holds the module lock, and the class has an `operator delete` of its own.
#pragma once

#include <algorithm>
#include <atomic>
#include <new>
#include <type_traits>

#include "core/module.h"
#include "platform/automation/dispatch.h"
#include "platform/com/unknown.h"

namespace tallowbrook {

// The component's type information of one of its dual interfaces; borrowed, lives until the
// library is unloaded. Null with a failure status when it cannot be had.
HRESULT interface_type_info(REFIID iid, ITypeInfo** info);

// The four IDispatch methods of a dual interface, answered from its type information. `self` is
// the interface pointer that the members are called on.
HRESULT dispatch_type_info(REFIID iid, UINT index, ITypeInfo** info);
HRESULT dispatch_ids_of_names(REFIID iid, OLECHAR** names, UINT count, DISPID* ids);
HRESULT dispatch_invoke(REFIID iid, void* self, DISPID member, WORD flags, DISPPARAMS* arguments,
                        VARIANT* result, EXCEPINFO* exception, UINT* argument_error);

// What a dying object counts from: code that its destructor calls may add and release references,
// and none of them may end the object again.
inline constexpr ULONG kDyingReferences = 0x40000000;

class Confined {
 public:
  using Lock = ModuleLock;
  ULONG increment() { return ++count_; }
  ULONG decrement() { return --count_; }
  void park() { count_ = kDyingReferences; }

 private:
  ULONG count_ = 1;
};

class ConfinedInBlock : public Confined {
 public:
  struct Lock {};
};

class Shared {
 public:
  using Lock = ModuleLock;
  ULONG increment() { return count_.fetch_add(1, std::memory_order_relaxed) + 1; }
  ULONG decrement() { return count_.fetch_sub(1, std::memory_order_acq_rel) - 1; }
  void park() { count_.store(kDyingReferences, std::memory_order_relaxed); }

 private:
  std::atomic<ULONG> count_{1};
};

template <class Interface>
struct Dispatching : Interface {
  HRESULT GetTypeInfoCount(UINT* count) override {
    if (count == nullptr) return E_POINTER;
    *count = 1;
    return S_OK;
  }
  HRESULT GetTypeInfo(UINT index, LCID, ITypeInfo** info) override {
    return dispatch_type_info(Interface::kIid, index, info);
  }
  HRESULT GetIDsOfNames(REFIID reserved, OLECHAR** names, UINT count, LCID, DISPID* ids) override {
    if (ids != nullptr) std::fill_n(ids, count, DISPID_UNKNOWN);
    if (!(reserved == GUID_NULL)) return DISP_E_UNKNOWNINTERFACE;
    return dispatch_ids_of_names(Interface::kIid, names, count, ids);
  }
  HRESULT Invoke(DISPID member, REFIID reserved, LCID, WORD flags, DISPPARAMS* arguments,
                 VARIANT* result, EXCEPINFO* exception, UINT* argument_error) override {
    if (result != nullptr) VariantInit(result);
    if (exception != nullptr) *exception = EXCEPINFO{};
    if (!(reserved == GUID_NULL)) return DISP_E_UNKNOWNINTERFACE;
    return dispatch_invoke(Interface::kIid, static_cast<Interface*>(this), member, flags, arguments,
                           result, exception, argument_error);
  }
};

// True when `iid` names Interface or one of its bases.
template <class Interface>
[[nodiscard]] bool answers_to(REFIID iid) {
  if (iid == Interface::kIid) return true;
  if constexpr (std::is_void_v<typename Interface::Base>) {
    return false;
  } else {
    return answers_to<typename Interface::Base>(iid);
  }
}

// A new object starts with one reference, which belongs to its creator.
template <class Counting, class... Faces>
class Object : public Faces... {
 public:
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;

  HRESULT QueryInterface(REFIID iid, void** object) override {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if ((try_face<Faces>(iid, object) || ...)) {
      AddRef();
      return S_OK;
    }
    return E_NOINTERFACE;
  }
  ULONG AddRef() override { return references_.increment(); }
  ULONG Release() override {
    const ULONG left = references_.decrement();
    if (left == 0) {
      references_.park();
      delete this;
    }
    return left;
  }

 protected:
  Object() = default;
  virtual ~Object() = default;

 private:
  // `static_cast` picks the subobject that a face's own bases live in, so one object has one
  // IUnknown whichever interface is asked: the first face's.
  template <class Face>
  bool try_face(REFIID iid, void** object) {
    if (!answers_to<Face>(iid)) return false;
    *object = static_cast<Face*>(this);
    return true;
  }

  Counting references_;
  [[no_unique_address]] typename Counting::Lock lock_;
};

// A new T(arguments...). Throws std::bad_alloc.
template <class T, class... Arguments>
[[nodiscard]] platform::ComPtr<T> make_object(Arguments&&... arguments) {
  return platform::ComPtr<T>::adopt(new T(std::forward<Arguments>(arguments)...));
}

}  // namespace tallowbrook
