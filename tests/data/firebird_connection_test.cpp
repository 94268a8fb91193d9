// The SOCI-backed connection on a real embedded Firebird database: values, errors,
// transactions, concurrent updates and connections lost in the middle of a transaction.
#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <memory>
#include <string>
#include <thread>

#include "support/firebird_db.h"
#include "vornleads/data/sql_connection.h"
#include "vornleads/error.h"
#include "vornleads/text/datetime.h"

namespace vornleads {
namespace {

using test::TestDatabase;

// isql's output with every run of blanks and line ends made one blank, trimmed.
std::string collapsed(const std::string& text) {
  std::string result;
  for (char ch : text) {
    const bool blank = ch == ' ' || ch == '\n' || ch == '\r' || ch == '\t';
    if (blank) {
      if (!result.empty() && result.back() != ' ') result += ' ';
    } else {
      result += ch;
    }
  }
  if (!result.empty() && result.back() == ' ') result.pop_back();
  return result;
}

class FirebirdConnection : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    db_ = std::make_unique<TestDatabase>(false);
    auto connection = db_->connect();
    connection->execute(
        "CREATE TABLE VALORES (ID INTEGER NOT NULL PRIMARY KEY, I INTEGER, S SMALLINT, B BIGINT, "
        "D DOUBLE PRECISION, N NUMERIC(15,2), N3 NUMERIC(9,3), T VARCHAR(200), C CHAR(3), "
        "DT DATE, TS TIMESTAMP, TM TIME)");
  }
  static void TearDownTestSuite() { db_.reset(); }

  void SetUp() override { connection_ = db_->connect(); }

  int64_t count(SqlConnection& connection, const std::string& where) {
    return connection.query("SELECT COUNT(*) FROM VALORES WHERE " + where)
        .rows.at(0)
        .at(0)
        .asInteger();
  }

  static std::unique_ptr<TestDatabase> db_;
  std::unique_ptr<SqlConnection> connection_;
};

std::unique_ptr<TestDatabase> FirebirdConnection::db_;

TEST_F(FirebirdConnection, EveryKindOfValueComesBackExactly) {
  const std::string hostile = "O'Brien \"aspas\" ç ã é ü € 😀 tab\there\r\nnova linha \x01\x1f";
  std::string literal;
  for (char ch : hostile) literal += ch == '\'' ? std::string("''") : std::string(1, ch);
  ASSERT_EQ(1, connection_->execute(
                   "INSERT INTO VALORES VALUES (1, -2147483648, -32768, 9223372036854775807, "
                   "0.1, 1234567890123.45, -0.005, '" +
                   literal +
                   "', 'ab', CAST('2024-02-29' AS DATE), "
                   "CAST('2024-03-05 14:07:09.123' AS TIMESTAMP), CAST('23:59:58.999' AS TIME))"));
  ASSERT_EQ(1, connection_->execute("INSERT INTO VALORES (ID) VALUES (2)"));

  const SqlRowSet rows = connection_->query("select * from VALORES where ID in (1, 2) order by ID");
  EXPECT_EQ(
      (std::vector<std::string>{"ID", "I", "S", "B", "D", "N", "N3", "T", "C", "DT", "TS", "TM"}),
      rows.columns);
  ASSERT_EQ(2u, rows.rows.size());
  EXPECT_EQ(SqlValue::integer(-2147483648LL), rows.value(0, "I"));
  EXPECT_EQ(SqlValue::integer(-32768), rows.value(0, "S"));
  EXPECT_EQ(SqlValue::integer(9223372036854775807LL), rows.value(0, "B"));
  EXPECT_EQ(SqlValue::real(0.1), rows.value(0, "D"));
  EXPECT_EQ(SqlValue::real(1234567890123.45), rows.value(0, "N"));
  EXPECT_EQ(SqlValue::real(-0.005), rows.value(0, "N3"));
  EXPECT_EQ(SqlValue::text(hostile), rows.value(0, "T"));
  // CHAR values lose the padding to their width.
  EXPECT_EQ(SqlValue::text("ab"), rows.value(0, "C"));
  EXPECT_EQ(SqlValue::date(EncodeDate(2024, 2, 29)), rows.value(0, "DT"));
  EXPECT_EQ(SqlValue::dateTime(EncodeDateTime({2024, 3, 5, 14, 7, 9, 123})), rows.value(0, "TS"));
  EXPECT_EQ(SqlValue::dateTime(EncodeTime(23, 59, 58, 999)), rows.value(0, "TM"));
  for (const SqlValue& value : rows.rows[1]) {
    if (&value == &rows.rows[1][0]) continue;
    EXPECT_TRUE(value.isNull());
  }
}

