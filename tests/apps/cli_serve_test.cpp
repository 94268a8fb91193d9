// vornleads serve as a child process against its own sandbox and database: cycles and passes
// on their schedules, a service fault, the restart message, a database that goes away and comes
// back, and SIGTERM at any moment leaving every lead and journal row whole.
#include <gtest/gtest.h>
#include <signal.h>

#include <filesystem>
#include <memory>
#include <string>
#include <thread>

#include "apps/feedback_cli.h"
#include "support/child_process.h"

namespace vornleads::test {
namespace {

using namespace std::chrono_literals;

size_t occurrences(const std::string& text, const std::string& part) {
  size_t n = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++n;
  return n;
}

class CliServeTest : public FeedbackCliTest {
 protected:
  std::unique_ptr<ChildProcess> serve(const std::string& intakeEvery,
                                      const std::string& resendEvery,
                                      const std::string& retryDelay = "0") {
    return std::make_unique<ChildProcess>(std::vector<std::string>{
        (binDir() / "vornleads").string(), "--db", database_.uri(), "--endpoint", sandbox_.url(),
        "--home", home_.path().string(), "serve", "--intake-every", intakeEvery, "--resend-every",
        resendEvery, "--retry-delay", retryDelay});
  }

  // SIGTERM must end the service within a few seconds, with status 0 and its last word.
  void stop(ChildProcess& process) {
    process.signal(SIGTERM);
    EXPECT_EQ(process.wait(5s), 0) << process.err();
    const std::string err = process.err();
    EXPECT_EQ(err.substr(err.rfind('\n', err.size() - 2) + 1).substr(20),
              "serve: stopped by SIGTERM\n");
  }

