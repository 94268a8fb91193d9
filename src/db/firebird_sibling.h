// Transactions of their own on an open Firebird attachment: the autonomous() connection of a
// Firebird SociConnection.
//
// Why not a second attachment: with the embedded engine in SuperClassic every attachment is a
// lock owner of its own, and a page the main attachment has read stays locked by it until the
// engine asks for it back. A draw on a second attachment of the same process could then queue
// for such a page behind another process's writer, which in turn waits for this process's
// main attachment, idle while the application waits for the draw: a wait the lock manager
// cannot see, so both processes hung for good. A second transaction on the same attachment
// shares the main one's page locks and lock owner, so that chain cannot form.
//
// Row locks can still make such a chain (a row another process's transaction holds while it
// waits for this connection's main transaction, or a row the main transaction itself holds),
// so its transactions wait at most kLockTimeoutSeconds (or the connection's lock time-out when
// shorter) for a row, then fail with a DatabaseError that says so instead of waiting forever.
// Calls are bounded by the attachment's watchdog like the main connection's.
//
// Statements: what the counters need, without parameters; columns of integer, scaled integer,
// floating, CHAR and VARCHAR types (other types raise DatabaseError). Outside an explicit
// transaction each statement runs in one of its own, committed after it (rolled back after a
// failure). A transaction still open at destruction is rolled back.
#pragma once

#include <ibase.h>

#include <string>
#include <vector>

#include "db/firebird_attachment.h"
#include "vornleads/db/sql_connection.h"

namespace vornleads {

class FirebirdSiblingConnection final : public SqlConnection {
 public:
  static constexpr int kLockTimeoutSeconds = 5;

  // attachment: the open attachment, owned elsewhere and outliving this object; owner answers
  // primaryKey.
  FirebirdSiblingConnection(FirebirdAttachment& attachment, SqlConnection& owner);
  ~FirebirdSiblingConnection() override;
  FirebirdSiblingConnection(const FirebirdSiblingConnection&) = delete;
  FirebirdSiblingConnection& operator=(const FirebirdSiblingConnection&) = delete;

  std::string driverName() const override { return "Firebird"; }
  SqlRowSet query(const std::string& sql) override;
  int64_t execute(const std::string& sql) override;
  void beginTransaction() override;
  void commit() override;
  void rollback() override;
  bool inTransaction() const override { return explicit_; }
  std::vector<std::string> primaryKey(const std::string& table) override;
  // Already independent of the owner's transaction: itself.
  SqlConnection& autonomous() override { return *this; }

 private:
  template <typename Work>
  auto run(const std::string& sql, Work&& work);
  void end(bool commit, const std::string& sql);
  int lockSeconds() const;

  FirebirdAttachment& attachment_;
  SqlConnection& owner_;
  isc_tr_handle transaction_ = 0;
  bool explicit_ = false;
};

}  // namespace vornleads
