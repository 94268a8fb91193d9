// Shared set-up of the feedback tests: a real embedded Firebird DMS database, the sandbox on
// a loopback port and the library edition loaded from a scratch host directory, so that every
// update goes through dlopen, the facade and SOAP exactly as a host's would.
//
// The library edition reads its endpoint once, at its first call, so one sandbox serves the
// whole test program (LeadsService::instance(); tests reset it). Contacts and leads get numbers
// of their own per test (nextKey()), so suites may share a database.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "support/firebird_db.h"
#include "support/fixed_clock.h"
#include "support/paths.h"
#include "support/sandbox_process.h"
#include "vornleads/clock.h"
#include "vornleads/data/sql_connection.h"
#include "vornleads/feedback/atualiza_leads_vw.h"
#include "vornleads/service/leads_library.h"

namespace vornleads::test {

// The process-wide leads service: sandbox, host directory with VornLeadsVW.dll, library.
class LeadsService {
 public:
  static LeadsService& instance();

  SandboxProcess& sandbox() { return *sandbox_; }
  const std::filesystem::path& home() const { return home_.path(); }
  TIntegraLeadsVW bridge() const { return library_->bind(); }
  // Requests the sandbox received for one lead, in order.
  std::vector<SandboxProcess::Json> updatesOf(int64_t idLead) const;

 private:
  LeadsService();
  TempDir home_{"vornleads-home"};
  std::unique_ptr<SandboxProcess> sandbox_;
  std::unique_ptr<LeadsLibrary> library_;
};

// One journal row as stored.
struct JournalRow {
  int32_t sequencia = 0;
  int32_t status = 0;
  std::string enviou;
  std::optional<int32_t> codigoErro;
  std::string descricaoErro;
  std::optional<int32_t> usuario;
  std::string dtaAtualizacao;    // DateTimeToStr of the stored value
  std::string dtaReagendamento;  // "" when null
};

// "Now" of every test: 15/03/2024 10:00:00.
TDateTime testNow();

// A number not used before in this program (contacts and lead identifiers).
int32_t nextKey();

// Rows of the sample branch 1.1 unless said otherwise.
void addContact(SqlConnection& db, int32_t contato, TDateTime dtaContato,
                std::optional<TDateTime> dtaNovoContato = std::nullopt,
                int32_t usuarioEncaminhado = 12, int32_t revenda = 1);
void linkLead(SqlConnection& db, int32_t contato, int64_t idLead,
              const std::string& integrando = "S", int32_t revenda = 1);
// A contact dated `diasAtras` before testNow(), linked to a lead the sandbox knows.
void addLeadContact(SqlConnection& db, int32_t contato, int64_t idLead, int diasAtras = 10,
                    int32_t revenda = 1);
// Branch 1.revenda with the integration on, the given notification list (null when absent) and
// salesperson user 12 with a CPF.
void addBranch(SqlConnection& db, int32_t revenda, std::optional<std::string> usuariosNotificacao);
void addJournalRow(SqlConnection& db, int64_t idLead, int32_t sequencia, int32_t status,
                   const std::string& enviou, std::optional<int32_t> usuario = 12);

std::vector<JournalRow> journal(SqlConnection& db, int64_t idLead);
std::string integrando(SqlConnection& db, int64_t idLead);

TParametroPreparaAtualizaLeadVW updateOf(int32_t contato, int64_t idLead, int32_t status,
                                         int32_t usuario = 12, int32_t revenda = 1);

// An update worker on `db` with the library's bridge and the test clock.
std::unique_ptr<TAtualizaLeadsVW> worker(SqlConnection& db, TIntegraLeadsVW bridge = {});

// A suite over one sample database shared by its tests.
class FeedbackSuite : public ::testing::Test {
 protected:
  static void SetUpTestSuite();
  static void TearDownTestSuite();
  void SetUp() override;

  LeadsService& service() { return LeadsService::instance(); }
  SandboxProcess& sandbox() { return service().sandbox(); }

  static std::unique_ptr<TestDatabase> database_;
  std::unique_ptr<SqlConnection> db_;
};

}  // namespace vornleads::test
