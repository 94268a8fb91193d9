// One value read from or written to the DMS database, and a row set of them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "vornleads/types.h"

namespace vornleads {

class SqlValue {
 public:
  enum class Kind { Null, Integer, Float, Text, Date, DateTime };

  SqlValue() = default;  // null
  static SqlValue integer(int64_t value);
  static SqlValue real(double value);
  static SqlValue text(std::string value);
  static SqlValue date(TDateTime value);      // a DATE column: whole days
  static SqlValue dateTime(TDateTime value);  // a TIMESTAMP column

  Kind kind() const { return kind_; }
  bool isNull() const { return kind_ == Kind::Null; }

  // Conversions as the host's datasets make them. Null reads as 0, 0.0, "" and 0.
  // asInteger: floats are rounded to the nearest integer, halves to even (ConversionError
  // beyond 64 bits); text must hold an integer, blanks around it allowed (ConversionError
  // '"12a" is not a valid integer value' otherwise). asFloat: text in the regional form
  // ("1.234,56") or with a decimal point ("89990.5"); ConversionError
  // '"abc" is not a valid floating point value' otherwise. asString: integers in decimal,
  // floats by FloatToStr, dates as "dd/mm/yyyy", date-times by DateTimeToStr. asDateTime:
  // text is parsed by StrToDateTime.
  // Equality: same kind and same value (integer 1 and float 1.0 differ; null equals null).
  int64_t asInteger() const;
  double asFloat() const;
  std::string asString() const;
  TDateTime asDateTime() const;

  bool operator==(const SqlValue& other) const;
  bool operator!=(const SqlValue& other) const { return !(*this == other); }

 private:
  Kind kind_ = Kind::Null;
  int64_t integer_ = 0;
  double real_ = 0;  // floats, dates and date-times
  std::string text_;
};

// The result of a query: column names in upper case, as the database reports them, and rows.
struct SqlRowSet {
  std::vector<std::string> columns;
  std::vector<std::vector<SqlValue>> rows;

  bool empty() const { return rows.empty(); }
  // Index of a column (case-insensitive); raises VornError "Field 'NAME' not found".
  size_t columnIndex(const std::string& name) const;
  const SqlValue& value(size_t row, const std::string& column) const;
};

}  // namespace vornleads
