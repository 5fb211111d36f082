// The model's values as automation values and back.
#pragma once

#include <cstdint>
#include <string_view>

#include "model/header_value.h"
#include "platform/automation/variant.h"

namespace tallowbrook {

// Text: string; Integer, Character: 32-bit integer; Address: its display name; DateTime: a date in
// the machine's zone (dates.h), empty when the fields name none; Raw: the string of its content;
// Foreign: a copy; anything else: empty.
[[nodiscard]] platform::Variant to_variant(const HeaderValue& value);

// A host's value for a place that holds any value (display names, parameters): a string becomes
// `Text`, a 32-bit integer `Integer`, empty or null `Empty`, anything else `Foreign`. By-reference
// arguments are followed.
[[nodiscard]] HeaderValue from_variant(const VARIANT& value);

// A host's value for a number that strings name: `by_name` maps a string; what converts to no
// number is `otherwise`.
[[nodiscard]] HeaderValue number_or_name(const VARIANT& value,
                                         HeaderValue (*by_name)(std::string_view),
                                         std::int32_t otherwise);

}  // namespace tallowbrook
