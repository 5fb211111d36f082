// The platform's debug output: texts for whoever looks into a running program.
//
// They go to the handler when one is set, else to the standard error stream when the environment
// variable TALLOWBROOK_DEBUG is set and not empty, else nowhere.
#pragma once

#include <functional>
#include <string_view>

#include "platform/com/types.h"

// Puts a text out as it is, without a line end of its own. The 8-bit form is in the ANSI code page.
// A null text does nothing. Never fails.
void OutputDebugStringA(const char* text);
void OutputDebugStringW(const OLECHAR* text);

namespace tallowbrook::platform {

// Receives each text as UTF-8, on the thread that put it out; several threads may call at once.
using DebugOutputHandler = std::function<void(std::string_view)>;

// Sets the handler of the process; an empty one goes back to the standard error stream.
void SetDebugOutputHandler(DebugOutputHandler handler);

// True when a text that is put out now would reach somebody, so that it is worth making.
[[nodiscard]] bool debug_output_wanted();

}  // namespace tallowbrook::platform
