// TestDatabase: a fresh embedded Firebird DMS database in a temporary directory.
//
// Made with CreateDatabase (schema/firebird.sql, optionally the sample company/branch 1.1 of
// schema.h) and removed with its directory when the object dies. Creating one costs about a
// second, so share it across a suite (forced writes are off on these scratch files, so commits
// are cheap), e.g.
//
//   class MyTest : public ::testing::Test {
//    protected:
//     static void SetUpTestSuite() { db_ = std::make_unique<TestDatabase>(true); }
//     static void TearDownTestSuite() { db_.reset(); }
//     static std::unique_ptr<TestDatabase> db_;
//   };
//
// and keep tests independent by working inside a transaction that is rolled back, or by
// using keys of their own.
//
// Several processes on one file: embedded Firebird 3 normally lets only one process open a
// database. A program that links this helper sets up, at start-up and unless FIREBIRD is
// already set, a private Firebird root running as SuperClassic and points FIREBIRD at it; child
// processes (isql-fb, bin/vornleads) inherit it, so they can open the file while the test
// still holds connections to it.
#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "support/paths.h"
#include "vornleads/data/sql_connection.h"

namespace vornleads::test {

class TestDatabase {
 public:
  // sample: add the company/branch 1.1 configured for the integration.
  explicit TestDatabase(bool sample = true);
  TestDatabase(const TestDatabase&) = delete;
  TestDatabase& operator=(const TestDatabase&) = delete;

  // "firebird:PATH", for OpenConnection and the --db option of the programs.
  std::string uri() const { return "firebird:" + path_.string(); }
  const std::filesystem::path& path() const { return path_; }

  // A new connection of its own (no transaction open).
  std::unique_ptr<SqlConnection> connect() const;

  // Runs sql (one or more statements, each ended by ";") through Firebird's own isql-fb on
  // the file and returns its standard output; raises std::runtime_error with isql's output
  // when it fails. For cross-checks that do not go through the project's own data layer.
  std::string isql(const std::string& sql) const;

 private:
  TempDir dir_;
  std::filesystem::path path_;
};

}  // namespace vornleads::test
