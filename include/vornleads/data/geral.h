// The data layer's SQL text helpers (the unit Geral): dialect names, date-time literals,
// field literals, WHERE fragments for company/dealership pairs and composite keys, and the
// small text and number routines used around them.
//
// Every routine is a stateless free function returning a new string owned by the caller; none
// touches the database (BuscaBanco only reads the connection's driver name). Dialect names
// are "SQLSERVER", "ORACLE" and "INTERBASE"; any other name is treated as each routine says.
//
// Errors: only the routines that read a date-time from text (DataHoraStrPSql, AddSQL with
// kind "H") raise, with ConversionError '"<text>" is not a valid date and time' (regional
// format dd/mm/yyyy [hh:nn[:ss]]). Every other routine returns a defined result for any input,
// except that date-times outside the years 1..9999 (NaN included) raise ConversionError.
//
// Quoting: TestaCampoPSQL, AddSQL (kind "A") and SQLChaveComposta without types wrap text in
// single quotes WITHOUT doubling embedded single quotes. Callers must never hand them text that may hold "'" (lead data
// included); double the quotes first or build the literal another way.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "vornleads/db/sql_connection.h"
#include "vornleads/types.h"

namespace vornleads {

// Dialect of a driver name, compared case-sensitively: "MSSQL"/"DevartSQLServer" ->
// "SQLSERVER", "ORACLE"/"DevartOracle" -> "ORACLE", "Firebird"/"DevartInterBase" ->
// "INTERBASE"; any other name comes back unchanged ("Oracle" stays "Oracle").
std::string BuscaBanco(const std::string& driverName);
// The same for connection.driverName().
std::string BuscaBanco(const SqlConnection& connection);

// Date-time literal for a dialect (upper-cased first): "ORACLE"/"OR", "INTERBASE"/"IB",
// "SQLSERVER"/"SQL SERVER"; anything else, the empty text included, gets the InterBase form.
// Midnight gives the date-only form; milliseconds are dropped, never rounded.
//   ORACLE     TO_DATE('05/03/2024 14:07:09','dd/mm/yyyy HH24:MI:SS')
//              TO_DATE('05/03/2024','dd/mm/yyyy')
//   INTERBASE  CAST('2024-03-05 14:07:09' AS TIMESTAMP)
//              CAST('2024-03-05' AS DATE)
//   SQLSERVER  CAST('05-03-2024 14:07:09' AS DATETIME)   (day first, as the sessions expect)
//              CAST('05-03-2024' AS DATETIME)
// Years are padded to four digits (year 99 -> 0099).
std::string DataHoraPSql(TDateTime value, const std::string& dialect);
std::string DataHoraPDtHrORA(TDateTime value);
std::string DataHoraPDtHrIB(TDateTime value);
std::string DataHoraPDtHrSQL(TDateTime value);

// "null" for "" or "0"; otherwise the text read by StrToDateTime and rendered by
// DataHoraPSql. Raises ConversionError for text that is no date-time.
std::string DataHoraStrPSql(const std::string& value, const std::string& dialect);

// Field literals. TestaCampoPSQL: "" -> "null"; text for which IsNumber holds -> as it
// stands; anything else -> "'" + value + "'" (embedded quotes NOT doubled).
std::string TestaCampoPSQL(const std::string& value);
// "null" when the text reads as the integer 0 or is no integer at all; otherwise the text
// exactly as given (" 12" stays " 12").
std::string TestaCampoNumPSQL(const std::string& value);
// "null" for 0, otherwise the decimal text.
std::string TestaCampoNumZNPSQL(int32_t value);

// One element of a VALUES list, always ending with "," (except for unknown kinds):
// "" -> "NULL,"; then by the first letter of kind (case-sensitive): "A" text -> "'v'," (embedded
// quotes NOT doubled); "F" 1.234,56 -> "1234.56,"; "H" regional date-time text -> the
// DataHoraPSql literal + "," (ConversionError on bad text); "N" -> "v,"; others -> "".
std::string AddSQL(const std::string& value, const std::string& kind, const std::string& dialect);

// WHERE fragment for "company.dealership" pairs separated by ",":
//   mode 0: (EMPRESA = 1 and REVENDA = 1) or (EMPRESA = 1 and REVENDA = 2)
//   mode 1: EMPRESA in (1,1)                    (dealerships ignored, duplicates kept)
//   mode 2: ((EMPRESA = 1 and REVENDA in (1,2)) or (EMPRESA = 2 and REVENDA in (1)))
// Mode 2 with at most one "." in pairs falls back to mode 0. Other modes build mode 2's text
// but leave off the last group's dealerships and every closing parenthesis after them.
// Empty pairs: "" in modes 0 and 2, "EMPRESA in ()" in mode 1.
std::string SQLEmpresaRevenda(const std::string& pairs, const std::string& companyField,
                              const std::string& dealershipField, int32_t mode);

// Condition matching any of several composite-key tuples:
//   fields "EMPRESA;REVENDA;\"PLACA\"", records "1,1,ABC1234|1,2,XYZ9876", separators "," "|"
//   -> (EMPRESA = 1 and REVENDA = 1 and PLACA = 'ABC1234' or EMPRESA = 1 and REVENDA = 2 and
//       PLACA = 'XYZ9876')
// Values are trimmed; the last column takes the rest of its tuple. Without types, a column
// name in double quotes marks a text column (its value is quoted, embedded single quotes NOT
// doubled, as with TestaCampoPSQL). With types (one letter per column, ";"-separated), single quotes are removed
// from every value and exactly the columns of type "S" are quoted.
std::string SQLChaveComposta(const std::string& records, const std::string& fields,
                             const std::string& valueSeparator, const std::string& recordSeparator,
                             const std::string& types);

// value with `decimals` places ("." as the point), left-padded with "0" to `width`
// characters, never cut: StrZero(7, 3, 0) -> "007", StrZero(-5, 3, 0) -> "0-5".
std::string StrZero(double value, int32_t width, int32_t decimals);
// Leading "0"s removed, the last character always kept: "0012" -> "12", "000" -> "0".
std::string RetiraZeros(const std::string& value);
// Occurrences of ch in value.
int32_t NumStr(const std::string& value, char ch);
// The index-th (from 1) trimmed field of a separated list; past the end, or for index <= 0,
// the last field: CopiaStr("a; b ;c", 2, ';') -> "b".
std::string CopiaStr(const std::string& value, int32_t index, char separator);
// value followed by ch.
std::string AdItem(const std::string& value, char ch);
// value without line feeds and carriage returns.
std::string RemoveQuebras(const std::string& value);
// Every item followed by separator, then trimmed: {a,b,c} and ',' -> "a,b,c,".
std::string StringListPString(const std::vector<std::string>& list, char separator);
// True when the trimmed value, without ",", "." and "-", is a non-empty run of digits.
bool IsNumber(const std::string& value);
// value with every occurrence of sub removed, repeatedly, until none is left.
std::string RetiraStrings(const std::string& sub, const std::string& value);
// value cut (not rounded) to `decimals` places; the fraction is first written with one
// more place, so float noise (0.29 held as 0.28999...) does not cost a digit.
double TruncaValor(double value, int32_t decimals);
// Year (years below 100 widened: below 50 -> 20xx, 50..99 -> 19xx), month and day.
int32_t Ano(TDateTime value);
int32_t Mes(TDateTime value);
int32_t Dia(TDateTime value);

}  // namespace vornleads
