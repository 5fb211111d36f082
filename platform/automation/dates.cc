// A DATE's whole part counts days from 30 December 1899, its fraction's magnitude is the time of
// day: -1.25 is six in the morning of 29 December 1899.
#include "platform/automation/dates.h"

#include <cmath>
#include <cstdio>

namespace tallowbrook::platform {
namespace {

constexpr LONGLONG kSecondsPerDay = 86400;
constexpr LONGLONG kEpochShift = 693899;  // days from 1 March 0000 to 30 December 1899

struct Civil {
  LONGLONG year;
  unsigned month;
  unsigned day;
};

// Years are counted from March, so that the leap day ends one.
Civil civil_of(LONGLONG days) {
  const LONGLONG shifted = days + kEpochShift;
  const LONGLONG era = (shifted >= 0 ? shifted : shifted - 146096) / 146097;
  const auto day_of_era = static_cast<unsigned>(shifted - era * 146097);
  const unsigned year_of_era =
      (day_of_era - day_of_era / 1460 + day_of_era / 36524 - day_of_era / 146096) / 365;
  const unsigned day_of_year =
      day_of_era - (365 * year_of_era + year_of_era / 4 - year_of_era / 100);
  const unsigned march_month = (5 * day_of_year + 2) / 153;
  const unsigned month = march_month < 10 ? march_month + 3 : march_month - 9;
  return {era * 400 + year_of_era + (month <= 2 ? 1 : 0), month,
          day_of_year - (153 * march_month + 2) / 5 + 1};
}

unsigned days_in_month(LONGLONG year, unsigned month) {
  static constexpr unsigned kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
  return kDays[month - 1] + (month == 2 && leap ? 1 : 0);
}

DATE compose(LONGLONG days, double fraction) {
  const auto whole = static_cast<double>(days);
  return days < 0 ? whole - fraction : whole + fraction;
}

// Walks a text of digits and separators.
class Reader {
 public:
  explicit Reader(std::u16string_view text) : text_(text) {}

  [[nodiscard]] bool at_end() const { return text_.empty(); }
  [[nodiscard]] char16_t peek() const { return text_.empty() ? u'\0' : text_.front(); }
  bool take(char16_t unit) {
    if (peek() != unit || text_.empty()) return false;
    text_.remove_prefix(1);
    return true;
  }
  void skip_blanks() {
    while (take(u' ')) {
    }
  }
  // Up to `most` digits; their count goes to `digits`.
  bool number(unsigned most, unsigned* value, unsigned* digits = nullptr) {
    unsigned count = 0;
    *value = 0;
    while (count < most && peek() >= u'0' && peek() <= u'9') {
      *value = *value * 10 + (peek() - u'0');
      text_.remove_prefix(1);
      ++count;
    }
    if (digits != nullptr) *digits = count;
    return count > 0;
  }
  // "AM" or "PM" in either case.
  bool half_day(bool* afternoon) {
    if (text_.size() < 2 || (text_[1] | 0x20) != u'm') return false;
    const auto first = static_cast<char16_t>(text_[0] | 0x20);
    if (first != u'a' && first != u'p') return false;
    *afternoon = first == u'p';
    text_.remove_prefix(2);
    return true;
  }

 private:
  std::u16string_view text_;
};

bool read_zone(Reader& in) {
  unsigned hours = 0;
  unsigned minutes = 0;
  if (in.take(u'Z') || in.take(u'z')) return true;
  if (!in.take(u'+') && !in.take(u'-')) return false;
  if (!in.number(2, &hours)) return false;
  in.take(u':');
  return in.number(2, &minutes) && hours < 24 && minutes < 60;
}

// The time whose hour was read already.
bool read_time(Reader& in, unsigned hour, SYSTEMTIME& time) {
  unsigned minute = 0;
  unsigned second = 0;
  unsigned fraction = 0;
  if (!in.take(u':') || !in.number(2, &minute)) return false;
  if (in.take(u':')) {
    if (!in.number(2, &second)) return false;
    if (in.take(u'.') && !in.number(9, &fraction)) return false;
  }
  in.skip_blanks();
  bool afternoon = false;
  if (in.half_day(&afternoon)) {
    if (hour < 1 || hour > 12) return false;
    hour = hour % 12 + (afternoon ? 12 : 0);
    in.skip_blanks();
  }
  time.wHour = static_cast<WORD>(hour);
  time.wMinute = static_cast<WORD>(minute);
  time.wSecond = static_cast<WORD>(second);
  return in.at_end() || (read_zone(in) && in.at_end());
}

// The date whose first number was read already.
bool read_date(Reader& in, unsigned first, unsigned first_digits, SYSTEMTIME& time) {
  const char16_t separator = in.peek();
  unsigned second = 0;
  unsigned third = 0;
  unsigned third_digits = 0;
  if (!in.take(separator) || !in.number(2, &second) || !in.take(separator)) return false;
  if (!in.number(4, &third, &third_digits)) return false;
  const bool year_first = first_digits == 4;
  if (!year_first && separator != u'/') return false;
  unsigned year = year_first ? first : third;
  if (!year_first && third_digits == 2) year += year < 30 ? 2000 : 1900;
  time.wYear = static_cast<WORD>(year);
  time.wMonth = static_cast<WORD>(year_first ? second : first);
  time.wDay = static_cast<WORD>(year_first ? third : second);
  return true;
}

}  // namespace

LONGLONG days_of(LONGLONG year, unsigned month, unsigned day) {
  const LONGLONG y = month <= 2 ? year - 1 : year;
  const LONGLONG era = (y >= 0 ? y : y - 399) / 400;
  const auto year_of_era = static_cast<unsigned>(y - era * 400);
  const unsigned day_of_year = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
  const unsigned day_of_era = year_of_era * 365 + year_of_era / 4 - year_of_era / 100 + day_of_year;
  return era * 146097 + static_cast<LONGLONG>(day_of_era) - kEpochShift;
}

std::u16string date_to_text(DATE date) {
  SYSTEMTIME t{};
  if (VariantTimeToSystemTime(date, &t) == FALSE) return {};
  const bool day_zero = t.wYear == 1899 && t.wMonth == 12 && t.wDay == 30;
  const bool midnight = t.wHour == 0 && t.wMinute == 0 && t.wSecond == 0;
  char text[64];
  int length = 0;
  if (midnight) {
    length = std::snprintf(text, sizeof text, "%04d-%02d-%02d", t.wYear, t.wMonth, t.wDay);
  } else if (day_zero) {
    length = std::snprintf(text, sizeof text, "%02d:%02d:%02d", t.wHour, t.wMinute, t.wSecond);
  } else {
    length = std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", t.wYear, t.wMonth,
                           t.wDay, t.wHour, t.wMinute, t.wSecond);
  }
  return {text, text + length};
}

