// The component's entry points, the only symbols that its library shows (server/exports.map).
#include "core/module.h"
#include "server/class_table.h"
#include "server/module.h"
#include "server/registration.h"
#include "server/type_library.h"

#define TALLOWBROOK_EXPORT extern "C" [[gnu::visibility("default")]]

// The class object of `clsid`, asked for `iid`. E_POINTER for a null out-pointer,
// CLASS_E_CLASSNOTAVAILABLE for a class that is not of this component.
TALLOWBROOK_EXPORT HRESULT DllGetClassObject(REFCLSID clsid, REFIID iid, void** object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  return tallowbrook::module_class_object(clsid, iid, object);
}

// S_OK when no object is alive and no server lock is held, else S_FALSE.
TALLOWBROOK_EXPORT HRESULT DllCanUnloadNow() {
  return tallowbrook::Module::locks() == 0 ? S_OK : S_FALSE;
}

// Lends the table of classes that a host which loads this library can create at once.
TALLOWBROOK_EXPORT HRESULT DllDescribeClasses(const ComponentClass** classes, ULONG* count) {
  if (classes == nullptr || count == nullptr) return E_POINTER;
  *classes = tallowbrook::component_classes().data();
  *count = static_cast<ULONG>(tallowbrook::kClassCount);
  return S_OK;
}

// Lends the tables of the type library to a reader that knows how they lie in memory.
TALLOWBROOK_EXPORT HRESULT DllDescribeTypeLibrary(ULONG layout, const void** table) {
  if (table == nullptr) return E_POINTER;
  *table = nullptr;
  if (layout != tallowbrook::platform::kTableLayout) return E_INVALIDARG;
  *table = &tallowbrook::library_info();
  return S_OK;
}

// Write the classes and the type library into the registry, of the machine or of the user
// (CoPerUserRegistration), and take them out again. A failure is told by the thread's error object.
TALLOWBROOK_EXPORT HRESULT DllRegisterServer() { return tallowbrook::register_server(); }
TALLOWBROOK_EXPORT HRESULT DllUnregisterServer() { return tallowbrook::unregister_server(); }
