#include "vornleads/data/geral.h"

namespace vornleads {

// The names are the drivers' own and compared exactly: a driver that reports "Oracle"
// passes through unchanged and consumers then treat it as an unknown dialect.
std::string BuscaBanco(const std::string& driverName) {
  if (driverName == "MSSQL" || driverName == "DevartSQLServer") return "SQLSERVER";
  if (driverName == "ORACLE" || driverName == "DevartOracle") return "ORACLE";
  if (driverName == "Firebird" || driverName == "DevartInterBase") return "INTERBASE";
  return driverName;
}

std::string BuscaBanco(const SqlConnection& connection) {
  return BuscaBanco(connection.driverName());
}

}  // namespace vornleads
