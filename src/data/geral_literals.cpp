#include <cstdint>
#include <limits>
#include <optional>
#include <string>

#include "vornleads/data/geral.h"
#include "vornleads/text/datetime.h"

namespace vornleads {
namespace {

int hexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// Integer text as the host reads it: leading blanks, an optional sign, decimal digits or
// hexadecimal after "$" or "0x", nothing after the digits. Empty when unreadable or too large.
std::optional<int64_t> readInt64(const std::string& text) {
  std::size_t pos = 0;
  while (pos < text.size() && text[pos] == ' ') ++pos;
  bool negative = false;
  if (pos < text.size() && (text[pos] == '-' || text[pos] == '+')) negative = text[pos++] == '-';
  int base = 10;
  if (pos < text.size() && text[pos] == '$') {
    base = 16, ++pos;
  } else if (pos + 1 < text.size() && text[pos] == '0' &&
             (text[pos + 1] == 'x' || text[pos + 1] == 'X')) {
    base = 16, pos += 2;
  }
  if (pos == text.size()) return std::nullopt;
  // Accumulated as a negative number so that the smallest int64 is readable too.
  int64_t value = 0;
  const int64_t limit = std::numeric_limits<int64_t>::min();
  for (; pos < text.size(); ++pos) {
    const int digit = hexDigit(text[pos]);
    if (digit < 0 || digit >= base) return std::nullopt;
    if (value < (limit + digit) / base) return std::nullopt;
    value = value * base - digit;
  }
  if (!negative) {
    if (value == limit) return std::nullopt;
    value = -value;
  }
  return value;
}

}  // namespace

std::string TestaCampoPSQL(const std::string& value) {
  if (value.empty()) return "null";
  if (IsNumber(value)) return value;
  return "'" + value + "'";
}

std::string TestaCampoNumPSQL(const std::string& value) {
  if (readInt64(value).value_or(0) == 0) return "null";
  return value;
}

std::string TestaCampoNumZNPSQL(int32_t value) {
  return value == 0 ? "null" : std::to_string(value);
}

std::string AddSQL(const std::string& value, const std::string& kind, const std::string& dialect) {
  if (value.empty()) return "NULL,";
  switch (kind.empty() ? '\0' : kind[0]) {
    case 'A':
      return "'" + value + "',";
    case 'F': {
      // "1.234,56": thousands points out, the decimal comma becomes the SQL point.
      std::string number;
      for (char c : value) {
        if (c != '.') number += c;
      }
      const std::size_t comma = number.find(',');
      if (comma != std::string::npos) number[comma] = '.';
      return number + ",";
    }
    case 'H':
      return DataHoraPSql(StrToDateTime(value), dialect) + ",";
    case 'N':
      return value + ",";
    default:
      return "";
  }
}

}  // namespace vornleads
