// Prints what the parser made of a message, as a tree of text that tests compare.
#pragma once

#include <string>

#include "model/message_store.h"

namespace tallowbrook::test {

inline constexpr ULONG kWhole = 0xFFFFFFFF;  // read in as large pieces as the loader asks for

// One value, on one line: 12, "text", raw "text", {a=1, b="x"}, [x, y], <addr>/"name", dates.
[[nodiscard]] std::string dump(const HeaderValue& value);

// The whole message: a line per field that is set, per trace header, then the part tree, indented.
[[nodiscard]] std::string dump(const MessageStore& store);

// Loads `text` into `store`; the status of the load. `text` is read in pieces of at most `step`
// bytes.
HRESULT load(std::string_view text, MessageStore& store, ULONG step = kWhole);

// The text of the thread's error object, which is taken away; empty when there is none.
[[nodiscard]] std::string take_error_text();

// "ok" and the dump of what loads, or the error text.
[[nodiscard]] std::string load_and_dump(std::string_view text, ULONG step = kWhole);

}  // namespace tallowbrook::test
