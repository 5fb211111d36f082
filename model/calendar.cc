#include "model/calendar.h"

namespace tallowbrook {
namespace {

bool is_leap(std::int32_t year) { return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0; }

std::int32_t days_in_month(std::int32_t year, std::int32_t month) {
  constexpr std::int32_t kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return month == 2 && is_leap(year) ? 29 : kDays[month - 1];
}

}  // namespace

bool is_valid(const DateFields& f) {
  return f.year >= 1 && f.year <= 9999 && f.month >= 1 && f.month <= 12 && f.day >= 1 &&
         f.day <= days_in_month(f.year, f.month) && f.hour >= 0 && f.hour <= 23 && f.minute >= 0 &&
         f.minute <= 59 && f.second >= 0 && f.second <= 59;
}

// Counts in eras of 400 years that begin on 1 March, so that a leap day ends its year.
std::int64_t days_from_civil(std::int64_t year, std::int64_t month, std::int64_t day) {
  year -= month <= 2 ? 1 : 0;
  const std::int64_t era = (year >= 0 ? year : year - 399) / 400;
  const std::int64_t year_of_era = year - era * 400;
  const std::int64_t day_of_year = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
  const std::int64_t day_of_era =
      year_of_era * 365 + year_of_era / 4 - year_of_era / 100 + day_of_year;
  return era * 146097 + day_of_era - 719468;
}

DateFields shifted(const DateFields& f, std::int64_t seconds) {
  std::int64_t moment = days_from_civil(f.year, f.month, f.day) * 86400 +
                        std::int64_t{f.hour} * 3600 + f.minute * 60 + f.second + seconds;
  std::int64_t days = moment / 86400;
  std::int64_t rest = moment % 86400;
  if (rest < 0) {
    rest += 86400;
    --days;
  }
  days += 719468;
  const std::int64_t era = (days >= 0 ? days : days - 146096) / 146097;
  const std::int64_t doe = days - era * 146097;
  const std::int64_t yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  const std::int64_t doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  const std::int64_t shifted_month = (5 * doy + 2) / 153;

  DateFields result;
  result.day = static_cast<std::int32_t>(doy - (153 * shifted_month + 2) / 5 + 1);
  result.month =
      static_cast<std::int32_t>(shifted_month < 10 ? shifted_month + 3 : shifted_month - 9);
  result.year = static_cast<std::int32_t>(yoe + era * 400 + (result.month <= 2 ? 1 : 0));
  result.hour = static_cast<std::int32_t>(rest / 3600);
  result.minute = static_cast<std::int32_t>(rest / 60 % 60);
  result.second = static_cast<std::int32_t>(rest % 60);
  return result;
}

int weekday(const DateFields& f) {
  // 1 January 1970 was a Thursday.
  const std::int64_t days = days_from_civil(f.year, f.month, f.day);
  return static_cast<int>(((days % 7) + 7 + 4) % 7);
}

}  // namespace tallowbrook
