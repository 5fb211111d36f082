// The component's type library as constant tables (server/tables), from which type information,
// name lookup, late-bound calls and the printed library all come.
#pragma once

#include <span>

#include "platform/automation/tables.h"

namespace tallowbrook {

inline constexpr WORD kTypeLibraryMajor = 1;
inline constexpr WORD kTypeLibraryMinor = 0;

[[nodiscard]] const platform::LibraryInfo& library_info();

}  // namespace tallowbrook