TEST_F(FirebirdConnection, QueryWithoutRowsStillNamesItsColumnsInUpperCase) {
  const SqlRowSet rows = connection_->query("select id, t as texto from VALORES where ID = -1");
  EXPECT_TRUE(rows.empty());
  EXPECT_EQ((std::vector<std::string>{"ID", "TEXTO"}), rows.columns);
}

TEST_F(FirebirdConnection, ExecuteCountsRowsAndReportsMinusOneForStatementsWithoutRows) {
  connection_->execute("INSERT INTO VALORES (ID, I) VALUES (10, 1)");
  connection_->execute("INSERT INTO VALORES (ID, I) VALUES (11, 1)");
  EXPECT_EQ(2, connection_->execute("UPDATE VALORES SET I = 2 WHERE ID IN (10, 11)"));
  EXPECT_EQ(0, connection_->execute("UPDATE VALORES SET I = 2 WHERE ID = -5"));
  EXPECT_EQ(-1, connection_->execute("CREATE TABLE SEM_LINHAS (A INTEGER)"));
  EXPECT_EQ(2, connection_->execute("DELETE FROM VALORES WHERE ID IN (10, 11)"));
}

TEST_F(FirebirdConnection, RefusedStatementsCarryTheDatabaseMessageAndTheStatement) {
  const std::string sql = "SELECT * FROM TABELA_QUE_NAO_EXISTE";
  try {
    connection_->query(sql);
    FAIL() << "no error";
  } catch (const DatabaseError& error) {
    EXPECT_EQ(sql, error.statement());
    EXPECT_NE(std::string::npos, error.databaseMessage().find("Table unknown"));
    EXPECT_NE(std::string::npos, error.databaseMessage().find("TABELA_QUE_NAO_EXISTE"));
    EXPECT_EQ(error.databaseMessage() + "\r\nSQL: " + sql, error.what());
  }
  // The connection goes on working after a refused statement.
  EXPECT_EQ(0, count(*connection_, "ID = -1"));
}

TEST_F(FirebirdConnection, ValuesBeyondTheirColumnsAreRefusedNotCut) {
  const std::string tooLong = "INSERT INTO VALORES (ID, C) VALUES (20, 'abcd')";
  try {
    connection_->execute(tooLong);
    FAIL() << "text longer than CHAR(3) was accepted";
  } catch (const DatabaseError& error) {
    EXPECT_NE(std::string::npos, error.databaseMessage().find("string right truncation"));
    EXPECT_EQ(tooLong, error.statement());
  }
  const std::string tooLarge = "INSERT INTO VALORES (ID, I) VALUES (21, 2147483648)";
  try {
    connection_->execute(tooLarge);
    FAIL() << "an integer beyond INTEGER was accepted";
  } catch (const DatabaseError& error) {
    EXPECT_NE(std::string::npos, error.databaseMessage().find("numeric value is out of range"));
    EXPECT_EQ(tooLarge, error.statement());
  }
  EXPECT_EQ(0, count(*connection_, "ID IN (20, 21)"));
}

TEST_F(FirebirdConnection, StatementsOutsideATransactionAreVisibleAtOnce) {
  auto other = db_->connect();
  EXPECT_EQ(0, count(*other, "ID = 30"));  // the other connection has read before
  connection_->execute("INSERT INTO VALORES (ID) VALUES (30)");
  EXPECT_EQ(1, count(*other, "ID = 30"));
}