  // Whatever the moment of a stop: every contact has its link and its customer, every link its
  // contact, and no journal row is left being sent.
  void expectNothingHalfDone() {
    EXPECT_EQ(count("SELECT COUNT(*) FROM CAC_CONTATO C WHERE NOT EXISTS (SELECT 1 FROM "
                    "CAC_LEAD_CONTATO L WHERE L.EMPRESA = C.EMPRESA AND L.REVENDA = C.REVENDA "
                    "AND L.CONTATO = C.CONTATO)"),
              0);
    EXPECT_EQ(count("SELECT COUNT(*) FROM CAC_LEAD_CONTATO L WHERE NOT EXISTS (SELECT 1 FROM "
                    "CAC_CONTATO C WHERE L.EMPRESA = C.EMPRESA AND L.REVENDA = C.REVENDA "
                    "AND L.CONTATO = C.CONTATO)"),
              0);
    EXPECT_EQ(count("SELECT COUNT(*) FROM FAT_CLIENTE"),
              count("SELECT COUNT(*) FROM CAC_CONTATO WHERE CLIENTE IS NOT NULL"));
    const CliRun unsent = vornleads("updates --unsent");
    EXPECT_EQ(unsent.status, 0) << unsent.err;
    EXPECT_EQ(unsent.out.find("processo de envio"), std::string::npos) << unsent.out;
    EXPECT_EQ(count("SELECT COUNT(*) FROM CAC_ATUALIZACOES_LEADVW WHERE DESCRICAO_ERRO = "
                    "'Atualização em processo de envio'"),
              0);
  }
};

TEST_F(CliServeTest, CyclesAndPassesGoOnThroughFaultsAndTheRestartMessage) {
  addLeadContact(10, 501);
  addUnsentRow(501, 1, 10);
  sandbox_.addLeads(
      Json::array({leadItem(601), leadItem(602), leadItem(603, {{"DataIntencao", "32/01/2025"}})}));
  sandbox_.fault({{"operation", "BuscaLeadsStatus"},
                  {"mode", "reject"},
                  {"codigo", 150},
                  {"descricao", "DN sem permissão"}});
  const auto process = serve("0.3", "0.5");

  // Lead 603 fails every cycle: each worker repeats its cycle five times, then gives the restart
  // message, and the next interval starts a fresh worker.
  ASSERT_TRUE(ChildProcess::waitUntil(
      [&] {
        const std::string err = process->err();
        const size_t restart = err.find("o serviço será reiniciado");
        return restart != std::string::npos &&
               err.find(" intake: ", restart) != std::string::npos &&
               occurrences(err, " resend: ") >= 2;
      },
      60s))
      << process->err();
  sandbox_.addLeads(Json::array({leadItem(604)}));
  ASSERT_TRUE(ChildProcess::waitUntil(
      [&] { return count("SELECT COUNT(*) FROM CAC_LEAD_CONTATO WHERE ID_LEAD_VW = 604") == 1; },
      30s));
  stop(*process);

  const std::string err = process->err();
  const size_t fault = err.find(" intake failed at step 08 after ");
  ASSERT_NE(fault, std::string::npos) << err;
  EXPECT_NE(err.find(": DN sem permissão (1 dealers, 0 leads read", fault), std::string::npos);
  EXPECT_LT(fault, err.find(" intake: ")) << "the fault met the first cycle";
  // Each cycle's own counts: the first after the fault reads all four leads (501, which the
  // sandbox knows by its number only, fails too, but is confirmed: it had its link), the
  // repetitions only the one that fails.
  EXPECT_NE(err.find(" intake: 1 dealers, 4 leads read, 2 contacts created, 0 linked, 0 revised, "
                     "0 closed, 2 failed, 3 confirmed in "),
            std::string::npos)
      << err;
  EXPECT_GE(occurrences(err,
                        " intake: 1 dealers, 1 leads read, 0 contacts created, 0 linked, "
                        "0 revised, 0 closed, 1 failed, 0 confirmed in "),
            5u);
  EXPECT_NE(err.find(" intake failed at step 08 after "), std::string::npos);
  EXPECT_NE(err.find("o serviço será reiniciado (a fresh worker takes over at the next interval)"),
            std::string::npos);
  EXPECT_NE(err.find(" resend: 1 rows read, 1 sent, 0 rejected, 0 still unsent in "),
            std::string::npos);
  EXPECT_NE(err.find(" resend: 0 rows read, 0 sent, 0 rejected, 0 still unsent in "),
            std::string::npos);

  EXPECT_EQ(count("SELECT COUNT(*) FROM CAC_LEAD_CONTATO"), 4);
  EXPECT_EQ("1 S null \n", journal(501));
  for (const auto& stored : sandbox_.leads()) {
    EXPECT_EQ(stored["confirmed"].get<bool>(), stored["IdLead"] != "603") << stored.dump();
  }
}

// Also: the 30 s pause before a repeated cycle does not hold a stop up.
TEST_F(CliServeTest, DatabaseGoneAtStartIsReportedUntilItIsBack) {
  // Permissions do not stop root, which the test machines often are: the file is moved away.
  const std::filesystem::path away = database_.path().string() + ".away";
  std::filesystem::rename(database_.path(), away);
  sandbox_.addLeads(Json::array({leadItem(701), leadItem(702, {{"DataIntencao", "32/01/2025"}})}));
  const auto process = serve("0.3", "0.3", "30000");
  const bool reported = ChildProcess::waitUntil(
      [&] {
        const std::string err = process->err();
        return occurrences(err, " intake failed: database unavailable") >= 2 &&
               occurrences(err, " resend failed: database unavailable") >= 2;
      },
      30s);
  std::filesystem::rename(away, database_.path());
  ASSERT_TRUE(reported) << process->err();
  ASSERT_TRUE(ChildProcess::waitUntil(
      [&] { return count("SELECT COUNT(*) FROM CAC_LEAD_CONTATO WHERE ID_LEAD_VW = 701") == 1; },
      30s))
      << process->err();
  ASSERT_TRUE(ChildProcess::waitUntil(
      [&] {
        return process->err().find(" intake: 1 dealers, 2 leads read, 1 contacts created") !=
               std::string::npos;
      },
      30s));
  stop(*process);
}

TEST_F(CliServeTest, SigtermInTheMiddleOfACycleOrAPassLeavesNothingHalfDone) {
  // Contact numbers far above those the intake draws; leads unknown to the sandbox, so each
  // resend is answered with a rejection.
  for (int lead = 810; lead < 820; ++lead) {
    addLeadContact(9000 + lead, lead, 3, false);
    addUnsentRow(lead, 1, 10, "NULL", "pendente");
  }
  Json leads = Json::array();
  for (int id = 901; id <= 930; ++id) leads.push_back(leadItem(id));
  sandbox_.addLeads(leads);
  // Every status update and receipt takes a tenth of a second: the stop meets work in hand.
  sandbox_.fault({{"operation", "AtualizaLeads"}, {"mode", "delay"}, {"ms", 100}, {"count", 1000}});

  {
    SCOPED_TRACE("stopped while the intake writes its leads");
    const auto process = serve("600", "600");
    ASSERT_TRUE(ChildProcess::waitUntil(
        [&] { return count("SELECT COUNT(*) FROM CAC_LEAD_CONTATO") > 12; }, 30s));
    stop(*process);
    EXPECT_NE(process->err().find("confirmed in "), std::string::npos) << process->err();
    EXPECT_NE(process->err().find(", stopped by SIGTERM\n"), std::string::npos);
    expectNothingHalfDone();
  }
  {
    SCOPED_TRACE("stopped while the resend pass sends");
    const auto process = serve("600", "600");
    ASSERT_TRUE(ChildProcess::waitUntil(
        [&] { return process->err().find(" intake: ") != std::string::npos; }, 30s));
    std::this_thread::sleep_for(300ms);
    stop(*process);
    EXPECT_NE(process->err().find(" still unsent in "), std::string::npos) << process->err();
    EXPECT_NE(process->err().find(", stopped by SIGTERM\n"), std::string::npos);
    expectNothingHalfDone();
  }
  EXPECT_EQ(count("SELECT COUNT(*) FROM CAC_LEAD_CONTATO"), 40);
}

}  // namespace
}  // namespace vornleads::test
