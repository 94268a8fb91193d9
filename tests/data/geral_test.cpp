// The routines without a database: Geral, INSERT statements, and the dialect check the
// recording tests rely on.
#include "vornleads/data/geral.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <tuple>
#include <vector>

#include "support/firebird_suite.h"
#include "support/sql_dialect_check.h"
#include "vornleads/data/formata_string.h"
#include "vornleads/data/insert_builder.h"
#include "vornleads/db/sql_value.h"

namespace vornleads {
namespace {

using Pairs = std::vector<std::pair<std::string, std::string>>;

TDateTime march5(int hour, int minute, int second, int millisecond) {
  return EncodeDateTime({2024, 3, 5, hour, minute, second, millisecond});
}

TEST(BuscaBanco, MapsDriverNamesExactly) {
  // clang-format off
  const Pairs casos = {{"MSSQL", "SQLSERVER"}, {"DevartSQLServer", "SQLSERVER"}, {"", ""},
                       {"ORACLE", "ORACLE"}, {"DevartOracle", "ORACLE"}, {"Oracle", "Oracle"},
                       {"Firebird", "INTERBASE"}, {"DevartInterBase", "INTERBASE"},
                       {"FIREBIRD", "FIREBIRD"}};
  // clang-format on
  for (const auto& [driver, banco] : casos)
    EXPECT_EQ(banco, BuscaBanco(test::RecordingConnection(driver))) << driver;
}

TEST(DataHora, RenderersWriteTheDateAloneAtMidnightAndCutMilliseconds) {
  struct Caso {
    TDateTime value;
    const char *ora, *ib, *sql;
  };
  // clang-format off
  const Caso casos[] = {
      {march5(14, 7, 9, 999), "05/03/2024 14:07:09','dd/mm/yyyy HH24:MI:SS",
       "2024-03-05 14:07:09", "05-03-2024 14:07:09"},
      {EncodeDate(2024, 3, 5), "05/03/2024','dd/mm/yyyy", "2024-03-05", "05-03-2024"},
      // Half a second past midnight is a time of day, even though no second shows.
      {march5(0, 0, 0, 500), "05/03/2024 00:00:00','dd/mm/yyyy HH24:MI:SS",
       "2024-03-05 00:00:00", "05-03-2024 00:00:00"},
      {EncodeDate(2024, 3, 5) + 86399999.7 / 86400000.0, "05/03/2024 23:59:59','dd/mm/yyyy "
       "HH24:MI:SS", "2024-03-05 23:59:59", "05-03-2024 23:59:59"},
      {-1.25, "29/12/1899 06:00:00','dd/mm/yyyy HH24:MI:SS", "1899-12-29 06:00:00",
       "29-12-1899 06:00:00"}};
  // clang-format on
  for (const Caso& c : casos) {
    const std::string ib = std::string(c.ib).size() > 10 ? " AS TIMESTAMP)" : " AS DATE)";
    EXPECT_EQ("TO_DATE('" + std::string(c.ora) + "')", DataHoraPDtHrORA(c.value));
    EXPECT_EQ("CAST('" + std::string(c.ib) + "'" + ib, DataHoraPDtHrIB(c.value));
    EXPECT_EQ("CAST('" + std::string(c.sql) + "' AS DATETIME)", DataHoraPDtHrSQL(c.value));
  }
  // The dialect's name is upper-cased; unknown ones are InterBase.
  const TDateTime value = march5(14, 7, 9, 0);
  const std::string ora = DataHoraPDtHrORA(value), ib = DataHoraPDtHrIB(value);
  const std::string sql = DataHoraPDtHrSQL(value);
  const Pairs dialetos = {{"ORACLE", ora},    {"or", ora},         {"InterBase", ib},
                          {"SQLSERVER", sql}, {"Sql Server", sql}, {"", ib},
                          {"MSSQL", ib},      {"ORA", ib},         {" ORACLE", ib}};
  for (const auto& [dialect, text] : dialetos)
    EXPECT_EQ(text, DataHoraPSql(value, dialect)) << dialect;
}

TEST(DataHora, FromRegionalTextAndParts) {
  // clang-format off
  const std::vector<std::vector<std::string>> casos = {
      {"", "ORACLE", "null"}, {"0", "SQLSERVER", "null"},
      {"05/03/2024 14:07:09", "SQLSERVER", "CAST('05-03-2024 14:07:09' AS DATETIME)"},
      {"5/3/24 9:30", "", "CAST('2024-03-05 09:30:00' AS TIMESTAMP)"}};
  // clang-format on
  for (const auto& c : casos) EXPECT_EQ(c[2], DataHoraStrPSql(c[0], c[1])) << c[0];
  for (const std::string text : {"31/02/2024", "00", " 0", "2024-03-05", "amanhã"})
    EXPECT_EQ("\"" + text + "\" is not a valid date and time",
              test::outcome([&] { DataHoraStrPSql(text, "INTERBASE"); }));
  // Two-digit years are widened at 50; the last instant of a day stays in that day.
  const TDateTime last = EncodeDate(2024, 2, 29) + 86399999.6 / 86400000.0;
  // clang-format off
  const std::vector<std::pair<TDateTime, std::vector<int>>> partes = {
      {last, {2024, 2, 29}}, {-1.25, {1899, 12, 29}}, {EncodeDate(99, 3, 5), {1999, 3, 5}},
      {EncodeDate(49, 12, 31), {2049, 12, 31}}, {EncodeDate(100, 1, 1), {100, 1, 1}}};
  // clang-format on
  for (const auto& [value, ymd] : partes)
    EXPECT_EQ(ymd, (std::vector<int>{Ano(value), Mes(value), Dia(value)})) << value;
  EXPECT_EQ(DataHoraPSql(last, "IB"), DataHoraStrPSql(DateTimeToStr(last), "IB"));
}

TEST(Literals, TestaCampoAndAddSQL) {
  const Pairs campo = {{"", "null"},     {"0012", "0012"},   {"-1.234,5", "-1.234,5"},
                       {" 12 ", " 12 "}, {"12 A", "'12 A'"}, {"-", "'-'"},
                       {"1e5", "'1e5'"}, {" ", "' '"},       {"D'Avila", "'D'Avila'"}};
  for (const auto& [in, out] : campo) EXPECT_EQ(out, TestaCampoPSQL(in)) << in;
  // Zero and what is no integer are null; other integers come back as written.
  // clang-format off
  const Pairs numero = {
      {"abc", "null"}, {"0", "null"}, {"-0", "null"}, {"", "null"}, {"12 ", "null"},
      {"1.5", "null"}, {"-", "null"}, {"0x0", "null"}, {"1a", "null"}, {"$1G", "null"},
      {"0xg", "null"}, {"$", "null"}, {"9223372036854775808", "null"}, {"12", "12"},
      {" 12", " 12"}, {"-7", "-7"}, {"+5", "+5"}, {"007", "007"}, {"$1A", "$1A"},
      {"0xff", "0xff"}, {"0X10", "0X10"}, {"9223372036854775807", "9223372036854775807"},
      {"-9223372036854775808", "-9223372036854775808"}};
  // clang-format on
  for (const auto& [in, out] : numero) EXPECT_EQ(out, TestaCampoNumPSQL(in)) << in;
  const std::vector<std::pair<int32_t, std::string>> zn = {
      {0, "null"}, {-12, "-12"}, {std::numeric_limits<int32_t>::min(), "-2147483648"}};
  for (const auto& [in, out] : zn) EXPECT_EQ(out, TestaCampoNumZNPSQL(in));
  // clang-format off
  const std::vector<std::vector<std::string>> add = {
      {"", "A", "ORACLE", "NULL,"}, {"", "X", "", "NULL,"}, {"-3", "Numero", "", "-3,"},
      {"D'Avila", "Alfanumérico", "", "'D'Avila',"},  // quotes are not doubled
      {"1.234,56", "F", "", "1234.56,"}, {"1.234.567", "F", "", "1234567,"},
      {"1,2,3", "F", "", "1.2,3,"},
      {"05/03/2024", "H", "ORACLE", "TO_DATE('05/03/2024','dd/mm/yyyy'),"},
      {"05/03/2024 14:07:09", "H", "SQLSERVER", "CAST('05-03-2024 14:07:09' AS DATETIME),"},
      {"x", "a", "", ""}, {"x", "", "", ""}, {"31/02/2024", "h", "", ""}};  // unknown kinds
  // clang-format on
  for (const auto& c : add) EXPECT_EQ(c[3], AddSQL(c[0], c[1], c[2])) << c[0] << " " << c[1];
  EXPECT_EQ("\"31/02/2024\" is not a valid date and time",
            test::outcome([] { AddSQL("31/02/2024", "H", ""); }));
}

TEST(Filters, SQLEmpresaRevendaAndSQLChaveComposta) {
  // clang-format off
  const std::vector<std::tuple<const char*, int, const char*>> casos = {
      {"1.1,1.2,", 0, "(E = 1 and R = 1) or (E = 1 and R = 2)"}, {"5", 0, "(E =  and R = 5)"},
      {"1.1,1.2,2.1", 1, "E in (1,1,2)"}, {"", 0, ""}, {"", 1, "E in ()"}, {"", 2, ""},
      {"1.1,1.2,2.1", 2, "((E = 1 and R in (1,2)) or (E = 2 and R in (1)))"},
      {"1.1,2.1,1.2", 2, "((E = 1 and R in (1)) or (E = 2 and R in (1)) or (E = 1 and R in (2)))"},
      // Companies are compared without blanks; the group keeps its first item's text.
      {"1.10, 1.2,2.3", 2, "((E = 1 and R in (10,2)) or (E = 2 and R in (3)))"},
      {"1.1", 2, "(E = 1 and R = 1)"},
      // Other modes stop before the last group's dealerships.
      {"1.1,1.2,2.1", 3, "((E = 1 and R in (1,2)) or (E = 2 and R in ("},
      {"1.1", -1, "((E = 1 and R in ("}};
  // clang-format on
  for (const auto& [pairs, mode, sql] : casos)
    EXPECT_EQ(sql, SQLEmpresaRevenda(pairs, "E", "R", mode)) << pairs << " " << mode;
  const std::string abc = "A;B;\"C\"";  // a quoted name marks a text column
  // clang-format off
  const std::vector<std::vector<std::string>> chaves = {
      // records, fields, types, condition; values "," and records "|"
      {"1,1,X|1,2,Y", abc, "", "(A = 1 and B = 1 and C = 'X' or A = 1 and B = 2 and C = 'Y')"},
      {"D'Avila", "\"N\"", "", "(N = 'D'Avila')"}, {"1,x,y", "A;B", "", "(A = 1 and B = x,y)"},
      {" 1 , 2 , X 12 ", abc, "", "(A = 1 and B = 2 and C = 'X 12')"}, {"", "A;B", "", "()"},
      // Types decide the quoting and drop single quotes; a column without one is bare.
      {"1,1,X'Y", abc, "N;N;S", "(A = 1 and B = 1 and C = 'XY')"},
      {"1,1,X", abc, "N;N;N", "(A = 1 and B = 1 and C = X)"},
      {"O'N,7|Ana,8", "A;B", "S;N", "(A = 'ON' and B = 7 or A = 'Ana' and B = 8)"},
      {"x,y", "A;B", "S", "(A = 'x' and B = y)"}};
  // clang-format on
  for (const auto& c : chaves) EXPECT_EQ(c[3], SQLChaveComposta(c[0], c[1], ",", "|", c[2]));
  EXPECT_EQ("(A = 1 and B = 2 or A = 3 and B = 4)",
            SQLChaveComposta("1;;2##3;;4", "A;B", ";;", "##", ""));
}

TEST(TextHelpers, StringsNumbersAndTruncation) {
  // clang-format off
  const Pairs casos = {
      {StrZero(7, 3, 0), "007"}, {StrZero(-5, 3, 0), "0-5"}, {StrZero(12345, 3, 0), "12345"},
      {StrZero(3.14159, 7, 2), "0003.14"}, {StrZero(1.006, 0, 2), "1.01"},
      {RetiraZeros("0012"), "12"}, {RetiraZeros("000"), "0"}, {RetiraZeros("100"), "100"},
      {RetiraZeros(" 012"), " 012"}, {CopiaStr("a; b ;c", 2, ';'), "b"},
      {CopiaStr("a; b ;c", 0, ';'), "c"}, {CopiaStr(" a;b; ", 3, ';'), "b"},
      {CopiaStr("a;;c", 2, ';'), ""}, {AdItem("abc", ','), "abc,"},
      {RemoveQuebras("a\r\nb\nc\r\rd"), "abcd"}, {StringListPString({" a", "b"}, ','), "a,b,"},
      {RetiraStrings("ab", "xabyab"), "xy"}, {RetiraStrings("ab", "aababb"), ""},
      {RetiraStrings("aa", "aaa"), "a"}, {RetiraStrings("", "abc"), "abc"},
      {std::to_string(NumStr("1.1,1.2", '.')), "2"}};
  // clang-format on
  for (const auto& [got, expected] : casos) EXPECT_EQ(expected, got);
  for (const char* sim : {"-1.234,5", " 42 ", "1-2"}) EXPECT_TRUE(IsNumber(sim)) << sim;
  for (const char* nao : {"12a", "", " ", "-", ".,-", "1 2", "+1"})
    EXPECT_FALSE(IsNumber(nao)) << nao;
  // The extra digit keeps binary noise (0.29, 4.35 held a hair low) from costing a digit,
  // and its rounding may carry into the kept ones.
  const std::vector<std::tuple<double, int, double>> trunca = {
      {1.239, 2, 1.23}, {-1.239, 2, -1.23}, {5.7, 0, 5.0},  {1.005, 2, 1.0},   {0.29, 2, 0.29},
      {4.35, 2, 4.35},  {2.99996, 3, 3.0},  {5.96, 0, 6.0}, {2.9996, 3, 2.999}};
  for (const auto& [value, decimals, cut] : trunca)
    EXPECT_DOUBLE_EQ(cut, TruncaValor(value, decimals)) << value;
}

// What MontaSQLInsert writes is read back from a real database in tests/db/connection_test.cpp.
TEST(MontaSQLInsert, DatesInTheDialectFloatsWithoutExponents) {
  TInsert insert("T", "SQLSERVER");
  insert.AddCampo("A", 1e20);
  insert.AddCampo("B", 0.1 + 0.2);
  insert.AddCampoDataHora("DTA", EncodeDateTime({2024, 3, 5, 14, 7, 9, 500}));
  insert.AddCampoNulo("C");
  EXPECT_EQ(
      "INSERT INTO T (A, B, DTA, C) VALUES (100000000000000000000.0, 0.30000000000000004, "
      "CAST('05-03-2024 14:07:09' AS DATETIME), NULL)",
      MontaSQLInsert(insert));
  EXPECT_THROW(MontaSQLInsert(TInsert("T", "ORACLE")), VornError);  // no columns
  insert.AddCampo("D", std::numeric_limits<double>::infinity());
  EXPECT_THROW(MontaSQLInsert(insert), VornError);
  for (const auto& [in, out] : {std::pair{"1234", "01234"}, {"", "00000"}, {"1234567", "1234567"}})
    EXPECT_EQ(out, FormataString(in, "00000")) << in;  // pads digits, never cuts
}

// The independent parser that checks the SQL Server and Oracle texts of the recording tests
// must be there, reject what is not SQL of the dialect and let only the listed exceptions by.
TEST(SqlDialectCheck, RejectsWhatTheDialectDoesNotParseSaveTheListedExceptions) {
  const std::tuple<const char*, const char*, bool> casos[] = {
      // dialect, sql, rejected
      {"oracle", "select CAC_CONTATOE1R1.nextval PROXIMO_NUMERO from dual", false},
      {"oracle", "select X from T where A = TO_DATE('05/03/2024','dd/mm/yyyy')", false},
      {"tsql", "insert into T (A, B) values (CAST('05-03-2024' AS DATETIME), 'D''ARC')", false},
      {"tsql", "select next value for GER_OPERACAOE1R1 PROXIMO_NUMERO", false},  // listed
      {"oracle",                                                                 // listed
       "create sequence S minvalue 1 maxvalue 999999999 start with 7 increment by 1 cache 20",
       false},
      {"oracle", "select next value for GER_OPERACAOE1R1 PROXIMO_NUMERO", true},  // T-SQL only
      {"tsql", "insert into T (A, B) values (1, 'x'", true},
      {"oracle", "select A B C from T", true},
      {"tsql", "select 1; select 2", true},
      {"oracle", "create sequence S start with 7", true}};  // not the listed form
  std::vector<test::DialectStatement> batch;
  std::vector<std::string> expected, rejected;
  for (const auto& [dialect, sql, refused] : casos) {
    batch.push_back({dialect, sql});
    if (refused) expected.push_back(sql);
  }
  for (const std::string& line : test::rejectedStatements(batch))
    rejected.push_back(line.substr(line.rfind(": ") + 2));
  EXPECT_EQ(expected, rejected);
}

}  // namespace
}  // namespace vornleads
