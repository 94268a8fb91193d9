// The resend pass over the unsent journal rows: failures of the service on the way to VW, a
// host that dies in the middle of an update, and the rows the pass must leave alone.
#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <tuple>

#include "feedback/feedback_fixture.h"
#include "feedback/text_cut.h"
#include "vornleads/error.h"

namespace vornleads::test {
namespace {

// Each failure of the service leaves the row unsent with the library edition's status 297
// and the failure's text; the next pass delivers it once, and the pass after reads nothing.
TEST_F(FeedbackTest, RowLeftUnsentByAServiceFailureIsDeliveredOnceByTheNextPass) {
  isolate();
  for (const Json& fault : {Json{{"mode", "drop"}}, Json{{"mode", "malformed"}},
                            Json{{"mode", "http500"}, {"descricao", "Servidor indisponível"}},
                            Json{{"mode", "soapfault"}, {"descricao", "Falha no serviço"}}}) {
    SCOPED_TRACE(fault.dump());
    const int32_t lead = newLead();
    Json atualiza = fault;
    atualiza["operation"] = "AtualizaLeads";
    sandbox().fault(atualiza);
    auto parametros = updateOf(lead, 10);
    const auto resposta = worker(*db_)->realizaAtualizacao(parametros);
    ASSERT_TRUE(resposta.has_value());
    EXPECT_EQ(297, resposta->Status->Codigo);
    const auto failed = journal(*db_, lead).at(0);
    EXPECT_EQ("N", failed.enviou);
    EXPECT_EQ(297, failed.codigoErro);
    EXPECT_FALSE(failed.descricaoErro.empty());
    EXPECT_EQ(0u, resposta->Status->Descricao.rfind(failed.descricaoErro, 0));

    EXPECT_EQ("1/1/0/0", resendPass(*db_));
    const auto delivered = journal(*db_, lead).at(0);
    EXPECT_EQ("S", delivered.enviou);
    EXPECT_EQ(std::nullopt, delivered.codigoErro);
    const std::size_t requests = updatesOf(lead).size();
    EXPECT_EQ("0/0/0/0", resendPass(*db_));
    EXPECT_EQ(requests, updatesOf(lead).size());
  }
}

constexpr int kExitInsideBridge = 77;
constexpr char kDatabaseVariable[] = "VORNLEADS_TEST_CRASH_DB";

// A host process that dies while VW is being called, between the two journal writes: the
// in-progress row must be there for the next resend pass. The child is this program started
// anew (threadsafe death test) running this test up to EXPECT_EXIT; it learns the database
// through the environment and never starts a sandbox of its own.
TEST(CrashBetweenJournalWrites, InProgressRowIsDeliveredByTheNextResendPass) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  std::unique_ptr<TestDatabase> database;
  std::string uri;
  const int32_t lead = 910000;
  if (const char* inherited = std::getenv(kDatabaseVariable)) {
    uri = inherited;
  } else {
    LeadsService::instance().sandbox().reset();
    database = std::make_unique<TestDatabase>(true);
    uri = database->uri();
    auto db = database->connect();
    addContact(*db, lead, testNow() - 10);
    linkLead(*db, lead, lead);
    setenv(kDatabaseVariable, uri.c_str(), 1);
  }
  EXPECT_EXIT(
      {
        auto db = OpenConnection(uri);
        auto parametros = updateOf(lead, 10);
        worker(*db, [](int32_t, const AnsiString&) -> AnsiString { _exit(kExitInsideBridge); })
            ->realizaAtualizacao(parametros);
      },
      ::testing::ExitedWithCode(kExitInsideBridge), "");
  unsetenv(kDatabaseVariable);

