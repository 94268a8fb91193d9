#include <cmath>

#include "text/day_count.h"
#include "vornleads/error.h"
#include "vornleads/text/datetime.h"

namespace vornleads {
namespace {

// 1899-12-30 counted from 1970-01-01, the origin of the civil-date arithmetic below.
constexpr int64_t kDayZeroFromUnixEpoch = -25569;

// Bounds of the years 1 and 9999 as day counts.
constexpr double kFirstDay = -693593.0;
constexpr double kLastDayEnd = 2958466.0;

bool isLeapYear(int year) { return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0); }

int daysInMonth(int year, int month) {
  static constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return month == 2 && isLeapYear(year) ? 29 : kDays[month - 1];
}

// Days from 1970-01-01 to a proleptic Gregorian date (the well-known era-based method).
int64_t daysFromCivil(int year, int month, int day) {
  const int64_t y = year - (month <= 2 ? 1 : 0);
  const int64_t era = (y >= 0 ? y : y - 399) / 400;
  const int64_t yearOfEra = y - era * 400;
  const int64_t dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
  const int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
  return era * 146097 + dayOfEra - 719468;
}

void civilFromDays(int64_t days, DateTimeParts& parts) {
  days += 719468;
  const int64_t era = (days >= 0 ? days : days - 146096) / 146097;
  const int64_t dayOfEra = days - era * 146097;
  const int64_t yearOfEra =
      (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
  const int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
  const int64_t mp = (5 * dayOfYear + 2) / 153;
  parts.day = static_cast<int>(dayOfYear - (153 * mp + 2) / 5 + 1);
  parts.month = static_cast<int>(mp < 10 ? mp + 3 : mp - 9);
  parts.year = static_cast<int>(yearOfEra + era * 400 + (parts.month <= 2 ? 1 : 0));
}

}  // namespace

TDateTime EncodeDate(int year, int month, int day) {
  if (year < 1 || year > 9999 || month < 1 || month > 12 || day < 1 ||
      day > daysInMonth(year, month)) {
    throw ConversionError("Invalid argument to date encode");
  }
  return static_cast<TDateTime>(daysFromCivil(year, month, day) - kDayZeroFromUnixEpoch);
}

TDateTime EncodeTime(int hour, int minute, int second, int millisecond) {
  if (hour < 0 || hour > 23 || minute < 0 || minute > 59 || second < 0 || second > 59 ||
      millisecond < 0 || millisecond > 999) {
    throw ConversionError("Invalid argument to time encode");
  }
  const int64_t ms = ((hour * 60 + minute) * 60 + second) * 1000 + millisecond;
  return static_cast<TDateTime>(ms) / daycount::kMsPerDay;
}

TDateTime EncodeDateTime(const DateTimeParts& parts) {
  const TDateTime date = EncodeDate(parts.year, parts.month, parts.day);
  const TDateTime time = EncodeTime(parts.hour, parts.minute, parts.second, parts.millisecond);
  // Before day zero the fraction still counts forward within the day.
  return date >= 0 ? date + time : date - time;
}

DateTimeParts DecodeDateTime(TDateTime value) {
  return daycount::partsFromMilliseconds(
      daycount::toMilliseconds(value, daycount::Rounding::Nearest));
}

DateTimeParts DecodeDateTimeTruncated(TDateTime value) {
  return daycount::partsFromMilliseconds(daycount::toMilliseconds(value, daycount::Rounding::Down));
}

namespace daycount {

int64_t toMilliseconds(TDateTime value, Rounding rounding) {
  if (!(value > kFirstDay - 1 && value < kLastDayEnd)) {
    throw ConversionError("Invalid argument to date decode");
  }
  const double scaled = value * kMsPerDay;
  if (rounding == Rounding::Nearest) return std::llround(scaled);
  // An exactly encoded time may sit a few units in the last place below its millisecond;
  // the allowance lifts it back without touching any real fraction of a millisecond.
  const double allowance = (std::fabs(value) + 1.0) * kMsPerDay * 4e-16;
  return static_cast<int64_t>(value >= 0 ? std::floor(scaled + allowance)
                                         : std::ceil(scaled - allowance));
}

DateTimeParts partsFromMilliseconds(int64_t milliseconds) {
  DateTimeParts parts;
  civilFromDays(milliseconds / kMsPerDay + kDayZeroFromUnixEpoch, parts);
  int64_t time = (milliseconds < 0 ? -milliseconds : milliseconds) % kMsPerDay;
  parts.millisecond = static_cast<int>(time % 1000);
  time /= 1000;
  parts.second = static_cast<int>(time % 60);
  time /= 60;
  parts.minute = static_cast<int>(time % 60);
  parts.hour = static_cast<int>(time / 60);
  return parts;
}

int64_t linearMilliseconds(TDateTime value) {
  const int64_t ms = toMilliseconds(value, Rounding::Nearest);
  const int64_t day = ms / kMsPerDay;
  const int64_t time = (ms < 0 ? -ms : ms) % kMsPerDay;
  return day * kMsPerDay + time;
}

}  // namespace daycount
}  // namespace vornleads
