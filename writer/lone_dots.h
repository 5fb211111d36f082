// Lone dots in the text of a message that lies in another message's part.
//
// A line that holds nothing but "." ends the data of a message (RFC 5321 section 4.5.2), and so it
// would end the enclosing message in the middle of the part. Such lines are doubled on the way out;
// a dot line at the very end of a message that was saved on its own is its closing line, which a
// message inside another one does not have.
#pragma once

#include <cstddef>
#include <string_view>
#include <utility>

#include "platform/com/unknown.h"
#include "streams/memory_stream.h"

namespace tallowbrook {

// The next lone dot of `text` at or behind `from`, as the reader of a message sees lines: LF and CR
// end a line, NUL is nothing, blanks may follow the dot. npos when there is none.
[[nodiscard]] std::size_t find_lone_dot(std::string_view text, std::size_t from);

// The text without a closing dot line at its end.
[[nodiscard]] std::string_view without_closing_dot(std::string_view text);

// Calls `put` with the pieces of `text` in order, each lone dot doubled.
template <class Put>
void guard_lone_dots(std::string_view text, Put&& put) {
  std::size_t done = 0;
  for (std::size_t dot = find_lone_dot(text, 0); dot != text.npos;
       dot = find_lone_dot(text, dot + 1)) {
    put(text.substr(done, dot - done));
    put(std::string_view("."));
    done = dot;
  }
  put(text.substr(done));
}

// The same as a stream; null when nothing in `text` is to be doubled.
[[nodiscard]] platform::ComPtr<CISSHelper> guarded_copy(std::string_view text);

}  // namespace tallowbrook
