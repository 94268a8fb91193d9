#include <cctype>
#include <optional>
#include <string>

#include "vornleads/error.h"
#include "vornleads/text/datetime.h"
#include "vornleads/text/text_cut.h"

namespace vornleads {
namespace {

enum class DateOrder { DayMonthYear, MonthDayYear, YearMonthDay };

// The order of day, month and year follows their first appearance in the short date format.
DateOrder dateOrder(const std::string& shortDateFormat) {
  for (char c : shortDateFormat) {
    switch (std::toupper(static_cast<unsigned char>(c))) {
      case 'D':
        return DateOrder::DayMonthYear;
      case 'M':
        return DateOrder::MonthDayYear;
      case 'Y':
        return DateOrder::YearMonthDay;
      default:
        break;
    }
  }
  return DateOrder::DayMonthYear;
}

struct Number {
  int value = 0;
  std::size_t digits = 0;
};

// A cursor over the text being parsed; every scan either consumes what it recognises or
// leaves the position where it was.
class Scanner {
 public:
  explicit Scanner(const std::string& text) : text_(text) {}

  bool atEnd() const { return pos_ == text_.size(); }
  std::size_t position() const { return pos_; }
  void reset(std::size_t pos) { pos_ = pos; }

  void skipBlanks() {
    while (pos_ < text_.size() && (text_[pos_] == ' ' || text_[pos_] == '\t')) ++pos_;
  }

  bool accept(char c) {
    if (pos_ < text_.size() && text_[pos_] == c) {
      ++pos_;
      return true;
    }
    return false;
  }

  // One to four decimal digits.
  std::optional<Number> number() {
    Number n;
    while (pos_ < text_.size() && std::isdigit(static_cast<unsigned char>(text_[pos_]))) {
      if (++n.digits > 4) return std::nullopt;
      n.value = n.value * 10 + (text_[pos_] - '0');
      ++pos_;
    }
    if (n.digits == 0) return std::nullopt;
    return n;
  }

 private:
  const std::string& text_;
  std::size_t pos_ = 0;
};

// Two-digit years fall in 1950..2049.
int widenYear(const Number& year) {
  if (year.digits > 2) return year.value;
  return year.value < 50 ? year.value + 2000 : year.value + 1900;
}

std::optional<TDateTime> scanDate(Scanner& in, const FormatSettings& settings) {
  const auto first = in.number();
  if (!first || !in.accept(settings.dateSeparator)) return std::nullopt;
  const auto second = in.number();
  if (!second || !in.accept(settings.dateSeparator)) return std::nullopt;
  const auto third = in.number();
  if (!third) return std::nullopt;
  int year = 0, month = 0, day = 0;
  switch (dateOrder(settings.shortDateFormat)) {
    case DateOrder::DayMonthYear:
      day = first->value, month = second->value, year = widenYear(*third);
      break;
    case DateOrder::MonthDayYear:
      month = first->value, day = second->value, year = widenYear(*third);
      break;
    case DateOrder::YearMonthDay:
      year = widenYear(*first), month = second->value, day = third->value;
      break;
  }
  try {
    return EncodeDate(year, month, day);
  } catch (const ConversionError&) {
    return std::nullopt;
  }
}

// hours:minutes[:seconds[.fraction]]; the fraction holds up to three digits of a second.
std::optional<TDateTime> scanTime(Scanner& in, const FormatSettings& settings) {
  const auto hour = in.number();
  if (!hour || hour->digits > 2 || !in.accept(settings.timeSeparator)) return std::nullopt;
  const auto minute = in.number();
  if (!minute || minute->digits > 2) return std::nullopt;
  int second = 0, millisecond = 0;
  if (in.accept(settings.timeSeparator)) {
    const auto seconds = in.number();
    if (!seconds || seconds->digits > 2) return std::nullopt;
    second = seconds->value;
    if (in.accept('.')) {
      const auto fraction = in.number();
      if (!fraction || fraction->digits > 3) return std::nullopt;
      millisecond = fraction->value;
      for (std::size_t d = fraction->digits; d < 3; ++d) millisecond *= 10;
    }
  }
  try {
    return EncodeTime(hour->value, minute->value, second, millisecond);
  } catch (const ConversionError&) {
    return std::nullopt;
  }
}

std::optional<TDateTime> scanDateTime(const std::string& text, const FormatSettings& settings) {
  Scanner in(text);
  in.skipBlanks();
  const std::size_t start = in.position();
  std::optional<TDateTime> date = scanDate(in, settings);
  if (!date) {
    in.reset(start);
    const auto time = scanTime(in, settings);
    in.skipBlanks();
    if (!time || !in.atEnd()) return std::nullopt;
    return time;
  }
  const std::size_t afterDate = in.position();
  in.skipBlanks();
  if (in.atEnd()) return date;
  if (in.position() == afterDate) return std::nullopt;  // the time must stand apart
  const auto time = scanTime(in, settings);
  in.skipBlanks();
  if (!time || !in.atEnd()) return std::nullopt;
  // Before day zero the fraction still counts forward within the day.
  return *date >= 0 ? *date + *time : *date - *time;
}

}  // namespace

TDateTime StrToDateTime(const std::string& text) { return StrToDateTime(text, regionalSettings()); }

TDateTime StrToDateTime(const std::string& text, const FormatSettings& settings) {
  if (const auto value = scanDateTime(text, settings)) return *value;
  throw ConversionError("\"" + excerpt(text) + "\" is not a valid date and time");
}

}  // namespace vornleads
