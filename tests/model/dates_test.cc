#include "model/dates.h"

#include <cmath>

#include "tests/model/host.h"

namespace tallowbrook::test {
namespace {

using Lines = std::vector<std::string>;

HeaderValue date(std::int32_t year, std::int32_t month, std::int32_t day, std::int32_t hour,
                 std::int32_t minute, std::int32_t second, std::string_view zone) {
  return HeaderValue::date_time({day, month, year, hour, minute, second}, zone);
}

// What a host sees, as "YYYY-MM-DD HH:MM:SS", or "-" for an empty variant.
std::string seen(const HeaderValue& value) {
  const platform::Variant shown = local_date(value);
  SYSTEMTIME time{};
  if (shown.vt != VT_DATE || VariantTimeToSystemTime(shown.date, &time) == FALSE) return "-";
  char buffer[64];
  std::snprintf(buffer, sizeof buffer, "%04d-%02d-%02d %02d:%02d:%02d", time.wYear, time.wMonth,
                time.wDay, time.wHour, time.wMinute, time.wSecond);
  return buffer;
}

TEST(Dates, AreSeenInTheMachinesZone) {
  const struct {
    const char* machine;
    HeaderValue value;
    const char* expected;
  } rows[] = {
      {"UTC", date(2004, 6, 1, 10, 0, 0, "+0200"), "2004-06-01 08:00:00"},
      // Bias + DaylightBias is -60 here: one hour east, no change of offset in the year.
      {"XST-1", date(2004, 6, 1, 10, 0, 0, "+0200"), "2004-06-01 09:00:00"},
      // The daylight offset counts in winter as well.
      {"CET-1CEST,M3.5.0,M10.5.0/3", date(2004, 1, 1, 10, 0, 0, "+0000"), "2004-01-01 12:00:00"},
      // Minutes of a zone are dropped, and so are the machine's.
      {"UTC", date(2004, 6, 1, 10, 0, 0, "+0530"), "2004-06-01 05:00:00"},
      {"UTC", date(2004, 6, 1, 10, 0, 0, "-0330"), "2004-06-01 13:00:00"},
      {"XST-5:30", date(2004, 6, 1, 10, 0, 0, "0000"), "2004-06-01 15:00:00"},
      {"XST3:30", date(2004, 6, 1, 10, 0, 0, "-0000"), "2004-06-01 07:00:00"},
      // Names, nothing, and what is no offset shift nothing.
      {"XST-5", date(2004, 6, 1, 10, 0, 0, "GMT"), "2004-06-01 10:00:00"},
      {"XST-5", date(2004, 6, 1, 10, 0, 0, ""), "2004-06-01 10:00:00"},
      {"XST-5", date(2004, 6, 1, 10, 0, 0, "+02:00"), "2004-06-01 10:00:00"},
      {"UTC", date(2000, 3, 1, 0, 30, 59, "+0100"), "2000-02-29 23:30:59"},
      // Before 1899 the fraction of an automation date counts away from zero.
      {"UTC", date(1899, 12, 30, 1, 0, 1, "+0200"), "1899-12-29 23:00:01"},
      {"UTC", date(9999, 12, 31, 23, 0, 0, "-0100"), "-"},
      {"UTC", date(100, 1, 1, 0, 0, 0, "+0100"), "-"},
      {"UTC", date(2004, 2, 31, 0, 0, 0, ""), "-"},
  };
  for (const auto& row : rows) {
    const Zone zone(row.machine);
    EXPECT_EQ(seen(row.value), row.expected) << row.machine << " " << row.value.zone();
  }
}

TEST(Dates, PutKeepsTheZoneOfADateAndTakesTheMachinesElse) {
  const platform::Variant noon = platform::Variant::date_value(38139.5);  // 1 June 2004
  const struct {
    const char* machine;
    HeaderValue before;
    platform::Variant put;
    const char* expected;
  } rows[] = {
      {"UTC", {}, noon, "Tue, 1 Jun 2004 12:00:00 -0000"},
      {"XST-2", {}, noon, "Tue, 1 Jun 2004 12:00:00 +0200"},
      {"XST3:30", HeaderValue::raw("whenever"), noon, "Tue, 1 Jun 2004 12:00:00 -0300"},
      {"XST-2", date(1999, 1, 1, 0, 0, 0, "EST"), noon, "Tue, 1 Jun 2004 12:00:00 EST"},
      {"UTC", {}, text("2004-06-01 12:00:00"), "Tue, 1 Jun 2004 12:00:00 -0000"},
      // Rounded to the nearest second, past midnight if need be.
      {"UTC",
       {},
       platform::Variant::date_value(38139 + 86399.7 / 86400),
       "Wed, 2 Jun 2004 00:00:00 -0000"},
      // What is no date leaves the fields alone.
      {"UTC", date(1999, 1, 1, 0, 0, 0, "EST"), text("soon"), "Fri, 1 Jan 1999 00:00:00 EST"},
      {"UTC", {}, text("soon"), ""},
  };
  for (const auto& row : rows) {
    const Zone zone(row.machine);
    HeaderValue value = row.before;
    put_date(value, row.put);
    EXPECT_TRUE(value.is(ValueKind::DateTime));
    EXPECT_EQ(value.AsText(), row.expected);
  }
  HeaderValue value = date(1999, 1, 1, 0, 0, 0, "EST");
  put_date(value, platform::Variant());
  EXPECT_FALSE(value.is_set());
}

TEST(Dates, PresentMomentIsInTheZoneItCarries) {
  const Zone zone("XST-7");
  const HeaderValue now = current_date();
  EXPECT_EQ(now.zone(), "+0700");
  const platform::Variant shown = local_date(now);
  const double expected = static_cast<double>(std::time(nullptr) + 7 * 3600) / 86400 + 25569;
  EXPECT_LT(std::abs(shown.date - expected), 2.0 / 86400);
}

}  // namespace
}  // namespace tallowbrook::test
