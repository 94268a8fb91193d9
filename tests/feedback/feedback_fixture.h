// The one fixture of the feedback tests: a real embedded Firebird DMS database, the sandbox on a
// loopback port and the library edition loaded from a scratch host directory, so that every
// update goes through dlopen, the facade and SOAP exactly as a host's would. The library reads
// its endpoint once, so one sandbox serves the program (reset before each test). Tests share a
// database with lead numbers of their own; a resend test, whose pass reads every integrated
// branch, takes a database of its own (isolate()).
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "support/firebird_db.h"
#include "support/sandbox_process.h"
#include "vornleads/feedback/atualiza_leads_vw.h"
#include "vornleads/service/leads_library.h"

namespace vornleads::test {

using Json = SandboxProcess::Json;

class LeadsService {
 public:
  static LeadsService& instance();
  SandboxProcess& sandbox() { return *sandbox_; }
  const std::filesystem::path& home() const { return home_.path(); }
  TIntegraLeadsVW bridge() const { return library_->bind(); }

 private:
  LeadsService();
  TempDir home_{"vornleads-home"};
  std::unique_ptr<SandboxProcess> sandbox_;
  std::unique_ptr<LeadsLibrary> library_;
};

TDateTime testNow();  // 15/03/2024 10:00:00
int32_t nextKey();    // a number not used before in this program
std::vector<Json> updatesOf(int64_t idLead);  // requests the sandbox received for a lead

// An update worker on `db` with the library's bridge (unless given) and the test clock; one
// resend pass, its counts as "read/sent/rejected/unsent".
std::unique_ptr<TAtualizaLeadsVW> worker(SqlConnection& db, TIntegraLeadsVW bridge = {});
std::string resendPass(SqlConnection& db,
                       TIntegraLeadsVW bridge = LeadsService::instance().bridge());

// A contact of branch 1.revenda dated `diasAtras` before testNow() (a new contact date
// `novoDias` before it, when given).
void addContact(SqlConnection& db, int32_t contato, int diasAtras, int32_t usuarioEncaminhado = 12,
                int32_t revenda = 1, std::optional<int> novoDias = std::nullopt);
// Such a contact numbered as its lead, linked to it, and the lead known to the sandbox.
void addLead(SqlConnection& db, int32_t lead, int diasAtras = 10, const std::string& integra = "S",
             int32_t revenda = 1, std::optional<int> novoDias = std::nullopt);
void addJournalRow(SqlConnection& db, int64_t idLead, int32_t sequencia, int32_t status,
                   const std::string& enviou, std::optional<int32_t> usuario = 12);
// The lead's journal rows: "SEQUENCIA|STATUS|ENVIOU|CODIGO_ERRO|DESCRICAO|USUARIO|
// DTA_ATUALIZACAO|DTA_REAGENDAMENTO", null as "-".
std::vector<std::string> journal(SqlConnection& db, int64_t idLead);
std::string enviou(SqlConnection& db, int64_t idLead);  // ENVIOU of the rows, in order
std::string integrando(SqlConnection& db, int64_t idLead);
TParametroPreparaAtualizaLeadVW updateOf(int32_t lead, int32_t status, int32_t usuario = 12,
                                         int32_t revenda = 1);

class FeedbackTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { shared_ = std::make_unique<TestDatabase>(true); }
  static void TearDownTestSuite() { shared_.reset(); }
  void SetUp() override {
    LeadsService::instance().sandbox().reset();
    db_ = shared_->connect();
  }
  void isolate() {
    own_ = std::make_unique<TestDatabase>(true);
    db_ = own_->connect();
  }
  int32_t newLead(int diasAtras = 10, int32_t revenda = 1) {
    const int32_t lead = nextKey();
    addLead(*db_, lead, diasAtras, "S", revenda);
    return lead;
  }
  void fault(int codigo, const std::string& descricao = "Falha simulada") {
    LeadsService::instance().sandbox().fault(
        {{"operation", "AtualizaLeads"}, {"mode", "reject"}, {"codigo", codigo},
         {"descricao", descricao}});
  }

  static std::unique_ptr<TestDatabase> shared_;
  std::unique_ptr<TestDatabase> own_;
  std::unique_ptr<SqlConnection> db_;
};

// A real connection that also keeps every statement sent through it.
class TracingConnection : public SqlConnection {
 public:
  explicit TracingConnection(SqlConnection& real) : real_(real) {}
  std::vector<std::string> statements;
  std::string driverName() const override { return real_.driverName(); }
  SqlRowSet query(const std::string& sql) override {
    statements.push_back(sql);
    return real_.query(sql);
  }
  int64_t execute(const std::string& sql) override {
    statements.push_back(sql);
    return real_.execute(sql);
  }
  void beginTransaction() override { real_.beginTransaction(); }
  void commit() override { real_.commit(); }
  void rollback() override { real_.rollback(); }
  bool inTransaction() const override { return real_.inTransaction(); }
  std::vector<std::string> primaryKey(const std::string& t) override { return real_.primaryKey(t); }
  SqlConnection& autonomous() override { return real_.autonomous(); }

 private:
  SqlConnection& real_;
};

}  // namespace vornleads::test
