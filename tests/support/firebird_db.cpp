#include "support/firebird_db.h"

#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <system_error>

#include "data/firebird_create.h"
#include "vornleads/data/schema.h"

namespace vornleads::test {
namespace {

namespace fs = std::filesystem;

// Embedded Firebird 3 runs as "Super" by default: while this process holds a database open,
// no other process (isql-fb, the programs under test) may attach to it. A private Firebird
// root whose firebird.conf says SuperClassic lets several processes share the file. It must
// be in place before the client library starts, hence at program start-up.
class SharedFirebirdRoot {
 public:
  SharedFirebirdRoot() {
    const char* chosen = std::getenv("FIREBIRD");
    if (chosen != nullptr && *chosen != '\0') return;  // the caller's own root wins
    const fs::path installed = "/usr/lib/x86_64-linux-gnu/firebird/3.0";
    std::error_code error;
    if (!fs::exists(installed / "plugins", error)) return;
    root_ = fs::temp_directory_path() / ("vornleads-fbroot-" + std::to_string(getpid()));
    fs::create_directories(root_, error);
    for (const char* entry :
         {"plugins", "intl", "UDF", "firebird.msg", "plugins.conf", "lib", "include"}) {
      if (fs::exists(installed / entry, error))
        fs::create_symlink(installed / entry, root_ / entry, error);
    }
    writeFile(root_ / "firebird.conf", "ServerMode = SuperClassic\nUdfAccess = None\n");
    setenv("FIREBIRD", root_.c_str(), 1);
  }
  ~SharedFirebirdRoot() {
    if (root_.empty()) return;
    std::error_code error;
    fs::remove_all(root_, error);
  }
  SharedFirebirdRoot(const SharedFirebirdRoot&) = delete;
  SharedFirebirdRoot& operator=(const SharedFirebirdRoot&) = delete;

 private:
  fs::path root_;
};

const SharedFirebirdRoot sharedRoot;

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
