#include "db/soci_connection.h"

#include <soci/firebird/soci-firebird.h>
#include <soci/soci.h>
#ifdef VORNLEADS_HAVE_ODBC
// SOCI's ODBC header needs the ODBC development headers, which this build does without: the
// backend's factory entry is all that is used.
extern "C" soci::backend_factory const* factory_odbc();
#endif

#include <cctype>

#include "db/firebird_probe.h"
#include "db/firebird_sibling.h"
#include "db/soci_rows.h"
#include "db/soci_statement.h"
#include "text/ascii_case.h"
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

std::string rightTrimmed(std::string text) {
  while (!text.empty() && text.back() == ' ') text.pop_back();
  return text;
}

}  // namespace

namespace {

// The attachment handle of SOCI's Firebird session. Read without the sanitizer's type check:
// SOCI does not export the backend's type information.
__attribute__((no_sanitize("vptr"))) isc_db_handle* firebirdAttachment(soci::session& session) {
  return &static_cast<soci::firebird_session_backend*>(session.get_backend())->dbhp_;
}

// Where SOCI's Firebird session keeps the handle of the transaction its statements run in: a
// private member right after the public attachment handle, which SOCI fills with a
// transaction of the library's defaults whenever it finds it empty. takeFirebirdTransactions
// checks the place before anything relies on it.
__attribute__((no_sanitize("vptr"))) isc_tr_handle* sociTransactionSlot(soci::session& session) {
  static_assert(sizeof(isc_db_handle) == sizeof(isc_tr_handle));
  auto* backend = static_cast<soci::firebird_session_backend*>(session.get_backend());
  return reinterpret_cast<isc_tr_handle*>(reinterpret_cast<char*>(&backend->dbhp_) +
                                          sizeof backend->dbhp_);
}

}  // namespace

// Prepared through the statement's own calls rather than session::prepare, whose helper type
// the sanitizer cannot check (SOCI does not export its type information).
void SociConnection::prepare(soci::statement& statement, const std::string& sql, soci::row* row) {
  if (row != nullptr) statement.exchange(soci::into(*row));
  statement.alloc();
  statement.prepare(sql);
  statement.define_and_bind();
}

SociConnection::SociConnection(const ConnectionTarget& target, const ConnectionOptions& options)
    : target_(target), options_(options), driverName_(target.driverName), password_(target.password) {
  const soci::backend_factory& factory = factoryFor(target);
  checkServerAnswers(target, options.connectTimeoutSeconds);
  // SOCI echoes the connect string in some messages; the password must never show.
  const std::string failure = "Cannot open " + target.description + ": ";
  try {
    session_ = std::make_unique<soci::session>(factory, target.connectString);
    if (target.backend == "firebird") takeFirebirdTransactions(!target.server.empty());
  } catch (const soci::soci_error& error) {
    close();
    throw DatabaseError(scrubPassword(failure + error.get_error_message(), password_), "");
  } catch (const DatabaseError& error) {
    close();
    throw DatabaseError(scrubPassword(failure + error.databaseMessage(), password_), "");
  } catch (const std::exception& error) {
    close();
    throw DatabaseError(scrubPassword(failure + error.what(), password_), "");
  }
}

void SociConnection::takeFirebirdTransactions(bool server) {
  firebird_ = std::make_unique<FirebirdAttachment>(firebirdAttachment(*session_), options_, server);
  isc_tr_handle* slot = sociTransactionSlot(*session_);
  session_->begin();
  if (*slot != 0) transaction_ = slot;  // from here on close() rolls it back
  session_->rollback();
  if (transaction_ == nullptr || *transaction_ != 0) {
    throw DatabaseError("this build of SOCI keeps its Firebird transaction elsewhere", "");
  }
}

SociConnection::~SociConnection() { close(); }

void SociConnection::close() noexcept {
  autonomous_.reset();
  if (!session_) return;
  const FirebirdAttachment::Call bound(firebird_.get());
  if (transaction_ != nullptr) {
    // SOCI's Firebird backend commits an open transaction when the session closes; a
    // connection given up in the middle of a transaction must write nothing instead.
    firebird_->dropTransaction(transaction_);
  } else if (inTransaction_) {
    try {
      session_->rollback();
    } catch (const std::exception&) {
      // Nothing more can be done: the database rolls back when the connection goes away.
    }
  }
  // SOCI raises from its destructor, which ends the program, when it cannot detach; the
  // client library detaches without complaint from a server whose network connection is
  // closed, so a connection that was lost is closed on this side first.
  if (firebird_ && firebird_->lost()) firebird_->abort();
  session_.reset();
}

