#include "support/recording_connection.h"

#include <algorithm>
#include <utility>

#include "vornleads/error.h"

namespace vornleads::test {

namespace {

bool startsWith(const std::string& text, const std::string& prefix) {
  return text.compare(0, prefix.size(), prefix) == 0;
}

}  // namespace

RecordingConnection::RecordingConnection(std::string driverName)
    : driverName_(std::move(driverName)) {}

void RecordingConnection::respond(const std::string& sqlPrefix, SqlRowSet rows) {
  answers_.push_back({sqlPrefix, std::move(rows), false});
}

void RecordingConnection::respondAlways(const std::string& sqlPrefix, SqlRowSet rows) {
  answers_.push_back({sqlPrefix, std::move(rows), true});
}

void RecordingConnection::failOn(const std::string& sqlPrefix, const std::string& databaseMessage) {
  failures_.push_back({sqlPrefix, databaseMessage, false});
}

void RecordingConnection::failAlwaysOn(const std::string& sqlPrefix,
                                       const std::string& databaseMessage) {
  failures_.push_back({sqlPrefix, databaseMessage, true});
}

void RecordingConnection::setPrimaryKey(const std::string& table,
                                        std::vector<std::string> columns) {
  primaryKeys_[table] = std::move(columns);
}

size_t RecordingConnection::pendingAnswers() const { return answers_.size() + failures_.size(); }

void RecordingConnection::send(const std::string& sql) {
  statements_.push_back(sql);
  auto failure = std::find_if(failures_.begin(), failures_.end(),
                              [&](const Failure& f) { return startsWith(sql, f.prefix); });
  if (failure == failures_.end()) return;
  std::string message = failure->message;
  if (!failure->sticky) failures_.erase(failure);
  throw DatabaseError(message, sql);
}

SqlRowSet RecordingConnection::query(const std::string& sql) {
  send(sql);
  auto answer = std::find_if(answers_.begin(), answers_.end(),
                             [&](const Answer& a) { return startsWith(sql, a.prefix); });
  if (answer == answers_.end()) return SqlRowSet{};
  SqlRowSet rows = answer->rows;
  if (!answer->sticky) answers_.erase(answer);
  return rows;
}

int64_t RecordingConnection::execute(const std::string& sql) {
  send(sql);
  return affectedRows_;
}

void RecordingConnection::beginTransaction() {
  if (inTransaction_) throw VornError("A transaction is already active");
  send("BEGIN");
  inTransaction_ = true;
}

void RecordingConnection::commit() {
  if (!inTransaction_) throw VornError("No transaction is active");
  send("COMMIT");
  inTransaction_ = false;
}

void RecordingConnection::rollback() {
  if (!inTransaction_) throw VornError("No transaction is active");
  // A rollback always ends the transaction, even when the fake is told to fail it.
  inTransaction_ = false;
  send("ROLLBACK");
}

std::vector<std::string> RecordingConnection::primaryKey(const std::string& table) {
  auto found = primaryKeys_.find(table);
  return found == primaryKeys_.end() ? std::vector<std::string>{} : found->second;
}

SqlRowSet singleValue(const std::string& column, SqlValue value) {
  SqlRowSet rows;
  rows.columns.push_back(column);
  rows.rows.push_back({std::move(value)});
  return rows;
}

}  // namespace vornleads::test
