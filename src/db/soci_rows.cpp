#include "db/soci_rows.h"

#include <soci/firebird/soci-firebird.h>
#include <soci/soci.h>

#include <cctype>
#include <cstring>
#include <ctime>

#include "text/ascii_case.h"
#include "vornleads/error.h"
#include "vornleads/text/datetime.h"

namespace vornleads {
namespace {

DateTimeParts partsOf(const std::tm& time, int millisecond) {
  DateTimeParts parts;
  parts.year = time.tm_year + 1900;
  parts.month = time.tm_mon + 1;
  parts.day = time.tm_mday;
  parts.hour = time.tm_hour;
  parts.minute = time.tm_min;
  parts.second = time.tm_sec;
  parts.millisecond = millisecond;
  return parts;
}

// Firebird keeps times in units of 1/10000 s; the host's date-times carry milliseconds.
int millisecondsOf(ISC_TIME time) { return static_cast<int>((time % 10000) / 10); }

double powerOfTen(int exponent) {
  double result = 1;
  for (int i = 0; i < exponent; ++i) result *= 10;
  return result;
}

// The value of column index from the Firebird statement's buffers, when its type needs more
// than SOCI's mapping keeps; false leaves the column to SOCI. SOCI's libraries do not export
// the type information of their backends, so the sanitizer's dynamic-type check of the
// downcast is left out here (the backend name was checked by the caller).
__attribute__((no_sanitize("vptr"))) bool firebirdValue(soci::statement& statement, size_t index,
                                                        SqlValue& value) {
  auto* backend = static_cast<soci::firebird_statement_backend*>(statement.get_backend());
  if (backend == nullptr || backend->sqldap_ == nullptr ||
      static_cast<int>(index) >= backend->sqldap_->sqld) {
    return false;
  }
  const XSQLVAR& column = backend->sqldap_->sqlvar[index];
  const char* data = column.sqldata;
  if (data == nullptr) return false;
  std::tm time{};
  switch (column.sqltype & ~1) {
    case SQL_TYPE_DATE: {
      ISC_DATE date;
      std::memcpy(&date, data, sizeof date);
      isc_decode_sql_date(&date, &time);
      value = SqlValue::date(EncodeDateTime(partsOf(time, 0)));
      return true;
    }
    case SQL_TIMESTAMP: {
      ISC_TIMESTAMP stamp;
      std::memcpy(&stamp, data, sizeof stamp);
      isc_decode_timestamp(&stamp, &time);
      value =
          SqlValue::dateTime(EncodeDateTime(partsOf(time, millisecondsOf(stamp.timestamp_time))));
      return true;
    }
    case SQL_TYPE_TIME: {
      ISC_TIME clock;
      std::memcpy(&clock, data, sizeof clock);
      isc_decode_sql_time(&clock, &time);
      DateTimeParts parts = partsOf(time, millisecondsOf(clock));
      parts.year = 1899;
      parts.month = 12;
      parts.day = 30;
      value = SqlValue::dateTime(EncodeDateTime(parts));
      return true;
    }
    case SQL_TEXT: {
      // CHAR columns come padded to their width in bytes (four per character in UTF8);
      // the blanks carry nothing, and flags compare as "S", not "S   ".
      std::string text(data, static_cast<size_t>(column.sqllen));
      while (!text.empty() && text.back() == ' ') text.pop_back();
      value = SqlValue::text(std::move(text));
      return true;
    }
    case SQL_SHORT:
    case SQL_LONG:
    case SQL_INT64: {
      if (column.sqlscale >= 0) return false;
      int64_t raw = 0;
      if ((column.sqltype & ~1) == SQL_SHORT) {
        int16_t small;
        std::memcpy(&small, data, sizeof small);
        raw = small;
      } else if ((column.sqltype & ~1) == SQL_LONG) {
        int32_t medium;
        std::memcpy(&medium, data, sizeof medium);
        raw = medium;
      } else {
        std::memcpy(&raw, data, sizeof raw);
      }
      // Dividing by the exact power of ten gives the double nearest to the decimal value.
      value = SqlValue::real(static_cast<double>(raw) / powerOfTen(-column.sqlscale));
      return true;
    }
    default:
      return false;
  }
}

SqlValue sociValue(const soci::row& row, size_t index) {
  const soci::column_properties& properties = row.get_properties(index);
  switch (properties.get_data_type()) {
    case soci::dt_string:
    case soci::dt_xml:
    case soci::dt_blob:
      return SqlValue::text(row.get<std::string>(index));
    case soci::dt_integer:
      return SqlValue::integer(row.get<int>(index));
    case soci::dt_long_long:
      return SqlValue::integer(row.get<long long>(index));
    case soci::dt_unsigned_long_long:
      return SqlValue::integer(static_cast<int64_t>(row.get<unsigned long long>(index)));
    case soci::dt_double:
      return SqlValue::real(row.get<double>(index));
    case soci::dt_date:
      return SqlValue::dateTime(EncodeDateTime(partsOf(row.get<std::tm>(index), 0)));
  }
  throw VornError("Column " + properties.get_name() + " has a type this build cannot read");
}

}  // namespace

std::vector<std::string> sociColumnNames(const soci::row& row) {
  std::vector<std::string> names;
  names.reserve(row.size());
  for (size_t index = 0; index < row.size(); ++index) {
    names.push_back(asciiUpper(row.get_properties(index).get_name()));
  }
  return names;
}

std::vector<SqlValue> sociRowValues(const soci::row& row, soci::statement& statement,
                                    bool firebird) {
  std::vector<SqlValue> values(row.size());
  for (size_t index = 0; index < row.size(); ++index) {
    if (row.get_indicator(index) == soci::i_null) continue;
    if (firebird && firebirdValue(statement, index, values[index])) continue;
    values[index] = sociValue(row, index);
  }
  return values;
}

}  // namespace vornleads
