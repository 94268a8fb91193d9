// vornleads serve as a child process against its own sandbox and database: cycles and passes
// on their schedules, a service fault, the restart message, SIGTERM at any moment leaving every
// lead and journal row whole, report lines for the journal, old logs deleted, and SIGHUP reading
// the configuration file again.
#include "apps/cli_serve.h"

#include <thread>

#include "vornleads/package/log_file.h"

namespace vornleads::test {
namespace {

using namespace std::chrono_literals;

TEST_F(CliServeTest, CyclesAndPassesGoOnThroughFaultsAndTheRestartMessage) {
  addWork();
  sandbox_.fault(rejection("BuscaLeadsStatus", 150, "DN sem permissão"));
  const auto process = serve("0.3", "0.5");  // the next interval starts a fresh worker
  ASSERT_TRUE(waitFor([&] {
    const std::string err = process->err();
    const size_t restart = err.find("o serviço será reiniciado");
    return restart != std::string::npos && err.find(" intake: ", restart) != std::string::npos &&
           occurrences(err, " resend: ") >= 2;
  })) << process->err();
  sandbox_.addLeads(Json::array({leadItem(604)}));
  // The lead is in once the sandbox has its receipt: the contact is written before that.
  ASSERT_TRUE(waitFor([&] {
    for (const auto& stored : sandbox_.leads())
      if (stored["IdLead"] == "604") return stored["confirmed"].get<bool>();
    return false;
  }));
  stop(*process);
  EXPECT_EQ(rows("CAC_LEAD_CONTATO"), 4);

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

TEST_F(CliServeTest, SigtermInTheMiddleOfACycleOrAPassLetsTheLeadInHandFinish) {
  // Contacts far above those the intake draws, on leads unknown to the sandbox: each resend
  // is answered with a rejection.
  for (int lead = 810; lead < 820; ++lead) {
    addLeadContact(9000 + lead, lead, 3, false);
    addUnsentRow(lead, 1, 10, "NULL", "pendente");
  }
  sandbox_.addLeads(leadItems(901, 930));
  // Every status update and receipt takes a tenth of a second: the stop meets work in hand.
  sandbox_.fault({{"operation", "AtualizaLeads"}, {"mode", "delay"}, {"ms", 100}, {"count", 1000}});
  for (const bool intake : {true, false}) {
    SCOPED_TRACE(intake ? "stopped while the intake writes its leads" : "stopped while resending");
    const auto process = serve("600", "600");
    if (intake) {
      ASSERT_TRUE(waitFor([&] { return rows("CAC_LEAD_CONTATO") > 12; }));
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
    for (const auto& [outer, inner] : {std::pair{"CAC_CONTATO C", "CAC_LEAD_CONTATO L"},
                                       std::pair{"CAC_LEAD_CONTATO L", "CAC_CONTATO C"}}) {
      EXPECT_EQ(rows(std::string(outer) + " WHERE NOT EXISTS (SELECT 1 FROM " + inner +
                     " WHERE L.EMPRESA = C.EMPRESA AND L.REVENDA = C.REVENDA AND "
                     "L.CONTATO = C.CONTATO)"),
                0);
    }
    EXPECT_EQ(rows("FAT_CLIENTE"), rows("CAC_CONTATO WHERE CLIENTE IS NOT NULL"));
    EXPECT_EQ(rows("CAC_ATUALIZACOES_LEADVW WHERE DESCRICAO_ERRO = "
                   "'Atualização em processo de envio'"),
              0);
  }
  EXPECT_EQ(rows("CAC_LEAD_CONTATO"), 40);
}

// With standard error the journal's stream, each report line starts with its syslog priority
// and has no time stamp of its own; a database away makes every run fail. The first cycle of
// the day deletes the dated log files older than log-keep-days, and no other file.
TEST_F(CliServeTest, ReportLinesForTheJournalCarryTheirPriorityAndOldLogsGo) {
  const auto dated = [](const char* prefix, int daysAgo) {
    return prefix + FormatDateTime("yyyy_mm_dd", Now() - daysAgo) + ".txt";
  };
  const std::vector<std::string> expired = {dated(kLogBuscaLeads, 11), dated(kLogFachada, 400)},
                                 kept = {dated(kLogEnvioLeads, 10), dated(kLogBuscaLeads, 0),
                                         dated(kLogBuscaLeads, 30) + ".bak", dated("notes_", 30),
                                         "logErroLeadsVW_2020_02_30.txt"};
  for (const auto& name : expired) writeFile(home_ / name, "old\r\n");
  for (const auto& name : kept) writeFile(home_ / name, "kept\r\n");
  const std::string file = (scratch_ / "journal").string();
  // serve for `seconds`, then SIGTERM.
  const auto serveFor = [&](int seconds) {
    environment_ = "exec 2>" + file + "; JOURNAL_STREAM=$(stat -c %d:%i " + file +
                   ") VORNLEADS_LOG_KEEP_DAYS=10 timeout --preserve-status -s TERM " +
                   std::to_string(seconds);
  };
  serveFor(6);
  const CliRun run = bare("--db " + (scratch_ / "none.fdb").string() + " --home " +
                          home_.path().string() + " serve --intake-every 0.5 --resend-every 600");
  EXPECT_EQ(run.status, 0);
  const std::string journal = readFile(file);
  EXPECT_EQ(journal.rfind("<6>serve: intake every 0.5 s, resend every 600 s, library ", 0), 0u)
      << journal;
  EXPECT_GE(occurrences(journal, "\n<3>intake failed: database unavailable"), 2u) << journal;
  EXPECT_NE(journal.find("\n<3>resend failed: database unavailable"), std::string::npos);
  EXPECT_NE(journal.find("\n<6>serve: stopped by SIGTERM\n"), std::string::npos) << journal;
  EXPECT_EQ(occurrences(journal, "\n<6>logs: deleted 2 log files older than 10 days\n"), 1u);
  for (const auto& name : expired) EXPECT_FALSE(std::filesystem::exists(home_ / name)) << name;
  for (const auto& name : kept) EXPECT_TRUE(std::filesystem::exists(home_ / name)) << name;

  // With the database there: a cycle that ends with a failed lead is a warning, a pass that
  // delivers everything a notice. Ten seconds leave a slow machine time for a whole cycle.
  addWork();
  serveFor(10);
  EXPECT_EQ(vornleads("serve --intake-every 0.5 --resend-every 600 --retry-delay 0").status, 0);
  const std::string working = readFile(file);
  EXPECT_NE(working.find("\n<4>intake: 1 dealers, 4 leads read, "), std::string::npos) << working;
  EXPECT_NE(working.find("\n<6>resend: 1 rows read, 1 sent, 0 rejected, 0 still unsent in "),
            std::string::npos)
      << working;
}

// The configuration file's settings reach the service (the file's interval, the default
// resend interval). SIGHUP reads the file again between runs: new intervals take effect, a
// setting the running service cannot change is named, and a file that no longer parses leaves
// the settings in force. The service runs on throughout and ends with SIGTERM as ever.
TEST_F(CliServeTest, SighupReloadsTheConfigurationOrKeepsItWhenTheFileIsBroken) {
  const std::filesystem::path conf = scratch_ / "vornleads.conf";
  const auto write = [&](const std::string& intakeEvery, const std::string& endpoint) {
    writeFile(conf, "[vornleads]\ndb = " + uri_ + "\nendpoint = " + endpoint + "\nhome = " +
                        home_.path().string() + "\nintake-every = " + intakeEvery + "\n");
  };
  write("600", sandbox_.url());
  ChildProcess process({(binDir() / "vornleads").string(), "--config", conf.string(), "serve"});
  ASSERT_TRUE(logged(process, " resend: ")) << process.err();
  EXPECT_NE(process.err().find("serve: intake every 600 s, resend every 900 s"), std::string::npos);
  const auto intakes = [&] { return occurrences(process.err(), " intake: "); };
  EXPECT_EQ(intakes(), 1u);

  write("0.2", "http://127.0.0.1:1/elsewhere");
  process.signal(SIGHUP);
  ASSERT_TRUE(logged(process, "serve: intake every 0.2 s, resend every 900 s")) << process.err();
  EXPECT_NE(process.err().find(" serve: SIGHUP: configuration reloaded from " + conf.string() +
                               "; changed, in force after a restart: endpoint\n"),
            std::string::npos)
      << process.err();
  ASSERT_TRUE(waitFor([&] { return intakes() >= 4; })) << "the new interval is in force";

  writeFile(conf, "[vornleads]\nintake-every = soon\n");
  process.signal(SIGHUP);
  ASSERT_TRUE(logged(process,
                     "serve: SIGHUP: configuration not reloaded, the settings in force "
                     "stay: " +
                         conf.string() + ":2: key intake-every"))
      << process.err();
  const size_t seen = intakes();
  ASSERT_TRUE(waitFor([&] { return intakes() >= seen + 3; })) << "still every 0.2 s";
  EXPECT_EQ(process.err().find("intake failed"), std::string::npos) << "the endpoint stayed";
  stop(process);  // still running: SIGHUP never ends the service
}

}  // namespace
}  // namespace vornleads::test
