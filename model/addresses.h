// Addresses of header fields as automation objects, back again, and as header text.
//
// A field holds an `Address`, an `AddressMap` (address text to display name, sorted: a clean list)
// or a `List` of `Address` values (a lenient list, in the order of the source).
#pragma once

#include <string>

#include "model/header_value.h"
#include "platform/automation/variant.h"

namespace tallowbrook {

// A new CMailAddress: of an `Address` or a `Text`, and an empty one of anything else.
[[nodiscard]] platform::Variant single_address(const HeaderValue& value);

// A new CCollection of new CMailAddress objects, one for each address. A value that is neither an
// address nor a list of them gives one address with the value's text.
[[nodiscard]] platform::Variant address_list(const HeaderValue& value);

// A host's value for a single-address field: a string becomes the address text, unparsed; an
// address object gives its RouteAddress and NameRaw; empty or null gives `Empty`; anything else an
// `Address` without text.
[[nodiscard]] HeaderValue put_single_address(const VARIANT& value);

// A host's value for a list field, as an `AddressMap`: a string is cut at its commas (pieces are
// not trimmed, empty ones dropped); a collection gives each of its strings and address objects
// (a later one with the same address replaces the name); an address object itself. Empty or null
// gives `Empty`; anything else an empty map.
[[nodiscard]] HeaderValue put_address_list(const VARIANT& value);

// An object that can be enumerated as put_address_list takes it, anything else as
// put_single_address does: a string is one address as it stands.
[[nodiscard]] HeaderValue put_enumerated_or_single(const VARIANT& value);

// One value as header text: an `Address` as its name, a blank and its address text, one without
// address text as a group without members ("undisclosed-recipients:;"); anything else as its text.
// Nothing is quoted, encoded or put in brackets.
[[nodiscard]] std::string RenderAddress(const HeaderValue& value);

// What follows "Name: " in a written address field, up to and including the last CR LF: lists with
// one address on each line. A host's line ends are folded. Addresses that say nothing are left out;
// without any other the layout is empty, and the field is to be left out.
[[nodiscard]] std::string address_layout(const HeaderValue& value);

}  // namespace tallowbrook
