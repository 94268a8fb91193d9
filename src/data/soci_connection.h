// The SOCI-backed SqlConnection that OpenConnection returns (Firebird, SQL Server via ODBC).
//
// Transactions: SOCI's Firebird backend starts every transaction with the library defaults
// (snapshot isolation, wait on locks) and keeps its handle private. Outside an explicit
// transaction the backend opens one implicitly; this class commits it after every statement
// (and rolls it back after a failed one), so each statement takes effect at once and reads
// always see the latest committed data.
//
// Concurrent updates: when two connections update the same row, the second one waits until
// the first ends; if the first commits, the second fails with a DatabaseError whose message
// holds the database's "update conflicts with concurrent update" (callers that can, retry).
//
// autonomous(): on Firebird, transactions of their own on this same attachment (see
// firebird_sibling.h for why not a second attachment); elsewhere a second connection.
//
// Destruction with a transaction open rolls it back (SOCI's Firebird backend would commit it),
// so a connection dropped in the middle of a transaction leaves nothing half-written.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "data/connection_uri.h"
#include "vornleads/data/sql_connection.h"

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
  void endImplicitTransaction(bool succeeded);
  soci::statement prepared(const std::string& sql, soci::row* row);

  ConnectionTarget target_;  // to open the second connection (not Firebird)
  ConnectionOptions options_;
  std::string driverName_;
  std::string password_;  // only to scrub it from messages
  std::unique_ptr<soci::session> session_;
  std::unique_ptr<SqlConnection> autonomous_;
  bool inTransaction_ = false;
  std::map<std::string, std::vector<std::string>> primaryKeys_;
};

}  // namespace vornleads
