// Reading the rows of a SOCI statement into SqlValues.
#pragma once

#include <string>
#include <vector>

#include "vornleads/db/sql_value.h"

namespace soci {
class row;
class statement;
}  // namespace soci

namespace vornleads {

// Column names of a described row, upper case.
std::vector<std::string> sociColumnNames(const soci::row& row);

// The values of the row just fetched. On Firebird (firebird = true) dates, times, timestamps
// and scaled integers are read from the statement's own buffers, so that DATE and TIMESTAMP
// stay apart, milliseconds survive and NUMERIC values are not rounded through a factor; CHAR
// values lose their trailing blanks.
std::vector<SqlValue> sociRowValues(const soci::row& row, soci::statement& statement,
                                    bool firebird);

}  // namespace vornleads
