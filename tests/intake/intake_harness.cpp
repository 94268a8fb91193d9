#include "intake_harness.h"

#include <cstdlib>
#include <filesystem>

#include "vornleads/package/log_file.h"
#include "vornleads/service/leads_library.h"
#include "vornleads/text/datetime.h"

namespace vornleads::test {

SandboxProcess& sandbox() {
  static SandboxProcess* process = [] {
    static SandboxProcess started;
    setenv("VORNLEADS_ENDPOINT", started.url().c_str(), 1);
    return &started;
  }();
  return *process;
}

TIntegraLeadsVW bridge() {
  static const LeadsLibrary library(binDir() / "VornLeadsVW.dll");
  sandbox();
  return library.bind();
}

TDateTime testNow() { return EncodeDate(2025, 6, 9) + EncodeTime(9, 0, 0, 0); }

namespace {

// Each lead has a phone of its own (900000000 + its number), so that leads match customers
// only where a test means them to.
// and a CPF of its own ("5" + its number in ten digits).
int64_t numeroDoLead(const std::string& idLead) {
  int64_t numero = 0;
  for (char c : idLead) {
    if (c < '0' || c > '9') return 0;
    numero = numero * 10 + (c - '0');
  }
  return numero % 10000000;
}

std::string cpfDoLead(const std::string& idLead) {
  const std::string numero = std::to_string(numeroDoLead(idLead));
  return "5" + std::string(10 - numero.size(), '0') + numero;
}

}  // namespace

Json leadItem(const std::string& idLead, const Json& changes) {
  Json item = {{"Acabamento", "Comfortline"},
               {"Cor", "Branco"},
               {"CpfCnpj", cpfDoLead(idLead)},
               {"DataIntencao", "10/06/2025 10:00:00"},
               {"Ddd", 11},
               {"DealerNumber", "1234"},
               {"Email", "cliente" + idLead + "@exemplo.com.br"},
               {"IdLead", idLead},
               {"Modelo", "POLO"},
               {"Nome", "Maria da Silva"},
               {"Opcionais", ""},
               {"Status", 0},
               {"Telefone", 900000000 + numeroDoLead(idLead)},
               {"Preco", "98500,90"},
               {"Origem", "Site VW"},
               {"Mensagem", "Gostaria de agendar um test drive"},
               {"DataIntencaoAgendamento", "11/06/2025 15:30:00"},
               {"Showroom", "Loja Centro"},
               {"PreferenciaContato", "WhatsApp"}};
  for (const auto& [name, change] : changes.items()) item[name] = change;
  return item;
}

void IntakeCycleTest::SetUp() {
  sandbox().reset();
  db_ = std::make_unique<TestDatabase>(true);
  home_ = std::make_unique<TempDir>("vornleads-intake-home");
  // The update worker sends only when the library edition lies in the host directory.
  std::filesystem::create_symlink(binDir() / "VornLeadsVW.dll", home_->path() / "VornLeadsVW.dll");
  setenv("VORNLEADS_HOME", home_->path().c_str(), 1);
  clock_ = std::make_shared<FixedClock>(testNow());
  pause_ = std::make_shared<RecordingPause>();
  connection_ = db_->connect();
  worker_ = std::make_unique<TLeadsVWMetodosClass>(aplicacao_, *connection_);
  worker_->IntegraLeadsVW = bridge();
  worker_->setClock(clock_);
  worker_->setPause(pause_);
}

void IntakeCycleTest::TearDown() {
  worker_.reset();
  connection_.reset();
  unsetenv("VORNLEADS_HOME");
  db_.reset();
  home_.reset();
}

void IntakeCycleTest::runCycle() {
  try {
    runWorker();
  } catch (const std::exception& error) {
    ADD_FAILURE() << "buscarLeads raised: " << error.what() << "\nIntake log:\n" << logText();
  }
}

void IntakeCycleTest::runWorker() {
  worker_ = std::make_unique<TLeadsVWMetodosClass>(aplicacao_, *connection_);
  worker_->IntegraLeadsVW = bridge();
  worker_->setClock(clock_);
  worker_->setPause(pause_);
  worker_->buscarLeads();
}

std::string IntakeCycleTest::runCycleExpectingError() {
  try {
    runWorker();
  } catch (const std::exception& error) {
    return error.what();
  }
  ADD_FAILURE() << "buscarLeads did not raise";
  return "";
}

SqlRowSet IntakeCycleTest::query(const std::string& sql) const {
  return db_->connect()->query(sql);
}

std::string IntakeCycleTest::value(const std::string& sql) const {
  const SqlRowSet rows = query(sql);
  return rows.empty() ? "" : rows.rows[0][0].asString();
}

int64_t IntakeCycleTest::count(const std::string& sql) const {
  return query(sql).rows[0][0].asInteger();
}

void IntakeCycleTest::execute(const std::string& sql) const { db_->connect()->execute(sql); }

std::string IntakeCycleTest::logText() const {
  const auto path = LogFile(kLogBuscaLeads, clock_).pathFor(clock_->now());
  return std::filesystem::exists(path) ? readFile(path) : "";
}

std::vector<std::string> IntakeCycleTest::confirmedLeads() const {
  std::vector<std::string> confirmed;
  for (const auto& lead : sandbox().leads()) {
    if (lead["confirmed"].get<bool>()) confirmed.push_back(lead["IdLead"].get<std::string>());
  }
  return confirmed;
}

}  // namespace vornleads::test
