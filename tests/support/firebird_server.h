// FirebirdServer: Firebird's own server as a child of the test, from a private root (its own
// firebird.conf, security database, lock and temporary files) on a free port of 127.0.0.1,
// with SYSDBA and a password of its own; the machine's Firebird is left alone. The destructor
// stops it.
//
// Faults a database server goes through in months of running: kill() ends it at once
// (SIGKILL, as an out-of-memory kill or a crash would), freeze() and thaw() stop and continue
// it (SIGSTOP/SIGCONT: a server that hangs, accepting connections and answering nothing), and
// start() brings a killed server back on the same port and databases.
#pragma once

#include <optional>
#include <string>

#include "support/child_process.h"
#include "support/paths.h"

namespace vornleads::test {

class FirebirdServer {
 public:
  FirebirdServer();
  ~FirebirdServer();
  FirebirdServer(const FirebirdServer&) = delete;
  FirebirdServer& operator=(const FirebirdServer&) = delete;

  // Creates the DMS database `name` through the server, with the sample company/branch 1.1,
  // and returns its firebird:// URI.
  std::string createDatabase(const std::string& name);

  void kill();
  void start();
  void freeze();
  void thaw();
  const std::string& port() const { return port_; }

 private:
  void isql(const std::string& sql, const std::string& options = "");
  bool listening() const;

  TempDir root_{"vornleads-fbserver"};
  std::string port_, environment_;
  std::optional<ChildProcess> server_;
};

}  // namespace vornleads::test
