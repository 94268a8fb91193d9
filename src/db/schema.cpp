#include "vornleads/db/schema.h"

#include <filesystem>
#include <memory>
#include <system_error>

#include "db/firebird_create.h"
#include "db/schema_text.h"
#include "vornleads/db/sql_connection.h"
#include "vornleads/error.h"

namespace vornleads {
namespace {

void applySchema(const std::string& path, bool sample, const ConnectionOptions& options) {
  std::unique_ptr<SqlConnection> connection = OpenConnection("firebird:" + path, options);
  // Each DDL statement is committed as it runs: later statements refer to earlier tables.
  for (const std::string& statement : SchemaStatements()) connection->execute(statement);
  if (!sample) return;
  Transaction transaction(*connection);
  for (const std::string& statement : SampleStatements()) connection->execute(statement);
  transaction.commit();
}

}  // namespace

std::vector<std::string> SchemaStatements() { return splitSqlScript(kSchemaSql); }

std::vector<std::string> SampleStatements() { return splitSqlScript(kSampleSql); }

void CreateDatabase(const std::string& path, bool sample, const ConnectionOptions& options) {
  if (path.empty()) throw VornError("No path given for the new database");
  std::error_code error;
  if (std::filesystem::exists(path, error)) {
    throw VornError("The database file " + path + " already exists; it was left untouched");
  }
  createFirebirdDatabaseFile(path);
  try {
    // Every DDL statement commits on its own; writing them through one by one would take
    // seconds, so forced writes are off while the schema is built and on again afterwards.
    setFirebirdForcedWrites(path, false);
    applySchema(path, sample, options);
    setFirebirdForcedWrites(path, true);
  } catch (...) {
    // A half-made database is worse than none: the next init-db would refuse it.
    std::filesystem::remove(path, error);
    throw;
  }
}

}  // namespace vornleads
