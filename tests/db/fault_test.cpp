// The data layer when its database misbehaves: a server killed or hung under a connection, a
// row another transaction holds. Every failure must reach the caller as a DatabaseError that
// says what happened, nothing may end the program, and no wait may outlast its bound.
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <tuple>

#include "db/firebird_failure.h"
#include "support/firebird_server.h"
#include "support/firebird_suite.h"

namespace vornleads {
namespace {

using test::outcome;
using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

bool holds(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

TEST(LockedTable, FromTheDatabasesMessageElseFromTheStatement) {
  // clang-format off
  const std::tuple<std::string, std::string, std::string> casos[] = {
      {"insert into FAT_CLIENTE (CLIENTE) values (7)", "", "FAT_CLIENTE"},
      {"  INSERT INTO\n\"fat_cliente\" values (7)", "", "FAT_CLIENTE"},
      {"update GER_NUMERADOR set PROXIMO_NUMERO = 2", "", "GER_NUMERADOR"},
      {"UPDATE OR INSERT INTO CAC_CONTATO (CONTATO) VALUES (1)", "", "CAC_CONTATO"},
      {"delete from CAC_LEAD_CONTATO where ID_LEAD_VW = 1", "", "CAC_LEAD_CONTATO"},
      {"select PROXIMO_NUMERO from GER_NUMERADOR where X = 1 with lock", "", "GER_NUMERADOR"},
      {"SELECT * FROM CAC_CONTATO FOR UPDATE", "", "CAC_CONTATO"},
      {"select * from CAC_CONTATO", "", ""},  // a plain read holds no row
      {"insert into CAC_INTERESSE values (1)",
       "violation of PRIMARY or UNIQUE KEY constraint \"PK_FAT\" on table \"FAT_CLIENTE\"",
       "FAT_CLIENTE"}};
  // clang-format on
  for (const auto& [sql, message, table] : casos)
    EXPECT_EQ(lockedTable(sql, message), table) << sql;
  EXPECT_EQ("Waited 60 s for a row locked by another transaction on table T: deadlock",
            lockWaitMessage(60, "T", "deadlock"));
  EXPECT_EQ("Waited 1 s for a row locked by another transaction: deadlock",
            lockWaitMessage(1, "", "deadlock"));
}

// Two connections of the same process on an embedded database: the second meets rows the
// first holds, in its own transactions, the implicit ones and those of autonomous().
TEST(HeldRow, EveryTransactionWaitsItsBoundThenNamesTheTable) {
  test::TestDatabase db(false);
  auto setup = db.connect();
  setup->execute("CREATE TABLE RESERVA (ID INTEGER NOT NULL PRIMARY KEY, V INTEGER)");
  setup->execute("INSERT INTO RESERVA (ID, V) VALUES (1, 0)");
  setup->execute("INSERT INTO RESERVA (ID, V) VALUES (3, 0)");
  auto holder = db.connect();
  holder->beginTransaction();
  holder->execute("UPDATE RESERVA SET V = 1 WHERE ID = 1");
  holder->execute("INSERT INTO RESERVA (ID, V) VALUES (2, 0)");

  auto waiter = OpenConnection(db.uri(), {2, 30});
  struct Caso {
    const char* sql;
    bool explicitTransaction, autonomous;
  };
  const Caso casos[] = {{"UPDATE RESERVA SET V = 5 WHERE ID = 1", false, false},
                        {"INSERT INTO RESERVA (ID, V) VALUES (2, 5)", true, false},
                        {"UPDATE RESERVA SET V = 6 WHERE ID = 1", false, true}};
  for (const Caso& caso : casos) {
    SqlConnection& connection = caso.autonomous ? waiter->autonomous() : *waiter;
    if (caso.explicitTransaction) connection.beginTransaction();
    const Clock::time_point start = Clock::now();
    const std::string message = outcome([&] { connection.execute(caso.sql); });
    const double waited = secondsSince(start);
    EXPECT_EQ(0u, message.find("Waited 2 s for a row locked by another transaction on table "
                               "RESERVA: "))
        << message;
    EXPECT_TRUE(holds(message, std::string("SQL: ") + caso.sql)) << message;
    EXPECT_GE(waited, 0.9) << caso.sql;
    EXPECT_LT(waited, 4.0) << caso.sql;
    if (caso.explicitTransaction) connection.rollback();
  }
  // A conflict at once is the database's plain message.
  EXPECT_EQ(0u, outcome([&] {
                  waiter->execute("INSERT INTO RESERVA (ID, V) VALUES (3, 0)");
                }).find("violation of PRIMARY or UNIQUE KEY constraint"));
  holder->rollback();
  EXPECT_EQ(1, waiter->execute("UPDATE RESERVA SET V = 7 WHERE ID = 1"));
  EXPECT_EQ(1, waiter->autonomous().execute("INSERT INTO RESERVA (ID, V) VALUES (2, 7)"));
  EXPECT_EQ(14, test::count(*setup, "SELECT SUM(V) FROM RESERVA"));
}

class ServerFault : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    server_ = std::make_unique<test::FirebirdServer>();
    uri_ = server_->createDatabase("dms.fdb");
    OpenConnection(uri_)->execute(
        "CREATE TABLE MARCA (ID INTEGER NOT NULL PRIMARY KEY, V INTEGER)");
  }
  static void TearDownTestSuite() { server_.reset(); }
  static inline std::unique_ptr<test::FirebirdServer> server_;
  static inline std::string uri_;
};

// Rolling back and closing end quietly; the restarted server holds nothing of the lost
// transactions.
TEST_F(ServerFault, KilledUnderAConnectionEveryCallFailsAndANewConnectionWorks) {
  enum class Point { InTransaction, Implicit, Autonomous, Committing };
  for (const Point point :
       {Point::InTransaction, Point::Implicit, Point::Autonomous, Point::Committing}) {
    SCOPED_TRACE(static_cast<int>(point));
    {
      auto connection = OpenConnection(uri_);
      connection->beginTransaction();
      connection->execute("INSERT INTO MARCA (ID, V) VALUES (1, 1)");
      if (point == Point::Autonomous) connection->autonomous().query("SELECT 1 FROM RDB$DATABASE");
      server_->kill();
      std::string message;
      switch (point) {
        case Point::InTransaction:
          message = outcome([&] { connection->query("SELECT * FROM MARCA"); });
          break;
        case Point::Implicit:
          outcome([&] { connection->rollback(); });  // the server dropped it anyway
          message = outcome([&] { connection->execute("INSERT INTO MARCA (ID) VALUES (2)"); });
          break;
        case Point::Autonomous:
          message = outcome([&] { connection->autonomous().execute("UPDATE MARCA SET V = 2"); });
          break;
        case Point::Committing:
          message = outcome([&] { connection->commit(); });
          break;
      }
      EXPECT_TRUE(holds(message, "Error writing data to the connection") ||
                  holds(message, "Error reading data from the connection"))
          << message;
      // Left to the destructors, with the transaction still open.
    }
    server_->start();
    auto fresh = OpenConnection(uri_);
    EXPECT_EQ(0, test::count(*fresh, "SELECT COUNT(*) FROM MARCA"));
  }
}

TEST_F(ServerFault, HungServerIsGivenUpAfterTheBounds) {
  auto connection = OpenConnection(uri_, {1, 1});
  connection->beginTransaction();
  connection->execute("INSERT INTO MARCA (ID, V) VALUES (10, 1)");
  server_->freeze();
  Clock::time_point start = Clock::now();
  std::string message = outcome([&] { connection->query("SELECT * FROM MARCA"); });
  EXPECT_EQ(0u, message.find("The database did not answer in 2 s: ")) << message;
  EXPECT_GE(secondsSince(start), 1.9);
  EXPECT_LT(secondsSince(start), 4.0);
  start = Clock::now();
  connection.reset();  // rolling back and closing find the connection closed: no wait
  EXPECT_LT(secondsSince(start), 1.0);

  start = Clock::now();
  message = outcome([&] { OpenConnection(uri_, {1, 1}); });
  // The URI as the operator wrote it, its password masked.
  EXPECT_EQ(message, "Cannot open " + uri_.substr(0, uri_.find(':', 11)) + ":***" +
                         uri_.substr(uri_.find('@')) + ": the database did not answer in 1 s");
  EXPECT_GE(secondsSince(start), 0.9);
  EXPECT_LT(secondsSince(start), 3.0);
  server_->thaw();
  EXPECT_EQ(0, test::count(*OpenConnection(uri_, {1, 1}), "SELECT COUNT(*) FROM MARCA"));
}

}  // namespace
}  // namespace vornleads