std::optional<DATE> date_from_text(std::u16string_view text) {
  while (!text.empty() && text.back() == u' ') text.remove_suffix(1);
  Reader in(text);
  in.skip_blanks();
  SYSTEMTIME time{1899, 12, 0, 30, 0, 0, 0, 0};
  unsigned first = 0;
  unsigned digits = 0;
  if (!in.number(4, &first, &digits)) return std::nullopt;
  if (in.peek() == u':') {
    if (digits > 2 || !read_time(in, first, time)) return std::nullopt;
  } else {
    if (in.peek() != u'-' && in.peek() != u'/') return std::nullopt;
    if (!read_date(in, first, digits, time)) return std::nullopt;
    if (!in.at_end()) {
      if (!in.take(u'T') && !in.take(u't') && !in.take(u' ')) return std::nullopt;
      in.skip_blanks();
      if (!in.number(2, &first) || !read_time(in, first, time)) return std::nullopt;
    }
  }
  DATE date = 0;
  if (SystemTimeToVariantTime(&time, &date) == FALSE) return std::nullopt;
  return date;
}

double date_on_line(DATE date) {
  const double whole = std::trunc(date);
  return whole + std::fabs(date - whole);
}

}  // namespace tallowbrook::platform

using namespace tallowbrook::platform;

BOOL SystemTimeToVariantTime(const SYSTEMTIME* time, DATE* date) {
  if (time == nullptr || date == nullptr) return FALSE;
  if (time->wYear < 100 || time->wYear > 9999 || time->wMonth < 1 || time->wMonth > 12) {
    return FALSE;
  }
  if (time->wDay < 1 || time->wDay > days_in_month(time->wYear, time->wMonth)) return FALSE;
  if (time->wHour > 23 || time->wMinute > 59 || time->wSecond > 59) return FALSE;
  const int seconds = time->wHour * 3600 + time->wMinute * 60 + time->wSecond;
  *date = compose(days_of(time->wYear, time->wMonth, time->wDay),
                  seconds / static_cast<double>(kSecondsPerDay));
  return TRUE;
}

BOOL VariantTimeToSystemTime(DATE date, SYSTEMTIME* time) {
  if (time == nullptr || !(date > kFirstDate - 1.0 && date < kPastDates)) return FALSE;
  const double whole = std::trunc(date);
  auto days = static_cast<LONGLONG>(whole);
  auto seconds = static_cast<LONGLONG>(
      std::round(std::fabs(date - whole) * static_cast<double>(kSecondsPerDay)));
  if (seconds >= kSecondsPerDay) {
    seconds -= kSecondsPerDay;
    ++days;
  }
  const Civil civil = civil_of(days);
  if (civil.year < 100 || civil.year > 9999) return FALSE;
  LONGLONG weekday = (days + 6) % 7;  // 30 December 1899 was a Saturday
  if (weekday < 0) weekday += 7;
  *time = {static_cast<WORD>(civil.year),     static_cast<WORD>(civil.month),
           static_cast<WORD>(weekday),        static_cast<WORD>(civil.day),
           static_cast<WORD>(seconds / 3600), static_cast<WORD>(seconds / 60 % 60),
           static_cast<WORD>(seconds % 60),   0};
  return TRUE;
}
