#include "support/firebird_db.h"

#include <unistd.h>

#include <cstdlib>
#include <system_error>

#include "data/firebird_create.h"
#include "data/firebird_shared_mode.h"
#include "vornleads/data/schema.h"

namespace vornleads::test {
namespace {

namespace fs = std::filesystem;

// The programs under test and isql-fb open the same database files as this program while
// it holds them: share them from the start, before the client library reads its settings.
const bool sharedFirebird = (useSharedEmbeddedFirebird(), true);

std::string shellQuoted(const std::string& text) {
  std::string quoted = "'";
  for (char ch : text) {
    if (ch == '\'') {
      quoted += "'\\''";
    } else {
      quoted += ch;
    }
  }
  return quoted + "'";
}

}  // namespace

TestDatabase::TestDatabase(bool sample) : dir_("vornleads-db"), path_(dir_ / "dms.fdb") {
  CreateDatabase(path_.string(), sample);
  // A scratch database need not survive a machine failure; tests commit a lot.
  setFirebirdForcedWrites(path_.string(), false);
}

std::unique_ptr<SqlConnection> TestDatabase::connect() const { return OpenConnection(uri()); }

std::string TestDatabase::isql(const std::string& sql) const {
  const fs::path script = dir_ / "isql-input.sql";
  writeFile(script, sql);
  return commandOutput("isql-fb -q -b -ch UTF8 -user SYSDBA -i " + shellQuoted(script.string()) +
                       " " + shellQuoted(path_.string()));
}

}  // namespace vornleads::test
