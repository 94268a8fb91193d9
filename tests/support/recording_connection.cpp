#include "support/recording_connection.h"

#include <algorithm>
#include <utility>

#include "support/sql_dialect_check.h"
#include "vornleads/data/geral.h"
#include "vornleads/error.h"

namespace vornleads::test {
namespace {

// The first entry whose prefix starts sql, or end.
template <typename Entries>
auto firstMatch(Entries& entries, const std::string& sql) {
  return std::find_if(entries.begin(), entries.end(), [&](const auto& e) {
    return sql.compare(0, e.prefix.size(), e.prefix) == 0;
  });
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

void RecordingConnection::send(const std::string& sql) {
  script_->statements.push_back(sql);
  auto failure = firstMatch(script_->failures, sql);
  if (failure == script_->failures.end()) return;
  const std::string message = failure->message;
  script_->failures.erase(failure);
  throw DatabaseError(message, sql);
}

SqlRowSet RecordingConnection::query(const std::string& sql) {
  collectDialectStatement(BuscaBanco(*this), sql);
  send(sql);
  auto answer = firstMatch(script_->answers, sql);
  if (answer == script_->answers.end()) return SqlRowSet{};
  SqlRowSet rows = answer->rows;
  script_->answers.erase(answer);
  return rows;
}

int64_t RecordingConnection::execute(const std::string& sql) {
  collectDialectStatement(BuscaBanco(*this), sql);
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
  inTransaction_ = false;  // a rollback ends the transaction even when told to fail
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
