#include <gtest/gtest.h>

#include "vornleads/text/datetime.h"

namespace vornleads {
namespace {

TEST(DaysBetweenTest, WholeDaysInEitherOrder) {
  const TDateTime march5 = EncodeDate(2024, 3, 5);
  EXPECT_EQ(DaysBetween(march5, EncodeDate(2024, 1, 1)), 64);
  EXPECT_EQ(DaysBetween(EncodeDate(2024, 1, 1), march5), 64);
  EXPECT_EQ(DaysBetween(march5, march5), 0);
  EXPECT_EQ(DaysBetween(march5 + EncodeTime(23, 59, 59, 999), march5), 0);
  EXPECT_EQ(DaysBetween(march5 + EncodeTime(10, 0, 0, 0), march5 - 1 + EncodeTime(10, 0, 0, 0)), 1);
  EXPECT_EQ(DaysBetween(march5 + EncodeTime(9, 59, 59, 999), march5 - 1 + EncodeTime(10, 0, 0, 0)),
            0);
}

TEST(DaysBetweenTest, FloatErrorDoesNotCostADay) {
  // 10:00 of 06/12/2023 as stored with ten decimals: a hair above the exact value, so the
  // plain difference to 10:00 ninety days later falls short of 90.
  const TDateTime then = 45266.4166666667;
  const TDateTime now = EncodeDate(2024, 3, 5) + EncodeTime(10, 0, 0, 0);
  ASSERT_LT(now - then, 90.0);
  EXPECT_EQ(DaysBetween(now, then), 90);
  EXPECT_EQ(DaysBetween(then, now), 90);
}

TEST(DaysBetweenTest, NegativeValuesCountRealTime) {
  // -1.75 is 29/12/1899 18:00 and 0.25 is 30/12/1899 06:00: twelve hours apart.
  EXPECT_EQ(DaysBetween(0.25, -1.75), 0);
  EXPECT_EQ(DaysBetween(1.0, -1.25), 1);
  EXPECT_EQ(DaysBetween(-3.0, -1.5), 2);  // 27/12 00:00 to 29/12 12:00
}

TEST(MonthsBetweenTest, MonthsOfThirtyAndAQuarterDays) {
  const TDateTime start = EncodeDate(2024, 1, 1);
  EXPECT_EQ(MonthsBetween(start + 30, start), 0);
  EXPECT_EQ(MonthsBetween(start + 31, start), 1);
  EXPECT_EQ(MonthsBetween(start + 182, start), 5);
  EXPECT_EQ(MonthsBetween(start + 182.625, start), 6);
  EXPECT_EQ(MonthsBetween(start, start + 182.625), 6);
  EXPECT_EQ(MonthsBetween(start + 182.62, start), 5);
  EXPECT_EQ(MonthsBetween(EncodeDate(2024, 7, 1), start), 5);  // 182 days
  EXPECT_EQ(MonthsBetween(EncodeDate(2025, 1, 1), start), 12);
}

}  // namespace
}  // namespace vornleads
