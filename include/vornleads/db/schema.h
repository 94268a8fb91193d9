// The DMS database schema and the creation of an embedded Firebird database file.
//
// CreateDatabase makes a new embedded Firebird database at path (default character set
// UTF8, user SYSDBA), applies every statement of schema/firebird.sql (built into the
// library) and, with sample = true, adds one company/branch (EMPRESA 1, REVENDA 1) configured
// for the leads integration: dealer number '01234', integration switched on, notification
// users 12 and 15, sellers of users 0, 12 and 15 with CPFs, the e-mail contact form, models
// GOL, POLO, T-CROSS and NIVUS. An existing file is refused with VornError; a database error
// raises DatabaseError and removes the half-made file. `options` bound the connection that
// applies the schema.
#pragma once

#include <string>
#include <vector>

#include "vornleads/db/sql_connection.h"

namespace vornleads {

void CreateDatabase(const std::string& path, bool sample, const ConnectionOptions& options = {});

// The statements of schema/firebird.sql, in file order, without their ";".
std::vector<std::string> SchemaStatements();
// The statements that add the sample company/branch.
std::vector<std::string> SampleStatements();

}  // namespace vornleads
