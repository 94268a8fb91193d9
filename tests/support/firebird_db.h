// TestDatabase: a fresh embedded Firebird DMS database (schema/firebird.sql, with or without the
// sample company/branch 1.1 of schema.h) in a temporary directory removed with the object.
// Creating one costs about a second: share one across a suite (SetUpTestSuite) and keep tests
// apart with rolled-back transactions or keys of their own.
//
// A program that links this helper runs embedded Firebird as SuperClassic from a private root
// (unless FIREBIRD is already set), so that the programs it starts and isql-fb can open the
// file while the test still holds connections to it.
#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "support/paths.h"
#include "vornleads/data/sql_connection.h"

namespace vornleads::test {

class TestDatabase {
 public:
  explicit TestDatabase(bool sample = true);
  TestDatabase(const TestDatabase&) = delete;
  TestDatabase& operator=(const TestDatabase&) = delete;

  // "firebird:PATH", for OpenConnection and the --db option of the programs.
  std::string uri() const { return "firebird:" + path_.string(); }
  const std::filesystem::path& path() const { return path_; }
  // A new connection of its own, no transaction open.
  std::unique_ptr<SqlConnection> connect() const;
  // Runs sql (statements ended by ";") through Firebird's own isql-fb and returns its output;
  // std::runtime_error with that output when it fails. For cross-checks beside the data layer.
  std::string isql(const std::string& sql) const;

 private:
  TempDir dir_;
  std::filesystem::path path_;
};

}  // namespace vornleads::test
