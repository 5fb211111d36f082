// Dates of header fields as automation dates, and back.
//
// A `DateTime` value keeps the fields and the zone as they were written. A host sees the machine's
// local time, in whole hours: the machine's offset is -(Bias + DaylightBias) / 60 whatever the
// season, a numeric zone's offset is its number / 100, both cut toward zero. A zone given by name,
// or none, shifts nothing.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "model/header_value.h"
#include "platform/automation/variant.h"

namespace tallowbrook {

// The date in the machine's zone. Empty when the value's fields name no moment, when the shifted
// moment leaves the years 100 to 9999, or when the machine's zone cannot be had.
[[nodiscard]] platform::Variant local_date(const HeaderValue& value);

// Stores a host's date, which is local time. A value that is no `DateTime` becomes one in the
// machine's zone; one that is keeps its zone. Empty or null makes the value `Empty`; what does not
// convert to a date leaves the fields as they were.
void put_date(HeaderValue& target, const VARIANT& date);

// The present moment in the machine's zone, as a `DateTime` that carries that zone.
[[nodiscard]] HeaderValue current_date();

// The machine's offset from UTC in whole hours; nothing when it cannot be had.
[[nodiscard]] std::optional<std::int32_t> local_offset_hours();

// "+hh00" for offsets above 0, else "-hh00" (so UTC is "-0000").
[[nodiscard]] std::string zone_text(std::int32_t offset_hours);

}  // namespace tallowbrook