template <typename Work>
auto SociConnection::run(const std::string& sql, Work&& work) {
  const FirebirdAttachment::Call bound(firebird_.get());
  try {
    if (firebird_) startFirebirdTransaction(sql);
    auto result = work();
    if (!inTransaction_) endImplicitTransaction(true);
    return result;
  } catch (const soci::firebird_soci_error& error) {
    if (!inTransaction_) endImplicitTransaction(false);
    throw bound.failure(scrubPassword(error.get_error_message(), password_), error.status_.data(),
                        error.status_.size(), sql, options_.lockTimeoutSeconds);
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

template <typename Action>
void SociConnection::onSession(const std::string& sql, Action&& action) {
  const FirebirdAttachment::Call bound(firebird_.get());
  try {
    action();
  } catch (const soci::firebird_soci_error& error) {
    throw bound.failure(scrubPassword(error.get_error_message(), password_), error.status_.data(),
                        error.status_.size(), sql, options_.lockTimeoutSeconds);
  } catch (const soci::soci_error& error) {
    throw DatabaseError(scrubPassword(error.get_error_message(), password_), sql);
  }
}

void SociConnection::startFirebirdTransaction(const std::string& sql) {
  if (*transaction_ == 0) firebird_->startTransaction(transaction_, options_.lockTimeoutSeconds, sql);
}

void SociConnection::endImplicitTransaction(bool succeeded) {
  // The backend opens a transaction for any statement run outside an explicit one; ending it
  // here makes the statement's effect visible at once.
  if (succeeded) {
    onSession("COMMIT", [&] { session_->commit(); });
  } else if (firebird_) {
    firebird_->dropTransaction(transaction_);
  } else {
    try {
      session_->rollback();
    } catch (const soci::soci_error&) {
      // A failed statement's transaction that cannot be rolled back leaves nothing to undo.
    }
  }
}

SqlRowSet SociConnection::query(const std::string& sql) {
  const bool firebird = firebird_ != nullptr;
  return run(sql, [&] {
    SqlRowSet rows;
    soci::row row;
    SociStatement statement(*session_, firebird);
    prepare(*statement, sql, &row);
    bool fetched = statement->execute(true);
    rows.columns = sociColumnNames(row);
    while (fetched) {
      rows.rows.push_back(sociRowValues(row, *statement, firebird));
      fetched = statement->fetch();
    }
    return rows;
  });
}

int64_t SociConnection::execute(const std::string& sql) {
  return run(sql, [&]() -> int64_t {
    SociStatement statement(*session_, firebird_ != nullptr);
    prepare(*statement, sql, nullptr);
    statement->execute(true);
    // Statements without a row count (DDL, for one) make the backend raise here.
    try {
      return statement->get_affected_rows();
    } catch (const soci::soci_error&) {
      return -1;
    }
  });
}

void SociConnection::beginTransaction() {
  if (inTransaction_) throw VornError("A transaction is already open on this connection");
  if (firebird_) {
    startFirebirdTransaction("BEGIN TRANSACTION");
  } else {
    onSession("BEGIN TRANSACTION", [&] { session_->begin(); });
  }
  inTransaction_ = true;
}

void SociConnection::commit() {
  if (!inTransaction_) throw VornError("No transaction is open on this connection");
  onSession("COMMIT", [&] { session_->commit(); });
  inTransaction_ = false;
}

void SociConnection::rollback() {
  if (!inTransaction_) throw VornError("No transaction is open on this connection");
  inTransaction_ = false;
  try {
    onSession("ROLLBACK", [&] { session_->rollback(); });
  } catch (const DatabaseError&) {
    // Whatever the database said, the transaction must not live on to be committed later.
    if (firebird_) firebird_->dropTransaction(transaction_);
    throw;
  }
}

std::vector<std::string> SociConnection::primaryKey(const std::string& table) {
  const std::string name = asciiUpper(table);
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
    columns.push_back(asciiUpper(rightTrimmed(row.at(0).asString())));
  }
  primaryKeys_.emplace(name, columns);
  return columns;
}

SqlConnection& SociConnection::autonomous() {
  if (autonomous_) return *autonomous_;
  if (target_.backend == "firebird") {
    autonomous_ = std::make_unique<FirebirdSiblingConnection>(*firebird_, *this);
  } else {
    autonomous_ = std::make_unique<SociConnection>(target_, options_);
  }
  return *autonomous_;
}

}  // namespace vornleads
