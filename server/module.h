// The loaded library: its class objects and its type information, from load to unload.
//
// Both are made on first use and kept until the library goes. The fast path of either is one
// atomic load; making them happens under the module's critical section with a second check inside,
// so that two threads that ask at once get the same object.
#pragma once

#include <cstddef>

#include "platform/automation/typeinfo.h"

namespace tallowbrook {

// Called by the loader, through the static object in module.cc. A second attach after a detach
// starts afresh.
void module_attach();
void module_detach();

// The class object of `clsid`, asked for `iid`. CLASS_E_CLASSNOTAVAILABLE when the class is not in
// the table.
[[nodiscard]] HRESULT module_class_object(REFCLSID clsid, REFIID iid, void** object);

// The component's type library and the type information of library_info().interfaces[index], both
// borrowed: they live until the library is unloaded. Null and a failure status when memory runs
// out. `index` is below kInterfaceCount.
[[nodiscard]] HRESULT module_type_library(ITypeLib** library);
[[nodiscard]] HRESULT module_type_info(std::size_t index, ITypeInfo** info);

}  // namespace tallowbrook
