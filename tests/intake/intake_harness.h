// The fixture of the intake cycles: a fresh sample database, the program's library edition and
// sandbox (library_edition.h) with no log of the test day, a fixed clock and a recording host.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "support/firebird_suite.h"
#include "support/fixed_clock.h"
#include "support/library_edition.h"
#include "vornleads/intake/leads_vw_metodos.h"

namespace vornleads::test {

using Json = SandboxProcess::Json;
using Strings = std::vector<std::string>;

TDateTime testNow();  // 09/06/2025 09:00:00
inline const std::string kSucesso =
    R"({"Status":{"Codigo":0,"Descricao":"Sucesso","Versao":"1.0"},)";  // a reply's opening
inline const std::string kReinicio =  // a worker's sixth failed cycle in a row
    "Ocorreram repetidos erros ao integrar os leads, o serviço será reiniciado";

// A lead item for dealer 1234 with every field filled; phone 900000000 + its number and CPF
// "5" + its number in ten digits, so that leads match customers only where a test means them
// to. `changes` replaces members.
Json leadItem(const std::string& idLead, const Json& changes = Json::object());

// Records the pauses, the phases and the items reported; never asks for a stop.
struct Host : RunControl, Pause {
  Strings reported;
  std::vector<int> waits;
  bool stopRequested() const override { return false; }
  void progress(int n, int total, const std::string& id) override {
    reported.push_back(std::to_string(n) + "/" + std::to_string(total) + " " + id);
  }
  void phase(const std::string& items) override { reported.push_back(items + ":"); }
  void sleep(int milliseconds) override { waits.push_back(milliseconds); }
};

class IntakeTest : public ::testing::Test {
 protected:
  void SetUp() override;
  // A fresh worker on the database: library bridge, test clock, host.
  TLeadsVWMetodosClass& newWorker();
  std::string cycle() {
    return outcome([this] { newWorker().buscarLeads(); });
  }
  std::string row(const std::string& sql) const { return linha(db_->connect()->query(sql)); }
  int64_t count(const std::string& table) const {
    return std::stoll(row("SELECT COUNT(*) FROM " + table));
  }
  void execute(const std::string& sql) const { db_->connect()->execute(sql); }
  std::string logText() const;  // the intake log of the test day
  Strings confirmedLeads() const;

  std::unique_ptr<TestDatabase> db_;
  std::shared_ptr<FixedClock> clock_ = std::make_shared<FixedClock>(testNow());
  std::shared_ptr<Host> host_ = std::make_shared<Host>();
  std::unique_ptr<SqlConnection> connection_;
  TAplicacaoLibrary aplicacao_;
  std::unique_ptr<TLeadsVWMetodosClass> worker_;
};

}  // namespace vornleads::test
