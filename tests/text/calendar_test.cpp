// Date-times as day counts: encoding, decoding both ways, and the spans between two of them.
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <limits>
#include <optional>
#include <string>

#include "vornleads/clock.h"
#include "vornleads/error.h"
#include "vornleads/text/datetime.h"

namespace vornleads {
namespace {

std::string shown(const DateTimeParts& p) {
  char text[48];
  std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d.%03d", p.year, p.month, p.day,
                p.hour, p.minute, p.second, p.millisecond);
  return text;
}

template <class Fn>
std::string decoded(Fn decode, TDateTime value) {
  try {
    return shown(decode(value));
  } catch (const ConversionError&) {
    return "refused";
  }
}

TEST(CalendarTest, EncodeDateTimeCountsDaysFrom30December1899) {
  struct Row {
    DateTimeParts parts;
    std::optional<TDateTime> value;  // nullopt: refused
  };
  const std::optional<TDateTime> refused;
  const Row rows[] = {
      {{1899, 12, 30, 0, 0, 0, 0}, 0.0},       {{1899, 12, 29, 0, 0, 0, 0}, -1.0},
      {{1900, 1, 1, 0, 0, 0, 0}, 2.0},         {{2024, 3, 5, 0, 0, 0, 0}, 45356.0},
      {{2024, 2, 29, 0, 0, 0, 0}, 45351.0},    {{1, 1, 1, 0, 0, 0, 0}, -693593.0},
      {{9999, 12, 31, 0, 0, 0, 0}, 2958465.0}, {{99, 3, 5, 0, 0, 0, 0}, -657736.0},
      {{2024, 3, 5, 18, 0, 0, 0}, 45356.75},   {{1899, 12, 30, 12, 0, 0, 0}, 0.5},
      {{1899, 12, 30, 6, 0, 0, 0}, 0.25},      {{1899, 12, 29, 6, 0, 0, 0}, -1.25},
      {{2023, 2, 29, 0, 0, 0, 0}, refused},    {{2024, 2, 30, 0, 0, 0, 0}, refused},
      {{1900, 2, 29, 0, 0, 0, 0}, refused},    {{2024, 13, 1, 0, 0, 0, 0}, refused},
      {{2024, 4, 31, 0, 0, 0, 0}, refused},    {{2024, 11, 31, 0, 0, 0, 0}, refused},
      {{2024, 3, 0, 0, 0, 0, 0}, refused},     {{0, 1, 1, 0, 0, 0, 0}, refused},
      {{10000, 1, 1, 0, 0, 0, 0}, refused},    {{2024, 3, 5, 24, 0, 0, 0}, refused},
      {{2024, 3, 5, 0, 60, 0, 0}, refused},    {{2024, 3, 5, 0, 0, 60, 0}, refused},
      {{2024, 3, 5, 0, 0, 0, 1000}, refused},  {{2024, 3, 5, -1, 0, 0, 0}, refused},
      {{2024, 3, 5, 0, 0, 0, -1}, refused},
  };
  for (const Row& row : rows) {
    std::optional<TDateTime> value;
    try {
      value = EncodeDateTime(row.parts);
    } catch (const ConversionError&) {
    }
    EXPECT_EQ(value, row.value) << shown(row.parts);
  }
}

TEST(CalendarTest, DecodingRoundsOrCutsToTheMillisecond) {
  const TDateTime march5 = 45356.0;
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double inf = std::numeric_limits<double>::infinity();
  struct Row {
    TDateTime value;
    const char* rounded;
    const char* cut;
  };
  const Row rows[] = {
      {0, "1899-12-30 00:00:00.000", "1899-12-30 00:00:00.000"},
      {-1.25, "1899-12-29 06:00:00.000", "1899-12-29 06:00:00.000"},
      {-1.0, "1899-12-29 00:00:00.000", "1899-12-29 00:00:00.000"},
      {-0.5, "1899-12-30 12:00:00.000", "1899-12-30 12:00:00.000"},
      {-693593.75, "0001-01-01 18:00:00.000", "0001-01-01 18:00:00.000"},
      {45351, "2024-02-29 00:00:00.000", "2024-02-29 00:00:00.000"},
      {36525, "1999-12-31 00:00:00.000", "1999-12-31 00:00:00.000"},
      {36526, "2000-01-01 00:00:00.000", "2000-01-01 00:00:00.000"},
      {2958465.5, "9999-12-31 12:00:00.000", "9999-12-31 12:00:00.000"},
      {march5 + 50829999.6 / 86400000.0, "2024-03-05 14:07:10.000", "2024-03-05 14:07:09.999"},
      {march5 + 86399999.7 / 86400000.0, "2024-03-06 00:00:00.000", "2024-03-05 23:59:59.999"},
      {nan, "refused", "refused"},
      {inf, "refused", "refused"},
      {1e300, "refused", "refused"},
      {-1e7, "refused", "refused"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(decoded(DecodeDateTime, row.value), row.rounded) << row.value;
    EXPECT_EQ(decoded(DecodeDateTimeTruncated, row.value), row.cut) << row.value;
  }
}

TEST(CalendarTest, EveryEncodedMillisecondDecodesBackExactly) {
  for (int year : {1, 1899, 1950, 2024, 2099}) {
    const int day = year == 1 ? 2 : 5;
    for (int second = 0; second < 86400; ++second) {
      for (int ms : {0, 999}) {
        const DateTimeParts parts{year, 3, day, second / 3600, second / 60 % 60, second % 60, ms};
        const TDateTime value = EncodeDateTime(parts);
        ASSERT_EQ(shown(DecodeDateTime(value)), shown(parts)) << value;
        ASSERT_EQ(shown(DecodeDateTimeTruncated(value)), shown(parts)) << value;
      }
    }
  }
}

TEST(CalendarTest, WholeDaysAndMonthsOfThirtyAndAQuarterDaysBetween) {
  const TDateTime march5 = EncodeDate(2024, 3, 5), jan1 = EncodeDate(2024, 1, 1);
  const auto at = [](TDateTime day, int hour, int minute, int second, int ms) {
    return day + EncodeTime(hour, minute, second, ms);
  };
  struct Row {
    TDateTime now, then;
    int days, months;
  };
  const Row rows[] = {
      {march5, jan1, 64, 2},
      {jan1, march5, 64, 2},
      {march5, march5, 0, 0},
      {at(march5, 23, 59, 59, 999), march5, 0, 0},
      {at(march5, 10, 0, 0, 0), at(march5 - 1, 10, 0, 0, 0), 1, 0},
      {at(march5, 9, 59, 59, 999), at(march5 - 1, 10, 0, 0, 0), 0, 0},
      // 10:00 of 06/12/2023 stored with ten decimals, a hair above the exact value.
      {at(march5, 10, 0, 0, 0), 45266.4166666667, 90, 2},
      {45266.4166666667, at(march5, 10, 0, 0, 0), 90, 2},
      // Before day zero the fraction is still a time of day: real spans, not the differences.
      {0.25, -1.75, 0, 0},
      {1.0, -1.25, 1, 0},
      {-3.0, -1.5, 2, 0},
      {jan1 + 30, jan1, 30, 0},
      {jan1 + 31, jan1, 31, 1},
      {jan1 + 182, jan1, 182, 5},
      {jan1 + 182.62, jan1, 182, 5},
      {jan1 + 182.625, jan1, 182, 6},
      {jan1, jan1 + 182.625, 182, 6},
      {EncodeDate(2025, 1, 1), jan1, 366, 12},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(DaysBetween(row.now, row.then), row.days) << row.now << " " << row.then;
    EXPECT_EQ(MonthsBetween(row.now, row.then), row.months) << row.now << " " << row.then;
  }
}

TEST(CalendarTest, SystemClockReadsLocalTimeAndPauseSleeps) {
  const std::time_t seconds = std::time(nullptr);
  std::tm local{};
  localtime_r(&seconds, &local);
  const TDateTime expected = EncodeDateTime({local.tm_year + 1900, local.tm_mon + 1, local.tm_mday,
                                             local.tm_hour, local.tm_min, local.tm_sec, 0});
  EXPECT_LT(std::fabs(Now() - expected) * 86400, 2.0);

  const auto started = std::chrono::steady_clock::now();
  systemPause()->sleep(-1);
  systemPause()->sleep(40);
  EXPECT_GE(std::chrono::steady_clock::now() - started, std::chrono::milliseconds(40));
}

}  // namespace
}  // namespace vornleads
