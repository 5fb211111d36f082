// Reading a header field that a load left unparsed.
//
// The field's text goes through the grammar. A list that the grammar refuses is read leniently: it
// is cut at its commas (by the grammar while there are fewer than 512 of them), each piece is
// parsed as an address, and a piece that is none stays as the text of an address. What cannot be
// read at all stays unparsed.
#pragma once

#include <string_view>

#include "model/message_owner.h"

namespace tallowbrook {

enum class ReadMode {
  Single,  // one address, or a date
  List,    // addresses, leniently
};

// Parses the slot's text when it is `Raw`, keeps it as the slot's source, and puts the value in its
// place. Stays `Raw`: text that does not parse, and a date that is not on the calendar (its value
// could not say what the text says).
//
// Waiting for the parser pumps the thread's messages; a handler may read or put the same slot. The
// slot is written last, and only when it still holds the text that was parsed.
void ReparseHeader(MessageOwner& message, FieldSlot& slot, std::string_view name, ReadMode mode);

// Cuts a list at its commas without the parser: CR, LF, TAB and NUL go, blanks stay; nothing after
// the last comma adds no piece. Gives a `List` of `Text`.
[[nodiscard]] HeaderValue split_at_commas(std::string_view text);

}  // namespace tallowbrook
