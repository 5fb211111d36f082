// The component's type library as constant tables (server/tables), from which type information,
// name lookup, late-bound calls and the printed library all come.
#pragma once

#include <cstddef>

#include "platform/automation/tables.h"

namespace tallowbrook {

inline constexpr WORD kTypeLibraryMajor = 1;
inline constexpr WORD kTypeLibraryMinor = 0;

[[nodiscard]] const platform::LibraryInfo& library_info();

// The place of the interface `iid` in library_info().interfaces, or that list's length.
[[nodiscard]] std::size_t interface_index(REFIID iid);
inline constexpr std::size_t kInterfaceCount = 17;

}  // namespace tallowbrook
