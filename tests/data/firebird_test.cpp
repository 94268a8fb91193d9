// The SOCI-backed connection and the schema on a real embedded Firebird database: values,
// errors, transactions, concurrent updates, lost connections, and new databases.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <limits>
#include <string>

#include "fixture.h"
#include "vornleads/data/insert_builder.h"
#include "vornleads/data/schema.h"
#include "vornleads/data/sql_connection.h"

namespace vornleads {
namespace {

namespace fs = std::filesystem;

class FirebirdConnection : public test::FirebirdSuite<false, false> {
 protected:
  static void SetUpTestSuite() {
    FirebirdSuite::SetUpTestSuite();
    db_->connect()->execute(
        "CREATE TABLE VALORES (ID INTEGER NOT NULL PRIMARY KEY, I INTEGER, S SMALLINT, B BIGINT, "
        "D DOUBLE PRECISION, N NUMERIC(15,2), N3 NUMERIC(9,3), N1 NUMERIC(4,1), T VARCHAR(200), "
        "C CHAR(3), DT DATE, TS TIMESTAMP, TM TIME)");
  }
  int64_t count(SqlConnection& connection, const std::string& where) {
    return connection.query("SELECT COUNT(*) FROM VALORES WHERE " + where)
        .rows.at(0)
        .at(0)
        .asInteger();
  }
};

// Written by MontaSQLInsert, read back exactly.
TEST_F(FirebirdConnection, EveryKindOfValueComesBackExactly) {
  const std::string hostile = "'; DROP TABLE X; --\n'' \\ \"ç\" € 😀 \t\r\n%_ \x01\x1f";
  TInsert insert("VALORES", "INTERBASE");
  insert.AddCampo("ID", int32_t{1});
  insert.AddCampo("I", std::numeric_limits<int32_t>::min());
  insert.AddCampo("S", int32_t{-32768});
  insert.AddCampo("B", std::numeric_limits<int64_t>::max());
  for (const auto& [campo, valor] :
       {std::pair{"D", 0.1}, {"N", 1234567890123.45}, {"N3", -0.005}, {"N1", -12.5}}) {
    insert.AddCampo(campo, valor);
  }
  insert.AddCampo("T", hostile);
  insert.AddCampo("C", std::string("ab"));
  insert.AddCampoDataHora("DT", EncodeDate(2024, 2, 29));
  ASSERT_EQ(1, connection_->execute(MontaSQLInsert(insert)));
  connection_->execute(
      "UPDATE VALORES SET TS = CAST('2024-03-05 14:07:09.123' AS TIMESTAMP), "
      "TM = CAST('23:59:58.999' AS TIME) WHERE ID = 1");
  ASSERT_EQ(1, connection_->execute("INSERT INTO VALORES (ID) VALUES (2)"));
  const SqlRowSet rows = connection_->query("select * from VALORES where ID in (1, 2) order by ID");
  EXPECT_EQ(
      (test::Statements{"ID", "I", "S", "B", "D", "N", "N3", "N1", "T", "C", "DT", "TS", "TM"}),
      rows.columns);
  ASSERT_EQ(2u, rows.rows.size());
  const std::vector<SqlValue> expected = {
      SqlValue::integer(1),
      SqlValue::integer(-2147483648LL),
      SqlValue::integer(-32768),
      SqlValue::integer(9223372036854775807LL),
      SqlValue::real(0.1),
      SqlValue::real(1234567890123.45),
      SqlValue::real(-0.005),
      SqlValue::real(-12.5),
      SqlValue::text(hostile),
      SqlValue::text("ab"),  // CHAR loses the padding to its width
      SqlValue::date(EncodeDate(2024, 2, 29)),
      SqlValue::dateTime(EncodeDateTime({2024, 3, 5, 14, 7, 9, 123})),
      SqlValue::dateTime(EncodeTime(23, 59, 58, 999))};
  for (size_t i = 0; i < expected.size(); ++i) {
    EXPECT_EQ(expected[i], rows.rows[0][i]) << rows.columns[i];
    if (i > 0) {
      EXPECT_TRUE(rows.rows[1][i].isNull()) << rows.columns[i];
    }
  }
  const SqlRowSet none = connection_->query("select id, t as texto from VALORES where ID = -1");
  EXPECT_TRUE(none.empty());
  EXPECT_EQ((test::Statements{"ID", "TEXTO"}), none.columns);
}

TEST_F(FirebirdConnection, RowCountsAndRefusedStatements) {
  connection_->execute("INSERT INTO VALORES (ID, I) VALUES (10, 1)");
  connection_->execute("INSERT INTO VALORES (ID, I) VALUES (11, 1)");
  EXPECT_EQ(2, connection_->execute("UPDATE VALORES SET I = 2 WHERE ID IN (10, 11)"));
  EXPECT_EQ(0, connection_->execute("UPDATE VALORES SET I = 2 WHERE ID = -5"));
  EXPECT_EQ(-1, connection_->execute("CREATE TABLE SEM_LINHAS (A INTEGER)"));
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
  EXPECT_EQ(2, count(*connection_, "ID IN (10, 11)"));  // still working
}

TEST_F(FirebirdConnection, TransactionsCommitAndRollBackTogether) {
  auto other = db_->connect();
  EXPECT_EQ(0, count(*other, "ID = 30"));  // the other connection has read before
  connection_->execute("INSERT INTO VALORES (ID) VALUES (30)");
  EXPECT_EQ(1, count(*other, "ID = 30"));  // outside a transaction: visible at once
  EXPECT_EQ("No transaction is open on this connection",
            test::outcome([&] { connection_->commit(); }));
  EXPECT_EQ("No transaction is open on this connection",
            test::outcome([&] { connection_->rollback(); }));
  connection_->beginTransaction();
  EXPECT_EQ("A transaction is already open on this connection",
            test::outcome([&] { connection_->beginTransaction(); }));
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
    EXPECT_EQ("The transaction is no longer open", test::outcome([&] { transaction.commit(); }));
  }
  {
    Transaction transaction(*connection_);
    connection_->execute("INSERT INTO VALORES (ID) VALUES (43)");
  }  // rolled back by the scope
  EXPECT_EQ(1, count(*other, "ID = 42"));
  EXPECT_EQ(0, count(*other, "ID = 43"));
}

TEST_F(FirebirdConnection, AConnectionLostInTheMiddleOfATransactionLeavesNothing) {
  connection_->execute("INSERT INTO VALORES (ID, I) VALUES (51, 0)");
  {
    auto doomed = db_->connect();
    doomed->beginTransaction();
    doomed->execute("INSERT INTO VALORES (ID) VALUES (50)");
    doomed->execute("UPDATE VALORES SET I = 99 WHERE ID = 51");
  }  // dropped without commit
  EXPECT_EQ(1, count(*db_->connect(), "ID = 51 AND I = 0"));
  // Firebird's own tool agrees.
  EXPECT_EQ("N 0", test::collapsed(
                       db_->isql("SET LIST ON; SELECT COUNT(*) AS N FROM VALORES WHERE ID = 50;")));
}

TEST_F(FirebirdConnection, PrimaryKeyInKeyOrder) {
  connection_->execute(
      "CREATE TABLE CHAVE_COMPOSTA (B INTEGER NOT NULL, A INTEGER NOT NULL, X INTEGER, "
      "CONSTRAINT PK_CHAVE_COMPOSTA PRIMARY KEY (B, A))");
  EXPECT_EQ((test::Statements{"B", "A"}), connection_->primaryKey("chave_composta"));
  EXPECT_EQ((test::Statements{"ID"}), connection_->primaryKey("VALORES"));
  EXPECT_TRUE(connection_->primaryKey("SEM_TABELA").empty());
}

TEST(CreateDatabase, EmptyDatabaseAndRefusedPaths) {
  test::TestDatabase db(false);
  EXPECT_EQ("N 0 CHARSET UTF8",
            test::collapsed(db.isql("SET LIST ON; SELECT (SELECT COUNT(*) FROM GER_REVENDA) AS N, "
                                    "TRIM(RDB$CHARACTER_SET_NAME) AS CHARSET FROM RDB$DATABASE;")));
  test::TempDir dir;
  const fs::path path = dir / "dms.fdb";
  test::writeFile(path, "not a database");
  EXPECT_EQ("The database file " + path.string() + " already exists; it was left untouched",
            test::outcome([&] { CreateDatabase(path.string(), true); }));
  EXPECT_EQ("not a database", test::readFile(path));
  EXPECT_EQ("No path given for the new database", test::outcome([] { CreateDatabase("", false); }));
  const fs::path missing = dir / "missing" / "dms.fdb";
  EXPECT_THROW(CreateDatabase(missing.string(), false), DatabaseError);
  EXPECT_FALSE(fs::exists(missing));
}

}  // namespace
}  // namespace vornleads
