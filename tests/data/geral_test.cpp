// The Geral routines: dialects, SQL literals of dates, numbers and text, filters, text helpers.
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "fixture.h"
#include "vornleads/data/geral.h"

namespace vornleads {
namespace {

using test::RecordingConnection;

TDateTime march5(int hour, int minute, int second, int millisecond) {
  return EncodeDateTime({2024, 3, 5, hour, minute, second, millisecond});
}

// Expects `call(input)` to raise ConversionError naming the text.
template <typename Call>
void refusesDate(const std::string& text, Call&& call) {
  EXPECT_EQ("\"" + text + "\" is not a valid date and time", test::errorOf([&] { call(text); }));
}

TEST(BuscaBanco, MapsDriverNamesExactly) {
  const std::vector<std::pair<std::string, std::string>> casos = {
      {"MSSQL", "SQLSERVER"},   {"DevartSQLServer", "SQLSERVER"}, {"ORACLE", "ORACLE"},
      {"DevartOracle", "ORACLE"}, {"Firebird", "INTERBASE"},      {"DevartInterBase", "INTERBASE"},
      {"Oracle", "Oracle"},     {"FIREBIRD", "FIREBIRD"},         {"mssql", "mssql"},
      {"", ""}};
  for (const auto& [driver, banco] : casos) {
    EXPECT_EQ(banco, BuscaBanco(driver)) << driver;
    EXPECT_EQ(banco, BuscaBanco(RecordingConnection(driver))) << driver;
  }
}

TEST(DataHora, RenderersCutMillisecondsAndPadYears) {
  struct Caso {
    TDateTime value;
    const char *ora, *ib, *sql;
  };
  const TDateTime day = EncodeDate(2024, 3, 5);
  const Caso casos[] = {
      {march5(14, 7, 9, 0), "TO_DATE('05/03/2024 14:07:09','dd/mm/yyyy HH24:MI:SS')",
       "CAST('2024-03-05 14:07:09' AS TIMESTAMP)", "CAST('05-03-2024 14:07:09' AS DATETIME)"},
      {day, "TO_DATE('05/03/2024','dd/mm/yyyy')", "CAST('2024-03-05' AS DATE)",
       "CAST('05-03-2024' AS DATETIME)"},
      {march5(0, 0, 1, 0), "TO_DATE('05/03/2024 00:00:01','dd/mm/yyyy HH24:MI:SS')",
       "CAST('2024-03-05 00:00:01' AS TIMESTAMP)", "CAST('05-03-2024 00:00:01' AS DATETIME)"},
      {march5(0, 1, 0, 0), "TO_DATE('05/03/2024 00:01:00','dd/mm/yyyy HH24:MI:SS')",
       "CAST('2024-03-05 00:01:00' AS TIMESTAMP)", "CAST('05-03-2024 00:01:00' AS DATETIME)"},
      // Half a second past midnight is a time of day, even though no second shows.
      {march5(0, 0, 0, 500), "TO_DATE('05/03/2024 00:00:00','dd/mm/yyyy HH24:MI:SS')",
       "CAST('2024-03-05 00:00:00' AS TIMESTAMP)", "CAST('05-03-2024 00:00:00' AS DATETIME)"},
      {day + 50829999.6 / 86400000.0, "TO_DATE('05/03/2024 14:07:09','dd/mm/yyyy HH24:MI:SS')",
       "CAST('2024-03-05 14:07:09' AS TIMESTAMP)", "CAST('05-03-2024 14:07:09' AS DATETIME)"},
      {day + 86399999.7 / 86400000.0, "TO_DATE('05/03/2024 23:59:59','dd/mm/yyyy HH24:MI:SS')",
       "CAST('2024-03-05 23:59:59' AS TIMESTAMP)", "CAST('05-03-2024 23:59:59' AS DATETIME)"},
      {EncodeDate(99, 3, 5), "TO_DATE('05/03/0099','dd/mm/yyyy')", "CAST('0099-03-05' AS DATE)",
       "CAST('05-03-0099' AS DATETIME)"},
      {-1.25, "TO_DATE('29/12/1899 06:00:00','dd/mm/yyyy HH24:MI:SS')",
       "CAST('1899-12-29 06:00:00' AS TIMESTAMP)", "CAST('29-12-1899 06:00:00' AS DATETIME)"},
  };
  for (const Caso& c : casos) {
    EXPECT_EQ(c.ora, DataHoraPDtHrORA(c.value));
    EXPECT_EQ(c.ib, DataHoraPDtHrIB(c.value));
    EXPECT_EQ(c.sql, DataHoraPDtHrSQL(c.value));
    EXPECT_EQ(c.ora, DataHoraPSql(c.value, "ORACLE"));
    EXPECT_EQ(c.ib, DataHoraPSql(c.value, "INTERBASE"));
    EXPECT_EQ(c.sql, DataHoraPSql(c.value, "SQLSERVER"));
  }
}

TEST(DataHora, DialectNamesAreUpperCasedAndUnknownOnesAreInterBase) {
  const TDateTime value = march5(14, 7, 9, 0);
  const std::vector<std::pair<const char*, std::string>> casos = {
      {"oracle", DataHoraPDtHrORA(value)},    {"Oracle", DataHoraPDtHrORA(value)},
      {"OR", DataHoraPDtHrORA(value)},        {"or", DataHoraPDtHrORA(value)},
      {"InterBase", DataHoraPDtHrIB(value)},  {"IB", DataHoraPDtHrIB(value)},
      {"ib", DataHoraPDtHrIB(value)},         {"sqlserver", DataHoraPDtHrSQL(value)},
      {"SQL SERVER", DataHoraPDtHrSQL(value)}, {"Sql Server", DataHoraPDtHrSQL(value)},
      {"", DataHoraPDtHrIB(value)},           {"MSSQL", DataHoraPDtHrIB(value)},
      {"ORA", DataHoraPDtHrIB(value)},        {"SQL  SERVER", DataHoraPDtHrIB(value)},
      {" ORACLE", DataHoraPDtHrIB(value)}};
  for (const auto& [dialect, expected] : casos) EXPECT_EQ(expected, DataHoraPSql(value, dialect)) << dialect;
}

TEST(DataHora, FromRegionalText) {
  const std::vector<std::vector<std::string>> casos = {
      {"", "ORACLE", "null"},
      {"0", "SQLSERVER", "null"},
      {"05/03/2024 14:07:09", "SQLSERVER", "CAST('05-03-2024 14:07:09' AS DATETIME)"},
      {"05/03/2024", "ORACLE", "TO_DATE('05/03/2024','dd/mm/yyyy')"},
      {"5/3/24 9:30", "", "CAST('2024-03-05 09:30:00' AS TIMESTAMP)"}};
  for (const auto& c : casos) EXPECT_EQ(c[2], DataHoraStrPSql(c[0], c[1])) << c[0];
  for (const std::string text : {"31/02/2024", "00", " 0", "2024-03-05", "amanhã"}) {
    refusesDate(text, [](const std::string& t) { DataHoraStrPSql(t, "INTERBASE"); });
  }
}

TEST(DataHora, PartsWidenTwoDigitYearsAndKeepTheLastMillisecondInItsDay) {
  struct Caso {
    TDateTime value;
    int ano, mes, dia;
  };
  const Caso casos[] = {{march5(23, 59, 59, 0), 2024, 3, 5},
                        {EncodeDate(2023, 12, 31), 2023, 12, 31},
                        {-1.25, 1899, 12, 29},
                        {EncodeDate(99, 3, 5), 1999, 3, 5},
                        {EncodeDate(50, 1, 1), 1950, 1, 1},
                        {EncodeDate(49, 12, 31), 2049, 12, 31},
                        {EncodeDate(1, 1, 1), 2001, 1, 1},
                        {EncodeDate(100, 1, 1), 100, 1, 1}};
  for (const Caso& c : casos) {
    EXPECT_EQ(c.ano, Ano(c.value));
    EXPECT_EQ(c.mes, Mes(c.value));
    EXPECT_EQ(c.dia, Dia(c.value));
  }
  for (const auto& [y, m, d] : {std::tuple{2024, 12, 31}, {2023, 2, 28}, {2024, 2, 29}}) {
    const TDateTime value = EncodeDate(y, m, d) + 86399999.6 / 86400000.0;
    EXPECT_EQ(d, Dia(value));
    EXPECT_EQ(m, Mes(value));
    EXPECT_EQ(y, Ano(value));
    EXPECT_EQ(DataHoraPSql(value, "INTERBASE"), DataHoraStrPSql(DateTimeToStr(value), "INTERBASE"));
  }
}

TEST(Literals, TestaCampo) {
  const std::vector<std::pair<std::string, std::string>> campo = {
      {"", "null"},     {"0012", "0012"},   {"-1.234,5", "-1.234,5"}, {" 12 ", " 12 "},
      {"12 A", "'12 A'"}, {"abc", "'abc'"}, {"-", "'-'"},             {"1e5", "'1e5'"},
      {" ", "' '"},     {"D'Avila", "'D'Avila'"}};
  for (const auto& [in, out] : campo) EXPECT_EQ(out, TestaCampoPSQL(in)) << in;
  // Zero and what is no integer are null; other integers come back as written.
  const std::vector<std::pair<std::string, std::string>> numero = {
      {"abc", "null"}, {"0", "null"},   {"00", "null"},   {"-0", "null"},   {"", "null"},
      {"12 ", "null"}, {"1.5", "null"}, {"1,5", "null"}, {"-", "null"},    {"0x0", "null"},
      {"9223372036854775808", "null"},  {"12", "12"},     {" 12", " 12"},   {"-7", "-7"},
      {"+5", "+5"},    {"007", "007"},  {"$1A", "$1A"},   {"0xff", "0xff"}, {"0X10", "0X10"}, {"1a", "null"},
      {"$1G", "null"}, {"0xg", "null"}, {"$", "null"},
      {"9223372036854775807", "9223372036854775807"},
      {"-9223372036854775808", "-9223372036854775808"}};
  for (const auto& [in, out] : numero) EXPECT_EQ(out, TestaCampoNumPSQL(in)) << in;
  const std::vector<std::pair<int32_t, std::string>> zn = {
      {0, "null"}, {5, "5"}, {-12, "-12"}, {std::numeric_limits<int32_t>::min(), "-2147483648"}};
  for (const auto& [in, out] : zn) EXPECT_EQ(out, TestaCampoNumZNPSQL(in)) << in;
}

TEST(Literals, AddSQL) {
  const std::vector<std::vector<std::string>> casos = {
      {"", "A", "ORACLE", "NULL,"},
      {"", "N", "", "NULL,"},
      {"", "H", "SQLSERVER", "NULL,"},
      {"", "X", "", "NULL,"},
      {"abc", "A", "", "'abc',"},
      {"Alfa", "Alfanumérico", "", "'Alfa',"},
      {"D'Avila", "A", "", "'D'Avila',"},  // quotes are not doubled
      {"42", "N", "", "42,"},
      {"-3", "Numero", "", "-3,"},
      {"1.234,56", "F", "", "1234.56,"},
      {"1.234.567", "F", "", "1234567,"},
      {"1,2,3", "F", "", "1.2,3,"},
      {"05/03/2024 14:07:09", "H", "SQLSERVER", "CAST('05-03-2024 14:07:09' AS DATETIME),"},
      {"05/03/2024", "H", "ORACLE", "TO_DATE('05/03/2024','dd/mm/yyyy'),"},
      {"05/03/2024 00:00:01", "H", "", "CAST('2024-03-05 00:00:01' AS TIMESTAMP),"},
      {"x", "a", "", ""},  // unknown kinds add nothing
      {"x", "Z", "", ""},
      {"x", "", "", ""},
      {"31/02/2024", "h", "", ""}};
  for (const auto& c : casos) EXPECT_EQ(c[3], AddSQL(c[0], c[1], c[2])) << c[0] << " " << c[1];
  refusesDate("31/02/2024", [](const std::string& t) { AddSQL(t, "H", "ORACLE"); });
}

TEST(Filters, SQLEmpresaRevenda) {
  struct Caso {
    const char* pairs;
    int mode;
    const char* sql;
  };
  const Caso casos[] = {
      {"1.1,1.2", 0, "(EMPRESA = 1 and REVENDA = 1) or (EMPRESA = 1 and REVENDA = 2)"},
      {"1.1,1.2,", 0, "(EMPRESA = 1 and REVENDA = 1) or (EMPRESA = 1 and REVENDA = 2)"},
      {"3.10", 0, "(EMPRESA = 3 and REVENDA = 10)"},
      {"1.1,1.2,2.1", 1, "EMPRESA in (1,1,2)"},
      {"7.3", 1, "EMPRESA in (7)"},
      {"1.1,1.2,2.1", 2, "((EMPRESA = 1 and REVENDA in (1,2)) or (EMPRESA = 2 and REVENDA in (1)))"},
      {"1.1,1.2", 2, "((EMPRESA = 1 and REVENDA in (1,2)))"},
      {"1.1,2.1,1.2", 2,
       "((EMPRESA = 1 and REVENDA in (1)) or (EMPRESA = 2 and REVENDA in (1)) or "
       "(EMPRESA = 1 and REVENDA in (2)))"},
      // Companies are compared without blanks; the group keeps its first item's text.
      {"1.1, 1.2,2.3", 2, "((EMPRESA = 1 and REVENDA in (1,2)) or (EMPRESA = 2 and REVENDA in (3)))"},
      {"1.1", 2, "(EMPRESA = 1 and REVENDA = 1)"},
      {"", 0, ""},
      {"", 1, "EMPRESA in ()"},
      {"", 2, ""},
      // Other modes stop before the last group's dealerships.
      {"1.1,1.2,2.1", 3, "((EMPRESA = 1 and REVENDA in (1,2)) or (EMPRESA = 2 and REVENDA in ("},
      {"1.1", -1, "((EMPRESA = 1 and REVENDA in ("}};
  for (const Caso& c : casos) {
    EXPECT_EQ(c.sql, SQLEmpresaRevenda(c.pairs, "EMPRESA", "REVENDA", c.mode)) << c.pairs << " " << c.mode;
  }
}

TEST(Filters, SQLChaveComposta) {
  const std::vector<std::vector<std::string>> casos = {
      // records, fields, value separator, record separator, types, condition
      {"1,1,ABC1234|1,2,XYZ9876", "EMPRESA;REVENDA;\"PLACA\"", ",", "|", "",
       "(EMPRESA = 1 and REVENDA = 1 and PLACA = 'ABC1234' or "
       "EMPRESA = 1 and REVENDA = 2 and PLACA = 'XYZ9876')"},
      {"D'Avila", "\"NOME\"", ",", "|", "", "(NOME = 'D'Avila')"},
      {"D'Avila", "\"NOME\"", ",", "|", "S", "(NOME = 'DAvila')"},
      {" 1 , 2 , ABC 12 ", "EMPRESA;REVENDA;\"PLACA\"", ",", "|", "",
       "(EMPRESA = 1 and REVENDA = 2 and PLACA = 'ABC 12')"},
      {"1,x,y", "A;B", ",", "|", "", "(A = 1 and B = x,y)"},
      {"5", "CODIGO", ",", "|", "", "(CODIGO = 5)"},
      {"1;;2##3;;4", "A;B", ";;", "##", "", "(A = 1 and B = 2 or A = 3 and B = 4)"},
      {"1,1,AB'C", "EMPRESA;REVENDA;\"PLACA\"", ",", "|", "N;N;S",
       "(EMPRESA = 1 and REVENDA = 1 and PLACA = 'ABC')"},
      {"1,1,ABC", "EMPRESA;REVENDA;\"PLACA\"", ",", "|", "N;N;N",
       "(EMPRESA = 1 and REVENDA = 1 and PLACA = ABC)"},
      {"O'Neil,7|Ana,8", "NOME;CODIGO", ",", "|", "S;N",
       "(NOME = 'ONeil' and CODIGO = 7 or NOME = 'Ana' and CODIGO = 8)"},
      {"x,y", "A;B", ",", "|", "S", "(A = 'x' and B = y)"},  // no type letter: bare
      {"", "A;B", ",", "|", "", "()"}};
  for (const auto& c : casos) EXPECT_EQ(c[5], SQLChaveComposta(c[0], c[1], c[2], c[3], c[4])) << c[0];
}

TEST(TextHelpers, Strings) {
  const std::vector<std::pair<std::string, std::string>> casos = {
      {StrZero(7, 3, 0), "007"},         {StrZero(-5, 3, 0), "0-5"},
      {StrZero(12345, 3, 0), "12345"},   {StrZero(3.14159, 7, 2), "0003.14"},
      {StrZero(1.006, 0, 2), "1.01"},    {StrZero(0, 1, 0), "0"},
      {StrZero(42, -3, 0), "42"},        {StrZero(42, 4, -1), "0042"},
      {RetiraZeros("0012"), "12"},       {RetiraZeros("000"), "0"},
      {RetiraZeros("100"), "100"},       {RetiraZeros("00a"), "a"},
      {RetiraZeros(" 012"), " 012"},     {RetiraZeros(""), ""},
      {CopiaStr("a; b ;c", 1, ';'), "a"}, {CopiaStr("a; b ;c", 2, ';'), "b"},
      {CopiaStr("a; b ;c", 3, ';'), "c"}, {CopiaStr("a; b ;c", 7, ';'), "c"},
      {CopiaStr("a; b ;c", 0, ';'), "c"}, {CopiaStr("a; b ;c", -2, ';'), "c"},
      {CopiaStr(" a;b; ", 3, ';'), "b"}, {CopiaStr("a;;c", 2, ';'), ""},
      {CopiaStr("  x  ", 1, ','), "x"},  {CopiaStr("", 1, ';'), ""},
      {AdItem("abc", ','), "abc,"},      {AdItem("", 'x'), "x"},
      {RemoveQuebras("a\r\nb\nc\r\rd"), "abcd"},
      {StringListPString({"a", "b", "c"}, ','), "a,b,c,"},
      {StringListPString({}, ','), ""},  {StringListPString({"a", "b"}, ' '), "a b"},
      {StringListPString({" a "}, ','), "a ,"},
      {RetiraStrings("ab", "xabyab"), "xy"}, {RetiraStrings("ab", "aababb"), ""},
      {RetiraStrings("aa", "aaa"), "a"}, {RetiraStrings("", "abc"), "abc"},
      {RetiraStrings("'", "D'Av'ila"), "DAvila"},
      {std::to_string(NumStr("1.1,1.2", '.')), "2"}, {std::to_string(NumStr("abc", '.')), "0"}};
  for (const auto& [got, expected] : casos) EXPECT_EQ(expected, got);
}

TEST(TextHelpers, IsNumberAndTruncaValor) {
  for (const char* sim : {"-1.234,5", "0012", " 42 ", "1-2"}) EXPECT_TRUE(IsNumber(sim)) << sim;
  for (const char* nao : {"12a", "", "   ", "-", ".,-", "1 2", "+1"}) EXPECT_FALSE(IsNumber(nao)) << nao;
  struct Caso {
    double value;
    int decimals;
    double cut;
  };
  // The extra digit keeps binary noise (0.29, 4.35 held a hair low) from costing a digit,
  // and its rounding may carry into the kept ones.
  const Caso casos[] = {{1.239, 2, 1.23}, {-1.239, 2, -1.23}, {2.9996, 3, 2.999}, {5.7, 0, 5.0},
                        {1.005, 2, 1.0},  {10, 2, 10.0},      {0.29, 2, 0.29},    {4.35, 2, 4.35},
                        {2.99996, 3, 3.0}, {5.96, 0, 6.0}};
  for (const Caso& c : casos) EXPECT_DOUBLE_EQ(c.cut, TruncaValor(c.value, c.decimals)) << c.value;
}

}  // namespace
}  // namespace vornleads
