#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "vornleads/data/geral.h"
#include "vornleads/error.h"
#include "vornleads/text/datetime.h"

namespace vornleads {
namespace {

// Only the driver name matters to BuscaBanco; nothing else may be used.
class DriverOnlyConnection : public SqlConnection {
 public:
  explicit DriverOnlyConnection(std::string driver) : driver_(std::move(driver)) {}
  std::string driverName() const override { return driver_; }
  SqlRowSet query(const std::string&) override { throw VornError("no queries here"); }
  int64_t execute(const std::string&) override { throw VornError("no statements here"); }
  void beginTransaction() override { throw VornError("no transactions here"); }
  void commit() override { throw VornError("no transactions here"); }
  void rollback() override { throw VornError("no transactions here"); }
  bool inTransaction() const override { return false; }
  std::vector<std::string> primaryKey(const std::string&) override { return {}; }
  SqlConnection& autonomous() override { throw VornError("no attachments here"); }

 private:
  std::string driver_;
};

TDateTime march5(int hour, int minute, int second, int millisecond) {
  return EncodeDateTime({2024, 3, 5, hour, minute, second, millisecond});
}

TEST(BuscaBancoTest, MapsDriverNamesCaseSensitively) {
  EXPECT_EQ(BuscaBanco("MSSQL"), "SQLSERVER");
  EXPECT_EQ(BuscaBanco("DevartSQLServer"), "SQLSERVER");
  EXPECT_EQ(BuscaBanco("ORACLE"), "ORACLE");
  EXPECT_EQ(BuscaBanco("DevartOracle"), "ORACLE");
  EXPECT_EQ(BuscaBanco("Firebird"), "INTERBASE");
  EXPECT_EQ(BuscaBanco("DevartInterBase"), "INTERBASE");
  EXPECT_EQ(BuscaBanco("Oracle"), "Oracle");
  EXPECT_EQ(BuscaBanco("FIREBIRD"), "FIREBIRD");
  EXPECT_EQ(BuscaBanco("mssql"), "mssql");
  EXPECT_EQ(BuscaBanco(""), "");
}

TEST(BuscaBancoTest, ReadsTheConnectionsDriverName) {
  EXPECT_EQ(BuscaBanco(DriverOnlyConnection("DevartInterBase")), "INTERBASE");
  EXPECT_EQ(BuscaBanco(DriverOnlyConnection("MSSQL")), "SQLSERVER");
  EXPECT_EQ(BuscaBanco(DriverOnlyConnection("Oracle")), "Oracle");
}

TEST(DataHoraRenderersTest, DateAndTime) {
  const TDateTime value = march5(14, 7, 9, 0);
  EXPECT_EQ(DataHoraPDtHrORA(value), "TO_DATE('05/03/2024 14:07:09','dd/mm/yyyy HH24:MI:SS')");
  EXPECT_EQ(DataHoraPDtHrIB(value), "CAST('2024-03-05 14:07:09' AS TIMESTAMP)");
  EXPECT_EQ(DataHoraPDtHrSQL(value), "CAST('05-03-2024 14:07:09' AS DATETIME)");
}

TEST(DataHoraRenderersTest, MidnightGivesTheDateOnlyForms) {
  const TDateTime value = EncodeDate(2024, 3, 5);
  EXPECT_EQ(DataHoraPDtHrORA(value), "TO_DATE('05/03/2024','dd/mm/yyyy')");
  EXPECT_EQ(DataHoraPDtHrIB(value), "CAST('2024-03-05' AS DATE)");
  EXPECT_EQ(DataHoraPDtHrSQL(value), "CAST('05-03-2024' AS DATETIME)");
}

TEST(DataHoraRenderersTest, OneSecondAfterMidnightGivesTheFullForms) {
  const TDateTime value = march5(0, 0, 1, 0);
  EXPECT_EQ(DataHoraPDtHrORA(value), "TO_DATE('05/03/2024 00:00:01','dd/mm/yyyy HH24:MI:SS')");
  EXPECT_EQ(DataHoraPDtHrIB(value), "CAST('2024-03-05 00:00:01' AS TIMESTAMP)");
  EXPECT_EQ(DataHoraPDtHrSQL(value), "CAST('05-03-2024 00:00:01' AS DATETIME)");
}

TEST(DataHoraRenderersTest, MillisecondsAreDroppedNeverRounded) {
  EXPECT_EQ(DataHoraPDtHrIB(march5(14, 7, 9, 999)), "CAST('2024-03-05 14:07:09' AS TIMESTAMP)");
  const TDateTime almostTen = EncodeDate(2024, 3, 5) + 50829999.6 / 86400000.0;
  EXPECT_EQ(DataHoraPDtHrSQL(almostTen), "CAST('05-03-2024 14:07:09' AS DATETIME)");
  const TDateTime almostMidnight = EncodeDate(2024, 3, 5) + 86399999.7 / 86400000.0;
  EXPECT_EQ(DataHoraPDtHrIB(almostMidnight), "CAST('2024-03-05 23:59:59' AS TIMESTAMP)");
  // Half a second past midnight is a time of day, even though no second shows.
  EXPECT_EQ(DataHoraPDtHrORA(march5(0, 0, 0, 500)),
            "TO_DATE('05/03/2024 00:00:00','dd/mm/yyyy HH24:MI:SS')");
}

TEST(DataHoraRenderersTest, YearsArePaddedToFourDigits) {
  EXPECT_EQ(DataHoraPDtHrIB(EncodeDate(99, 3, 5)), "CAST('0099-03-05' AS DATE)");
  EXPECT_EQ(DataHoraPDtHrORA(EncodeDate(99, 3, 5)), "TO_DATE('05/03/0099','dd/mm/yyyy')");
  EXPECT_EQ(DataHoraPDtHrSQL(EncodeDate(1, 1, 1)), "CAST('01-01-0001' AS DATETIME)");
  EXPECT_EQ(DataHoraPDtHrIB(-1.25), "CAST('1899-12-29 06:00:00' AS TIMESTAMP)");
}

TEST(DataHoraPSqlTest, DispatchesOnTheUpperCasedDialect) {
  const TDateTime value = march5(14, 7, 9, 0);
  const std::string oracle = "TO_DATE('05/03/2024 14:07:09','dd/mm/yyyy HH24:MI:SS')";
  const std::string interbase = "CAST('2024-03-05 14:07:09' AS TIMESTAMP)";
  const std::string sqlServer = "CAST('05-03-2024 14:07:09' AS DATETIME)";
  for (const char* dialect : {"ORACLE", "oracle", "Oracle", "OR", "or"}) {
    EXPECT_EQ(DataHoraPSql(value, dialect), oracle) << dialect;
  }
  for (const char* dialect : {"INTERBASE", "InterBase", "IB", "ib"}) {
    EXPECT_EQ(DataHoraPSql(value, dialect), interbase) << dialect;
  }
  for (const char* dialect : {"SQLSERVER", "sqlserver", "SQL SERVER", "sql server", "Sql Server"}) {
    EXPECT_EQ(DataHoraPSql(value, dialect), sqlServer) << dialect;
  }
  for (const char* dialect : {"", "MSSQL", "Firebird", "ORA", "SQL  SERVER", " ORACLE"}) {
    EXPECT_EQ(DataHoraPSql(value, dialect), interbase) << dialect;
  }
}

TEST(DataHoraPSqlTest, MidnightInEachDialect) {
  const TDateTime value = EncodeDate(2024, 3, 5);
  EXPECT_EQ(DataHoraPSql(value, "ORACLE"), "TO_DATE('05/03/2024','dd/mm/yyyy')");
  EXPECT_EQ(DataHoraPSql(value, "INTERBASE"), "CAST('2024-03-05' AS DATE)");
  EXPECT_EQ(DataHoraPSql(value, "SQLSERVER"), "CAST('05-03-2024' AS DATETIME)");
}

TEST(DataHoraStrPSqlTest, EmptyAndZeroAreNull) {
  EXPECT_EQ(DataHoraStrPSql("", "ORACLE"), "null");
  EXPECT_EQ(DataHoraStrPSql("0", "SQLSERVER"), "null");
}

TEST(DataHoraStrPSqlTest, ParsesRegionalTextAndRendersForTheDialect) {
  EXPECT_EQ(DataHoraStrPSql("05/03/2024 14:07:09", "SQLSERVER"),
            "CAST('05-03-2024 14:07:09' AS DATETIME)");
  EXPECT_EQ(DataHoraStrPSql("05/03/2024", "ORACLE"), "TO_DATE('05/03/2024','dd/mm/yyyy')");
  EXPECT_EQ(DataHoraStrPSql("5/3/24 9:30", ""), "CAST('2024-03-05 09:30:00' AS TIMESTAMP)");
}

TEST(DataHoraStrPSqlTest, TextThatIsNoDateRaisesTheConversionError) {
  for (const std::string text : {"31/02/2024", "00", " 0", "2024-03-05", "amanhã"}) {
    try {
      DataHoraStrPSql(text, "INTERBASE");
      ADD_FAILURE() << "accepted " << text;
    } catch (const ConversionError& error) {
      EXPECT_EQ(std::string(error.what()), "\"" + text + "\" is not a valid date and time");
    }
  }
}

TEST(AnoMesDiaTest, PartsOfTheDate) {
  const TDateTime value = march5(23, 59, 59, 0);
  EXPECT_EQ(Ano(value), 2024);
  EXPECT_EQ(Mes(value), 3);
  EXPECT_EQ(Dia(value), 5);
  EXPECT_EQ(Mes(EncodeDate(2023, 12, 31)), 12);
  EXPECT_EQ(Dia(EncodeDate(2023, 12, 31)), 31);
  EXPECT_EQ(Dia(-1.25), 29);
}

// The last instant of a day (23:59:59.9996, below the millisecond) stays in that day in every
// text and every part that goes into SQL.
TEST(AnoMesDiaTest, TheLastMillisecondOfADayStaysInThatDay) {
  struct Dia_ {
    int year, month, day;
    const char* texto;
  };
  for (const Dia_& d : {Dia_{2024, 12, 31, "31/12/2024 23:59:59"},
                        Dia_{2023, 2, 28, "28/02/2023 23:59:59"},
                        Dia_{2024, 2, 28, "28/02/2024 23:59:59"},
                        Dia_{2024, 2, 29, "29/02/2024 23:59:59"}}) {
    const TDateTime value = EncodeDate(d.year, d.month, d.day) + 86399999.6 / 86400000.0;
    SCOPED_TRACE(d.texto);
    EXPECT_EQ(Ano(value), d.year);
    EXPECT_EQ(Mes(value), d.month);
    EXPECT_EQ(Dia(value), d.day);
    EXPECT_EQ(DateTimeToStr(value), d.texto);
    EXPECT_EQ(FormatDateTime("dd/mm/yyyy hh:nn:ss", value), d.texto);
    EXPECT_EQ(DataHoraStrPSql(DateTimeToStr(value), "INTERBASE"),
              DataHoraPSql(value, "INTERBASE"));
  }
}

TEST(AnoMesDiaTest, YearsBelowOneHundredAreWidenedAtFifty) {
  EXPECT_EQ(Ano(EncodeDate(99, 3, 5)), 1999);
  EXPECT_EQ(Ano(EncodeDate(50, 1, 1)), 1950);
  EXPECT_EQ(Ano(EncodeDate(49, 12, 31)), 2049);
  EXPECT_EQ(Ano(EncodeDate(1, 1, 1)), 2001);
  EXPECT_EQ(Ano(EncodeDate(100, 1, 1)), 100);
  EXPECT_EQ(Ano(EncodeDate(1899, 12, 30)), 1899);
}

}  // namespace
}  // namespace vornleads
