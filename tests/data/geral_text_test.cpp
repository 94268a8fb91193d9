#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "vornleads/data/geral.h"

namespace vornleads {
namespace {

TEST(StrZeroTest, PadsWithZerosBeforeAnySign) {
  EXPECT_EQ(StrZero(7, 3, 0), "007");
  EXPECT_EQ(StrZero(-5, 3, 0), "0-5");
  EXPECT_EQ(StrZero(12345, 3, 0), "12345");
  EXPECT_EQ(StrZero(3.14159, 7, 2), "0003.14");
  EXPECT_EQ(StrZero(1.006, 0, 2), "1.01");
  EXPECT_EQ(StrZero(0, 1, 0), "0");
  EXPECT_EQ(StrZero(42, -3, 0), "42");
  EXPECT_EQ(StrZero(42, 4, -1), "0042");
}

TEST(RetiraZerosTest, KeepsTheLastCharacter) {
  EXPECT_EQ(RetiraZeros("0012"), "12");
  EXPECT_EQ(RetiraZeros("000"), "0");
  EXPECT_EQ(RetiraZeros("100"), "100");
  EXPECT_EQ(RetiraZeros("0"), "0");
  EXPECT_EQ(RetiraZeros("00a"), "a");
  EXPECT_EQ(RetiraZeros(" 012"), " 012");
  EXPECT_EQ(RetiraZeros(""), "");
}

TEST(NumStrTest, CountsOccurrences) {
  EXPECT_EQ(NumStr("1.1,1.2", '.'), 2);
  EXPECT_EQ(NumStr("", '.'), 0);
  EXPECT_EQ(NumStr("abc", '.'), 0);
}

TEST(CopiaStrTest, TrimmedFieldOrTheLastOne) {
  EXPECT_EQ(CopiaStr("a; b ;c", 1, ';'), "a");
  EXPECT_EQ(CopiaStr("a; b ;c", 2, ';'), "b");
  EXPECT_EQ(CopiaStr("a; b ;c", 3, ';'), "c");
  EXPECT_EQ(CopiaStr("a; b ;c", 7, ';'), "c");
  EXPECT_EQ(CopiaStr("a; b ;c", 0, ';'), "c");
  EXPECT_EQ(CopiaStr("a; b ;c", -2, ';'), "c");
  EXPECT_EQ(CopiaStr(" a;b; ", 3, ';'), "b");  // trimmed, it already ends with ";"
  EXPECT_EQ(CopiaStr("a;;c", 2, ';'), "");
  EXPECT_EQ(CopiaStr("  x  ", 1, ','), "x");
  EXPECT_EQ(CopiaStr("", 1, ';'), "");
}

TEST(SmallTextHelpersTest, AdItemAndRemoveQuebras) {
  EXPECT_EQ(AdItem("abc", ','), "abc,");
  EXPECT_EQ(AdItem("", 'x'), "x");
  EXPECT_EQ(RemoveQuebras("a\r\nb\nc\r\rd"), "abcd");
  EXPECT_EQ(RemoveQuebras(""), "");
}

TEST(StringListPStringTest, KeepsTheTrailingSeparator) {
  EXPECT_EQ(StringListPString({"a", "b", "c"}, ','), "a,b,c,");
  EXPECT_EQ(StringListPString({}, ','), "");
  EXPECT_EQ(StringListPString({"a", "b"}, ' '), "a b");
  EXPECT_EQ(StringListPString({" a "}, ','), "a ,");
}

TEST(IsNumberTest, DigitsWithPointsCommasAndMinus) {
  EXPECT_TRUE(IsNumber("-1.234,5"));
  EXPECT_TRUE(IsNumber("0012"));
  EXPECT_TRUE(IsNumber(" 42 "));
  EXPECT_TRUE(IsNumber("1-2"));
  EXPECT_FALSE(IsNumber("12a"));
  EXPECT_FALSE(IsNumber(""));
  EXPECT_FALSE(IsNumber("   "));
  EXPECT_FALSE(IsNumber("-"));
  EXPECT_FALSE(IsNumber(".,-"));
  EXPECT_FALSE(IsNumber("1 2"));
  EXPECT_FALSE(IsNumber("+1"));
}

TEST(RetiraStringsTest, RemovesUntilNoneIsLeft) {
  EXPECT_EQ(RetiraStrings("ab", "xabyab"), "xy");
  EXPECT_EQ(RetiraStrings("ab", "aabb"), "");
  EXPECT_EQ(RetiraStrings("ab", "aababb"), "");
  EXPECT_EQ(RetiraStrings("aa", "aaa"), "a");
  EXPECT_EQ(RetiraStrings("", "abc"), "abc");
  EXPECT_EQ(RetiraStrings("x", ""), "");
  EXPECT_EQ(RetiraStrings("'", "D'Av'ila"), "DAvila");
}

TEST(TruncaValorTest, CutsWithoutRounding) {
  EXPECT_DOUBLE_EQ(TruncaValor(1.239, 2), 1.23);
  EXPECT_DOUBLE_EQ(TruncaValor(-1.239, 2), -1.23);
  EXPECT_DOUBLE_EQ(TruncaValor(2.9996, 3), 2.999);
  EXPECT_DOUBLE_EQ(TruncaValor(5.7, 0), 5.0);
  EXPECT_DOUBLE_EQ(TruncaValor(1.005, 2), 1.0);
  EXPECT_DOUBLE_EQ(TruncaValor(10, 2), 10.0);
}

TEST(TruncaValorTest, TheExtraDigitKeepsBinaryNoiseFromCostingADigit) {
  // 0.29 and 4.35 are held a hair below their decimal value.
  EXPECT_DOUBLE_EQ(TruncaValor(0.29, 2), 0.29);
  EXPECT_DOUBLE_EQ(TruncaValor(4.35, 2), 4.35);
  // Rounding at the extra digit may carry into the kept ones.
  EXPECT_DOUBLE_EQ(TruncaValor(2.99996, 3), 3.0);
  EXPECT_DOUBLE_EQ(TruncaValor(5.96, 0), 6.0);
}

}  // namespace
}  // namespace vornleads
