// A real connection that also keeps every statement sent through it, for comparing the SQL
// text of the workers with golden strings while the statements still run on Firebird.
#pragma once

#include <string>
#include <vector>

#include "vornleads/data/sql_connection.h"

namespace vornleads::test {

class TracingConnection : public SqlConnection {
 public:
  explicit TracingConnection(SqlConnection& real) : real_(real) {}

  const std::vector<std::string>& statements() const { return statements_; }

  std::string driverName() const override { return real_.driverName(); }
  SqlRowSet query(const std::string& sql) override {
    statements_.push_back(sql);
    return real_.query(sql);
  }
  int64_t execute(const std::string& sql) override {
    statements_.push_back(sql);
    return real_.execute(sql);
  }
  void beginTransaction() override { real_.beginTransaction(); }
  void commit() override { real_.commit(); }
  void rollback() override { real_.rollback(); }
  bool inTransaction() const override { return real_.inTransaction(); }
  std::vector<std::string> primaryKey(const std::string& table) override {
    return real_.primaryKey(table);
  }
  // Not traced: the workers' own SQL runs on this connection.
  SqlConnection& autonomous() override { return real_.autonomous(); }

 private:
  SqlConnection& real_;
  std::vector<std::string> statements_;
};

}  // namespace vornleads::test
