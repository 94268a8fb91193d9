// The SOCI-backed SqlConnection that OpenConnection returns (Firebird, SQL Server via ODBC).
//
// Transactions: outside an explicit transaction the backend opens one implicitly; this class
// commits it after every statement (and rolls it back after a failed one), so each statement
// takes effect at once and reads always see the latest committed data. On Firebird every
// transaction, the implicit ones included, is started here rather than by SOCI (whose
// backend starts them with the library defaults, waiting for a row lock without limit): with
// snapshot isolation and a row-lock wait of options.lockTimeoutSeconds (firebird_attachment.h).
//
// Concurrent updates: when two connections update the same row, the second one waits until
// the first ends, or the lock time-out passes; if the first commits, the second fails with a
// DatabaseError whose message holds the database's "update conflicts with concurrent update"
// (callers that can, retry); past the time-out, with lockWaitMessage (firebird_failure.h).
//
// A Firebird server is bounded as well: opening waits at most options.connectTimeoutSeconds
// for it to answer (firebird_probe.h), and a call it has not answered after lock-timeout +
// connect-timeout seconds gives the connection up (firebird_attachment.h).
//
// autonomous(): on Firebird, transactions of their own on this same attachment (see
// firebird_sibling.h for why not a second attachment); elsewhere a second connection.
//
// Destruction with a transaction open rolls it back (SOCI's Firebird backend would commit it),
// so a connection dropped in the middle of a transaction leaves nothing half-written. Nothing
// raised while rolling back, freeing statements or closing a connection whose server went
// away ends the program: errors reach the caller as DatabaseError, or are let go in
// destructors.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "db/connection_uri.h"
#include "db/firebird_attachment.h"
#include "vornleads/db/sql_connection.h"

namespace soci {
class row;
class session;
class statement;
}  // namespace soci

namespace vornleads {

class SociConnection final : public SqlConnection {
 public:
  // Opens the database; DatabaseError (without the password) when it cannot be opened.
  SociConnection(const ConnectionTarget& target, const ConnectionOptions& options);
  ~SociConnection() override;
  SociConnection(const SociConnection&) = delete;
  SociConnection& operator=(const SociConnection&) = delete;

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
  // Runs work for statement sql, translating every SOCI/backend error into DatabaseError and
  // ending the implicit transaction when no explicit one is open.
  template <typename Work>
  auto run(const std::string& sql, Work&& work);
  // Runs a call on the session (begin, commit, rollback), its errors as DatabaseError(sql).
  template <typename Action>
  void onSession(const std::string& sql, Action&& action);
  void endImplicitTransaction(bool succeeded);
  void takeFirebirdTransactions(bool server);
  void startFirebirdTransaction(const std::string& sql);
  void prepare(soci::statement& statement, const std::string& sql, soci::row* row);
  // Rolls back what is open and closes the session; never throws.
  void close() noexcept;

  ConnectionTarget target_;  // to open the second connection (not Firebird)
  ConnectionOptions options_;
  std::string driverName_;
  std::string password_;  // only to scrub it from messages
  std::unique_ptr<soci::session> session_;
  std::unique_ptr<FirebirdAttachment> firebird_;  // Firebird only
  isc_tr_handle* transaction_ = nullptr;           // SOCI's transaction handle (Firebird only)
  std::unique_ptr<SqlConnection> autonomous_;
  bool inTransaction_ = false;
  std::map<std::string, std::vector<std::string>> primaryKeys_;
};

}  // namespace vornleads
