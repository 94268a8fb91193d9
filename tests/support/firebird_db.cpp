#include "support/firebird_db.h"

#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>
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

struct PipeCloser {
  void operator()(FILE* pipe) const {
    if (pipe != nullptr) pclose(pipe);
  }
};

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
  const std::string command = "isql-fb -q -b -ch UTF8 -user SYSDBA -i " +
                              shellQuoted(script.string()) + " " + shellQuoted(path_.string()) +
                              " 2>&1";
  FILE* raw = popen(command.c_str(), "r");
  if (raw == nullptr) throw std::runtime_error("cannot run isql-fb");
  std::unique_ptr<FILE, PipeCloser> pipe(raw);
  std::string output;
  std::array<char, 4096> buffer;
  size_t read = 0;
  while ((read = fread(buffer.data(), 1, buffer.size(), pipe.get())) > 0)
    output.append(buffer.data(), read);
  const int status = pclose(pipe.release());
  if (status != 0) throw std::runtime_error("isql-fb failed:\n" + output);
  return output;
}

}  // namespace vornleads::test
