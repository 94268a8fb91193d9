// A fake SqlConnection for the paths this machine cannot run on a real database (Oracle,
// SQL Server sequences, server versions).
//
// Recording: every statement, query or not, is appended to statements() in the order it was
// sent, byte for byte. Transactions are recorded as the words "BEGIN", "COMMIT" and
// "ROLLBACK". A statement that is made to fail is still recorded (it was sent).
//
// Answers: queries are answered from a script. respond() and respondAlways() add an answer
// for every statement that starts with the given text (an exact statement is its own prefix).
// Answers are tried in the order they were added and the first match wins:
//   - respond()       answers once and is then consumed (the next match further down, or the
//                      default, answers the next time);
//   - respondAlways() stays and answers every matching query.
// A query that matches nothing answers an empty row set (no columns, no rows).
//
// Failures: failOn() makes the next statement that starts with the given text raise
// DatabaseError(message, statement) (consumed once; failAlwaysOn() stays). It is checked
// before the answers and applies to queries, execute() and the transaction words, so
// failOn("COMMIT", ...) fails the next commit.
//
// Transactions follow the SqlConnection contract: one at a time; commit or rollback without
// one raises VornError; beginTransaction inside one raises VornError.
//
// autonomous() is a second fake attachment with a transaction of its own that shares this
// one's script and record: its statements land in the same statements(), its transaction
// words as "BEGIN*", "COMMIT*" and "ROLLBACK*", so a test sees which attachment ran what.
//
// Not thread-safe: one test thread per fake.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "vornleads/data/sql_connection.h"

namespace vornleads::test {

class RecordingConnection : public SqlConnection {
 public:
  // driverName is what BuscaBanco reads: "ORACLE", "MSSQL", "Firebird", ...
  explicit RecordingConnection(std::string driverName);

 private:
  struct Script;
  struct Sibling {};

 public:
  // The second attachment of autonomous(); only this class can name Sibling.
  RecordingConnection(Sibling, std::string driverName, std::shared_ptr<Script> script);

  // --- script -------------------------------------------------------------------------
  void respond(const std::string& sqlPrefix, SqlRowSet rows);
  void respondAlways(const std::string& sqlPrefix, SqlRowSet rows);
  void failOn(const std::string& sqlPrefix, const std::string& databaseMessage);
  void failAlwaysOn(const std::string& sqlPrefix, const std::string& databaseMessage);
  // What execute() returns (default -1, "unknown").
  void setAffectedRows(int64_t rows) { script_->affectedRows = rows; }
  void setPrimaryKey(const std::string& table, std::vector<std::string> columns);

  // --- record -------------------------------------------------------------------------
  const std::vector<std::string>& statements() const { return script_->statements; }
  void clearStatements() { script_->statements.clear(); }
  // Scripted answers and failures not used yet (consumed ones are gone, sticky ones stay).
  size_t pendingAnswers() const;

  // --- SqlConnection ------------------------------------------------------------------
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
    bool sticky = false;
  };
  struct Failure {
    std::string prefix;
    std::string message;
    bool sticky = false;
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
