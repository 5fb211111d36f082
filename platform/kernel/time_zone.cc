#include "platform/kernel/time_zone.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <iterator>
#include <mutex>
#include <string>
#include <string_view>

#include "platform/kernel/handles.h"

namespace tallowbrook::platform {
namespace {

constexpr std::time_t kDay = 24 * 60 * 60;

// Where the zone's offset changes within a year.
struct Change {
  std::time_t moment;  // the first second of the new offset
  long offset;         // seconds east of UTC from then on
};

struct ZoneYear {
  bool known = false;
  std::string zone;  // the value of TZ
  bool zone_is_set = false;
  std::time_t start = 0;  // of the year, in UTC give or take a day
  std::time_t end = 0;
  std::array<Change, 16> changes{};  // the first stands for the start of the year
  std::size_t count = 0;
  TIME_ZONE_INFORMATION information{};
};

std::mutex zone_lock;  // the cache; also TZ as the C library has it

ZoneYear& cache() {
  static auto& zone = *new ZoneYear;  // outlives static objects
  return zone;
}

bool local(std::time_t moment, std::tm& fields) { return localtime_r(&moment, &fields) != nullptr; }

long offset_at(std::time_t moment) {
  std::tm fields{};
  return local(moment, fields) ? fields.tm_gmtoff : 0;
}

std::time_t start_of_year(int years_since_1900) {
  std::tm fields{};
  fields.tm_year = years_since_1900;
  fields.tm_mday = 1;
  return timegm(&fields);
}

SYSTEMTIME system_time_of(const std::tm& fields, int milliseconds) {
  return {static_cast<WORD>(fields.tm_year + 1900), static_cast<WORD>(fields.tm_mon + 1),
          static_cast<WORD>(fields.tm_wday),        static_cast<WORD>(fields.tm_mday),
          static_cast<WORD>(fields.tm_hour),        static_cast<WORD>(fields.tm_min),
          static_cast<WORD>(fields.tm_sec),         static_cast<WORD>(milliseconds)};
}

// The first second of a new offset between two moments whose offsets differ.
std::time_t find_change(std::time_t before, std::time_t after) {
  const long old = offset_at(before);
  while (after - before > 1) {
    const std::time_t middle = before + (after - before) / 2;
    (offset_at(middle) == old ? before : after) = middle;
  }
  return after;
}

void find_changes(ZoneYear& year) {
  year.changes[0] = {year.start, offset_at(year.start)};
  year.count = 1;
  for (std::time_t day = year.start; day < year.end; day += kDay) {
    const long next = offset_at(day + kDay);
    if (next == year.changes[year.count - 1].offset || year.count == year.changes.size()) continue;
    year.changes[year.count++] = {find_change(day, day + kDay), next};
  }
}

// Names and date of the offset that `change` brings in; the first change of a year is no change.
void describe(const ZoneYear& year, const Change& change, OLECHAR (&name)[32], SYSTEMTIME& date) {
  std::tm fields{};
  if (!local(change.moment, fields)) return;
  if (fields.tm_zone != nullptr) {
    const std::string_view zone = fields.tm_zone;
    std::copy_n(zone.begin(), std::min(zone.size(), std::size(name) - 1), name);
  }
  if (&change == &year.changes[0]) return;
  const std::time_t wall = change.moment + (&change - 1)->offset;
  if (gmtime_r(&wall, &fields) != nullptr) date = system_time_of(fields, 0);
}

void fill_information(ZoneYear& year) {
  auto* first = year.changes.data();
  auto* last = first + year.count;
  const auto [low, high] = std::minmax_element(
      first, last, [](const Change& a, const Change& b) { return a.offset < b.offset; });
  TIME_ZONE_INFORMATION& information = year.information;
  information = {};
  information.Bias = static_cast<LONG>(-low->offset / 60);
  information.DaylightBias = static_cast<LONG>(-(high->offset - low->offset) / 60);
  const auto entering = [&](long offset) -> const Change& {  // prefers a real change
    const auto* found =
        std::find_if(first + 1, last, [offset](const Change& c) { return c.offset == offset; });
    return found != last ? *found : *std::find_if(first, last, [offset](const Change& c) {
      return c.offset == offset;
    });
  };
  describe(year, entering(low->offset), information.StandardName, information.StandardDate);
  describe(year, entering(high->offset), information.DaylightName, information.DaylightDate);
}

// Brings the C library's idea of TZ and the cache up to date; false when the moment is outside the
// calendar. Under zone_lock.
bool refresh(std::time_t now) {
  ZoneYear& year = cache();
  const char* value = std::getenv("TZ");
  const bool is_set = value != nullptr;
  const std::string_view zone = is_set ? value : "";
  if (year.known && year.zone_is_set == is_set && year.zone == zone && now >= year.start &&
      now < year.end) {
    return true;
  }
  tzset();
  std::tm fields{};
  if (!local(now, fields)) return false;
  year.known = false;
  year.zone = zone;
  year.zone_is_set = is_set;
  const long offset = fields.tm_gmtoff;
  year.start = start_of_year(fields.tm_year) - offset;
  year.end = start_of_year(fields.tm_year + 1) - offset;
  // The offset at the year's ends may be another one than now's.
  year.start += offset - offset_at(year.start);
  year.end += offset - offset_at(year.end);
  if (now < year.start) year.start = now;
  find_changes(year);
  fill_information(year);
  year.known = true;
  return true;
}

DWORD zone_id_at(const ZoneYear& year, std::time_t now) {
  if (year.information.DaylightBias == 0) return TIME_ZONE_ID_UNKNOWN;
  long offset = year.changes[0].offset;
  for (std::size_t i = 1; i < year.count && year.changes[i].moment <= now; ++i) {
    offset = year.changes[i].offset;
  }
  return -offset / 60 == year.information.Bias ? TIME_ZONE_ID_STANDARD : TIME_ZONE_ID_DAYLIGHT;
}

// The present moment in fields made by `convert`.
template <class Convert>
SYSTEMTIME present(Convert convert) {
  using namespace std::chrono;
  const auto now = floor<milliseconds>(system_clock::now());
  const auto second = floor<seconds>(now);
  std::tm fields{};
  if (!convert(system_clock::to_time_t(second), fields)) return {};
  return system_time_of(fields, static_cast<int>((now - second).count()));
}

}  // namespace
}  // namespace tallowbrook::platform

namespace platform = tallowbrook::platform;

DWORD GetTimeZoneInformation(TIME_ZONE_INFORMATION* information) {
  if (information == nullptr) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return TIME_ZONE_ID_INVALID;
  }
  *information = {};
  const std::time_t now = std::time(nullptr);
  const std::lock_guard hold(platform::zone_lock);
  if (!platform::refresh(now)) {
    SetLastError(ERROR_GEN_FAILURE);
    return TIME_ZONE_ID_INVALID;
  }
  *information = platform::cache().information;
  return platform::zone_id_at(platform::cache(), now);
}

void GetLocalTime(SYSTEMTIME* time) {
  const std::lock_guard hold(platform::zone_lock);
  *time = platform::present([](std::time_t moment, std::tm& fields) {
    return platform::refresh(moment) && platform::local(moment, fields);
  });
}

void GetSystemTime(SYSTEMTIME* time) {
  *time = platform::present(
      [](std::time_t moment, std::tm& fields) { return gmtime_r(&moment, &fields) != nullptr; });
}
