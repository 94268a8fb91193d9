// A host process that dies while VW is being called, between the two journal writes: the
// in-progress row must be there for the next resend pass.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <string>

#include "feedback/feedback_fixture.h"
#include "vornleads/feedback/atualiza_leads_nao_enviados.h"

namespace vornleads::test {
namespace {

constexpr int kExitInsideBridge = 77;
constexpr char kDatabaseVariable[] = "VORNLEADS_TEST_CRASH_DB";
constexpr char kLeadVariable[] = "VORNLEADS_TEST_CRASH_LEAD";

// Runs in the child process: the bridge ends the process the moment it is called.
void updateAndDieInsideTheBridge(const std::string& uri, int32_t contato, int64_t lead) {
  auto db = OpenConnection(uri);
  auto atualiza =
      worker(*db, [](int32_t, const AnsiString&) -> AnsiString { _exit(kExitInsideBridge); });
  auto parametros = updateOf(contato, lead, 10);
  atualiza->realizaAtualizacao(parametros);
}

TEST(CrashBetweenJournalWrites, InProgressRowIsDeliveredByTheNextResendPass) {
  // The child is this program started anew (fork and exec) running this test up to the
  // EXPECT_EXIT statement, so it inherits no database state; the database and the lead it
  // must use come through the environment.
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  std::unique_ptr<TestDatabase> database;
  std::string uri;
  int32_t contato = 0;
  int64_t lead = 0;
  if (const char* inherited = std::getenv(kDatabaseVariable)) {
    uri = inherited;
    lead = std::atoll(std::getenv(kLeadVariable));
    contato = static_cast<int32_t>(lead);
  } else {
    LeadsService::instance().sandbox().reset();  // also puts the host directory in place
    database = std::make_unique<TestDatabase>(true);
    uri = database->uri();
    lead = nextKey();
    contato = static_cast<int32_t>(lead);
    auto db = database->connect();
    addLeadContact(*db, contato, lead);
    setenv(kDatabaseVariable, uri.c_str(), 1);
    setenv(kLeadVariable, std::to_string(lead).c_str(), 1);
  }

  EXPECT_EXIT(updateAndDieInsideTheBridge(uri, contato, lead),
              ::testing::ExitedWithCode(kExitInsideBridge), "");
  unsetenv(kDatabaseVariable);
  unsetenv(kLeadVariable);

  auto db = database->connect();
  const auto inProgress = journal(*db, lead);
  ASSERT_EQ(1u, inProgress.size());
  EXPECT_EQ("N", inProgress[0].enviou);
  EXPECT_EQ(297, inProgress[0].codigoErro);
  EXPECT_EQ("Atualização em processo de envio", inProgress[0].descricaoErro);
  EXPECT_TRUE(LeadsService::instance().updatesOf(lead).empty());

  TAtualizaLeadsNaoEnviados resend(*db);
  resend.IntegraLeadsVW = LeadsService::instance().bridge();
  resend.setClock(std::make_shared<FixedClock>(testNow()));
  resend.iniciaAtualizacao();
  const auto delivered = journal(*db, lead);
  EXPECT_EQ("S", delivered.at(0).enviou);
  EXPECT_EQ("15/03/2024 10:00:00", delivered.at(0).dtaAtualizacao);
  ASSERT_EQ(1u, LeadsService::instance().updatesOf(lead).size());
  EXPECT_EQ(10, LeadsService::instance().updatesOf(lead)[0]["Status"]);
}

}  // namespace
}  // namespace vornleads::test
