#include "support/sql_dialect_check.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <mutex>
#include <nlohmann/json.hpp>
#include <sstream>
#include <stdexcept>

namespace vornleads::test {
namespace {

std::mutex gMutex;
std::vector<DialectStatement> gCollected;

// A file of its own under the temporary directory, removed with the object.
class TempFile {
 public:
  TempFile() {
    std::string pattern = (std::filesystem::temp_directory_path() / "sql-dialect-XXXXXX").string();
    const int fd = mkstemp(pattern.data());
    if (fd < 0) throw std::runtime_error("sql dialect check: cannot create " + pattern);
    close(fd);
    path_ = pattern;
  }
  ~TempFile() {
    std::error_code ignored;  // a leftover in the temporary directory is harmless
    std::filesystem::remove(path_, ignored);
  }
  TempFile(const TempFile&) = delete;
  TempFile& operator=(const TempFile&) = delete;
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

std::string slurp(const std::string& path) {
  std::ifstream in(path);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

struct PipeCloser {
  void operator()(FILE* pipe) const {
    if (pipe) pclose(pipe);
  }
};

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
  TempFile input, errors;
  {
    std::ofstream out(input.path());
    out << batch.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
  }
  const char* python = std::getenv("VORNLEADS_SQL_CHECK_PYTHON");
  const std::string command = std::string("'") + (python ? python : VORNLEADS_SQL_CHECK_PYTHON) +
                              "' '" + VORNLEADS_SOURCE_DIR +
                              "/tests/support/sql_dialect_check.py' < '" + input.path() + "' 2> '" +
                              errors.path() + "'";
  std::unique_ptr<FILE, PipeCloser> pipe(popen(command.c_str(), "r"));
  if (!pipe) throw std::runtime_error("sql dialect check: cannot run " + command);
  std::string output;
  char buffer[4096];
  for (size_t n; (n = std::fread(buffer, 1, sizeof buffer, pipe.get())) > 0;)
    output.append(buffer, n);
  const int status = pclose(pipe.release());
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
    throw std::runtime_error("sql dialect check did not run (" + command +
                             "): " + slurp(errors.path()));
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
