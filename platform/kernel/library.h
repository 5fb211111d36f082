// Loading shared objects by the names that hosts and plug-ins use.
//
// "TlwbkPlg.dll" is looked for as libTlwbkPlg.so and under its own name, first in the directories
// of the environment variable TALLOWBROOK_PLUGIN_PATH (separated by colons; empty ones do not
// count; ignored in a program with raised privileges), then in the directory of the caller's
// module, last where the system's loader looks. A name with a slash is a path, tried as it is and
// then, in the same directory, in the other form.
//
// Where a name was found, or that it was not found anywhere, is remembered for one second for the
// same name, directory and value of the variable: a library that appears, or disappears, within
// that second may be noticed late. A remembered answer costs well under a microsecond.
#pragma once

#include "platform/com/types.h"

#include <string>
#include <string_view>

using FARPROC = void (*)();

// Loads a library and counts the load. Null with ERROR_MOD_NOT_FOUND, or with ERROR_BAD_EXE_FORMAT
// when files of that name exist but none of them can be loaded. Each load is undone by FreeLibrary.
[[nodiscard]] HMODULE LoadLibraryA(const char* name);
[[nodiscard]] HMODULE LoadLibraryW(const OLECHAR* name);

// The address of an exported function; null with ERROR_PROC_NOT_FOUND. Functions of libraries that
// the module itself needs do not count.
[[nodiscard]] FARPROC GetProcAddress(HMODULE module, const char* name);

BOOL FreeLibrary(HMODULE module);

// The path of a module in the ANSI code page, cut off and zero-terminated in `size` bytes (then
// ERROR_INSUFFICIENT_BUFFER); a null module is the program. Returns the bytes without the zero, 0
// on failure.
DWORD GetModuleFileNameA(HMODULE module, char* path, DWORD size);

namespace tallowbrook::platform {

// LoadLibraryA for a name in UTF-8; `near` is an address in the caller's module, whose directory is
// searched, too (null: none). Throws std::bad_alloc.
[[nodiscard]] HMODULE load_library(std::string_view name, const void* near);

// The absolute path (UTF-8) of the shared object or program that holds `address`; empty when none
// does. Throws std::bad_alloc.
[[nodiscard]] std::string module_path(const void* address);

}  // namespace tallowbrook::platform
