#include "support/firebird_db.h"

#include "data/firebird_create.h"
#include "data/firebird_shared_mode.h"
#include "vornleads/data/schema.h"

namespace vornleads::test {
namespace {

// Set before the client library reads its settings.
const bool sharedFirebird = (useSharedEmbeddedFirebird(), true);

std::string shellQuoted(const std::string& text) {
  std::string quoted = "'";
  for (char ch : text) quoted += ch == '\'' ? std::string("'\\''") : std::string(1, ch);
  return quoted + "'";
}

}  // namespace

TestDatabase::TestDatabase(bool sample) : dir_("vornleads-db"), path_(dir_ / "dms.fdb") {
  CreateDatabase(path_.string(), sample);
  setFirebirdForcedWrites(path_.string(), false);  // scratch files; tests commit a lot
}

std::unique_ptr<SqlConnection> TestDatabase::connect() const { return OpenConnection(uri()); }

std::string TestDatabase::isql(const std::string& sql) const {
  writeFile(dir_ / "isql-input.sql", sql);
  return commandOutput("isql-fb -q -b -ch UTF8 -user SYSDBA -i " +
                       shellQuoted((dir_ / "isql-input.sql").string()) + " " +
                       shellQuoted(path_.string()));
}

}  // namespace vornleads::test
