#include <gtest/gtest.h>

#include <string>

#include "vornleads/error.h"
#include "vornleads/text/datetime.h"

namespace vornleads {
namespace {

void expectRejected(const std::string& text) {
  try {
    StrToDateTime(text);
    ADD_FAILURE() << "accepted \"" << text << "\"";
  } catch (const ConversionError& error) {
    EXPECT_EQ(std::string(error.what()), "\"" + text + "\" is not a valid date and time");
  }
}

TEST(StrToDateTimeTest, DatesInDayMonthYearOrder) {
  EXPECT_EQ(StrToDateTime("05/03/2024"), EncodeDate(2024, 3, 5));
  EXPECT_EQ(StrToDateTime("5/3/2024"), EncodeDate(2024, 3, 5));
  EXPECT_EQ(StrToDateTime("29/02/2024"), EncodeDate(2024, 2, 29));
  EXPECT_EQ(StrToDateTime("  31/12/1999 "), EncodeDate(1999, 12, 31));
  EXPECT_EQ(StrToDateTime("05/03/0099"), EncodeDate(99, 3, 5));
}

TEST(StrToDateTimeTest, TwoDigitYearsPivotAtFifty) {
  EXPECT_EQ(StrToDateTime("05/03/24"), EncodeDate(2024, 3, 5));
  EXPECT_EQ(StrToDateTime("05/03/49"), EncodeDate(2049, 3, 5));
  EXPECT_EQ(StrToDateTime("05/03/50"), EncodeDate(1950, 3, 5));
  EXPECT_EQ(StrToDateTime("05/03/99"), EncodeDate(1999, 3, 5));
  EXPECT_EQ(StrToDateTime("05/03/0"), EncodeDate(2000, 3, 5));
}

TEST(StrToDateTimeTest, OptionalTimeWithSecondsAndMilliseconds) {
  const TDateTime date = EncodeDate(2024, 3, 5);
  EXPECT_EQ(StrToDateTime("05/03/2024 14:07:09"), date + EncodeTime(14, 7, 9, 0));
  EXPECT_EQ(StrToDateTime("05/03/2024 14:07"), date + EncodeTime(14, 7, 0, 0));
  EXPECT_EQ(StrToDateTime("05/03/2024  9:05:01.045"), date + EncodeTime(9, 5, 1, 45));
  EXPECT_EQ(StrToDateTime("05/03/2024 9:05:01.5"), date + EncodeTime(9, 5, 1, 500));
  EXPECT_EQ(StrToDateTime("05/03/2024 00:00:00"), date);
  EXPECT_EQ(StrToDateTime("14:07:09"), EncodeTime(14, 7, 9, 0));
  EXPECT_EQ(StrToDateTime("29/12/1899 06:00"), -1.25);
}

TEST(StrToDateTimeTest, RejectsWhatIsNotADateAndNamesTheText) {
  expectRejected("");
  expectRejected("   ");
  expectRejected("31/02/2024");
  expectRejected("29/02/2023");
  expectRejected("05/13/2024");
  expectRejected("abc");
  expectRejected("2024/03/05");
  expectRejected("05-03-2024");
  expectRejected("05/03");
  expectRejected("05/03/2024x");
  expectRejected("05/03/202412:00");
  expectRejected("05/03/2024 14");
  expectRejected("05/03/2024 24:00");
  expectRejected("05/03/2024 14:60");
  expectRejected("05/03/2024 14:07:09.1234");
  expectRejected("05/03/2024 14:07:09 x");
  expectRejected("05/03/12345");
}

TEST(StrToDateTimeTest, FollowsTheGivenSettings) {
  FormatSettings iso;
  iso.shortDateFormat = "yyyy-mm-dd";
  iso.dateSeparator = '-';
  EXPECT_EQ(StrToDateTime("2024-03-05 14:07", iso),
            EncodeDate(2024, 3, 5) + EncodeTime(14, 7, 0, 0));
  EXPECT_THROW(StrToDateTime("05/03/2024", iso), ConversionError);

  FormatSettings american;
  american.shortDateFormat = "mm/dd/yyyy";
  EXPECT_EQ(StrToDateTime("03/05/2024", american), EncodeDate(2024, 3, 5));

  // The lead dates of the leads service: day first, "HH:mm:Ss" time.
  FormatSettings leads;
  leads.longTimeFormat = "HH:mm:Ss";
  EXPECT_EQ(StrToDateTime("05/03/2024 14:07:09", leads), EncodeDateTime({2024, 3, 5, 14, 7, 9, 0}));
}

TEST(StrToDateTimeTest, ReadsBackWhatFormatDateTimeWrites) {
  for (const DateTimeParts& parts :
       {DateTimeParts{2024, 3, 5, 14, 7, 9, 0}, DateTimeParts{1950, 1, 1, 23, 59, 59, 0},
        DateTimeParts{2049, 12, 31, 0, 0, 1, 0}, DateTimeParts{1899, 12, 29, 6, 30, 0, 0}}) {
    const TDateTime value = EncodeDateTime(parts);
    EXPECT_EQ(StrToDateTime(FormatDateTime("dd/mm/yyyy hh:nn:ss", value)), value);
    EXPECT_EQ(StrToDateTime(DateTimeToStr(value)), value);
  }
}

}  // namespace
}  // namespace vornleads