TEST_F(FirebirdConnection, TransactionsCommitAndRollBackTogether) {
  auto other = db_->connect();
  connection_->beginTransaction();
  EXPECT_TRUE(connection_->inTransaction());
  connection_->execute("INSERT INTO VALORES (ID) VALUES (40)");
  connection_->execute("INSERT INTO VALORES (ID) VALUES (41)");
  EXPECT_EQ(2, count(*connection_, "ID IN (40, 41)"));
  EXPECT_EQ(0, count(*other, "ID IN (40, 41)"));
  connection_->rollback();
  EXPECT_FALSE(connection_->inTransaction());
  EXPECT_EQ(0, count(*connection_, "ID IN (40, 41)"));

  {
    Transaction transaction(*connection_);
    connection_->execute("INSERT INTO VALORES (ID) VALUES (42)");
    transaction.commit();
  }
  {
    Transaction transaction(*connection_);
    connection_->execute("INSERT INTO VALORES (ID) VALUES (43)");
  }  // rolled back by the scope
  EXPECT_EQ(1, count(*other, "ID = 42"));
  EXPECT_EQ(0, count(*other, "ID = 43"));
}

TEST_F(FirebirdConnection, OneTransactionAtATime) {
  EXPECT_THROW(connection_->commit(), VornError);
  EXPECT_THROW(connection_->rollback(), VornError);
  connection_->beginTransaction();
  EXPECT_THROW(connection_->beginTransaction(), VornError);
  connection_->rollback();
}

TEST_F(FirebirdConnection, AConnectionLostInTheMiddleOfATransactionLeavesNothing) {
  connection_->execute("INSERT INTO VALORES (ID, I) VALUES (51, 0)");
  {
    auto doomed = db_->connect();
    doomed->beginTransaction();
    doomed->execute("INSERT INTO VALORES (ID) VALUES (50)");
    doomed->execute("UPDATE VALORES SET I = 99 WHERE ID = 51");
  }  // dropped without commit
  auto fresh = db_->connect();
  EXPECT_EQ(0, count(*fresh, "ID = 50"));
  EXPECT_EQ(1, count(*fresh, "ID = 51 AND I = 0"));
  // Firebird's own tool agrees.
  EXPECT_EQ("N 0",
            collapsed(db_->isql("SET LIST ON; SELECT COUNT(*) AS N FROM VALORES WHERE ID = 50;")));
}

TEST_F(FirebirdConnection, ConcurrentUpdateOfOneRowFailsTheSecondWriterClearly) {
  connection_->execute("INSERT INTO VALORES (ID, I) VALUES (60, 0)");
  auto second = db_->connect();
  connection_->beginTransaction();
  connection_->execute("UPDATE VALORES SET I = 1 WHERE ID = 60");
  second->beginTransaction();
  auto waiting = std::async(std::launch::async, [&] {
    try {
      second->execute("UPDATE VALORES SET I = 2 WHERE ID = 60");
      return std::string("no error");
    } catch (const DatabaseError& error) {
      return error.databaseMessage();
    }
  });
  // The second writer waits for the first one's end.
  EXPECT_EQ(std::future_status::timeout, waiting.wait_for(std::chrono::milliseconds(300)));
  connection_->commit();
  const std::string message = waiting.get();
  EXPECT_NE(std::string::npos, message.find("update conflicts with concurrent update")) << message;
  second->rollback();
  EXPECT_EQ(1, count(*second, "ID = 60 AND I = 1"));
}

TEST_F(FirebirdConnection, PrimaryKeyInKeyOrder) {
  connection_->execute(
      "CREATE TABLE CHAVE_COMPOSTA (B INTEGER NOT NULL, A INTEGER NOT NULL, X INTEGER, "
      "CONSTRAINT PK_CHAVE_COMPOSTA PRIMARY KEY (B, A))");
  EXPECT_EQ((std::vector<std::string>{"B", "A"}), connection_->primaryKey("chave_composta"));
  EXPECT_EQ((std::vector<std::string>{"ID"}), connection_->primaryKey("VALORES"));
  EXPECT_TRUE(connection_->primaryKey("SEM_TABELA").empty());
}

}  // namespace
}  // namespace vornleads
