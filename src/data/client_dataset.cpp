#include "vornleads/data/client_dataset.h"

#include "data/sql_literal.h"
#include "vornleads/data/geral.h"
#include "vornleads/error.h"

namespace vornleads {

TClientDataSet::TClientDataSet(SqlRowSet rows) : rows_(std::move(rows)) { First(); }

TClientDataSet::TClientDataSet(SqlRowSet rows, SqlConnection& connection, std::string tabela)
    : rows_(std::move(rows)), connection_(&connection), tabela_(std::move(tabela)) {
  First();
}

bool TClientDataSet::Eof() const { return rows_.rows.empty() || eof_; }

void TClientDataSet::First() {
  if (state_ != State::Browse) Post();
  cursor_ = 0;
  eof_ = rows_.rows.empty();
}

void TClientDataSet::Next() {
  if (state_ != State::Browse) Post();
  if (cursor_ + 1 < rows_.rows.size()) {
    ++cursor_;
  } else {
    eof_ = true;
  }
}

const SqlValue& TClientDataSet::FieldByName(const std::string& name) const {
  static const SqlValue null;
  const size_t index = rows_.columnIndex(name);
  if (rows_.rows.empty()) return null;
  return rows_.rows[cursor_][index];
}

void TClientDataSet::requireEditable(const char* operation) const {
  if (connection_ == nullptr || tabela_.empty()) {
    throw VornError(std::string("Cannot modify a read-only dataset (") + operation + ")");
  }
}

void TClientDataSet::Edit() {
  requireEditable("Edit");
  if (state_ != State::Browse) return;
  if (rows_.rows.empty()) {
    Append();
    return;
  }
  original_ = rows_.rows[cursor_];
  assigned_.assign(rows_.columns.size(), false);
  state_ = State::Edit;
}

void TClientDataSet::Append() {
  requireEditable("Append");
  if (state_ != State::Browse) Post();
  cursorBeforeAppend_ = cursor_;
  rows_.rows.emplace_back(rows_.columns.size());
  cursor_ = rows_.rows.size() - 1;
  eof_ = false;
  original_ = rows_.rows[cursor_];
  assigned_.assign(rows_.columns.size(), false);
  state_ = State::Insert;
}

void TClientDataSet::SetField(const std::string& name, const SqlValue& value) {
  if (state_ == State::Browse) throw VornError("Dataset not in edit or insert mode");
  const size_t index = rows_.columnIndex(name);
  rows_.rows[cursor_][index] = value;
  assigned_[index] = true;
}

void TClientDataSet::Post() {
  if (state_ == State::Browse) throw VornError("Dataset not in edit or insert mode");
  if (state_ == State::Edit) {
    postUpdate();
  } else {
    postInsert();
  }
  state_ = State::Browse;
}

void TClientDataSet::Cancel() {
  if (state_ == State::Insert) {
    rows_.rows.pop_back();
    cursor_ = rows_.rows.empty() ? 0 : cursorBeforeAppend_;
    eof_ = rows_.rows.empty();
  } else if (state_ == State::Edit) {
    rows_.rows[cursor_] = original_;
  }
  state_ = State::Browse;
}

void TClientDataSet::postUpdate() {
  const std::vector<SqlValue>& row = rows_.rows[cursor_];
  const std::string dialect = BuscaBanco(*connection_);
  std::string assignments;
  for (size_t index = 0; index < row.size(); ++index) {
    if (row[index] == original_[index]) continue;
    if (!assignments.empty()) assignments += ", ";
    assignments += rows_.columns[index] + " = " + SqlLiteral(row[index], dialect);
  }
  if (assignments.empty()) return;

  const std::vector<std::string> key = connection_->primaryKey(tabela_);
  if (key.empty()) {
    throw VornError("Table " + tabela_ + " has no primary key: its rows cannot be updated");
  }
  std::string condition;
  for (const std::string& column : key) {
    size_t index = 0;
    try {
      index = rows_.columnIndex(column);
    } catch (const VornError&) {
      throw VornError("The dataset of " + tabela_ + " does not hold its key column " + column +
                      ": the row cannot be updated");
    }
    if (!condition.empty()) condition += " AND ";
    condition += original_[index].isNull() ? column + " IS NULL"
                                           : column + " = " + SqlLiteral(original_[index], dialect);
  }
  const std::string sql = "UPDATE " + tabela_ + " SET " + assignments + " WHERE " + condition;
  if (connection_->execute(sql) == 0) {
    throw VornError("Record not found or changed by another user");
  }
}

void TClientDataSet::postInsert() {
  const std::vector<SqlValue>& row = rows_.rows[cursor_];
  const std::string dialect = BuscaBanco(*connection_);
  std::string columns;
  std::string values;
  for (size_t index = 0; index < row.size(); ++index) {
    if (!assigned_[index]) continue;
    if (!columns.empty()) {
      columns += ", ";
      values += ", ";
    }
    columns += rows_.columns[index];
    values += SqlLiteral(row[index], dialect);
  }
  if (columns.empty()) {
    connection_->execute("INSERT INTO " + tabela_ + " DEFAULT VALUES");
  } else {
    connection_->execute("INSERT INTO " + tabela_ + " (" + columns + ") VALUES (" + values + ")");
  }
}

}  // namespace vornleads
