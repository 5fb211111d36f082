// Automation dates on the proleptic Gregorian calendar, and their text forms.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/automation/variant.h"

namespace tallowbrook::platform {

inline constexpr double kFirstDate = -657434.0;  // 1 January 100
inline constexpr double kPastDates = 2958466.0;  // 1 January 10000

// Days from 30 December 1899, negative before; the date need not be in the range of DATE.
[[nodiscard]] LONGLONG days_of(LONGLONG year, unsigned month, unsigned day);

// "YYYY-MM-DD HH:MM:SS"; only the date at midnight, only the time on day 0. Empty when the date is
// outside the years 100 to 9999.
[[nodiscard]] std::u16string date_to_text(DATE date);

// Reads "YYYY-MM-DD" or "M/D/YYYY", then a time after a blank or "T", or a time alone; a time is
// "H:MM[:SS[.fraction]]" with AM or PM or none. A zone ("Z", "+01:00") may follow and is dropped: a
// DATE is a wall-clock time. Two-digit years are 1930 to 2029. Nothing for any other text.
[[nodiscard]] std::optional<DATE> date_from_text(std::u16string_view text);

// A DATE on an even scale (days, the fraction always counting upwards), for comparing.
[[nodiscard]] double date_on_line(DATE date);

}  // namespace tallowbrook::platform
