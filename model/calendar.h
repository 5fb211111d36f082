// The calendar that dates of messages live on: proleptic Gregorian, years 1 to 9999.
#pragma once

#include <cstdint>

namespace tallowbrook {

// The fields of a date and time as a header writes them; month 1 to 12.
struct DateFields {
  std::int32_t day = 0;
  std::int32_t month = 0;
  std::int32_t year = 0;
  std::int32_t hour = 0;
  std::int32_t minute = 0;
  std::int32_t second = 0;

  friend bool operator==(const DateFields&, const DateFields&) = default;
};

// True when the fields name a moment of the calendar: year 1 to 9999, hour at most 23, minute and
// second at most 59.
[[nodiscard]] bool is_valid(const DateFields& fields);

// Days since 1 January 1970, for any day of the calendar (month may run over 12 or below 1).
[[nodiscard]] std::int64_t days_from_civil(std::int64_t year, std::int64_t month, std::int64_t day);

// The fields, `seconds` later. The result is not valid when it leaves the years 1 to 9999.
[[nodiscard]] DateFields shifted(const DateFields& fields, std::int64_t seconds);

// 0 is Sunday. The fields must be valid.
[[nodiscard]] int weekday(const DateFields& fields);

inline constexpr const char* kWeekdayNames[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
inline constexpr const char* kMonthNames[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                              "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

}  // namespace tallowbrook
