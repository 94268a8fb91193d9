// The feedback tests' fixture: a Firebird DMS database shared by tests with lead numbers of
// their own (a resend test isolates itself) and the program's library edition (library_edition.h).
// Every database refuses to write a delivered journal row again.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "support/firebird_db.h"
#include "support/library_edition.h"
#include "vornleads/feedback/atualiza_leads_vw.h"

namespace vornleads::test {

using Json = SandboxProcess::Json;
using Strings = std::vector<std::string>;

std::vector<Json> updatesOf(int64_t idLead);  // requests the sandbox received for a lead
TDateTime testNow();                          // 15/03/2024 10:00:00
int32_t nextKey();                            // a number not used before in this program
std::unique_ptr<TestDatabase> newDatabase();  // the sample, with the delivered-row guard

// An update worker on `db` with the library (unless given a bridge) and the test clock; one
// resend pass, its counts as "read/sent/rejected/unsent".
std::unique_ptr<TAtualizaLeadsVW> worker(SqlConnection& db, TIntegraLeadsVW bridge = {});
std::string resendPass(SqlConnection& db, TIntegraLeadsVW bridge = test::bridge());

// A contact of branch 1.revenda dated `diasAtras` before testNow() (a new date `novoDias` before
// it), forwarded to `usuario`, numbered as its lead, linked to it; the sandbox knows the lead.
void addLead(SqlConnection& db, int32_t lead, int diasAtras = 10, const std::string& integra = "S",
             int32_t revenda = 1, std::optional<int> novoDias = {}, int32_t usuario = 12);
void addJournalRow(SqlConnection& db, int64_t idLead, int32_t sequencia, int32_t status,
                   const std::string& enviou, const std::string& usuario = "12");
// Rows as "SEQUENCIA|STATUS|ENVIOU|CODIGO_ERRO|DESCRICAO|USUARIO|DTA_ATUALIZACAO|
// DTA_REAGENDAMENTO", null as "-".
Strings journal(SqlConnection& db, int64_t idLead);
std::string enviou(SqlConnection& db, int64_t idLead);  // ENVIOU of the rows, in order
std::string integrando(SqlConnection& db, int64_t idLead);
TParametroPreparaAtualizaLeadVW updateOf(int32_t lead, int32_t status, int32_t usuario = 12,
                                         int32_t revenda = 1);

class FeedbackTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { shared_ = newDatabase(); }
  static void TearDownTestSuite() { shared_.reset(); }
  void SetUp() override {
    sandbox().reset();
    db_ = shared_->connect();
  }
  void isolate() {
    own_ = newDatabase();
    db_ = own_->connect();
  }
  int32_t newLead(int diasAtras = 10, int32_t revenda = 1) {
    const int32_t lead = nextKey();
    addLead(*db_, lead, diasAtras, "S", revenda);
    return lead;
  }
  void reject(int codigo, const std::string& descricao = "Falha simulada") {
    sandbox().fault({{"operation", "AtualizaLeads"},
                     {"mode", "reject"},
                     {"codigo", codigo},
                     {"descricao", descricao}});
  }

  static std::unique_ptr<TestDatabase> shared_;
  std::unique_ptr<TestDatabase> own_;
  std::unique_ptr<SqlConnection> db_;
};

}  // namespace vornleads::test
