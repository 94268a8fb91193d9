// SqlValue conversions as the host's dataset fields make them, and row-set lookups.
#include "vornleads/data/sql_value.h"

#include <gtest/gtest.h>

#include "vornleads/error.h"
#include "vornleads/text/datetime.h"

namespace vornleads {
namespace {

TEST(SqlValue, NullReadsAsZeroAndEmpty) {
  const SqlValue null;
  EXPECT_TRUE(null.isNull());
  EXPECT_EQ(0, null.asInteger());
  EXPECT_EQ(0.0, null.asFloat());
  EXPECT_EQ("", null.asString());
  EXPECT_EQ(0.0, null.asDateTime());
}

TEST(SqlValue, TextForms) {
  EXPECT_EQ("-42", SqlValue::integer(-42).asString());
  EXPECT_EQ("1,5", SqlValue::real(1.5).asString());
  EXPECT_EQ("05/03/2024", SqlValue::date(EncodeDate(2024, 3, 5)).asString());
  EXPECT_EQ("05/03/2024 14:07:09",
            SqlValue::dateTime(EncodeDateTime({2024, 3, 5, 14, 7, 9, 0})).asString());
  EXPECT_EQ("05/03/2024", SqlValue::dateTime(EncodeDate(2024, 3, 5)).asString());
}

TEST(SqlValue, IntegersFromFloatsRoundHalfToEvenAndFromTextMustBeIntegers) {
  EXPECT_EQ(2, SqlValue::real(2.5).asInteger());
  EXPECT_EQ(4, SqlValue::real(3.5).asInteger());
  EXPECT_EQ(-3, SqlValue::real(-2.6).asInteger());
  EXPECT_EQ(12, SqlValue::text(" 12 ").asInteger());
  EXPECT_EQ(-7, SqlValue::text("-7").asInteger());
  try {
    SqlValue::text("12a").asInteger();
    FAIL() << "12a read as an integer";
  } catch (const ConversionError& error) {
    EXPECT_STREQ("\"12a\" is not a valid integer value", error.what());
  }
  EXPECT_THROW(SqlValue::text("").asInteger(), ConversionError);
  EXPECT_THROW(SqlValue::real(1e300).asInteger(), ConversionError);
}

TEST(SqlValue, FloatsFromTextTakeTheDecimalComma) {
  EXPECT_EQ(1234.56, SqlValue::text("1.234,56").asFloat());
  EXPECT_EQ(89990.5, SqlValue::text("89990.5").asFloat());
  EXPECT_EQ(3.0, SqlValue::integer(3).asFloat());
  try {
    SqlValue::text("abc").asFloat();
    FAIL() << "abc read as a float";
  } catch (const ConversionError& error) {
    EXPECT_STREQ("\"abc\" is not a valid floating point value", error.what());
  }
}

TEST(SqlValue, DateTimesFromText) {
  EXPECT_EQ(EncodeDateTime({2024, 3, 5, 14, 7, 9, 0}),
            SqlValue::text("05/03/2024 14:07:09").asDateTime());
  EXPECT_THROW(SqlValue::text("31/02/2024").asDateTime(), ConversionError);
  EXPECT_EQ(EncodeDate(2024, 3, 5), SqlValue::date(EncodeDate(2024, 3, 5) + 0.75).asDateTime());
}

TEST(SqlValue, EqualityNeedsTheSameKind) {
  EXPECT_EQ(SqlValue(), SqlValue());
  EXPECT_EQ(SqlValue::text("a"), SqlValue::text("a"));
  EXPECT_NE(SqlValue::integer(1), SqlValue::real(1.0));
  EXPECT_NE(SqlValue::date(45000), SqlValue::dateTime(45000));
  EXPECT_NE(SqlValue::text(""), SqlValue());
}

TEST(SqlRowSet, ColumnsAreFoundWhateverTheCase) {
  SqlRowSet rows;
  rows.columns = {"EMPRESA", "NOME_FANTASIA"};
  rows.rows = {{SqlValue::integer(1), SqlValue::text("Vorn")}};
  EXPECT_EQ(1u, rows.columnIndex("nome_fantasia"));
  EXPECT_EQ(SqlValue::text("Vorn"), rows.value(0, "Nome_Fantasia"));
  try {
    rows.columnIndex("REVENDA");
    FAIL() << "unknown column found";
  } catch (const VornError& error) {
    EXPECT_STREQ("Field 'REVENDA' not found", error.what());
  }
  EXPECT_THROW(rows.value(1, "EMPRESA"), VornError);
}

}  // namespace
}  // namespace vornleads
