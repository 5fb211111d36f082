#include "server/module.h"

#include <atomic>
#include <iterator>
#include <mutex>
#include <new>

#include "core/module.h"
#include "platform/kernel/random.h"
#include "server/class_object.h"
#include "server/class_table.h"
#include "server/type_library.h"

namespace tallowbrook {
namespace {

// Constant-initialised and without destructors, so that it can be used at any point of the
// process's start and end; `module_detach` gives back what it holds.
struct ModuleState {
  std::mutex creation;  // the critical section around whatever is made on first use
  std::atomic<CClassObject*> class_objects[kClassCount];
  std::atomic<ITypeLib*> type_library;
  std::atomic<ITypeInfo*> type_infos[kInterfaceCount];  // kept alive by the library's reference
};
constinit ModuleState state{};

void run_hooks(bool start) {
  for (const ClassEntry& entry : class_table()) entry.start_stop(start);
}

// The library's own load and unload: the loader constructs and destroys this object.
struct Attachment {
  Attachment() { module_attach(); }
  ~Attachment() { module_detach(); }
};
const Attachment attachment;

// Type information that a host holds reads the library's tables: it locks the library.
void hold_while_used(bool used) {
  if (used) {
    Module::lock();
  } else {
    Module::unlock();
  }
}

// The class object of the entry at `index`, made when it is the first request for it.
CClassObject* class_object(std::size_t index) {
  std::atomic<CClassObject*>& slot = state.class_objects[index];
  if (CClassObject* made = slot.load(std::memory_order_acquire)) return made;
  const std::lock_guard guard(state.creation);
  CClassObject* made = slot.load(std::memory_order_relaxed);
  if (made == nullptr) {
    made = new (std::nothrow) CClassObject(class_table()[index]);
    slot.store(made, std::memory_order_release);
  }
  return made;
}

}  // namespace

void module_attach() {
  platform::SeedRandom();
  run_hooks(true);
}

void module_detach() {
  run_hooks(false);
  for (std::atomic<CClassObject*>& slot : state.class_objects) {
    if (CClassObject* made = slot.exchange(nullptr)) made->Release();
  }
  for (std::atomic<ITypeInfo*>& slot : state.type_infos) slot.store(nullptr);
  if (ITypeLib* library = state.type_library.exchange(nullptr)) library->Release();
}

HRESULT module_class_object(REFCLSID clsid, REFIID iid, void** object) {
  const auto classes = class_table();
  for (std::size_t index = 0; index < std::size(classes); ++index) {
    if (classes[index].clsid != clsid) continue;
    CClassObject* factory = class_object(index);
    return factory == nullptr ? E_OUTOFMEMORY : factory->QueryInterface(iid, object);
  }
  return CLASS_E_CLASSNOTAVAILABLE;
}

HRESULT module_type_library(ITypeLib** library) {
  *library = state.type_library.load(std::memory_order_acquire);
  if (*library != nullptr) return S_OK;
  const std::lock_guard guard(state.creation);
  *library = state.type_library.load(std::memory_order_relaxed);
  if (*library != nullptr) return S_OK;
  const HRESULT status =
      platform::create_type_library(library_info(), library, {hold_while_used, nullptr});
  if (SUCCEEDED(status)) state.type_library.store(*library, std::memory_order_release);
  return status;
}

HRESULT module_type_info(std::size_t index, ITypeInfo** info) {
  *info = state.type_infos[index].load(std::memory_order_acquire);
  if (*info != nullptr) return S_OK;
  ITypeLib* library = nullptr;
  HRESULT status = module_type_library(&library);
  if (FAILED(status)) return status;
  platform::ComPtr<ITypeInfo> found;
  status = library->GetTypeInfoOfGuid(library_info().interfaces[index]->iid, found.out());
  if (FAILED(status)) return status;
  *info = found.get();
  state.type_infos[index].store(*info, std::memory_order_release);
  return S_OK;
}

}  // namespace tallowbrook
