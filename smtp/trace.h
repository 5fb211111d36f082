// The session's lines on the debug output (described in tallowbrook/client_socket.h).
#pragma once

#include <string_view>

namespace tallowbrook {

// A line for each line of `text`. Never fails.
void trace(char mark, std::string_view text) noexcept;

}  // namespace tallowbrook
