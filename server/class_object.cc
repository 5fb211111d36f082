#include "server/class_object.h"

#include "core/guard.h"
#include "core/module.h"

namespace tallowbrook {

HRESULT CClassObject::QueryInterface(REFIID iid, void** object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  if (iid != IUnknown::kIid && iid != IClassFactory::kIid) return E_NOINTERFACE;
  *object = static_cast<IClassFactory*>(this);
  AddRef();
  return S_OK;
}

ULONG CClassObject::AddRef() { return references_.fetch_add(1, std::memory_order_relaxed) + 1; }

ULONG CClassObject::Release() {
  const ULONG left = references_.fetch_sub(1, std::memory_order_acq_rel) - 1;
  if (left == 0) delete this;
  return left;
}

HRESULT CClassObject::CreateInstance(IUnknown* outer, REFIID iid, void** object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  if (outer != nullptr) return CLASS_E_NOAGGREGATION;
  return guarded([&] { return entry_.create(iid, object); });
}

HRESULT CClassObject::LockServer(BOOL lock) {
  if (lock != FALSE) {
    Module::lock();
  } else {
    Module::unlock();
  }
  return S_OK;
}

}  // namespace tallowbrook
