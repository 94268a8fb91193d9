// Date-times: encoding as day counts, decoding both ways, format strings and the parser
// as the host writes and reads them, float text, and the system clock.
#include "vornleads/text/datetime.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <limits>
#include <optional>
#include <string>

#include "vornleads/error.h"
#include "vornleads/text/clock.h"

namespace vornleads {
namespace {

std::string shown(const DateTimeParts& p) {
  char text[48];
  std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d.%03d", p.year, p.month, p.day,
                p.hour, p.minute, p.second, p.millisecond);
  return text;
}

TEST(CalendarTest, EncodeDateTimeCountsDaysFrom30December1899) {
  const std::optional<TDateTime> no;  // refused
  // clang-format off
  const std::pair<DateTimeParts, std::optional<TDateTime>> rows[] = {
      {{1899, 12, 30}, 0.0},      {{1899, 12, 29}, -1.0},     {{1900, 1, 1}, 2.0},
      {{2024, 3, 5}, 45356.0},    {{2024, 2, 29}, 45351.0},   {{1, 1, 1}, -693593.0},
      {{9999, 12, 31}, 2958465.0}, {{99, 3, 5}, -657736.0},   {{2024, 3, 5, 18}, 45356.75},
      {{1899, 12, 30, 12}, 0.5},  {{1899, 12, 30, 6}, 0.25},  {{1899, 12, 29, 6}, -1.25},
      {{2023, 2, 29}, no},        {{2024, 2, 30}, no},        {{1900, 2, 29}, no},
      {{2024, 13, 1}, no},        {{2024, 4, 31}, no},        {{2024, 11, 31}, no},
      {{2024, 3, 0}, no},         {{0, 1, 1}, no},            {{10000, 1, 1}, no},
      {{2024, 3, 5, 24}, no},     {{2024, 3, 5, 0, 60}, no},  {{2024, 3, 5, 0, 0, 60}, no},
      {{2024, 3, 5, -1}, no},     {{2024, 3, 5, 0, 0, 0, 1000}, no},
      {{2024, 3, 5, 0, 0, 0, -1}, no}};
  // clang-format on
  for (const auto& [parts, expected] : rows) {
    std::optional<TDateTime> value;
    try {
      value = EncodeDateTime(parts);
    } catch (const ConversionError&) {
    }
    EXPECT_EQ(value, expected) << shown(parts);
  }
}

TEST(CalendarTest, DecodingRoundsOrCutsToTheMillisecond) {
  const auto decoded = [](auto decode, TDateTime value) {
    try {
      return shown(decode(value));
    } catch (const ConversionError&) {
      return std::string("refused");
    }
  };
  const double nan = std::numeric_limits<double>::quiet_NaN(), march5 = 45356.0;
  const double inf = std::numeric_limits<double>::infinity();
  struct Row {
    TDateTime value;
    std::string rounded, cut = "";
  };
  // clang-format off
  const Row rows[] = {
      {0, "1899-12-30 00:00:00.000"},            {-1.25, "1899-12-29 06:00:00.000"},
      {-1.0, "1899-12-29 00:00:00.000"},         {-0.5, "1899-12-30 12:00:00.000"},
      {-693593.75, "0001-01-01 18:00:00.000"},   {45351, "2024-02-29 00:00:00.000"},
      {36525, "1999-12-31 00:00:00.000"},        {36526, "2000-01-01 00:00:00.000"},
      {2958465.5, "9999-12-31 12:00:00.000"},
      {march5 + 50829999.6 / 86400000, "2024-03-05 14:07:10.000", "2024-03-05 14:07:09.999"},
      {march5 + 86399999.7 / 86400000, "2024-03-06 00:00:00.000", "2024-03-05 23:59:59.999"},
      {nan, "refused"}, {inf, "refused"}, {1e300, "refused"}, {-1e7, "refused"}};
  // clang-format on
  for (const Row& row : rows) {
    EXPECT_EQ(decoded(DecodeDateTime, row.value), row.rounded) << row.value;
    EXPECT_EQ(decoded(DecodeDateTimeTruncated, row.value), row.cut.empty() ? row.rounded : row.cut)
        << row.value;
  }
}

TEST(CalendarTest, EveryEncodedMillisecondDecodesBackExactly) {
  for (int year : {1, 1899, 1950, 2024, 2099}) {
    for (int second = 0; second < 86400; ++second) {
      for (int ms : {0, 999}) {
        const DateTimeParts parts{
            year, 3, year == 1 ? 2 : 5, second / 3600, second / 60 % 60, second % 60, ms};
        const TDateTime value = EncodeDateTime(parts);
        ASSERT_EQ(shown(DecodeDateTime(value)), shown(parts)) << value;
        ASSERT_EQ(shown(DecodeDateTimeTruncated(value)), shown(parts)) << value;
      }
    }
  }
}

TEST(CalendarTest, SystemPauseSleepsAtLeastTheTimeAsked) {
  for (int ms : {-1, 0, 1, 40}) {
    const auto started = std::chrono::steady_clock::now();
    systemPause()->sleep(ms);
    EXPECT_GE(std::chrono::steady_clock::now() - started, std::chrono::milliseconds(ms)) << ms;
  }
}

TEST(DateTextTest, FormatDateTime) {
  const TDateTime sample = EncodeDateTime({2024, 3, 5, 14, 7, 9, 45});
  const TDateTime nov = EncodeDateTime({2024, 11, 5, 9, 42, 3, 0});
  const TDateTime jan = EncodeDateTime({2007, 1, 2, 3, 4, 5, 6});
  struct Row {
    const char* format;
    TDateTime value;
    const char* text;
  };
  // clang-format off
  const Row rows[] = {
      {"dd/mm/yyyy hh:nn:ss", sample, "05/03/2024 14:07:09"}, {"yyyy_mm_dd", sample, "2024_03_05"},
      {"dd-mm-yy HH:nn:ss.zzz", sample, "05-03-24 14:07:09.045"},
      {"dd/mm/yyyy hh:mm:Ss", sample, "05/03/2024 14:07:09"},
      // "mm" right after an hour is the minute, separators between or not.
      {"hh:mm", nov, "09:42"}, {"h.mm dd/mm", nov, "9.42 05/11"}, {"mm/yyyy hh", nov, "11/2024 09"},
      {"HHMM", nov, "0942"},   {"d/m/yy h:n:s z", jan, "2/1/07 3:4:5 6"}, {"yyyy", -657736, "0099"},
      {"DD/MM/YYYY HH:NN:SS.ZZZ", jan, "02/01/2007 03:04:05.006"},
      {"'dia' dd \"de\" mm", sample, "dia 05 de 03"}, {"[dd] # x", sample, "[05] # x"},
      {"'unclosed dd", sample, "unclosed dd"},       {"", sample, ""},
      {"dd/mm/yyyy hh:nn:ss", -1.25, "29/12/1899 06:00:00"},
      {"dd/mm/yyyy hh:nn:ss.zzz", 45356, "05/03/2024 00:00:00.000"}};
  // clang-format on
  for (const Row& row : rows)
    EXPECT_EQ(FormatDateTime(row.format, row.value), row.text) << row.format;

  // The regional default: the date alone at midnight.
  EXPECT_EQ(DateTimeToStr(sample), "05/03/2024 14:07:09");
  EXPECT_EQ(DateTimeToStr(45356), "05/03/2024");
  EXPECT_EQ(DateTimeToStr(EncodeDateTime({2024, 3, 5, 0, 0, 1, 0})), "05/03/2024 00:00:01");
}

TEST(DateTextTest, StrToDateTime) {
  const TDateTime mar5 = 45356;
  const auto at = [mar5](int hour, int minute, int second, int ms) {
    return mar5 + EncodeTime(hour, minute, second, ms);
  };
  const std::optional<TDateTime> no;  // refused
  FormatSettings iso, us, leads;
  iso.shortDateFormat = "yyyy-mm-dd";
  iso.dateSeparator = '-';
  us.shortDateFormat = "mm/dd/yyyy";
  leads.longTimeFormat = "HH:mm:Ss";  // the lead dates of the service: only the letters differ
  struct Row {
    const char* text;
    std::optional<TDateTime> value;
    const FormatSettings& settings = regionalSettings();
  };
  // clang-format off
  const Row rows[] = {
      {"05/03/2024", mar5}, {"5/3/2024", mar5}, {"  05/03/2024 ", mar5}, {"29/02/2024", 45351},
      {"05/03/0099", -657736}, {"05/03/24", mar5}, {"05/03/49", EncodeDate(2049, 3, 5)},
      {"05/03/50", EncodeDate(1950, 3, 5)}, {"05/03/99", EncodeDate(1999, 3, 5)},
      {"05/03/0", EncodeDate(2000, 3, 5)},  {"05/03/2024 14:07:09", at(14, 7, 9, 0)},
      {"05/03/2024 14:07", at(14, 7, 0, 0)}, {"05/03/2024  9:05:01.045", at(9, 5, 1, 45)},
      {"05/03/2024 9:05:01.5", at(9, 5, 1, 500)}, {"05/03/2024 00:00:00", mar5},
      {"14:07:09", EncodeTime(14, 7, 9, 0)}, {"29/12/1899 06:00", -1.25},
      {"2024-03-05 14:07", at(14, 7, 0, 0), iso}, {"05/03/2024", no, iso},
      {"03/05/2024", mar5, us}, {"05/03/2024 14:07:09", at(14, 7, 9, 0), leads},
      {"", no}, {"   ", no}, {"31/02/2024", no}, {"29/02/2023", no}, {"05/13/2024", no},
      {"abc", no}, {"2024/03/05", no}, {"05-03-2024", no}, {"05/03", no}, {"05/03/2024x", no},
      {"05/03/202412:00", no}, {"05/03/2024 14", no}, {"05/03/2024 24:00", no},
      {"05/03/2024 14:60", no}, {"05/03/2024 14:07:09.0123", no}, {"05/03/2024 14:07:09 x", no},
      {"05/03/12345", no}, {"05/03/02024", no}};
  // clang-format on
  for (const Row& row : rows) {
    std::optional<TDateTime> value;
    try {
      value = StrToDateTime(row.text, row.settings);
    } catch (const ConversionError& error) {
      EXPECT_EQ(std::string(error.what()),
                "\"" + std::string(row.text) + "\" is not a valid date and time");
    }
    EXPECT_EQ(value, row.value) << row.text;
  }
}

// Fixed notation with a decimal comma while there are at most 15 integer digits and the value is
// at least 0.00001, scientific beyond; 15 significant digits.
TEST(DateTextTest, FloatToStr) {
  const double inf = std::numeric_limits<double>::infinity();
  // clang-format off
  const std::pair<double, const char*> rows[] = {
      {12345, "12345"}, {1.5, "1,5"}, {-0.25, "-0,25"}, {0, "0"}, {-0.0, "0"}, {100, "100"},
      {1234.5678, "1234,5678"}, {0.1 + 0.2, "0,3"}, {45356.5, "45356,5"}, {0.00001, "0,00001"},
      {1.0 / 3, "0,333333333333333"}, {2.0 / 3, "0,666666666666667"}, {0.000123, "0,000123"},
      {123456789012345, "123456789012345"}, {1234567890.123456789, "1234567890,12346"},
      {1e15, "1E15"}, {-1.5e20, "-1,5E20"}, {0.000001, "1E-6"}, {2.5e-7, "2,5E-7"},
      {inf, "INF"}, {-inf, "-INF"}, {std::numeric_limits<double>::quiet_NaN(), "NAN"}};
  // clang-format on
  for (const auto& [value, text] : rows) EXPECT_EQ(FloatToStr(value), text) << text;
}

}  // namespace
}  // namespace vornleads