  auto db = database->connect();
  const auto inProgress = journal(*db, lead);
  ASSERT_EQ(1u, inProgress.size());
  EXPECT_EQ("N", inProgress[0].enviou);
  EXPECT_EQ("Atualização em processo de envio", inProgress[0].descricaoErro);
  EXPECT_TRUE(LeadsService::instance().updatesOf(lead).empty());
  EXPECT_EQ("1/1/0/0", resendPass(*db));
  EXPECT_EQ("S", journal(*db, lead).at(0).enviou);
  EXPECT_EQ("15/03/2024 10:00:00", journal(*db, lead).at(0).dtaAtualizacao);
  ASSERT_EQ(1u, LeadsService::instance().updatesOf(lead).size());
  EXPECT_EQ(10, LeadsService::instance().updatesOf(lead)[0]["Status"]);
}

TEST_F(FeedbackTest, AcceptedResendMarksEarlierRowsAndRejectedOnesStayForTheNextPass) {
  isolate();
  const int32_t lead = newLead();
  addJournalRow(*db_, lead, 1, 1, "N");
  addJournalRow(*db_, lead, 2, 10, "N");
  sandbox().fault({{"operation", "AtualizaLeads"},
                   {"mode", "reject"},
                   {"codigo", 150},
                   {"descricao", "Recusado"}});
  EXPECT_EQ("2/1/1/0", resendPass(*db_));
  const auto rows = journal(*db_, lead);
  EXPECT_EQ("S", rows.at(0).enviou) << "marked by the accepted row after it";
  EXPECT_EQ(150, rows.at(0).codigoErro) << "a marked row keeps its last error";
  EXPECT_EQ("S", rows.at(1).enviou);
  EXPECT_EQ(2u, updatesOf(lead).size());
  EXPECT_EQ("0/0/0/0", resendPass(*db_));
  EXPECT_EQ(2u, updatesOf(lead).size()) << "nothing accepted is sent again";
}

TEST_F(FeedbackTest, RowWithoutUserTakesTheForwardedUserOfTheBranchsFirstContact) {
  isolate();
  addContact(*db_, nextKey(), testNow() - 2, std::nullopt, 15);
  const int32_t lead = newLead();  // forwarded to user 12
  addJournalRow(*db_, lead, 1, 10, "N", std::nullopt);
  EXPECT_EQ("1/1/0/0", resendPass(*db_));
  EXPECT_EQ(15, journal(*db_, lead).at(0).usuario);
  EXPECT_EQ("33344455514", updatesOf(lead).at(0)["Cpf"]);
  EXPECT_EQ("14/03/2024 10:00:00", updatesOf(lead).at(0)["DataAtualizacao"]);
}

TEST_F(FeedbackTest, LeadsOutOfTheIntegrationAreLeftAlone) {
  isolate();
  const int32_t off = nextKey();
  addContact(*db_, off, testNow() - 2);
  linkLead(*db_, off, off, "N");
  addJournalRow(*db_, off, 1, 10, "N");
  const int32_t old = newLead(100);
  addJournalRow(*db_, old, 1, 10, "N");
  // An appointment now past is neither sent nor dropped: selected again by every pass.
  const int32_t past = newLead();
  db_->execute(
      "INSERT INTO CAC_ATUALIZACOES_LEADVW (ID_LEAD_VW, SEQUENCIA, STATUS_LEAD, "
      "DTA_REAGENDAMENTO, DTA_ATUALIZACAO, ENVIOU, CODIGO_ERRO, USUARIO) VALUES (" +
      std::to_string(past) +
      ", 1, 9, CAST('2024-03-14 09:00:00' AS TIMESTAMP), "
      "CAST('2024-03-10 09:00:00' AS TIMESTAMP), 'N', 297, 12)");

  EXPECT_EQ("2/0/0/2", resendPass(*db_));
  EXPECT_EQ("N", integrando(*db_, old)) << "too old: switched off";
  EXPECT_EQ("1/0/0/1", resendPass(*db_));
  EXPECT_EQ("NN", enviou(*db_, off) + enviou(*db_, old));
  EXPECT_EQ("N", enviou(*db_, past));
  EXPECT_EQ(0u, updatesOf(off).size() + updatesOf(old).size() + updatesOf(past).size());

  // With no integrated branch the journal is not even read.
  db_->execute("UPDATE CAC_PARAMETRO SET UTILIZA_INTEGRACAO_LEADVW = 'N'");
  EXPECT_EQ("0/0/0/0", resendPass(*db_));
}

TEST_F(FeedbackTest, AWorkerErrorEndsThePassAndLeavesTheRowAlone) {
  isolate();
  const int32_t lead = newLead();
  db_->execute(
      "INSERT INTO CAC_ATUALIZACOES_LEADVW (ID_LEAD_VW, SEQUENCIA, STATUS_LEAD, "
      "DTA_REAGENDAMENTO, DTA_ATUALIZACAO, ENVIOU, USUARIO) VALUES (" +
      std::to_string(lead) +
      ", 1, 9, CAST('2024-12-01 09:00:00' AS TIMESTAMP), "
      "CAST('2024-03-10 09:00:00' AS TIMESTAMP), 'N', 12)");
  for (const auto& [bridge, message] :
       {std::make_pair(LeadsService::instance().bridge(),
                       "Não é possível reagendar para um período maior que 6 meses"),
        std::make_pair(TIntegraLeadsVW(), "Função IntegraLeadsVW não definida")}) {
    try {
      resendPass(*db_, bridge);
      ADD_FAILURE() << "no error raised";
    } catch (const VornError& error) {
      EXPECT_STREQ(message, error.what());
    }
  }
  const auto row = journal(*db_, lead).at(0);
  EXPECT_EQ("N", row.enviou);
  EXPECT_EQ(std::nullopt, row.codigoErro) << "the row is not touched";
  EXPECT_TRUE(updatesOf(lead).empty());
}

TEST(PrimeirosCaracteres, CountsCharactersNotBytes) {
  const std::tuple<const char*, std::size_t, const char*> cases[] = {
      {"ação", 4, "ação"}, {"ação", 3, "açã"}, {"ação", 1, "a"},   {"ação", 0, ""},
      {"€€€", 2, "€€"},    {"a😀b", 2, "a😀"}, {"abc", 500, "abc"}};
  for (const auto& [texto, limite, esperado] : cases) {
    EXPECT_EQ(esperado, primeirosCaracteres(texto, limite)) << texto << " " << limite;
  }
}

}  // namespace
}  // namespace vornleads::test
