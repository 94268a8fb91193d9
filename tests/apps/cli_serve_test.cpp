// vornleads serve as a child process against its own sandbox and database: cycles and passes
// on their schedules, a service fault, the restart message, a database that goes away and comes
// back, and SIGTERM at any moment leaving every lead and journal row whole.
#include <signal.h>

#include <thread>

#include "apps/cli.h"
#include "support/child_process.h"

namespace vornleads::test {
namespace {

using namespace std::chrono_literals;

size_t occurrences(const std::string& text, const std::string& part) {
  size_t n = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++n;
  return n;
}

class CliServeTest : public CliTest {
 protected:
  std::unique_ptr<ChildProcess> serve(const std::string& intakeEvery,
                                      const std::string& resendEvery,
                                      const std::string& retryDelay = "0") {
    return std::make_unique<ChildProcess>(std::vector<std::string>{
        (binDir() / "vornleads").string(), "--db", database_.uri(), "--endpoint", sandbox_.url(),
        "--home", home_.path().string(), "serve", "--intake-every", intakeEvery, "--resend-every",
        resendEvery, "--retry-delay", retryDelay});
  }
  bool waitFor(const std::function<bool()>& done) { return ChildProcess::waitUntil(done, 60s); }
  bool logged(ChildProcess& process, const std::string& text, size_t times = 1) {
    return waitFor([&] { return occurrences(process.err(), text) >= times; });
  }

