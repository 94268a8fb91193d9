// Date-times as day counts, and their text forms under the host's regional settings.
//
// A TDateTime counts days since 1899-12-30; the fraction is the time of day. Format strings
// use the letters yyyy, yy, mm, m, dd, d, hh, h, nn, n, ss, s, zzz (case-insensitive):
// "mm" right after "hh"/"h" (with only separators between) means minutes, otherwise month.
// Any other character is copied as it stands. Text in double or single quotes is copied
// without the quotes.
#pragma once

#include <string>

#include "vornleads/types.h"

namespace vornleads {

struct DateTimeParts {
  int year = 1899;
  int month = 12;
  int day = 30;
  int hour = 0;
  int minute = 0;
  int second = 0;
  int millisecond = 0;
};

// Encoding raises ConversionError for an impossible date or time (month 13, 31 February).
TDateTime EncodeDate(int year, int month, int day);
TDateTime EncodeTime(int hour, int minute, int second, int millisecond);
TDateTime EncodeDateTime(const DateTimeParts& parts);
// Decoding rounds to the nearest millisecond; negative values decode as the host does
// (the integral part is the day, the absolute fraction the time of day). Values outside the
// years 1..9999 (NaN and infinities included) raise ConversionError.
DateTimeParts DecodeDateTime(TDateTime value);
// The same, but the time of day is cut below the millisecond instead of rounded, so a value
// never moves into the next second or day (14:07:09.9996 stays in second 9). Values encoded
// from whole milliseconds still decode exactly. For renderers that drop the milliseconds.
DateTimeParts DecodeDateTimeTruncated(TDateTime value);

// The host's regional settings (Brazilian defaults).
struct FormatSettings {
  std::string shortDateFormat = "dd/mm/yyyy";
  std::string longTimeFormat = "hh:nn:ss";
  char dateSeparator = '/';
  char timeSeparator = ':';
  char decimalSeparator = ',';
  char thousandSeparator = '.';
};
const FormatSettings& regionalSettings();

// value rendered with a format string of the letters above. Both renderers cut the time below
// the millisecond instead of rounding it, so 23:59:59.9996 stays in its second and its day.
std::string FormatDateTime(const std::string& format, TDateTime value);

// The default text of a date-time: the short date, then " " and the long time unless the
// time of day is exactly midnight ("05/03/2024 14:07:09", "05/03/2024").
std::string DateTimeToStr(TDateTime value);

// Parses a date, a date and time, or a time written in the regional order (day, month,
// year for "dd/mm/yyyy"). Years of one or two digits fall in 1950..2049. The time part takes
// hours and minutes, optionally seconds and a fraction of up to three digits after "."
// (".5" is 500 ms). Leading and trailing blanks are ignored. Raises ConversionError naming the
// text: '"abc" is not a valid date and time'.
TDateTime StrToDateTime(const std::string& text);
TDateTime StrToDateTime(const std::string& text, const FormatSettings& settings);

// Whole days and whole months between two date-times, as the host computes them
// (months use 30.4375 days each). Both are never negative.
int DaysBetween(TDateTime now, TDateTime then);
int MonthsBetween(TDateTime now, TDateTime then);

// Default text of a floating-point value: up to 15 significant digits, the regional
// decimal separator, no exponent for ordinary magnitudes (12345 -> "12345", 1.5 -> "1,5").
std::string FloatToStr(double value);

}  // namespace vornleads
