// Opening the libraries of components, with the loader's reason when that fails.
#pragma once

#include <string>

#include "platform/com/types.h"

namespace tallowbrook::platform {

// One reference of the loader's, or null; then CoComponentError has the loader's text.
[[nodiscard]] HMODULE open_component(const char* path);

// What CoComponentError says on this thread.
void set_component_error(std::string text);

}  // namespace tallowbrook::platform
