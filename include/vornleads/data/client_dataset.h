// TClientDataSet: the rows of one query held in memory, with a cursor, and, when opened
// with a table name, editable: Edit/Append, SetField, Post writes one UPDATE or INSERT.
//
// Reading: the cursor starts on the first row. Next past the last row sets Eof and leaves the
// cursor on the last row (as the host's datasets do). FieldByName of a column the query did
// not return raises VornError "Field 'NAME' not found"; on a dataset without rows every
// known column reads as null.
//
// Writing (editable datasets only; otherwise Edit/Append raise VornError
// "Cannot modify a read-only dataset"):
// - Edit puts the current row in edit state; on an empty dataset it appends instead, as the
//   host's datasets do. Append adds an empty row (all columns null) at the end and puts it in
//   insert state. Append, First and Next post pending changes first; Edit while editing does
//   nothing.
// - SetField changes one column of that row; outside edit or insert state it raises VornError
//   "Dataset not in edit or insert mode".
// - Post in edit state runs one "UPDATE TABLE SET A = ..., B = ... WHERE K1 = ... AND K2 = ..."
//   with the columns whose value changed, keyed by the table's primary key with the values
//   the row had before the edit (no statement when nothing changed; VornError when the table
//   has no primary key or the query did not return a key column; VornError
//   "Record not found or changed by another user" when the UPDATE touched no row).
//   Post in insert state runs one "INSERT INTO TABLE (A, B) VALUES (...)" of the columns set
//   with SetField. Both run on the dataset's connection, hence inside the caller's
//   transaction; a refused statement raises DatabaseError and leaves the dataset in its
//   edit/insert state. After Post the cursor row holds the posted values.
// - Cancel drops the pending changes (an appended row disappears).
// Literals: integers bare, floats with "." and no exponent, text quoted with embedded quotes
// doubled, dates and date-times through DataHoraPSql of the connection's dialect, null as NULL.
//
// Ownership: the dataset does not own the connection, which must outlive it.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "vornleads/db/sql_connection.h"
#include "vornleads/db/sql_value.h"

namespace vornleads {

class TClientDataSet {
 public:
  enum class State { Browse, Edit, Insert };

  // A read-only dataset over rows already read.
  explicit TClientDataSet(SqlRowSet rows);
  // An editable dataset of table tabela on connection (not owned).
  TClientDataSet(SqlRowSet rows, SqlConnection& connection, std::string tabela);

  TClientDataSet(const TClientDataSet&) = delete;
  TClientDataSet& operator=(const TClientDataSet&) = delete;

  bool IsEmpty() const { return rows_.rows.empty(); }
  bool Eof() const;
  int32_t RecordCount() const { return static_cast<int32_t>(rows_.rows.size()); }
  void First();
  void Next();

  const SqlValue& FieldByName(const std::string& name) const;
  // Column names, upper case, in query order.
  const std::vector<std::string>& FieldNames() const { return rows_.columns; }

  State state() const { return state_; }
  bool editable() const { return connection_ != nullptr; }
  const std::string& tableName() const { return tabela_; }

  void Edit();
  void Append();
  void SetField(const std::string& name, const SqlValue& value);
  void Post();
  void Cancel();

 private:
  void requireEditable(const char* operation) const;
  void postUpdate();
  void postInsert();

  SqlRowSet rows_;
  SqlConnection* connection_ = nullptr;  // not owned; null for a read-only dataset
  std::string tabela_;
  size_t cursor_ = 0;
  bool eof_ = false;
  State state_ = State::Browse;
  size_t cursorBeforeAppend_ = 0;
  std::vector<SqlValue> original_;  // the row as it was before Edit
  std::vector<bool> assigned_;      // columns given a value by SetField since Edit/Append
};

}  // namespace vornleads
