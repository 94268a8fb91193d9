// SQL literals of values, as the insert builder and the editable dataset write them.
#pragma once

#include <string>

#include "vornleads/db/sql_value.h"

namespace vornleads {

// 'text' with every embedded single quote doubled.
std::string SqlTextLiteral(const std::string& text);
// Shortest decimal text that reads back as the same double, with "." and no exponent;
// a whole value keeps ".0" (3.0). VornError for NaN and infinities.
std::string SqlFloatLiteral(double value);
// NULL, integers bare, floats as above, text quoted, dates and date-times through
// DataHoraPSql(value, dialect).
std::string SqlLiteral(const SqlValue& value, const std::string& dialect);

}  // namespace vornleads
