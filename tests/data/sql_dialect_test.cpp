// The independent parser that checks the SQL Server and Oracle texts of the recording tests: it
// must be there, reject what is not SQL of the dialect, and let only the listed exceptions by.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/sql_dialect_check.h"

namespace vornleads::test {
namespace {

TEST(SqlDialectCheck, RejectsWhatTheDialectDoesNotParseSaveTheListedExceptions) {
  struct Caso {
    const char *dialect, *sql;
    bool rejected;
  };
  const Caso casos[] = {
      {"oracle", "select CAC_CONTATOE1R1.nextval PROXIMO_NUMERO from dual", false},
      {"oracle", "select X from T where A = TO_DATE('05/03/2024','dd/mm/yyyy')", false},
      {"tsql", "insert into T (A, B) values (CAST('05-03-2024' AS DATETIME), 'D''ARC')", false},
      {"tsql", "select next value for GER_OPERACAOE1R1 PROXIMO_NUMERO", false},  // listed
      {"oracle",
       "create sequence S minvalue 1 maxvalue 999999999 start with 7 increment by 1 "
       "cache 20",
       false},                                                                    // listed
      {"oracle", "select next value for GER_OPERACAOE1R1 PROXIMO_NUMERO", true},  // T-SQL only
      {"tsql", "insert into T (A, B) values (1, 'x'", true},
      {"oracle", "select A B C from T", true},
      {"tsql", "select 1; select 2", true},
      {"oracle", "create sequence S start with 7", true},  // not the listed form
  };
  std::vector<DialectStatement> batch;
  std::vector<std::string> expected;
  for (const Caso& c : casos) {
    batch.push_back({c.dialect, c.sql});
    if (c.rejected) expected.push_back(c.sql);
  }
  std::vector<std::string> rejected;
  for (const std::string& line : rejectedStatements(batch)) {
    rejected.push_back(line.substr(line.rfind(": ") + 2));
  }
  EXPECT_EQ(expected, rejected);
}

}  // namespace
}  // namespace vornleads::test
