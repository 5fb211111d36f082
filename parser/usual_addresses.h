// Address lists as nearly all mail has them, read without the grammar.
#pragma once

#include <string_view>

#include "model/header_value.h"

namespace tallowbrook {

// Reads the value of an address list field when every address in it has one of the usual forms
//
//   local@domain    <local@domain>    Some "quoted, words" =?utf-8?Q?and_encoded?= <local@domain>
//
// with dot-atoms (RFC 5322 section 3.2.3) around the "@", and sets `addresses` to the very map that
// the grammar makes of it. False, with `addresses` untouched, for anything else: comments, groups,
// routes, literals, white space around a dot, faults. Linear, and about ten times quicker.
[[nodiscard]] bool read_usual_addresses(std::string_view text, HeaderValue& addresses);

}  // namespace tallowbrook
