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
    : driverName_(std::move(driverName)), script_(std::make_shared<Script>()) {}

RecordingConnection::RecordingConnection(Sibling, std::string driverName,
                                         std::shared_ptr<Script> script)
    : driverName_(std::move(driverName)), script_(std::move(script)), mark_("*") {}

SqlConnection& RecordingConnection::autonomous() {
  if (!autonomous_)
    autonomous_ = std::make_unique<RecordingConnection>(Sibling{}, driverName_, script_);
  return *autonomous_;
}

void RecordingConnection::respond(const std::string& sqlPrefix, SqlRowSet rows) {
  script_->answers.push_back({sqlPrefix, std::move(rows), false});
}

void RecordingConnection::respondAlways(const std::string& sqlPrefix, SqlRowSet rows) {
  script_->answers.push_back({sqlPrefix, std::move(rows), true});
}

void RecordingConnection::failOn(const std::string& sqlPrefix, const std::string& databaseMessage) {
  script_->failures.push_back({sqlPrefix, databaseMessage, false});
}

void RecordingConnection::failAlwaysOn(const std::string& sqlPrefix,
                                       const std::string& databaseMessage) {
  script_->failures.push_back({sqlPrefix, databaseMessage, true});
}

void RecordingConnection::setPrimaryKey(const std::string& table,
                                        std::vector<std::string> columns) {
  script_->primaryKeys[table] = std::move(columns);
}

size_t RecordingConnection::pendingAnswers() const {
  return script_->answers.size() + script_->failures.size();
}

void RecordingConnection::send(const std::string& sql) {
  script_->statements.push_back(sql);
  auto& failures = script_->failures;
  auto failure = std::find_if(failures.begin(), failures.end(),
                              [&](const Failure& f) { return startsWith(sql, f.prefix); });
  if (failure == failures.end()) return;
  std::string message = failure->message;
  if (!failure->sticky) failures.erase(failure);
  throw DatabaseError(message, sql);
}

SqlRowSet RecordingConnection::query(const std::string& sql) {
  send(sql);
  auto& answers = script_->answers;
  auto answer = std::find_if(answers.begin(), answers.end(),
                             [&](const Answer& a) { return startsWith(sql, a.prefix); });
  if (answer == answers.end()) return SqlRowSet{};
  SqlRowSet rows = answer->rows;
  if (!answer->sticky) answers.erase(answer);
  return rows;
}

int64_t RecordingConnection::execute(const std::string& sql) {
  send(sql);
  return script_->affectedRows;
}

void RecordingConnection::beginTransaction() {
  if (inTransaction_) throw VornError("A transaction is already active");
  send("BEGIN" + mark_);
  inTransaction_ = true;
}

void RecordingConnection::commit() {
  if (!inTransaction_) throw VornError("No transaction is active");
  send("COMMIT" + mark_);
  inTransaction_ = false;
}

void RecordingConnection::rollback() {
  if (!inTransaction_) throw VornError("No transaction is active");
  // A rollback always ends the transaction, even when the fake is told to fail it.
  inTransaction_ = false;
  send("ROLLBACK" + mark_);
}

std::vector<std::string> RecordingConnection::primaryKey(const std::string& table) {
  auto found = script_->primaryKeys.find(table);
  return found == script_->primaryKeys.end() ? std::vector<std::string>{} : found->second;
}

SqlRowSet singleValue(const std::string& column, SqlValue value) {
  SqlRowSet rows;
  rows.columns.push_back(column);
  rows.rows.push_back({std::move(value)});
  return rows;
}

}  // namespace vornleads::test
