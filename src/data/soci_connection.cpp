#include "data/soci_connection.h"

#include <soci/firebird/soci-firebird.h>
#include <soci/soci.h>
#ifdef VORNLEADS_HAVE_ODBC
// SOCI's ODBC header needs the ODBC development headers, which this build does without: the
// backend's factory entry is all that is used.
extern "C" soci::backend_factory const* factory_odbc();
#endif

#include <cctype>

#include "data/firebird_sibling.h"
#include "data/soci_rows.h"
#include "vornleads/error.h"

namespace vornleads {
namespace {

const soci::backend_factory& factoryFor(const ConnectionTarget& target) {
  if (target.backend == "firebird") return soci::firebird;
#ifdef VORNLEADS_HAVE_ODBC
  if (target.backend == "odbc") return *factory_odbc();
#endif
  throw DatabaseError("Cannot open " + target.description + ": the " + target.backend +
                          " backend of SOCI is not available in this build",
                      "");
}

std::string quotedText(const std::string& text) {
  std::string result = "'";
  for (char ch : text) {
    result += ch;
    if (ch == '\'') result += '\'';
  }
  return result + "'";
}

std::string upper(std::string text) {
  for (char& ch : text) ch = static_cast<char>(std::toupper(static_cast<unsigned char>(ch)));
  return text;
}

std::string rightTrimmed(std::string text) {
  while (!text.empty() && text.back() == ' ') text.pop_back();
  return text;
}

}  // namespace

// Prepared through the statement's own calls rather than session::prepare, whose helper type
// the sanitizer cannot check (SOCI does not export its type information).
soci::statement SociConnection::prepared(const std::string& sql, soci::row* row) {
  soci::statement statement(*session_);
  if (row != nullptr) statement.exchange(soci::into(*row));
  statement.alloc();
  statement.prepare(sql);
  statement.define_and_bind();
  return statement;
}

SociConnection::SociConnection(const ConnectionTarget& target, const ConnectionOptions& options)
    : target_(target), options_(options), driverName_(target.driverName), password_(target.password) {
  const soci::backend_factory& factory = factoryFor(target);
  try {
    session_ = std::make_unique<soci::session>(factory, target.connectString);
  } catch (const soci::soci_error& error) {
    // SOCI echoes the connect string in some messages; the password must never show.
    throw DatabaseError(
        scrubPassword("Cannot open " + target.description + ": " + error.get_error_message(),
                      password_),
        "");
  } catch (const std::exception& error) {
    throw DatabaseError(
        scrubPassword("Cannot open " + target.description + ": " + error.what(), password_), "");
  }
}

SociConnection::~SociConnection() {
  autonomous_.reset();
  if (!inTransaction_ || !session_) return;
  // SOCI's Firebird backend commits an open transaction when the session closes; a
  // connection given up in the middle of a transaction must write nothing instead.
  try {
    session_->rollback();
  } catch (const std::exception&) {
    // Nothing more can be done: the database rolls back when the attachment goes away.
  }
}

template <typename Work>
auto SociConnection::run(const std::string& sql, Work&& work) {
  try {
    auto result = work();
    if (!inTransaction_) endImplicitTransaction(true);
    return result;
  } catch (const soci::soci_error& error) {
    if (!inTransaction_) endImplicitTransaction(false);
    throw DatabaseError(scrubPassword(error.get_error_message(), password_), sql);
  } catch (const DatabaseError&) {
    if (!inTransaction_) endImplicitTransaction(false);
    throw;
  } catch (const VornError& error) {
    if (!inTransaction_) endImplicitTransaction(false);
    throw DatabaseError(error.what(), sql);
  }
}

void SociConnection::endImplicitTransaction(bool succeeded) {
  // The backend opens a transaction for any statement run outside an explicit one; ending it
  // here makes the statement's effect visible at once. A failed statement's transaction is
  // rolled back; an error while doing so leaves nothing to undo.
  try {
    if (succeeded) {
      session_->commit();
    } else {
      session_->rollback();
    }
  } catch (const soci::soci_error& error) {
    if (succeeded)
      throw DatabaseError(scrubPassword(error.get_error_message(), password_), "COMMIT");
  }
}

SqlRowSet SociConnection::query(const std::string& sql) {
  const bool firebird = driverName_ == "Firebird";
  return run(sql, [&] {
    SqlRowSet rows;
    soci::row row;
    soci::statement statement = prepared(sql, &row);
    bool fetched = statement.execute(true);
    rows.columns = sociColumnNames(row);
    while (fetched) {
      rows.rows.push_back(sociRowValues(row, statement, firebird));
      fetched = statement.fetch();
    }
    return rows;
  });
}

int64_t SociConnection::execute(const std::string& sql) {
  return run(sql, [&]() -> int64_t {
    soci::statement statement = prepared(sql, nullptr);
    statement.execute(true);
    // Statements without a row count (DDL, for one) make the backend raise here.
    try {
      return statement.get_affected_rows();
    } catch (const soci::soci_error&) {
      return -1;
    }
  });
}

void SociConnection::beginTransaction() {
  if (inTransaction_) throw VornError("A transaction is already open on this connection");
  try {
    session_->begin();
  } catch (const soci::soci_error& error) {
    throw DatabaseError(scrubPassword(error.get_error_message(), password_), "BEGIN TRANSACTION");
  }
  inTransaction_ = true;
}

void SociConnection::commit() {
  if (!inTransaction_) throw VornError("No transaction is open on this connection");
  try {
    session_->commit();
  } catch (const soci::soci_error& error) {
    throw DatabaseError(scrubPassword(error.get_error_message(), password_), "COMMIT");
  }
  inTransaction_ = false;
}

void SociConnection::rollback() {
  if (!inTransaction_) throw VornError("No transaction is open on this connection");
  inTransaction_ = false;
  try {
    session_->rollback();
  } catch (const soci::soci_error& error) {
    throw DatabaseError(scrubPassword(error.get_error_message(), password_), "ROLLBACK");
  }
}

std::vector<std::string> SociConnection::primaryKey(const std::string& table) {
  const std::string name = upper(table);
  const auto known = primaryKeys_.find(name);
  if (known != primaryKeys_.end()) return known->second;

  std::string sql;
  if (driverName_ == "Firebird") {
    sql =
        "SELECT S.RDB$FIELD_NAME FROM RDB$RELATION_CONSTRAINTS RC JOIN RDB$INDEX_SEGMENTS S ON "
        "S.RDB$INDEX_NAME = RC.RDB$INDEX_NAME WHERE RC.RDB$CONSTRAINT_TYPE = 'PRIMARY KEY' AND "
        "RC.RDB$RELATION_NAME = " +
        quotedText(name) + " ORDER BY S.RDB$FIELD_POSITION";
  } else {
    sql =
        "SELECT KU.COLUMN_NAME FROM INFORMATION_SCHEMA.TABLE_CONSTRAINTS TC JOIN "
        "INFORMATION_SCHEMA.KEY_COLUMN_USAGE KU ON KU.CONSTRAINT_NAME = TC.CONSTRAINT_NAME AND "
        "KU.TABLE_NAME = TC.TABLE_NAME WHERE TC.CONSTRAINT_TYPE = 'PRIMARY KEY' AND "
        "UPPER(TC.TABLE_NAME) = " +
        quotedText(name) + " ORDER BY KU.ORDINAL_POSITION";
  }
  std::vector<std::string> columns;
  for (const auto& row : query(sql).rows) {
    // System tables hold names in fixed-width CHAR columns.
    columns.push_back(upper(rightTrimmed(row.at(0).asString())));
  }
  primaryKeys_.emplace(name, columns);
  return columns;
}

namespace {

// The attachment handle of SOCI's Firebird session. Read without the sanitizer's type check:
// SOCI does not export the backend's type information.
__attribute__((no_sanitize("vptr"))) isc_db_handle* firebirdAttachment(soci::session& session) {
  return &static_cast<soci::firebird_session_backend*>(session.get_backend())->dbhp_;
}

}  // namespace

SqlConnection& SociConnection::autonomous() {
  if (autonomous_) return *autonomous_;
  if (target_.backend == "firebird") {
    autonomous_ = std::make_unique<FirebirdSiblingConnection>(firebirdAttachment(*session_), *this);
  } else {
    autonomous_ = std::make_unique<SociConnection>(target_, options_);
  }
  return *autonomous_;
}

}  // namespace vornleads
