// RecordingConnection: a fake SqlConnection for what this machine cannot run on a real database
// (Oracle, SQL Server sequences, server versions). Every statement sent is appended to
// statements(), transactions as "BEGIN", "COMMIT", "ROLLBACK" ("BEGIN*"... on autonomous(), which
// shares this one's script). Queries are answered by the first scripted answer whose prefix
// starts them (each respond() once), else with no rows; failOn() makes the
// next statement with its prefix raise DatabaseError, transaction words included. The SQL Server
// and Oracle statements are checked by an independent parser at the end of each test
// (sql_dialect_check.h).
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "vornleads/db/sql_connection.h"

namespace vornleads::test {

class RecordingConnection : public SqlConnection {
 public:
  // driverName is what BuscaBanco reads: "ORACLE", "MSSQL", "Firebird", ...
  explicit RecordingConnection(std::string driverName);

 private:
  struct Script;
  struct Sibling {};

 public:
  RecordingConnection(Sibling, std::string driverName, std::shared_ptr<Script> script);

  void respond(const std::string& sqlPrefix, SqlRowSet rows) {
    script_->answers.push_back({sqlPrefix, std::move(rows)});
  }
  void failOn(const std::string& sqlPrefix, const std::string& databaseMessage) {
    script_->failures.push_back({sqlPrefix, databaseMessage});
  }
  // What execute() returns (default -1, "unknown").
  void setAffectedRows(int64_t rows) { script_->affectedRows = rows; }
  void setPrimaryKey(const std::string& table, std::vector<std::string> columns) {
    script_->primaryKeys[table] = std::move(columns);
  }

  const std::vector<std::string>& statements() const { return script_->statements; }
  // Scripted answers and failures not used yet.
  size_t pendingAnswers() const { return script_->answers.size() + script_->failures.size(); }

  std::string driverName() const override { return driverName_; }
  SqlRowSet query(const std::string& sql) override;
  int64_t execute(const std::string& sql) override;
  void beginTransaction() override;
  void commit() override;
  void rollback() override;
  bool inTransaction() const override { return inTransaction_; }
  std::vector<std::string> primaryKey(const std::string& table) override;
  SqlConnection& autonomous() override;

 private:
  struct Answer {
    std::string prefix;
    SqlRowSet rows;
  };
  struct Failure {
    std::string prefix, message;
  };
  // What every attachment of one fake database shares.
  struct Script {
    std::vector<std::string> statements;
    std::vector<Answer> answers;
    std::vector<Failure> failures;
    std::map<std::string, std::vector<std::string>> primaryKeys;
    int64_t affectedRows = -1;
  };

  // Records the statement and raises the scripted failure, if any.
  void send(const std::string& sql);

  std::string driverName_;
  std::shared_ptr<Script> script_;
  std::string mark_;  // added to the transaction words of the second attachment
  std::unique_ptr<RecordingConnection> autonomous_;
  bool inTransaction_ = false;
};

// A one-row, one-column answer, the usual shape of the scripted queries.
SqlRowSet singleValue(const std::string& column, SqlValue value);

}  // namespace vornleads::test
