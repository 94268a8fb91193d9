#include "support/sql_dialect_check.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <mutex>
#include <nlohmann/json.hpp>
#include <sstream>
#include <stdexcept>

#include "support/paths.h"

namespace vornleads::test {
namespace {

std::mutex gMutex;
std::vector<DialectStatement> gCollected;

class DialectCheck : public ::testing::EmptyTestEventListener {
  void OnTestEnd(const ::testing::TestInfo&) override {
    std::vector<DialectStatement> batch;
    {
      std::lock_guard<std::mutex> lock(gMutex);
      batch.swap(gCollected);
    }
    if (batch.empty()) return;
    try {
      for (const std::string& rejected : rejectedStatements(batch)) {
        ADD_FAILURE() << "SQL rejected by the " << rejected;
      }
    } catch (const std::exception& error) {
      ADD_FAILURE() << error.what();
    }
  }
};

}  // namespace

void collectDialectStatement(const std::string& banco, const std::string& sql) {
  const char* dialect = banco == "SQLSERVER" ? "tsql" : banco == "ORACLE" ? "oracle" : nullptr;
  if (!dialect) return;
  static std::once_flag installed;
  std::call_once(installed, [] {
    // The listener list owns what it is given and deletes it at the end of the program.
    ::testing::UnitTest::GetInstance()->listeners().Append(
        std::make_unique<DialectCheck>().release());
  });
  std::lock_guard<std::mutex> lock(gMutex);
  gCollected.push_back({dialect, sql});
}

std::vector<std::string> rejectedStatements(const std::vector<DialectStatement>& statements) {
  nlohmann::json batch = nlohmann::json::array();
  for (const auto& s : statements) batch.push_back({{"dialect", s.dialect}, {"sql", s.sql}});
  const TempDir scratch("sql-dialect");
  writeFile(scratch / "input.json",
            batch.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace));
  const char* python = std::getenv("VORNLEADS_SQL_CHECK_PYTHON");
  const std::string command =
      std::string("'") + (python ? python : VORNLEADS_SQL_CHECK_PYTHON) + "' '" +
      VORNLEADS_SOURCE_DIR + "/tests/support/sql_dialect_check.py' < '" +
      (scratch / "input.json").string() + "' 2> '" + (scratch / "errors").string() + "'";
  std::string output;
  try {  // stdout only: the checker's complaints go to the errors file
    output = commandOutput("(" + command + ")");
  } catch (const std::runtime_error&) {
    throw std::runtime_error("sql dialect check did not run (" + command +
                             "): " + readFile(scratch / "errors"));
  }
  std::vector<std::string> rejected;
  std::istringstream lines(output);
  for (std::string line; std::getline(lines, line);) {
    const auto item = nlohmann::json::parse(line);
    rejected.push_back(item.at("dialect").get<std::string>() +
                       " parser: " + item.at("reason").get<std::string>() + ": " +
                       item.at("sql").get<std::string>());
  }
  return rejected;
}

}  // namespace vornleads::test
