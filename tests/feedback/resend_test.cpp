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
  for (const char* mode : {"drop", "malformed", "http500", "soapfault"}) {
    SCOPED_TRACE(mode);
    const int32_t lead = newLead();
    sandbox().fault({{"operation", "AtualizaLeads"}, {"mode", mode}});
    auto parametros = updateOf(lead, 10);
    const auto resposta = worker(*db_)->realizaAtualizacao(parametros);
    ASSERT_TRUE(resposta.has_value());
    EXPECT_EQ(297, resposta->Status->Codigo);
    const std::string row = journal(*db_, lead).at(0);
    EXPECT_EQ(0u, row.rfind("1|10|N|297|" + resposta->Status->Descricao.substr(0, 20), 0)) << row;

    EXPECT_EQ("1/1/0/0", resendPass(*db_));
    EXPECT_EQ(Strings{"1|10|S|-||12|15/03/2024 10:00:00|-"}, journal(*db_, lead));
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
  if (const char* inherited = std::getenv(kDatabaseVariable)) {
    uri = inherited;
  } else {
    sandbox().reset();
    database = newDatabase();
    uri = database->uri();
    addLead(*database->connect(), 910000);
    setenv(kDatabaseVariable, uri.c_str(), 1);
  }
  EXPECT_EXIT(
      {
        auto parametros = updateOf(910000, 10);
        auto db = OpenConnection(uri);
        worker(*db, [](int32_t, const AnsiString&) -> AnsiString { _exit(kExitInsideBridge); })
            ->realizaAtualizacao(parametros);
      },
      ::testing::ExitedWithCode(kExitInsideBridge), "");
  unsetenv(kDatabaseVariable);

  auto db = database->connect();
  EXPECT_EQ(Strings{"1|10|N|297|Atualização em processo de envio|12|15/03/2024 10:00:00|-"},
            journal(*db, 910000));
  EXPECT_TRUE(updatesOf(910000).empty());
  EXPECT_EQ("1/1/0/0", resendPass(*db));
  EXPECT_EQ(Strings{"1|10|S|-||12|15/03/2024 10:00:00|-"}, journal(*db, 910000));
  ASSERT_EQ(1u, updatesOf(910000).size());
  EXPECT_EQ(10, updatesOf(910000)[0]["Status"]);
}

TEST_F(FeedbackTest, AcceptedResendMarksEarlierRowsAndRejectedOnesStayForTheNextPass) {
  isolate();
  const int32_t lead = newLead();
  addJournalRow(*db_, lead, 1, 1, "N");
  addJournalRow(*db_, lead, 2, 10, "N");
  reject(150, "Recusado");
  EXPECT_EQ("2/1/1/0", resendPass(*db_));
  EXPECT_EQ((Strings{"1|1|S|150|Recusado|12|14/03/2024 10:00:00|-",
                     "2|10|S|-||12|14/03/2024 10:00:00|-"}),
            journal(*db_, lead))
      << "the rejected row is marked by the accepted one after it and keeps its error";
  EXPECT_EQ(2u, updatesOf(lead).size());
  EXPECT_EQ("0/0/0/0", resendPass(*db_));
  EXPECT_EQ(2u, updatesOf(lead).size()) << "nothing accepted is sent again";
}

TEST_F(FeedbackTest, RowWithoutUserTakesTheForwardedUserOfTheBranchsFirstContact) {
  isolate();
  addContact(*db_, nextKey(), 2, 15);
  const int32_t lead = newLead();  // forwarded to user 12
  addJournalRow(*db_, lead, 1, 10, "N", std::nullopt);
  EXPECT_EQ("1/1/0/0", resendPass(*db_));
  EXPECT_EQ(Strings{"1|10|S|-||15|14/03/2024 10:00:00|-"}, journal(*db_, lead));
  EXPECT_EQ("33344455514", updatesOf(lead).at(0)["Cpf"]);
  EXPECT_EQ("14/03/2024 10:00:00", updatesOf(lead).at(0)["DataAtualizacao"]);
}

// A lead switched off is not read; one too old is read once and switched off; an appointment
// now past is neither sent nor dropped: read by every pass.
TEST_F(FeedbackTest, LeadsOutOfTheIntegrationAreLeftAlone) {
  isolate();
  const int32_t off = nextKey();
  addLead(*db_, off, 2, "N");
  addJournalRow(*db_, off, 1, 10, "N");
  const int32_t old = newLead(100);
  addJournalRow(*db_, old, 1, 10, "N");
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
  EXPECT_EQ("NNN", enviou(*db_, off) + enviou(*db_, old) + enviou(*db_, past));
  EXPECT_EQ(0u, updatesOf(off).size() + updatesOf(old).size() + updatesOf(past).size());
  db_->execute("UPDATE CAC_PARAMETRO SET UTILIZA_INTEGRACAO_LEADVW = 'N'");
  EXPECT_EQ("0/0/0/0", resendPass(*db_)) << "no integrated branch: the journal is not read";
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
       {std::make_pair(bridge(),
                       "Não é possível reagendar para um período maior que 6 meses"),
        std::make_pair(TIntegraLeadsVW(), "Função IntegraLeadsVW não definida")}) {
    try {
      resendPass(*db_, bridge);
      ADD_FAILURE() << "no error raised";
    } catch (const VornError& error) {
      EXPECT_STREQ(message, error.what());
    }
  }
  EXPECT_EQ(Strings{"1|9|N|-|-|12|10/03/2024 09:00:00|01/12/2024 09:00:00"}, journal(*db_, lead));
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
