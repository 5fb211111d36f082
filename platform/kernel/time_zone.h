// The machine's time zone and clock.
//
// The zone is the environment variable TZ, or the system's when it is not set. What it does in the
// present year decides: without a change of offset there is no daylight saving; otherwise the
// year's lowest offset is standard time and the highest is daylight time. Answers are kept until TZ
// or the year changes.
#pragma once

#include "platform/automation/variant.h"

inline constexpr DWORD TIME_ZONE_ID_UNKNOWN = 0;   // a zone without daylight saving
inline constexpr DWORD TIME_ZONE_ID_STANDARD = 1;  // standard time is in force now
inline constexpr DWORD TIME_ZONE_ID_DAYLIGHT = 2;
inline constexpr DWORD TIME_ZONE_ID_INVALID = 0xFFFFFFFF;

// Biases are minutes; UTC = local time + Bias + (StandardBias or DaylightBias). The dates are those
// of the present year's changes, in the local time before each; a month of 0 means none.
struct TIME_ZONE_INFORMATION {
  LONG Bias;
  OLECHAR StandardName[32];
  SYSTEMTIME StandardDate;
  LONG StandardBias;  // always 0
  OLECHAR DaylightName[32];
  SYSTEMTIME DaylightDate;
  LONG DaylightBias;  // -60 for an hour of daylight saving; 0 for a zone without
};

// TIME_ZONE_ID_*. TIME_ZONE_ID_INVALID, with the structure cleared, only when the C library cannot
// say (a clock outside its calendar).
DWORD GetTimeZoneInformation(TIME_ZONE_INFORMATION* information);

// The present moment, to the millisecond.
void GetLocalTime(SYSTEMTIME* time);
void GetSystemTime(SYSTEMTIME* time);
