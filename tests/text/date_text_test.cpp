// Date-times and numbers as the host writes and reads them: format strings, the regional
// settings, the parser's tolerance and its refusals, float text.
#include <gtest/gtest.h>

#include <limits>
#include <optional>
#include <string>

#include "vornleads/error.h"
#include "vornleads/text/datetime.h"

namespace vornleads {
namespace {

TEST(DateTextTest, FormatDateTime) {
  const TDateTime sample = EncodeDateTime({2024, 3, 5, 14, 7, 9, 45});
  const TDateTime november = EncodeDateTime({2024, 11, 5, 9, 42, 3, 0});
  const TDateTime january = EncodeDateTime({2007, 1, 2, 3, 4, 5, 6});
  struct Row {
    const char* format;
    TDateTime value;
    const char* text;
  };
  const Row rows[] = {
      {"dd/mm/yyyy hh:nn:ss", sample, "05/03/2024 14:07:09"},
      {"dd-mm-yy HH:nn:ss.zzz", sample, "05-03-24 14:07:09.045"},
      {"yyyy_mm_dd", sample, "2024_03_05"},
      {"dd/mm/yyyy hh:mm:Ss", sample, "05/03/2024 14:07:09"},
      // "mm" right after an hour is the minute, separators between or not.
      {"hh:mm", november, "09:42"},
      {"h.mm dd/mm", november, "9.42 05/11"},
      {"mm/yyyy hh", november, "11/2024 09"},
      {"HHMM", november, "0942"},
      {"d/m/yy h:n:s z", january, "2/1/07 3:4:5 6"},
      {"DD/MM/YYYY HH:NN:SS.ZZZ", january, "02/01/2007 03:04:05.006"},
      {"yyyy", EncodeDate(99, 3, 5), "0099"},
      {"'dia' dd \"de\" mm", sample, "dia 05 de 03"},
      {"[dd] # x", sample, "[05] # x"},
      {"'unclosed dd", sample, "unclosed dd"},
      {"", sample, ""},
      {"dd/mm/yyyy hh:nn:ss", -1.25, "29/12/1899 06:00:00"},
      {"dd/mm/yyyy hh:nn:ss.zzz", EncodeDate(2024, 3, 5), "05/03/2024 00:00:00.000"},
  };
  for (const Row& row : rows)
    EXPECT_EQ(FormatDateTime(row.format, row.value), row.text) << row.format;

  // The regional default: the date alone at midnight.
  EXPECT_EQ(DateTimeToStr(sample), "05/03/2024 14:07:09");
  EXPECT_EQ(DateTimeToStr(EncodeDate(2024, 3, 5)), "05/03/2024");
  EXPECT_EQ(DateTimeToStr(EncodeDateTime({2024, 3, 5, 0, 0, 1, 0})), "05/03/2024 00:00:01");
}

std::optional<TDateTime> parsed(const std::string& text, const FormatSettings& settings) {
  try {
    return StrToDateTime(text, settings);
  } catch (const ConversionError& error) {
    EXPECT_EQ(std::string(error.what()), "\"" + text + "\" is not a valid date and time");
    return std::nullopt;
  }
}

TEST(DateTextTest, StrToDateTime) {
  const TDateTime march5 = EncodeDate(2024, 3, 5);
  const auto at = [march5](int hour, int minute, int second, int ms) {
    return march5 + EncodeTime(hour, minute, second, ms);
  };
  const std::optional<TDateTime> refused;
  FormatSettings iso, american, leads;
  iso.shortDateFormat = "yyyy-mm-dd";
  iso.dateSeparator = '-';
  american.shortDateFormat = "mm/dd/yyyy";
  leads.longTimeFormat = "HH:mm:Ss";  // the lead dates of the service: only the letters differ
  struct Row {
    const char* text;
    std::optional<TDateTime> value;
    const FormatSettings& settings = regionalSettings();
  };
  const Row rows[] = {
      {"05/03/2024", march5},
      {"5/3/2024", march5},
      {"  05/03/2024 ", march5},
      {"29/02/2024", EncodeDate(2024, 2, 29)},
      {"05/03/0099", EncodeDate(99, 3, 5)},
      {"05/03/24", march5},
      {"05/03/49", EncodeDate(2049, 3, 5)},
      {"05/03/50", EncodeDate(1950, 3, 5)},
      {"05/03/99", EncodeDate(1999, 3, 5)},
      {"05/03/0", EncodeDate(2000, 3, 5)},
      {"05/03/2024 14:07:09", at(14, 7, 9, 0)},
      {"05/03/2024 14:07", at(14, 7, 0, 0)},
      {"05/03/2024  9:05:01.045", at(9, 5, 1, 45)},
      {"05/03/2024 9:05:01.5", at(9, 5, 1, 500)},
      {"05/03/2024 00:00:00", march5},
      {"14:07:09", EncodeTime(14, 7, 9, 0)},
      {"29/12/1899 06:00", -1.25},
      {"2024-03-05 14:07", at(14, 7, 0, 0), iso},
      {"05/03/2024", refused, iso},
      {"03/05/2024", march5, american},
      {"05/03/2024 14:07:09", at(14, 7, 9, 0), leads},
      {"", refused},
      {"   ", refused},
      {"31/02/2024", refused},
      {"29/02/2023", refused},
      {"05/13/2024", refused},
      {"abc", refused},
      {"2024/03/05", refused},
      {"05-03-2024", refused},
      {"05/03", refused},
      {"05/03/2024x", refused},
      {"05/03/202412:00", refused},
      {"05/03/2024 14", refused},
      {"05/03/2024 24:00", refused},
      {"05/03/2024 14:60", refused},
      {"05/03/2024 14:07:09.0123", refused},
      {"05/03/2024 14:07:09 x", refused},
      {"05/03/12345", refused},
      {"05/03/02024", refused},
  };
  for (const Row& row : rows) EXPECT_EQ(parsed(row.text, row.settings), row.value) << row.text;

  // What FormatDateTime and DateTimeToStr write reads back.
  for (const DateTimeParts& parts :
       {DateTimeParts{2024, 3, 5, 14, 7, 9, 0}, DateTimeParts{1950, 1, 1, 23, 59, 59, 0},
        DateTimeParts{2049, 12, 31, 0, 0, 1, 0}, DateTimeParts{1899, 12, 29, 6, 30, 0, 0}}) {
    const TDateTime value = EncodeDateTime(parts);
    EXPECT_EQ(StrToDateTime(FormatDateTime("dd/mm/yyyy hh:nn:ss", value)), value);
    EXPECT_EQ(StrToDateTime(DateTimeToStr(value)), value);
  }
}

// Fixed notation with a decimal comma while there are at most 15 integer digits and the value is
// at least 0.00001, scientific beyond; 15 significant digits.
TEST(DateTextTest, FloatToStr) {
  const double inf = std::numeric_limits<double>::infinity();
  struct Row {
    double value;
    const char* text;
  };
  const Row rows[] = {
      {12345, "12345"},
      {1.5, "1,5"},
      {-0.25, "-0,25"},
      {0, "0"},
      {-0.0, "0"},
      {100, "100"},
      {1234.5678, "1234,5678"},
      {0.1 + 0.2, "0,3"},
      {45356.5, "45356,5"},
      {1.0 / 3, "0,333333333333333"},
      {2.0 / 3, "0,666666666666667"},
      {123456789012345, "123456789012345"},
      {1234567890.123456789, "1234567890,12346"},
      {0.00001, "0,00001"},
      {0.000123, "0,000123"},
      {1e15, "1E15"},
      {-1.5e20, "-1,5E20"},
      {0.000001, "1E-6"},
      {2.5e-7, "2,5E-7"},
      {inf, "INF"},
      {-inf, "-INF"},
      {std::numeric_limits<double>::quiet_NaN(), "NAN"},
  };
  for (const Row& row : rows) EXPECT_EQ(FloatToStr(row.value), row.text) << row.text;
}

}  // namespace
}  // namespace vornleads
