#include "data/sql_literal.h"

#include <charconv>
#include <cmath>

#include "vornleads/data/geral.h"
#include "vornleads/error.h"

namespace vornleads {

std::string SqlTextLiteral(const std::string& text) {
  std::string literal;
  literal.reserve(text.size() + 2);
  literal += '\'';
  for (char ch : text) {
    literal += ch;
    if (ch == '\'') literal += '\'';
  }
  literal += '\'';
  return literal;
}

std::string SqlFloatLiteral(double value) {
  if (!std::isfinite(value)) throw VornError("A float that is not finite cannot be written to SQL");
  char buffer[400];  // the widest fixed form of a double has about 330 characters
  const auto [end, error] =
      std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed);
  if (error != std::errc()) throw VornError("A float could not be written to SQL");
  std::string literal(buffer, end);
  if (literal.find('.') == std::string::npos) literal += ".0";
  return literal;
}

std::string SqlLiteral(const SqlValue& value, const std::string& dialect) {
  switch (value.kind()) {
    case SqlValue::Kind::Null:
      return "NULL";
    case SqlValue::Kind::Integer:
      return std::to_string(value.asInteger());
    case SqlValue::Kind::Float:
      return SqlFloatLiteral(value.asFloat());
    case SqlValue::Kind::Text:
      return SqlTextLiteral(value.asString());
    case SqlValue::Kind::Date:
    case SqlValue::Kind::DateTime:
      return DataHoraPSql(value.asDateTime(), dialect);
  }
  return "NULL";
}

}  // namespace vornleads
