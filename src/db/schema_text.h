// The text of schema/firebird.sql and schema/firebird_sample.sql, built into the library.
#pragma once

#include <string>
#include <vector>

namespace vornleads {

extern const char* const kSchemaSql;
extern const char* const kSampleSql;

// The statements of a script, in order, without their ";": splits at ";" outside quoted
// text and comments; drops comments and empty statements.
std::vector<std::string> splitSqlScript(const std::string& script);

}  // namespace vornleads
