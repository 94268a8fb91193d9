// What an intake sends to its database, recorded and replayed: the statements and transaction
// words of the connection and of its autonomous() (the counters' own transactions), in the order
// they were sent, with the time spent in the database.
#pragma once

#include <algorithm>
#include <chrono>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "vornleads/db/sql_connection.h"

namespace bench_support {

using Steady = std::chrono::steady_clock;

inline double since(Steady::time_point start) {
  return std::chrono::duration<double>(Steady::now() - start).count();
}

struct Step {
  enum class Kind { Query, Execute, Begin, Commit, Rollback };
  Kind kind;
  std::string sql;
  bool autonomous;  // sent on the connection's autonomous()
};

struct Recording {
  std::vector<Step> steps;
  double seconds = 0;  // spent in the database
};

// Forwards to a real connection and records into a Recording shared with its autonomous().
class RecordingForwarder : public vornleads::SqlConnection {
 public:
  explicit RecordingForwarder(vornleads::SqlConnection& target)
      : RecordingForwarder(target, std::make_shared<Recording>(), false) {}
  RecordingForwarder(vornleads::SqlConnection& target, std::shared_ptr<Recording> recording,
                     bool autonomous)
      : target_(target), recording_(std::move(recording)), autonomous_(autonomous) {}

  std::string driverName() const override { return target_.driverName(); }
  vornleads::SqlRowSet query(const std::string& sql) override {
    return timed(Step::Kind::Query, sql, [&] { return target_.query(sql); });
  }
  int64_t execute(const std::string& sql) override {
    return timed(Step::Kind::Execute, sql, [&] { return target_.execute(sql); });
  }
  void beginTransaction() override {
    timed(Step::Kind::Begin, "", [this] { return (target_.beginTransaction(), 0); });
  }
  void commit() override {
    timed(Step::Kind::Commit, "", [this] { return (target_.commit(), 0); });
  }
  void rollback() override {
    timed(Step::Kind::Rollback, "", [this] { return (target_.rollback(), 0); });
  }
  bool inTransaction() const override { return target_.inTransaction(); }
  std::vector<std::string> primaryKey(const std::string& table) override {
    return target_.primaryKey(table);
  }
  // Recorded too: the counters' transactions are part of what an intake must run.
  vornleads::SqlConnection& autonomous() override {
    if (autonomous_) return *this;
    if (!own_) own_ = std::make_unique<RecordingForwarder>(target_.autonomous(), recording_, true);
    return *own_;
  }

  const Recording& recording() const { return *recording_; }

 private:
  template <typename Call>
  auto timed(Step::Kind kind, const std::string& sql, Call call) -> decltype(call()) {
    recording_->steps.push_back({kind, sql, autonomous_});
    const auto start = Steady::now();
    auto result = call();
    recording_->seconds += since(start);
    return result;
  }

  vornleads::SqlConnection& target_;
  std::shared_ptr<Recording> recording_;
  bool autonomous_;
  std::unique_ptr<RecordingForwarder> own_;
};

// The time of each kind of statement: its text up to the first value that varies per lead.
struct Shape {
  std::string text;
  int count = 0;
  double seconds = 0;
};

inline std::string shapeOf(const Step& step) {
  const std::string side = step.autonomous ? "[own] " : "";
  switch (step.kind) {
    case Step::Kind::Begin:
      return side + "(begin)";
    case Step::Kind::Commit:
      return side + "(commit)";
    case Step::Kind::Rollback:
      return side + "(rollback)";
    default:
      break;
  }
  const size_t cut = step.sql.find_first_of("0123456789'(");
  return side +
         step.sql.substr(0, std::min<size_t>(cut == std::string::npos ? step.sql.size() : cut, 70));
}

// Sends the steps to db, the autonomous ones to db.autonomous(); the seconds it took.
inline double replay(vornleads::SqlConnection& db, const std::vector<Step>& steps,
                     std::map<std::string, Shape>& shapes) {
  const auto start = Steady::now();
  for (const auto& step : steps) {
    vornleads::SqlConnection& target = step.autonomous ? db.autonomous() : db;
    const auto stepStart = Steady::now();
    switch (step.kind) {
      case Step::Kind::Query:
        target.query(step.sql);
        break;
      case Step::Kind::Execute:
        target.execute(step.sql);
        break;
      case Step::Kind::Begin:
        target.beginTransaction();
        break;
      case Step::Kind::Commit:
        target.commit();
        break;
      case Step::Kind::Rollback:
        target.rollback();
        break;
    }
    Shape& shape = shapes[shapeOf(step)];
    shape.text = shapeOf(step);
    ++shape.count;
    shape.seconds += since(stepStart);
  }
  return since(start);
}

// Commits of transactions that wrote: explicit transactions with a statement without rows,
// and such statements sent outside a transaction (each one commits on its own).
inline int64_t writingCommits(const std::vector<Step>& steps) {
  int64_t commits = 0;
  bool open[2] = {false, false}, wrote[2] = {false, false};
  for (const auto& step : steps) {
    const int side = step.autonomous ? 1 : 0;
    switch (step.kind) {
      case Step::Kind::Begin:
        open[side] = true;
        wrote[side] = false;
        break;
      case Step::Kind::Execute:
        if (!open[side]) ++commits;
        wrote[side] = true;
        break;
      case Step::Kind::Commit:
        if (wrote[side]) ++commits;
        open[side] = false;
        break;
      case Step::Kind::Rollback:
        open[side] = false;
        break;
      case Step::Kind::Query:
        break;
    }
  }
  return commits;
}

// Transactions the database has started so far (Firebird's counter, one more for this read).
inline int64_t transactionsStarted(vornleads::SqlConnection& db) {
  return db.query("select current_transaction N from rdb$database").value(0, "N").asInteger();
}

}  // namespace bench_support
