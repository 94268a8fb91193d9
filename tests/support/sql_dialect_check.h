// The SQL Server and Oracle texts of the tests, checked by an independent parser.
//
// Every RecordingConnection whose driver BuscaBanco maps to "SQLSERVER" or "ORACLE" hands the
// statements it runs (queries and executes, not the transaction words) to collect(). At the end
// of each test the statements collected during it go in one batch through
// tests/support/sql_dialect_check.py (sqlglot, dialects "tsql" and "oracle"); each statement it
// rejects fails that test with the parser's reason. When the checker cannot run (python3 or
// python3-sqlglot missing) the test fails too: the check is never skipped. The interpreter is
// the one CMake was told (VORNLEADS_SQL_CHECK_PYTHON), or the environment's
// VORNLEADS_SQL_CHECK_PYTHON when set.
#pragma once

#include <string>
#include <vector>

namespace vornleads::test {

struct DialectStatement {
  std::string dialect;  // "tsql" or "oracle"
  std::string sql;
};

// Keeps sql for the check at the end of the running test when `banco` (a BuscaBanco name) is
// "SQLSERVER" or "ORACLE"; installs the end-of-test check on first use.
void collectDialectStatement(const std::string& banco, const std::string& sql);

// Runs the checker on a batch: one "dialect: reason: sql" line per rejected statement. Raises
// std::runtime_error when the checker cannot run.
std::vector<std::string> rejectedStatements(const std::vector<DialectStatement>& statements);

}  // namespace vornleads::test
