// The registration scripts of the classes: the library's resources of the type REGISTRY.
#pragma once

#include <string>

#include "server/class_table.h"

namespace tallowbrook {

// The script of the class whose entry has this number, in the syntax of platform/com/registrar.h;
// empty for any other number.
[[nodiscard]] std::string registry_script(UINT id);

}  // namespace tallowbrook
