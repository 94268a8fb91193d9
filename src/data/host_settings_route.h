// Where a data-layer routine sends its update statements and its own transactions: the local
// connection, or, in remote mode (VarTecnologia "DATASNAP"), the host's application server.
// Queries are not routed: they always read the local connection.
#pragma once

#include <memory>
#include <string>

#include "vornleads/data/host_settings.h"
#include "vornleads/db/sql_connection.h"

namespace vornleads {

class UpdateRoute {
 public:
  // Takes a snapshot of the host settings; a later change does not affect this route.
  explicit UpdateRoute(SqlConnection& local);

  bool remote() const { return remote_ != nullptr; }

  // Raises DatabaseError from the local connection, or VornError when the application server
  // answers false (the message names the statement).
  void execute(const std::string& sql);
  void begin();
  void commit();
  void rollback();

 private:
  SqlConnection& local_;
  std::shared_ptr<RemoteServerConnection> remote_;
};

// A transaction owned by a routine, begun on construction when `active`, rolled back on
// destruction unless committed. Inactive scopes do nothing (the caller owns the transaction).
class RouteTransaction {
 public:
  RouteTransaction(UpdateRoute& route, bool active);
  ~RouteTransaction();
  RouteTransaction(const RouteTransaction&) = delete;
  RouteTransaction& operator=(const RouteTransaction&) = delete;

  void commit();

 private:
  UpdateRoute& route_;
  bool open_;
};

}  // namespace vornleads
