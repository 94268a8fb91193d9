// The resend pass over the unsent journal rows, on a fresh database per test (the pass reads
// every integrated branch).
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "feedback/feedback_fixture.h"
#include "vornleads/error.h"
#include "vornleads/feedback/atualiza_leads_nao_enviados.h"

namespace vornleads::test {
namespace {

class ResendTest : public ::testing::Test {
 protected:
  void SetUp() override {
    LeadsService::instance().sandbox().reset();
    database_ = std::make_unique<TestDatabase>(true);
    db_ = database_->connect();
  }

  ResendSummary pass(TIntegraLeadsVW bridge = LeadsService::instance().bridge()) {
    TAtualizaLeadsNaoEnviados resend(*db_);
    resend.IntegraLeadsVW = std::move(bridge);
    resend.setClock(std::make_shared<FixedClock>(testNow()));
    resend.iniciaAtualizacao();
    return resend.summary();
  }

  static std::string counts(const ResendSummary& s) {
    return std::to_string(s.rowsRead) + " read, " + std::to_string(s.sent) + " sent, " +
           std::to_string(s.rejected) + " rejected, " + std::to_string(s.unsent) + " unsent";
  }

  SandboxProcess& sandbox() { return LeadsService::instance().sandbox(); }
  std::size_t sentFor(int64_t lead) { return LeadsService::instance().updatesOf(lead).size(); }

  std::unique_ptr<TestDatabase> database_;
  std::unique_ptr<SqlConnection> db_;
};

TEST_F(ResendTest, AcceptedResendSupersedesEarlierRowsForEveryLaterPass) {
  const int64_t lead = nextKey();
  addLeadContact(*db_, nextKey(), lead);
  addJournalRow(*db_, lead, 1, 1, "N");
  addJournalRow(*db_, lead, 2, 10, "N");
  sandbox().fault({{"operation", "AtualizaLeads"},
                   {"mode", "reject"},
                   {"codigo", 150},
                   {"descricao", "Recusado"}});

  EXPECT_EQ("2 read, 1 sent, 1 rejected, 0 unsent", counts(pass()));
  const auto rows = journal(*db_, lead);
  EXPECT_EQ("S", rows.at(0).enviou) << "marked by the accepted row after it";
  EXPECT_EQ(150, rows.at(0).codigoErro) << "a marked row keeps its last error";
  EXPECT_EQ("S", rows.at(1).enviou);
  EXPECT_EQ(2u, sentFor(lead));

  EXPECT_EQ("0 read, 0 sent, 0 rejected, 0 unsent", counts(pass()));
  EXPECT_EQ(2u, sentFor(lead)) << "nothing accepted is sent again";
}

TEST_F(ResendTest, RowWithoutUserTakesTheForwardedUserOfTheBranchsFirstContact) {
  const int32_t first = nextKey();
  addContact(*db_, first, testNow() - 2, std::nullopt, 15);
  const int32_t contato = nextKey();
  const int64_t lead = nextKey();
  addLeadContact(*db_, contato, lead);  // forwarded to user 12
  addJournalRow(*db_, lead, 1, 10, "N", std::nullopt);

  EXPECT_EQ("1 read, 1 sent, 0 rejected, 0 unsent", counts(pass()));
  EXPECT_EQ(15, journal(*db_, lead).at(0).usuario);
  EXPECT_EQ("33344455514", LeadsService::instance().updatesOf(lead).at(0)["Cpf"]);
  EXPECT_EQ("14/03/2024 10:00:00",
            LeadsService::instance().updatesOf(lead).at(0)["DataAtualizacao"]);
}

TEST_F(ResendTest, LeadsOutOfTheIntegrationAreLeftAlone) {
  const int32_t off = nextKey();
  const int64_t offLead = nextKey();
  addContact(*db_, off, testNow() - 2);
  linkLead(*db_, off, offLead, "N");
  addJournalRow(*db_, offLead, 1, 10, "N");
  const int32_t old = nextKey();
  const int64_t oldLead = nextKey();
  addLeadContact(*db_, old, oldLead, 100);
  addJournalRow(*db_, oldLead, 1, 10, "N");

  EXPECT_EQ("1 read, 0 sent, 0 rejected, 1 unsent", counts(pass()));
  EXPECT_EQ("N", integrando(*db_, oldLead)) << "too old: switched off";
  EXPECT_EQ("0 read, 0 sent, 0 rejected, 0 unsent", counts(pass()));
  EXPECT_EQ("N", journal(*db_, offLead).at(0).enviou);
  EXPECT_EQ("N", journal(*db_, oldLead).at(0).enviou);
  EXPECT_EQ(0u, sentFor(offLead) + sentFor(oldLead));

  // With no integrated branch the journal is not even read.
  db_->execute("UPDATE CAC_PARAMETRO SET UTILIZA_INTEGRACAO_LEADVW = 'N'");
  const int64_t lead = nextKey();
  addLeadContact(*db_, nextKey(), lead);
  addJournalRow(*db_, lead, 1, 10, "N");
  EXPECT_EQ("0 read, 0 sent, 0 rejected, 0 unsent", counts(pass()));
}

TEST_F(ResendTest, PastAppointmentStaysUnsentAndIsSelectedAgain) {
  const int64_t lead = nextKey();
  addLeadContact(*db_, nextKey(), lead);
  db_->execute(
      "INSERT INTO CAC_ATUALIZACOES_LEADVW (ID_LEAD_VW, SEQUENCIA, STATUS_LEAD, "
      "DTA_REAGENDAMENTO, DTA_ATUALIZACAO, ENVIOU, CODIGO_ERRO, USUARIO) VALUES (" +
      std::to_string(lead) +
      ", 1, 9, CAST('2024-03-14 09:00:00' AS TIMESTAMP), "
      "CAST('2024-03-10 09:00:00' AS TIMESTAMP), 'N', 297, 12)");
  EXPECT_EQ("1 read, 0 sent, 0 rejected, 1 unsent", counts(pass()));
  EXPECT_EQ("1 read, 0 sent, 0 rejected, 1 unsent", counts(pass()));
  EXPECT_EQ(0u, sentFor(lead));
}

TEST_F(ResendTest, AWorkerErrorEndsThePass) {
  const int64_t lead = nextKey();
  addLeadContact(*db_, nextKey(), lead);
  db_->execute(
      "INSERT INTO CAC_ATUALIZACOES_LEADVW (ID_LEAD_VW, SEQUENCIA, STATUS_LEAD, "
      "DTA_REAGENDAMENTO, DTA_ATUALIZACAO, ENVIOU, USUARIO) VALUES (" +
      std::to_string(lead) +
      ", 1, 9, CAST('2024-12-01 09:00:00' AS TIMESTAMP), "
      "CAST('2024-03-10 09:00:00' AS TIMESTAMP), 'N', 12)");
  try {
    pass();
    FAIL() << "no error raised";
  } catch (const VornError& error) {
    EXPECT_STREQ("Não é possível reagendar para um período maior que 6 meses", error.what());
  }
  const auto row = journal(*db_, lead).at(0);
  EXPECT_EQ("N", row.enviou);
  EXPECT_EQ(std::nullopt, row.codigoErro) << "the row is not touched";
  EXPECT_EQ(0u, sentFor(lead));

  try {
    pass(TIntegraLeadsVW());
    FAIL() << "no error raised";
  } catch (const VornError& error) {
    EXPECT_STREQ("Função IntegraLeadsVW não definida", error.what());
  }
}

}  // namespace
}  // namespace vornleads::test
