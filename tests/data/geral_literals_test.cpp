#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

#include "vornleads/data/geral.h"
#include "vornleads/error.h"

namespace vornleads {
namespace {

TEST(TestaCampoPSQLTest, NullNumbersAndQuotedText) {
  EXPECT_EQ(TestaCampoPSQL(""), "null");
  EXPECT_EQ(TestaCampoPSQL("0012"), "0012");
  EXPECT_EQ(TestaCampoPSQL("-1.234,5"), "-1.234,5");
  EXPECT_EQ(TestaCampoPSQL(" 12 "), " 12 ");
  EXPECT_EQ(TestaCampoPSQL("12 A"), "'12 A'");
  EXPECT_EQ(TestaCampoPSQL("abc"), "'abc'");
  EXPECT_EQ(TestaCampoPSQL("-"), "'-'");
  EXPECT_EQ(TestaCampoPSQL("1e5"), "'1e5'");
  EXPECT_EQ(TestaCampoPSQL(" "), "' '");
}

TEST(TestaCampoPSQLTest, EmbeddedQuotesAreNotDoubled) {
  EXPECT_EQ(TestaCampoPSQL("D'Avila"), "'D'Avila'");
}

TEST(TestaCampoNumPSQLTest, ZeroAndUnreadableTextAreNull) {
  EXPECT_EQ(TestaCampoNumPSQL("abc"), "null");
  EXPECT_EQ(TestaCampoNumPSQL("0"), "null");
  EXPECT_EQ(TestaCampoNumPSQL("00"), "null");
  EXPECT_EQ(TestaCampoNumPSQL("-0"), "null");
  EXPECT_EQ(TestaCampoNumPSQL(""), "null");
  EXPECT_EQ(TestaCampoNumPSQL("12 "), "null");
  EXPECT_EQ(TestaCampoNumPSQL("1.5"), "null");
  EXPECT_EQ(TestaCampoNumPSQL("1,5"), "null");
  EXPECT_EQ(TestaCampoNumPSQL("-"), "null");
  EXPECT_EQ(TestaCampoNumPSQL("9223372036854775808"), "null");
  EXPECT_EQ(TestaCampoNumPSQL("0x0"), "null");
}

TEST(TestaCampoNumPSQLTest, OtherIntegersComeBackExactlyAsWritten) {
  EXPECT_EQ(TestaCampoNumPSQL("12"), "12");
  EXPECT_EQ(TestaCampoNumPSQL(" 12"), " 12");
  EXPECT_EQ(TestaCampoNumPSQL("-7"), "-7");
  EXPECT_EQ(TestaCampoNumPSQL("+5"), "+5");
  EXPECT_EQ(TestaCampoNumPSQL("007"), "007");
  EXPECT_EQ(TestaCampoNumPSQL("$1A"), "$1A");
  EXPECT_EQ(TestaCampoNumPSQL("9223372036854775807"), "9223372036854775807");
  EXPECT_EQ(TestaCampoNumPSQL("-9223372036854775808"), "-9223372036854775808");
}

TEST(TestaCampoNumZNPSQLTest, ZeroIsNull) {
  EXPECT_EQ(TestaCampoNumZNPSQL(0), "null");
  EXPECT_EQ(TestaCampoNumZNPSQL(5), "5");
  EXPECT_EQ(TestaCampoNumZNPSQL(-12), "-12");
  EXPECT_EQ(TestaCampoNumZNPSQL(std::numeric_limits<int32_t>::min()), "-2147483648");
}

TEST(AddSQLTest, EmptyValueIsNullForEveryKind) {
  EXPECT_EQ(AddSQL("", "A", "ORACLE"), "NULL,");
  EXPECT_EQ(AddSQL("", "N", ""), "NULL,");
  EXPECT_EQ(AddSQL("", "H", "SQLSERVER"), "NULL,");
  EXPECT_EQ(AddSQL("", "X", ""), "NULL,");
  EXPECT_EQ(AddSQL("", "", ""), "NULL,");
}

TEST(AddSQLTest, TextNumbersAndDecimals) {
  EXPECT_EQ(AddSQL("abc", "A", ""), "'abc',");
  EXPECT_EQ(AddSQL("Alfa", "Alfanumérico", ""), "'Alfa',");
  EXPECT_EQ(AddSQL("D'Avila", "A", ""), "'D'Avila',");  // quotes are not doubled
  EXPECT_EQ(AddSQL("42", "N", ""), "42,");
  EXPECT_EQ(AddSQL("-3", "Numero", ""), "-3,");
  EXPECT_EQ(AddSQL("1.234,56", "F", ""), "1234.56,");
  EXPECT_EQ(AddSQL("1.234.567", "F", ""), "1234567,");
  EXPECT_EQ(AddSQL("1,2,3", "F", ""), "1.2,3,");
  EXPECT_EQ(AddSQL("0,5", "F", ""), "0.5,");
}

TEST(AddSQLTest, DateTimesInTheDialect) {
  EXPECT_EQ(AddSQL("05/03/2024 14:07:09", "H", "SQLSERVER"),
            "CAST('05-03-2024 14:07:09' AS DATETIME),");
  EXPECT_EQ(AddSQL("05/03/2024", "H", "ORACLE"), "TO_DATE('05/03/2024','dd/mm/yyyy'),");
  EXPECT_EQ(AddSQL("05/03/2024 00:00:01", "H", ""), "CAST('2024-03-05 00:00:01' AS TIMESTAMP),");
  try {
    AddSQL("31/02/2024", "H", "ORACLE");
    ADD_FAILURE() << "an impossible date was accepted";
  } catch (const ConversionError& error) {
    EXPECT_STREQ(error.what(), "\"31/02/2024\" is not a valid date and time");
  }
}

TEST(AddSQLTest, UnknownKindsAddNothing) {
  EXPECT_EQ(AddSQL("x", "a", ""), "");
  EXPECT_EQ(AddSQL("x", "n", ""), "");
  EXPECT_EQ(AddSQL("x", "Z", ""), "");
  EXPECT_EQ(AddSQL("x", "", ""), "");
  EXPECT_EQ(AddSQL("31/02/2024", "h", ""), "");
}

}  // namespace
}  // namespace vornleads
