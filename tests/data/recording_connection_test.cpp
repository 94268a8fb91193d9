// The recording fake that other suites rely on: its script rules are part of their tests.
#include "support/recording_connection.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "vornleads/error.h"

namespace vornleads {
namespace {

using test::RecordingConnection;
using test::singleValue;
using Statements = std::vector<std::string>;

TEST(RecordingConnection, AnswersOnceOrAlwaysFirstMatchWins) {
  RecordingConnection fake("ORACLE");
  fake.respond("select A", singleValue("A", SqlValue::integer(1)));
  fake.respondAlways("select A", singleValue("A", SqlValue::integer(2)));
  fake.respond("select A from T", singleValue("A", SqlValue::integer(3)));  // shadowed

  EXPECT_EQ(1, fake.query("select A from T").value(0, "A").asInteger());
  EXPECT_EQ(2, fake.query("select A from T").value(0, "A").asInteger());
  EXPECT_EQ(2, fake.query("select A from U").value(0, "A").asInteger());
  EXPECT_TRUE(fake.query("select B").empty());
  EXPECT_EQ(2u, fake.pendingAnswers());  // the sticky one and the shadowed one
  EXPECT_EQ("ORACLE", fake.driverName());
}

TEST(RecordingConnection, RecordsStatementsTransactionsAndFailures) {
  RecordingConnection fake("MSSQL");
  fake.failOn("update", "deadlock victim");
  fake.failOn("COMMIT", "commit refused");
  fake.beginTransaction();
  try {
    fake.execute("update T set A = 1");
    FAIL() << "scripted failure";
  } catch (const DatabaseError& error) {
    EXPECT_EQ("deadlock victim", error.databaseMessage());
    EXPECT_EQ("update T set A = 1", error.statement());
  }
  EXPECT_EQ(-1, fake.execute("update T set A = 2"));  // consumed
  EXPECT_THROW(fake.commit(), DatabaseError);
  EXPECT_TRUE(fake.inTransaction());
  EXPECT_THROW(fake.beginTransaction(), VornError);
  fake.rollback();
  EXPECT_THROW(fake.rollback(), VornError);
  EXPECT_EQ((Statements{"BEGIN", "update T set A = 1", "update T set A = 2", "COMMIT", "ROLLBACK"}),
            fake.statements());
}

}  // namespace
}  // namespace vornleads
