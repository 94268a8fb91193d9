#include <string>

#include "vornleads/data/geral.h"
#include "vornleads/text/codepage.h"
#include "vornleads/text/datetime.h"

namespace vornleads {
namespace {

std::string padded(int value, std::size_t width) {
  std::string digits = std::to_string(value);
  if (digits.size() < width) digits.insert(0, width - digits.size(), '0');
  return digits;
}

// The parts every renderer writes, with the milliseconds cut off: a literal must never name
// a later second than the value holds.
struct LiteralParts {
  std::string year, month, day, hour, minute, second;
  bool hasTime = false;
};

LiteralParts literalParts(TDateTime value) {
  const DateTimeParts parts = DecodeDateTimeTruncated(value);
  LiteralParts out;
  out.year = padded(parts.year, 4);
  out.month = padded(parts.month, 2);
  out.day = padded(parts.day, 2);
  out.hour = padded(parts.hour, 2);
  out.minute = padded(parts.minute, 2);
  out.second = padded(parts.second, 2);
  out.hasTime = parts.hour != 0 || parts.minute != 0 || parts.second != 0 || parts.millisecond != 0;
  return out;
}

std::string clock(const LiteralParts& p) { return p.hour + ":" + p.minute + ":" + p.second; }

}  // namespace

std::string DataHoraPDtHrORA(TDateTime value) {
  const LiteralParts p = literalParts(value);
  const std::string date = p.day + "/" + p.month + "/" + p.year;
  if (!p.hasTime) return "TO_DATE('" + date + "','dd/mm/yyyy')";
  return "TO_DATE('" + date + " " + clock(p) + "','dd/mm/yyyy HH24:MI:SS')";
}

std::string DataHoraPDtHrIB(TDateTime value) {
  const LiteralParts p = literalParts(value);
  const std::string date = p.year + "-" + p.month + "-" + p.day;
  if (!p.hasTime) return "CAST('" + date + "' AS DATE)";
  return "CAST('" + date + " " + clock(p) + "' AS TIMESTAMP)";
}

// Day first on purpose: the DMS's SQL Server sessions run with day-month-year date order.
std::string DataHoraPDtHrSQL(TDateTime value) {
  const LiteralParts p = literalParts(value);
  const std::string date = p.day + "-" + p.month + "-" + p.year;
  if (!p.hasTime) return "CAST('" + date + "' AS DATETIME)";
  return "CAST('" + date + " " + clock(p) + "' AS DATETIME)";
}

std::string DataHoraPSql(TDateTime value, const std::string& dialect) {
  const std::string name = upperCase(dialect);
  if (name == "ORACLE" || name == "OR") return DataHoraPDtHrORA(value);
  if (name == "INTERBASE" || name == "IB") return DataHoraPDtHrIB(value);
  if (name == "SQLSERVER" || name == "SQL SERVER") return DataHoraPDtHrSQL(value);
  // InterBase is the default form, also for unknown and empty names.
  return DataHoraPDtHrIB(value);
}

std::string DataHoraStrPSql(const std::string& value, const std::string& dialect) {
  if (value.empty() || value == "0") return "null";
  return DataHoraPSql(StrToDateTime(value), dialect);
}

// The parts of the day the value lies in: cut, never rounded into the next day.
int32_t Ano(TDateTime value) {
  const int year = DecodeDateTimeTruncated(value).year;
  if (year >= 100) return year;
  return year < 50 ? year + 2000 : year + 1900;
}

int32_t Mes(TDateTime value) { return DecodeDateTimeTruncated(value).month; }

int32_t Dia(TDateTime value) { return DecodeDateTimeTruncated(value).day; }

}  // namespace vornleads
