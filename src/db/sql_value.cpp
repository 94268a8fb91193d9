#include "vornleads/db/sql_value.h"

#include <cctype>
#include <charconv>
#include <cmath>
#include <limits>

#include "text/trimmed.h"
#include "vornleads/error.h"
#include "vornleads/text/datetime.h"

namespace vornleads {
namespace {

int64_t textToInteger(const std::string& text) {
  const std::string digits = trimmed(text);
  const char* first = digits.data();
  const char* last = digits.data() + digits.size();
  if (first != last && *first == '+') ++first;
  int64_t value = 0;
  const auto [end, error] = std::from_chars(first, last, value);
  if (digits.empty() || error != std::errc() || end != last) {
    throw ConversionError("\"" + text + "\" is not a valid integer value");
  }
  return value;
}

// Text numbers follow the regional settings (decimal comma); a point is taken as well, since
// values read back from SQL text use it.
double textToFloat(const std::string& text) {
  std::string digits = trimmed(text);
  const char decimal = regionalSettings().decimalSeparator;
  if (digits.find(decimal) != std::string::npos) {
    const char thousands = regionalSettings().thousandSeparator;
    std::string plain;
    for (char ch : digits) {
      if (ch == thousands) continue;
      plain += ch == decimal ? '.' : ch;
    }
    digits = plain;
  }
  const char* first = digits.data();
  const char* last = digits.data() + digits.size();
  if (first != last && *first == '+') ++first;
  double value = 0;
  const auto [end, error] = std::from_chars(first, last, value);
  if (digits.empty() || error != std::errc() || end != last) {
    throw ConversionError("\"" + text + "\" is not a valid floating point value");
  }
  return value;
}

}  // namespace

SqlValue SqlValue::integer(int64_t value) {
  SqlValue result;
  result.kind_ = Kind::Integer;
  result.integer_ = value;
  return result;
}

SqlValue SqlValue::real(double value) {
  SqlValue result;
  result.kind_ = Kind::Float;
  result.real_ = value;
  return result;
}

SqlValue SqlValue::text(std::string value) {
  SqlValue result;
  result.kind_ = Kind::Text;
  result.text_ = std::move(value);
  return result;
}

SqlValue SqlValue::date(TDateTime value) {
  SqlValue result;
  result.kind_ = Kind::Date;
  result.real_ = std::trunc(value);
  return result;
}

SqlValue SqlValue::dateTime(TDateTime value) {
  SqlValue result;
  result.kind_ = Kind::DateTime;
  result.real_ = value;
  return result;
}

int64_t SqlValue::asInteger() const {
  switch (kind_) {
    case Kind::Null:
      return 0;
    case Kind::Integer:
      return integer_;
    case Kind::Text:
      return textToInteger(text_);
    case Kind::Float:
    case Kind::Date:
    case Kind::DateTime:
      break;
  }
  // The host rounds half to even, which is the default floating-point rounding mode.
  const double rounded = std::nearbyint(real_);
  if (!(rounded >= -9.2233720368547758e18 && rounded < 9.2233720368547758e18)) {
    throw ConversionError("\"" + FloatToStr(real_) + "\" is not a valid integer value");
  }
  return static_cast<int64_t>(rounded);
}

double SqlValue::asFloat() const {
  switch (kind_) {
    case Kind::Null:
      return 0;
    case Kind::Integer:
      return static_cast<double>(integer_);
    case Kind::Text:
      return textToFloat(text_);
    case Kind::Float:
    case Kind::Date:
    case Kind::DateTime:
      break;
  }
  return real_;
}

std::string SqlValue::asString() const {
  switch (kind_) {
    case Kind::Null:
      return "";
    case Kind::Integer:
      return std::to_string(integer_);
    case Kind::Float:
      return FloatToStr(real_);
    case Kind::Text:
      return text_;
    case Kind::Date:
      return FormatDateTime(regionalSettings().shortDateFormat, real_);
    case Kind::DateTime:
      return DateTimeToStr(real_);
  }
  return "";
}

TDateTime SqlValue::asDateTime() const {
  // A date-time is its day count; only text reads differently, in the regional format.
  if (kind_ == Kind::Text) return StrToDateTime(text_);
  return asFloat();
}

bool SqlValue::operator==(const SqlValue& other) const {
  if (kind_ != other.kind_) return false;
  switch (kind_) {
    case Kind::Null:
      return true;
    case Kind::Integer:
      return integer_ == other.integer_;
    case Kind::Text:
      return text_ == other.text_;
    case Kind::Float:
    case Kind::Date:
    case Kind::DateTime:
      break;
  }
  return real_ == other.real_;
}

size_t SqlRowSet::columnIndex(const std::string& name) const {
  for (size_t index = 0; index < columns.size(); ++index) {
    const std::string& column = columns[index];
    if (column.size() != name.size()) continue;
    bool same = true;
    for (size_t i = 0; i < column.size() && same; ++i) {
      same = std::toupper(static_cast<unsigned char>(column[i])) ==
             std::toupper(static_cast<unsigned char>(name[i]));
    }
    if (same) return index;
  }
  throw VornError("Field '" + name + "' not found");
}

const SqlValue& SqlRowSet::value(size_t row, const std::string& column) const {
  const size_t index = columnIndex(column);
  if (row >= rows.size()) throw VornError("Row " + std::to_string(row) + " out of range");
  return rows[row][index];
}

}  // namespace vornleads
