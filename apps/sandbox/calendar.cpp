#include "calendar.h"

#include <chrono>
#include <cmath>
#include <cstdio>
#include <ctime>

namespace vornleads::sandbox {
namespace {

// Days from 1970-01-01 to the given civil date (proleptic Gregorian calendar).
long daysFromCivil(long year, unsigned month, unsigned day) {
  year -= month <= 2;
  const long era = (year >= 0 ? year : year - 399) / 400;
  const unsigned yearOfEra = static_cast<unsigned>(year - era * 400);
  const unsigned dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
  const unsigned dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
  return era * 146097 + static_cast<long>(dayOfEra) - 719468;
}

struct Civil {
  long year;
  unsigned month;
  unsigned day;
};

Civil civilFromDays(long days) {
  days += 719468;
  const long era = (days >= 0 ? days : days - 146096) / 146097;
  const unsigned dayOfEra = static_cast<unsigned>(days - era * 146097);
  const unsigned yearOfEra =
      (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
  const unsigned dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
  const unsigned shifted = (5 * dayOfYear + 2) / 153;
  const unsigned day = dayOfYear - (153 * shifted + 2) / 5 + 1;
  const unsigned month = shifted < 10 ? shifted + 3 : shifted - 9;
  return {static_cast<long>(yearOfEra) + era * 400 + (month <= 2), month, day};
}

const long kEpochOffset = daysFromCivil(1899, 12, 30);

bool validDate(int year, int month, int day) {
  if (year < 1 || month < 1 || month > 12 || day < 1) return false;
  const long first = daysFromCivil(year, static_cast<unsigned>(month), 1);
  const long next = month == 12 ? daysFromCivil(year + 1, 1, 1)
                                : daysFromCivil(year, static_cast<unsigned>(month + 1), 1);
  return day <= next - first;
}

double dayCount(int year, int month, int day, int hour, int minute, double second) {
  return static_cast<double>(
             daysFromCivil(year, static_cast<unsigned>(month), static_cast<unsigned>(day)) -
             kEpochOffset) +
         (hour * 3600.0 + minute * 60.0 + second) / 86400.0;
}

}  // namespace

double localNow() {
  const auto now = std::chrono::system_clock::now();
  const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
  std::tm local{};
  localtime_r(&seconds, &local);
  const auto millis =
      std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000;
  return dayCount(local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour,
                  local.tm_min, local.tm_sec + static_cast<double>(millis) / 1000.0);
}

std::optional<double> parseDateTime(const std::string& text) {
  int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
  int used = 0;
  const char* input = text.c_str();
  const bool brazilian = std::sscanf(input, "%2d/%2d/%4d%n", &day, &month, &year, &used) == 3;
  if (!brazilian && std::sscanf(input, "%4d-%2d-%2d%n", &year, &month, &day, &used) != 3) {
    return std::nullopt;
  }
  const char* rest = input + used;
  if (*rest == ' ' || *rest == 'T') {
    int timeUsed = 0;
    if (std::sscanf(rest + 1, "%2d:%2d:%2d%n", &hour, &minute, &second, &timeUsed) != 3) {
      second = 0;
      if (std::sscanf(rest + 1, "%2d:%2d%n", &hour, &minute, &timeUsed) != 2) {
        return std::nullopt;
      }
    }
    rest += 1 + timeUsed;
  }
  if (*rest != '\0' || !validDate(year, month, day) || hour > 23 || minute > 59 || second > 59 ||
      hour < 0 || minute < 0 || second < 0) {
    return std::nullopt;
  }
  return dayCount(year, month, day, hour, minute, second);
}

std::string formatDateTime(double days) {
  const double whole = std::floor(days);
  long seconds = std::lround((days - whole) * 86400.0);
  long dayNumber = static_cast<long>(whole);
  if (seconds >= 86400) {
    seconds -= 86400;
    ++dayNumber;
  }
  const Civil date = civilFromDays(dayNumber + kEpochOffset);
  char buffer[80];
  std::snprintf(buffer, sizeof buffer, "%02u/%02u/%04ld %02ld:%02ld:%02ld", date.day, date.month,
                date.year, seconds / 3600, seconds / 60 % 60, seconds % 60);
  return buffer;
}

}  // namespace vornleads::sandbox
