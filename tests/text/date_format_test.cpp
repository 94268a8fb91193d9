#include <gtest/gtest.h>

#include "vornleads/text/datetime.h"

namespace vornleads {
namespace {

// 5 March 2024, 14:07:09.045
TDateTime sample() { return EncodeDateTime({2024, 3, 5, 14, 7, 9, 45}); }

TEST(FormatDateTimeTest, FormatsTheSystemUses) {
  EXPECT_EQ(FormatDateTime("dd/mm/yyyy hh:nn:ss", sample()), "05/03/2024 14:07:09");
  EXPECT_EQ(FormatDateTime("dd-mm-yy HH:nn:ss.zzz", sample()), "05-03-24 14:07:09.045");
  EXPECT_EQ(FormatDateTime("yyyy_mm_dd", sample()), "2024_03_05");
  EXPECT_EQ(FormatDateTime("dd/mm/yyyy hh:mm:Ss", sample()), "05/03/2024 14:07:09");
}

TEST(FormatDateTimeTest, MonthOrMinuteDependsOnThePrecedingHour) {
  const TDateTime value = EncodeDateTime({2024, 11, 5, 9, 42, 3, 0});
  EXPECT_EQ(FormatDateTime("hh:mm", value), "09:42");
  EXPECT_EQ(FormatDateTime("h.mm dd/mm", value), "9.42 05/11");
  EXPECT_EQ(FormatDateTime("mm/yyyy hh", value), "11/2024 09");
  EXPECT_EQ(FormatDateTime("HHMM", value), "0942");
}

TEST(FormatDateTimeTest, ShortFormsAndLetterCase) {
  const TDateTime value = EncodeDateTime({2007, 1, 2, 3, 4, 5, 6});
  EXPECT_EQ(FormatDateTime("d/m/yy h:n:s z", value), "2/1/07 3:4:5 6");
  EXPECT_EQ(FormatDateTime("DD/MM/YYYY HH:NN:SS.ZZZ", value), "02/01/2007 03:04:05.006");
  EXPECT_EQ(FormatDateTime("yyyy", EncodeDate(99, 3, 5)), "0099");
}

TEST(FormatDateTimeTest, QuotedTextAndOtherCharactersAreCopied) {
  EXPECT_EQ(FormatDateTime("'dia' dd \"de\" mm", sample()), "dia 05 de 03");
  EXPECT_EQ(FormatDateTime("[dd] #", sample()), "[05] #");
  EXPECT_EQ(FormatDateTime("'unclosed dd", sample()), "unclosed dd");
  EXPECT_EQ(FormatDateTime("", sample()), "");
}

TEST(FormatDateTimeTest, NegativeValuesAndMidnight) {
  EXPECT_EQ(FormatDateTime("dd/mm/yyyy hh:nn:ss", -1.25), "29/12/1899 06:00:00");
  EXPECT_EQ(FormatDateTime("dd/mm/yyyy hh:nn:ss.zzz", EncodeDate(2024, 3, 5)),
            "05/03/2024 00:00:00.000");
}

TEST(DateTimeToStrTest, DateAloneAtMidnight) {
  EXPECT_EQ(DateTimeToStr(sample()), "05/03/2024 14:07:09");
  EXPECT_EQ(DateTimeToStr(EncodeDate(2024, 3, 5)), "05/03/2024");
  EXPECT_EQ(DateTimeToStr(EncodeDate(2024, 3, 5) + EncodeTime(0, 0, 1, 0)), "05/03/2024 00:00:01");
}

TEST(RegionalSettingsTest, BrazilianDefaults) {
  const FormatSettings& settings = regionalSettings();
  EXPECT_EQ(settings.shortDateFormat, "dd/mm/yyyy");
  EXPECT_EQ(settings.longTimeFormat, "hh:nn:ss");
  EXPECT_EQ(settings.dateSeparator, '/');
  EXPECT_EQ(settings.timeSeparator, ':');
  EXPECT_EQ(settings.decimalSeparator, ',');
  EXPECT_EQ(settings.thousandSeparator, '.');
}

}  // namespace
}  // namespace vornleads
