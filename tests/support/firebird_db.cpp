#include "support/firebird_db.h"

#include <unistd.h>

#include <atomic>
#include <system_error>

#include "db/firebird_create.h"
#include "db/firebird_shared_mode.h"
#include "vornleads/db/schema.h"

namespace vornleads::test {
namespace {

// Set before the client library reads its settings.
const bool sharedFirebird = (useSharedEmbeddedFirebird(), true);

std::string shellQuoted(const std::string& text) {
  std::string quoted = "'";
  for (char ch : text) quoted += ch == '\'' ? std::string("'\\''") : std::string(1, ch);
  return quoted + "'";
}

// The directory of this program's databases, removed at its end.
const TempDir& databaseDirectory() {
  static const TempDir directory("vornleads-db");
  return directory;
}

std::filesystem::path freshDatabasePath() {
  static std::atomic<int> created{0};
  return databaseDirectory() /
         ("dms-" + std::to_string(getpid()) + "-" + std::to_string(++created) + ".fdb");
}

}  // namespace

TestDatabase::TestDatabase(bool sample) : path_(freshDatabasePath()) {
  CreateDatabase(path_.string(), sample);
  setFirebirdForcedWrites(path_.string(), false);  // scratch files; tests commit a lot
}

TestDatabase::~TestDatabase() {
  std::error_code ignored;  // a test must not fail while cleaning up after itself
  std::filesystem::remove(path_, ignored);
  std::filesystem::remove(path_.string() + ".sql", ignored);
}

std::unique_ptr<SqlConnection> TestDatabase::connect() const { return OpenConnection(uri()); }

std::string TestDatabase::isql(const std::string& sql) const {
  const std::filesystem::path input = path_.string() + ".sql";
  writeFile(input, sql);
  return commandOutput("isql-fb -q -b -ch UTF8 -user SYSDBA -i " + shellQuoted(input.string()) +
                       " " + shellQuoted(path_.string()));
}

}  // namespace vornleads::test
