// The one fixture of the feedback tests: a real embedded Firebird DMS database, the sandbox on a
// loopback port and the library edition loaded from a scratch host directory, so that every
// update goes through dlopen, the facade and SOAP exactly as a host's would.
//
// The library edition reads its endpoint once, at its first call, so one sandbox serves the
// whole program (reset before each test). Tests share one database and give contacts and leads
// numbers of their own; a test of the resend pass, which reads every integrated branch, takes a
// database of its own (isolate()).
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "support/firebird_db.h"
#include "support/sandbox_process.h"
#include "vornleads/feedback/atualiza_leads_nao_enviados.h"
#include "vornleads/feedback/atualiza_leads_vw.h"
#include "vornleads/service/leads_library.h"

namespace vornleads::test {

using Json = SandboxProcess::Json;

// The process-wide leads service: sandbox, host directory with VornLeadsVW.dll, library.
class LeadsService {
 public:
  static LeadsService& instance();
  SandboxProcess& sandbox() { return *sandbox_; }
  const std::filesystem::path& home() const { return home_.path(); }
  TIntegraLeadsVW bridge() const { return library_->bind(); }
  std::vector<Json> updatesOf(int64_t idLead) const;  // requests received for one lead

 private:
  LeadsService();
  TempDir home_{"vornleads-home"};
  std::unique_ptr<SandboxProcess> sandbox_;
  std::unique_ptr<LeadsLibrary> library_;
};

// One journal row as stored; dates as DateTimeToStr, "" for null.
struct JournalRow {
  int32_t sequencia = 0, status = 0;
  std::string enviou;
  std::optional<int32_t> codigoErro;
  std::string descricaoErro;
  std::optional<int32_t> usuario;
  std::string dtaAtualizacao, dtaReagendamento;
};

TDateTime testNow();  // 15/03/2024 10:00:00
int32_t nextKey();    // a number not used before in this program

// An update worker on `db` with the library's bridge (unless given) and the test clock.
std::unique_ptr<TAtualizaLeadsVW> worker(SqlConnection& db, TIntegraLeadsVW bridge = {});
// One resend pass on `db`; its counts as "read/sent/rejected/unsent".
std::string resendPass(SqlConnection& db,
                       TIntegraLeadsVW bridge = LeadsService::instance().bridge());

// Rows of the sample branch 1.1 unless said otherwise.
void addContact(SqlConnection& db, int32_t contato, TDateTime dtaContato,
                std::optional<TDateTime> dtaNovoContato = std::nullopt,
                int32_t usuarioEncaminhado = 12, int32_t revenda = 1);
void linkLead(SqlConnection& db, int32_t contato, int64_t idLead,
              const std::string& integrando = "S", int32_t revenda = 1);
// Branch 1.revenda with the integration on, the given notification list (null when absent) and
// salesperson user 12 with a CPF.
void addBranch(SqlConnection& db, int32_t revenda, std::optional<std::string> usuariosNotificacao);
void addJournalRow(SqlConnection& db, int64_t idLead, int32_t sequencia, int32_t status,
                   const std::string& enviou, std::optional<int32_t> usuario = 12);
std::vector<JournalRow> journal(SqlConnection& db, int64_t idLead);
std::string enviou(SqlConnection& db, int64_t idLead);  // ENVIOU of the rows, in order
std::string integrando(SqlConnection& db, int64_t idLead);
// An update of contact `lead` (tests give a lead's contact the lead's number).
TParametroPreparaAtualizaLeadVW updateOf(int32_t lead, int32_t status, int32_t usuario = 12,
                                         int32_t revenda = 1);

class FeedbackTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { shared_ = std::make_unique<TestDatabase>(true); }
  static void TearDownTestSuite() { shared_.reset(); }
  void SetUp() override;
  void isolate();
  // A contact dated `diasAtras` before testNow() linked to a new lead the sandbox knows.
  int32_t newLead(int diasAtras = 10, int32_t revenda = 1);
  SandboxProcess& sandbox() { return LeadsService::instance().sandbox(); }
  std::vector<Json> updatesOf(int64_t idLead) const {
    return LeadsService::instance().updatesOf(idLead);
  }

  static std::unique_ptr<TestDatabase> shared_;
  std::unique_ptr<TestDatabase> own_;
  std::unique_ptr<SqlConnection> db_;
};

// A real connection that also keeps every statement sent through it (the workers' autonomous
// statements excepted).
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
  std::vector<std::string> primaryKey(const std::string& t) override {
    return real_.primaryKey(t);
  }
  SqlConnection& autonomous() override { return real_.autonomous(); }

 private:
  SqlConnection& real_;
};

}  // namespace vornleads::test
