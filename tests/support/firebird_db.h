// TestDatabase: a fresh embedded Firebird DMS database (with or without the sample company/branch
// 1.1), removed with the object; about a second to create. A program linking it runs embedded
// Firebird as SuperClassic, so that the programs it starts and isql-fb can open the file while
// the test holds connections to it. Every database of one test program lies in one temporary
// directory, and so shares one lock directory: a process's engine keeps the first it uses.
#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "support/paths.h"
#include "vornleads/db/sql_connection.h"

namespace vornleads::test {

class TestDatabase {
 public:
  explicit TestDatabase(bool sample = true);
  ~TestDatabase();
  TestDatabase(const TestDatabase&) = delete;
  TestDatabase& operator=(const TestDatabase&) = delete;

  // "firebird:PATH", for OpenConnection and the --db option of the programs.
  std::string uri() const { return "firebird:" + path_.string(); }
  const std::filesystem::path& path() const { return path_; }
  std::unique_ptr<SqlConnection> connect() const;
  // Runs sql (statements ended by ";") through isql-fb; its output, std::runtime_error if it fails.
  std::string isql(const std::string& sql) const;

 private:
  std::filesystem::path path_;
};

}  // namespace vornleads::test
