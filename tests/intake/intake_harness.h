// Whole intake cycles for the tests: a fresh sample database, the sandbox of this test program
// behind the library edition, a fixed clock, a pause that only records, and a host directory
// of the test's own (logs, and the library edition the update worker looks for).
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "support/firebird_db.h"
#include "support/fixed_clock.h"
#include "support/paths.h"
#include "support/sandbox_process.h"
#include "vornleads/clock.h"
#include "vornleads/data/aplicacao.h"
#include "vornleads/intake/leads_vw_metodos.h"

namespace vornleads::test {

using Json = nlohmann::ordered_json;

// The one sandbox of the test program. The library edition reads VORNLEADS_ENDPOINT once, at
// its first call, so the sandbox is started (and the variable set) before any bridge call.
SandboxProcess& sandbox();
// The bridge of the library edition built beside the tests.
TIntegraLeadsVW bridge();

class RecordingPause : public Pause {
 public:
  void sleep(int milliseconds) override { waits.push_back(milliseconds); }
  std::vector<int> waits;
};

// 09/06/2025 09:00:00, the "now" of every cycle test.
TDateTime testNow();

// A lead item for dealer 1234 with every field filled; `changes` replaces members.
Json leadItem(const std::string& idLead, const Json& changes = Json::object());

class IntakeCycleTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  // One top-level buscarLeads on a fresh worker; the worker stays for inspection. A raise is
  // a test failure that shows the intake log.
  void runCycle();
  // The same, expecting it to raise; returns the message.
  std::string runCycleExpectingError();

  TLeadsVWMetodosClass& worker() { return *worker_; }
  // Rows of a query on a connection of its own.
  SqlRowSet query(const std::string& sql) const;
  // One value, as text ("" for null or no row).
  std::string value(const std::string& sql) const;
  int64_t count(const std::string& sql) const;
  void execute(const std::string& sql) const;
  // The intake log of the test day ("" when not written).
  std::string logText() const;
  // Lead identifiers VW holds as confirmed.
  std::vector<std::string> confirmedLeads() const;

  std::unique_ptr<TestDatabase> db_;
  std::unique_ptr<TempDir> home_;
  std::shared_ptr<FixedClock> clock_;
  std::shared_ptr<RecordingPause> pause_;
  std::unique_ptr<SqlConnection> connection_;
  TAplicacaoLibrary aplicacao_;
  std::unique_ptr<TLeadsVWMetodosClass> worker_;

 private:
  void runWorker();
};

}  // namespace vornleads::test
