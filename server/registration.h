// What the component writes into the registry, and takes out again.
//
// First the classes in the order of the class table, in one change of the registry; then the type
// library. A class that fails ends the registration: those before it stay registered. What failed
// is told by the thread's error object.
#pragma once

#include "platform/com/types.h"

namespace tallowbrook {

[[nodiscard]] HRESULT register_server();
[[nodiscard]] HRESULT unregister_server();

}  // namespace tallowbrook
