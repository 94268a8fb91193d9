// Shared by the database suites: a scratch database per suite, recording-connection helpers.
#pragma once

#include <gtest/gtest.h>

#include <exception>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

#include "support/firebird_db.h"
#include "support/recording_connection.h"
#include "vornleads/error.h"
#include "vornleads/text/datetime.h"

namespace vornleads::test {

using Statements = std::vector<std::string>;
using Answers = std::vector<std::pair<std::string, SqlRowSet>>;

inline TDateTime leadDate() { return EncodeDateTime({2024, 3, 5, 14, 7, 9, 0}); }

inline SqlRowSet numero(int64_t n) { return singleValue("PROXIMO_NUMERO", SqlValue::integer(n)); }

// What `call` returns, as text ("no error" when it returns nothing), or the message of the
// VornError it raises.
template <typename Call>
std::string outcome(Call&& call) {
  try {
    if constexpr (std::is_void_v<decltype(call())>) {
      call();
      return "no error";
    } else {
      return std::to_string(call());
    }
  } catch (const VornError& error) {
    return error.what();
  }
}

// Row `row` as "A|B|...", "-" for NULL: the named columns (blank-separated), else all of them;
// "" when there is no such row. Every suite's row comparisons go through it.
inline std::string linha(const SqlRowSet& rows, const std::string& columns = "", size_t row = 0) {
  std::istringstream names(columns);
  std::string text, name;
  for (size_t c = 0;
       row < rows.rows.size() && (columns.empty() ? c < rows.columns.size() : bool(names >> name));
       ++c) {
    const SqlValue& value = columns.empty() ? rows.rows[row][c] : rows.value(row, name);
    text += (c ? "|" : "") + (value.isNull() ? "-" : value.asString());
  }
  return text;
}

inline int64_t count(SqlConnection& connection, const std::string& sql) {
  return connection.query(sql).rows.at(0).at(0).asInteger();
}

// Runs work(0) and work(1) on two threads at once; the first failure of either is raised here.
inline void inTwoThreads(const std::function<void(int)>& work) {
  std::exception_ptr failures[2];
  auto run = [&](int index) {
    try {
      work(index);
    } catch (...) {
      failures[index] = std::current_exception();
    }
  };
  std::thread first(run, 0), second(run, 1);
  first.join();
  second.join();
  for (const std::exception_ptr& failure : failures)
    if (failure) std::rethrow_exception(failure);
}

// One scratch database per suite (creating one costs about a second); each test gets a
// connection of its own, inside a transaction that is rolled back when `inTransaction`.
template <bool Sample, bool InTransaction>
class FirebirdSuite : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { db_ = std::make_unique<TestDatabase>(Sample); }
  static void TearDownTestSuite() { db_.reset(); }
  void SetUp() override {
    connection_ = db_->connect();
    if (InTransaction) connection_->beginTransaction();
  }
  void TearDown() override {
    if (connection_->inTransaction()) connection_->rollback();
  }
  int64_t count(const std::string& sql) { return test::count(*connection_, sql); }

  static inline std::unique_ptr<TestDatabase> db_;
  std::unique_ptr<SqlConnection> connection_;
};

}  // namespace vornleads::test
