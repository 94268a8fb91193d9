#include <gtest/gtest.h>

#include <limits>

#include "vornleads/text/datetime.h"

namespace vornleads {
namespace {

TEST(FloatToStrTest, FixedNotationWithDecimalComma) {
  EXPECT_EQ(FloatToStr(12345), "12345");
  EXPECT_EQ(FloatToStr(1.5), "1,5");
  EXPECT_EQ(FloatToStr(-0.25), "-0,25");
  EXPECT_EQ(FloatToStr(0), "0");
  EXPECT_EQ(FloatToStr(-0.0), "0");
  EXPECT_EQ(FloatToStr(100), "100");
  EXPECT_EQ(FloatToStr(1234.5678), "1234,5678");
  EXPECT_EQ(FloatToStr(0.1 + 0.2), "0,3");
  EXPECT_EQ(FloatToStr(45356.5), "45356,5");
}

TEST(FloatToStrTest, FifteenSignificantDigits) {
  EXPECT_EQ(FloatToStr(1.0 / 3), "0,333333333333333");
  EXPECT_EQ(FloatToStr(2.0 / 3), "0,666666666666667");
  EXPECT_EQ(FloatToStr(123456789012345), "123456789012345");
  EXPECT_EQ(FloatToStr(1234567890.123456789), "1234567890,12346");
  EXPECT_EQ(FloatToStr(0.00001), "0,00001");
  EXPECT_EQ(FloatToStr(0.000123), "0,000123");
}

TEST(FloatToStrTest, ScientificBeyondFifteenIntegerDigitsOrBelowOneHundredThousandth) {
  EXPECT_EQ(FloatToStr(1e15), "1E15");
  EXPECT_EQ(FloatToStr(-1.5e20), "-1,5E20");
  EXPECT_EQ(FloatToStr(0.000001), "1E-6");
  EXPECT_EQ(FloatToStr(2.5e-7), "2,5E-7");
  EXPECT_EQ(FloatToStr(std::numeric_limits<double>::infinity()), "INF");
  EXPECT_EQ(FloatToStr(-std::numeric_limits<double>::infinity()), "-INF");
  EXPECT_EQ(FloatToStr(std::numeric_limits<double>::quiet_NaN()), "NAN");
}

}  // namespace
}  // namespace vornleads