  // SIGTERM ends the service within a few seconds, with status 0 and its last word.
  void stop(ChildProcess& process) {
    process.signal(SIGTERM);
    EXPECT_EQ(process.wait(5s), 0) << process.err();
    const std::string err = process.err();
    EXPECT_EQ(err.substr(err.rfind('\n', err.size() - 2) + 1).substr(20),
              "serve: stopped by SIGTERM\n");
  }
};

TEST_F(CliServeTest, CyclesAndPassesGoOnThroughFaultsAndTheRestartMessage) {
  addLeadContact(10, 501);
  addUnsentRow(501, 1, 10);
  sandbox_.addLeads(
      {leadItem(601), leadItem(602), leadItem(603, {{"DataIntencao", "32/01/2025"}})});
  sandbox_.fault({{"operation", "BuscaLeadsStatus"},
                  {"mode", "reject"},
                  {"codigo", 150},
                  {"descricao", "DN sem permissão"}});
  const auto process = serve("0.3", "0.5");
  // Lead 603 fails every cycle: each worker repeats its cycle five times, then gives the restart
  // message, and the next interval starts a fresh worker.
  ASSERT_TRUE(waitFor([&] {
    const std::string err = process->err();
    const size_t restart = err.find("o serviço será reiniciado");
    return restart != std::string::npos && err.find(" intake: ", restart) != std::string::npos &&
           occurrences(err, " resend: ") >= 2;
  })) << process->err();
  sandbox_.addLeads(Json::array({leadItem(604)}));
  ASSERT_TRUE(waitFor([&] { return count("SELECT COUNT(*) FROM CAC_LEAD_CONTATO") == 4; }));
  stop(*process);

  const std::string err = process->err();
  const size_t fault = err.find(" intake failed at step 08 after ");
  ASSERT_NE(fault, std::string::npos) << err;
  EXPECT_NE(err.find(": DN sem permissão (1 dealers, 0 leads read", fault), std::string::npos);
  EXPECT_LT(fault, err.find(" intake: ")) << "the fault met the first cycle";
  // Each cycle's own counts: the first after the fault reads all four leads (501, which the
  // sandbox knows by its number only, fails too, but is confirmed: it had its link), the
  // repetitions only the one that fails.
  for (const auto& [line, times] : std::vector<std::pair<std::string, size_t>>{
           {" intake: 1 dealers, 4 leads read, 2 contacts created, 0 linked, 0 revised, 0 closed, "
            "2 failed, 3 confirmed in ",
            1},
           {" intake: 1 dealers, 1 leads read, 0 contacts created, 0 linked, 0 revised, 0 closed, "
            "1 failed, 0 confirmed in ",
            5},
           {"o serviço será reiniciado (a fresh worker takes over at the next interval)", 1},
           {" resend: 1 rows read, 1 sent, 0 rejected, 0 still unsent in ", 1},
           {" resend: 0 rows read, 0 sent, 0 rejected, 0 still unsent in ", 1}}) {
    EXPECT_GE(occurrences(err, line), times) << line << "\n" << err;
  }
  EXPECT_EQ(journal(501), "1 S null \n");
  for (const auto& stored : sandbox_.leads())
    EXPECT_EQ(stored["confirmed"].get<bool>(), stored["IdLead"] != "603") << stored.dump();
}

// Also: the 30 s pause before a repeated cycle does not hold a stop up.
TEST_F(CliServeTest, DatabaseGoneAtStartIsReportedUntilItIsBack) {
  // Permissions do not stop root, which the test machines often are: the file is moved away.
  const std::filesystem::path away = database_.path().string() + ".away";
  std::filesystem::rename(database_.path(), away);
  sandbox_.addLeads({leadItem(701), leadItem(702, {{"DataIntencao", "32/01/2025"}})});
  const auto process = serve("0.3", "0.3", "30000");
  const bool reported = logged(*process, " intake failed: database unavailable", 2) &&
                        logged(*process, " resend failed: database unavailable", 2);
  std::filesystem::rename(away, database_.path());
  ASSERT_TRUE(reported) << process->err();
  ASSERT_TRUE(logged(*process, " intake: 1 dealers, 2 leads read, 1 contacts created"))
      << process->err();
  EXPECT_EQ(count("SELECT COUNT(*) FROM CAC_LEAD_CONTATO WHERE ID_LEAD_VW = 701"), 1);
  stop(*process);
}

TEST_F(CliServeTest, SigtermInTheMiddleOfACycleOrAPassLetsTheLeadInHandFinish) {
  // Contacts far above those the intake draws, on leads unknown to the sandbox: each resend
  // is answered with a rejection.
  for (int lead = 810; lead < 820; ++lead) {
    addLeadContact(9000 + lead, lead, 3, false);
    addUnsentRow(lead, 1, 10, "NULL", "pendente");
  }
  Json leads = Json::array();
  for (int id = 901; id <= 930; ++id) leads.push_back(leadItem(id));
  sandbox_.addLeads(leads);
  // Every status update and receipt takes a tenth of a second: the stop meets work in hand.
  sandbox_.fault({{"operation", "AtualizaLeads"}, {"mode", "delay"}, {"ms", 100}, {"count", 1000}});
  for (const bool intake : {true, false}) {
    SCOPED_TRACE(intake ? "stopped while the intake writes its leads" : "stopped while resending");
    const auto process = serve("600", "600");
    if (intake) {
      ASSERT_TRUE(waitFor([&] { return count("SELECT COUNT(*) FROM CAC_LEAD_CONTATO") > 12; }));
    } else {
      ASSERT_TRUE(logged(*process, " intake: "));
      std::this_thread::sleep_for(300ms);
    }
    stop(*process);
    EXPECT_NE(process->err().find(intake ? "confirmed in " : " still unsent in "),
              std::string::npos)
        << process->err();
    EXPECT_NE(process->err().find(", stopped by SIGTERM\n"), std::string::npos);
    // Every contact has its link and its customer, every link its contact, and no journal row
    // is left being sent.
    const std::string same =
        " WHERE L.EMPRESA = C.EMPRESA AND L.REVENDA = C.REVENDA AND "
        "L.CONTATO = C.CONTATO)";
    EXPECT_EQ(count("SELECT COUNT(*) FROM CAC_CONTATO C WHERE NOT EXISTS (SELECT 1 FROM "
                    "CAC_LEAD_CONTATO L" +
                    same),
              0);
    EXPECT_EQ(count("SELECT COUNT(*) FROM CAC_LEAD_CONTATO L WHERE NOT EXISTS (SELECT 1 FROM "
                    "CAC_CONTATO C" +
                    same),
              0);
    EXPECT_EQ(count("SELECT COUNT(*) FROM FAT_CLIENTE"),
              count("SELECT COUNT(*) FROM CAC_CONTATO WHERE CLIENTE IS NOT NULL"));
    EXPECT_EQ(count("SELECT COUNT(*) FROM CAC_ATUALIZACOES_LEADVW WHERE DESCRICAO_ERRO = "
                    "'Atualização em processo de envio'"),
              0);
  }
  EXPECT_EQ(count("SELECT COUNT(*) FROM CAC_LEAD_CONTATO"), 40);
}

}  // namespace
}  // namespace vornleads::test
