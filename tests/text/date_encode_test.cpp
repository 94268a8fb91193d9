#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "vornleads/error.h"
#include "vornleads/text/datetime.h"

namespace vornleads {
namespace {

void expectParts(const DateTimeParts& p, int year, int month, int day, int hour, int minute,
                 int second, int millisecond) {
  EXPECT_EQ(p.year, year);
  EXPECT_EQ(p.month, month);
  EXPECT_EQ(p.day, day);
  EXPECT_EQ(p.hour, hour);
  EXPECT_EQ(p.minute, minute);
  EXPECT_EQ(p.second, second);
  EXPECT_EQ(p.millisecond, millisecond);
}

TEST(EncodeDateTest, CountsDaysFromTheLastDaysOf1899) {
  EXPECT_EQ(EncodeDate(1899, 12, 30), 0.0);
  EXPECT_EQ(EncodeDate(1899, 12, 29), -1.0);
  EXPECT_EQ(EncodeDate(1900, 1, 1), 2.0);
  EXPECT_EQ(EncodeDate(2024, 3, 5), 45356.0);
  EXPECT_EQ(EncodeDate(2024, 2, 29), 45351.0);
  EXPECT_EQ(EncodeDate(1, 1, 1), -693593.0);
  EXPECT_EQ(EncodeDate(9999, 12, 31), 2958465.0);
  EXPECT_EQ(EncodeDate(99, 3, 5), -657736.0);
}

TEST(EncodeDateTest, RejectsImpossibleDatesAndTimes) {
  EXPECT_THROW(EncodeDate(2023, 2, 29), ConversionError);
  EXPECT_THROW(EncodeDate(2024, 2, 30), ConversionError);
  EXPECT_THROW(EncodeDate(1900, 2, 29), ConversionError);
  EXPECT_THROW(EncodeDate(2024, 13, 1), ConversionError);
  EXPECT_THROW(EncodeDate(2024, 4, 31), ConversionError);
  EXPECT_THROW(EncodeDate(0, 1, 1), ConversionError);
  EXPECT_THROW(EncodeDate(10000, 1, 1), ConversionError);
  EXPECT_THROW(EncodeTime(24, 0, 0, 0), ConversionError);
  EXPECT_THROW(EncodeTime(0, 60, 0, 0), ConversionError);
  EXPECT_THROW(EncodeTime(0, 0, 0, 1000), ConversionError);
  EXPECT_THROW(EncodeTime(-1, 0, 0, 0), ConversionError);
  EXPECT_THROW(EncodeDateTime({2024, 2, 30, 10, 0, 0, 0}), ConversionError);
}

TEST(EncodeDateTest, TimesAreFractionsOfADay) {
  EXPECT_EQ(EncodeTime(12, 0, 0, 0), 0.5);
  EXPECT_EQ(EncodeTime(6, 0, 0, 0), 0.25);
  EXPECT_EQ(EncodeDateTime({2024, 3, 5, 18, 0, 0, 0}), 45356.75);
}

TEST(DecodeDateTimeTest, NegativeValuesKeepTheFractionAsTimeOfDay) {
  EXPECT_EQ(EncodeDateTime({1899, 12, 29, 6, 0, 0, 0}), -1.25);
  expectParts(DecodeDateTime(-1.25), 1899, 12, 29, 6, 0, 0, 0);
  expectParts(DecodeDateTime(-1.0), 1899, 12, 29, 0, 0, 0, 0);
  expectParts(DecodeDateTime(-0.5), 1899, 12, 30, 12, 0, 0, 0);
  expectParts(DecodeDateTime(-693593.75), 1, 1, 1, 18, 0, 0, 0);
}

TEST(DecodeDateTimeTest, DecodesWholeDaysAndCalendarEdges) {
  expectParts(DecodeDateTime(0), 1899, 12, 30, 0, 0, 0, 0);
  expectParts(DecodeDateTime(45351), 2024, 2, 29, 0, 0, 0, 0);
  expectParts(DecodeDateTime(36525), 1999, 12, 31, 0, 0, 0, 0);
  expectParts(DecodeDateTime(36526), 2000, 1, 1, 0, 0, 0, 0);
  expectParts(DecodeDateTime(2958465.5), 9999, 12, 31, 12, 0, 0, 0);
}

TEST(DecodeDateTimeTest, EveryEncodedSecondDecodesBackExactly) {
  for (int year : {1899, 1950, 2024, 2099, 1}) {
    const int day = year == 1 ? 2 : 5;
    for (int second = 0; second < 86400; second += 1) {
      const int h = second / 3600, n = second / 60 % 60, s = second % 60;
      for (int ms : {0, 999}) {
        const DateTimeParts parts{year, 3, day, h, n, s, ms};
        const TDateTime value = EncodeDateTime(parts);
        const DateTimeParts rounded = DecodeDateTime(value);
        const DateTimeParts cut = DecodeDateTimeTruncated(value);
        ASSERT_EQ(rounded.second * 1000 + rounded.millisecond, s * 1000 + ms) << value;
        ASSERT_EQ(rounded.hour * 60 + rounded.minute, h * 60 + n) << value;
        ASSERT_EQ(rounded.day, day) << value;
        ASSERT_EQ(cut.second * 1000 + cut.millisecond, s * 1000 + ms) << value;
        ASSERT_EQ(cut.hour * 60 + cut.minute, h * 60 + n) << value;
        ASSERT_EQ(cut.day, day) << value;
      }
    }
  }
}

TEST(DecodeDateTimeTest, TruncatedDecodingNeverReachesTheNextSecond) {
  const TDateTime date = EncodeDate(2024, 3, 5);
  const TDateTime almost = date + (50829999.6 / 86400000.0);  // 14:07:09.9996
  expectParts(DecodeDateTime(almost), 2024, 3, 5, 14, 7, 10, 0);
  expectParts(DecodeDateTimeTruncated(almost), 2024, 3, 5, 14, 7, 9, 999);
  const TDateTime beforeMidnight = date + (86399999.7 / 86400000.0);
  expectParts(DecodeDateTime(beforeMidnight), 2024, 3, 6, 0, 0, 0, 0);
  expectParts(DecodeDateTimeTruncated(beforeMidnight), 2024, 3, 5, 23, 59, 59, 999);
  expectParts(DecodeDateTimeTruncated(-1.25), 1899, 12, 29, 6, 0, 0, 0);
}

TEST(DecodeDateTimeTest, ValuesOutsideTheCalendarAreErrors) {
  EXPECT_THROW(DecodeDateTime(std::numeric_limits<double>::quiet_NaN()), ConversionError);
  EXPECT_THROW(DecodeDateTime(std::numeric_limits<double>::infinity()), ConversionError);
  EXPECT_THROW(DecodeDateTime(1e300), ConversionError);
  EXPECT_THROW(DecodeDateTimeTruncated(-1e7), ConversionError);
}

}  // namespace
}  // namespace vornleads
