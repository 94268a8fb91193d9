// FirebirdServer: Firebird's own server (/usr/sbin/firebird, Debian's firebird3.0-server) as a
// child process of the test, for what only a server shows: several client processes writing
// one database over the network.
//
// It runs in Super mode from a private root in a temporary directory (its own firebird.conf,
// security database, lock and temporary files), listening on a free port of 127.0.0.1 only,
// with the user SYSDBA and a password of its own; the machine's Firebird configuration and any
// server it runs are left alone. Construction throws std::runtime_error, with what the server
// or isql-fb printed, when the server cannot be set up or does not listen within ten seconds.
// The destructor stops it (SIGTERM, then SIGKILL after a grace period) and removes the root,
// databases included.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>

#include "support/paths.h"

namespace vornleads::test {

class FirebirdServer {
 public:
  FirebirdServer();
  ~FirebirdServer();
  FirebirdServer(const FirebirdServer&) = delete;
  FirebirdServer& operator=(const FirebirdServer&) = delete;

  // Creates the DMS database `name` in the server's root through the server (schema and, with
  // sample, the company/branch 1.1) and returns its firebird:// URI.
  std::string createDatabase(const std::string& name, bool sample = true);

  int port() const { return port_; }

 private:
  // Runs a shell command with the server root's environment; throws with its output.
  std::string run(const std::string& command) const;

  TempDir root_;
  int port_ = 0;
  pid_t pid_ = -1;
};

}  // namespace vornleads::test
