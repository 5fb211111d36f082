#include "model/dates.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <string_view>

#include "model/calendar.h"
#include "platform/kernel/time_zone.h"

namespace tallowbrook {

using platform::Variant;

namespace {

constexpr std::int64_t kSecondsPerHour = 3600;

// The hours of a numeric zone: four digits, perhaps behind a sign. Its minutes are dropped.
std::optional<std::int32_t> numeric_zone_hours(std::string_view zone) {
  std::int32_t sign = 1;
  if (zone.size() == 5 && (zone.front() == '+' || zone.front() == '-')) {
    sign = zone.front() == '-' ? -1 : 1;
    zone.remove_prefix(1);
  }
  const auto is_digit = [](char c) { return c >= '0' && c <= '9'; };
  if (zone.size() != 4 || !std::all_of(zone.begin(), zone.end(), is_digit)) return std::nullopt;
  return sign * ((zone[0] - '0') * 10 + (zone[1] - '0'));
}

Variant automation_date(const DateFields& fields) {
  if (!is_valid(fields)) return {};
  const SYSTEMTIME time{static_cast<WORD>(fields.year),     static_cast<WORD>(fields.month),
                        static_cast<WORD>(weekday(fields)), static_cast<WORD>(fields.day),
                        static_cast<WORD>(fields.hour),     static_cast<WORD>(fields.minute),
                        static_cast<WORD>(fields.second),   0};
  DATE date = 0;
  if (SystemTimeToVariantTime(&time, &date) == FALSE) return {};
  return Variant::date_value(date);
}

// The fields of a host's date, rounded to the nearest second.
std::optional<DateFields> fields_of(const Variant& value) {
  Variant date;
  SYSTEMTIME time{};
  if (FAILED(VariantChangeType(&date, &value, 0, VT_DATE)) ||
      VariantTimeToSystemTime(date.date, &time) == FALSE) {
    return std::nullopt;
  }
  return DateFields{.day = time.wDay,
                    .month = time.wMonth,
                    .year = time.wYear,
                    .hour = time.wHour,
                    .minute = time.wMinute,
                    .second = time.wSecond};
}

}  // namespace

std::optional<std::int32_t> local_offset_hours() {
  TIME_ZONE_INFORMATION zone{};
  if (GetTimeZoneInformation(&zone) == TIME_ZONE_ID_INVALID) return std::nullopt;
  return -(zone.Bias + zone.DaylightBias) / 60;
}

std::string zone_text(std::int32_t offset_hours) {
  char buffer[24];
  const bool east = offset_hours > 0;
  std::snprintf(buffer, sizeof buffer, east ? "+%02ld00" : "-%02ld00",
                static_cast<long>(east ? offset_hours : -offset_hours));
  return buffer;
}

Variant local_date(const HeaderValue& value) {
  if (!value.is(ValueKind::DateTime) || !is_valid(value.date())) return {};
  const auto zone_hours = numeric_zone_hours(value.zone());
  if (!zone_hours) return automation_date(value.date());
  const auto local_hours = local_offset_hours();
  if (!local_hours) return {};
  return automation_date(shifted(value.date(), (*local_hours - *zone_hours) * kSecondsPerHour));
}

void put_date(HeaderValue& target, const VARIANT& date) {
  Variant given;
  const bool readable = SUCCEEDED(VariantCopyInd(&given, &date));
  if (readable && (given.vt == VT_EMPTY || given.vt == VT_NULL)) {
    target.Reset();
    return;
  }
  std::string zone;
  DateFields fields;
  if (target.is(ValueKind::DateTime)) {
    zone = target.zone();
    fields = target.date();
  } else if (const auto hours = local_offset_hours()) {
    zone = zone_text(*hours);
  }
  if (readable) fields = fields_of(given).value_or(fields);
  target = HeaderValue::date_time(fields, zone);
}

HeaderValue current_date() {
  const auto hours = local_offset_hours();
  const DateFields epoch{.day = 1, .month = 1, .year = 1970};
  const auto now = static_cast<std::int64_t>(std::time(nullptr));
  const std::int64_t shift = hours.value_or(0) * kSecondsPerHour;
  return HeaderValue::date_time(shifted(epoch, now + shift), hours ? zone_text(*hours) : "");
}

}  // namespace tallowbrook
