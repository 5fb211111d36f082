// Time zone and clock; the small services debug output and random numbers.
#include "platform/kernel/time_zone.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <set>
#include <string>

#include "platform/kernel/debug_output.h"
#include "platform/kernel/random.h"

namespace tallowbrook::platform {
namespace {

TEST(TimeZone, BiasesFollowTheZone) {
  const struct {
    const char* zone;
    LONG bias;
    LONG daylight_bias;
    WORD daylight_month;  // in which daylight saving begins; 0 for a zone without
    WORD standard_month;
    const char16_t* standard_name;
  } rows[] = {
      {"UTC", 0, 0, 0, 0, u"UTC"},
      {"Europe/Berlin", -60, -60, 3, 10, u"CET"},
      {"America/New_York", 300, -60, 3, 11, u"EST"},
      {"Asia/Kolkata", -330, 0, 0, 0, u"IST"},
      {"Australia/Sydney", -600, -60, 10, 4, u"AEST"},
      {"Australia/Lord_Howe", -630, -30, 10, 4, u"+1030"},
      {"Europe/Dublin", 0, -60, 3, 10, u"GMT"},
      {"XYZ3:30", 210, 0, 0, 0, u"XYZ"},
  };
  for (const auto& row : rows) {
    setenv("TZ", row.zone, 1);
    TIME_ZONE_INFORMATION zone;
    const DWORD id = GetTimeZoneInformation(&zone);
    EXPECT_EQ(zone.Bias, row.bias) << row.zone;
    EXPECT_EQ(zone.StandardBias, 0) << row.zone;
    EXPECT_EQ(zone.DaylightBias, row.daylight_bias) << row.zone;
    EXPECT_EQ(zone.DaylightDate.wMonth, row.daylight_month) << row.zone;
    EXPECT_EQ(zone.StandardDate.wMonth, row.standard_month) << row.zone;
    EXPECT_EQ(std::u16string(zone.StandardName), row.standard_name) << row.zone;
    EXPECT_EQ(id == TIME_ZONE_ID_UNKNOWN, row.daylight_bias == 0) << row.zone;

    // The zone in force is the one the C library uses now.
    std::tm fields{};
    const std::time_t now = std::time(nullptr);
    localtime_r(&now, &fields);
    const LONG shift = zone.Bias + (id == TIME_ZONE_ID_DAYLIGHT ? zone.DaylightBias : 0);
    EXPECT_EQ(-fields.tm_gmtoff / 60, shift) << row.zone;
    SYSTEMTIME local;
    GetLocalTime(&local);
    EXPECT_EQ((local.wMinute - fields.tm_min + 60) % 60 / 2, 0) << row.zone;
  }
  unsetenv("TZ");
}

TEST(DebugOutput, ReachesTheHandlerAsUtf8) {
  std::string heard;
  SetDebugOutputHandler([&heard](std::string_view text) { heard += text; });
  OutputDebugStringA("a\xE9");
  OutputDebugStringW(u"€\n");
  OutputDebugStringA(nullptr);
  SetDebugOutputHandler({});
  EXPECT_EQ(heard, "a\xC3\xA9\xE2\x82\xAC\n");
}

TEST(Random, DrawsFifteenBitsThatVary) {
  SeedRandom();
  std::set<int> drawn;
  for (int i = 0; i < 2000; ++i) drawn.insert(NextRandom());
  EXPECT_GE(*drawn.begin(), 0);
  EXPECT_LE(*drawn.rbegin(), 32767);
  EXPECT_GT(drawn.size(), 1800U);
}

}  // namespace
}  // namespace tallowbrook::platform
