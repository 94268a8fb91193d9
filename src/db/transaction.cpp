#include "vornleads/db/sql_connection.h"
#include "vornleads/error.h"

namespace vornleads {

Transaction::Transaction(SqlConnection& connection) : connection_(connection) {
  connection_.beginTransaction();
}

Transaction::~Transaction() {
  if (!open_) return;
  // A destructor must not throw; the database drops the transaction anyway when the
  // rollback cannot reach it.
  try {
    connection_.rollback();
  } catch (const std::exception&) {
  }
}

void Transaction::commit() {
  if (!open_) throw VornError("The transaction is no longer open");
  // A commit the database refuses leaves the transaction open: the destructor then rolls it back.
  connection_.commit();
  open_ = false;
}

void Transaction::rollback() {
  if (!open_) throw VornError("The transaction is no longer open");
  connection_.rollback();
  open_ = false;
}

}  // namespace vornleads
