// vornleads serve as a child process against its own sandbox and database: cycles and passes
// on their schedules, a service fault, the restart message, a database that goes away and comes
// back, SIGTERM at any moment leaving every lead and journal row whole, SIGHUP reading the
// configuration again; its status server (/health, /metrics, a port already taken, a database
// server that hangs, slow and idle clients) and the notifications a Type=notify unit reads.
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <thread>

#include "apps/cli.h"
#include "support/firebird_server.h"
#include "vornleads/clock.h"
#include "vornleads/package/log_file.h"
#include "vornleads/text/datetime.h"

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
  // With a status port, serve starts a status server on a free port and port_ is where.
  std::unique_ptr<ChildProcess> serve(const std::string& intakeEvery,
                                      const std::string& resendEvery,
                                      const std::string& retryDelay = "0", bool status = false) {
    return serveOn(database_.uri(), intakeEvery, resendEvery, retryDelay, status);
  }
  std::unique_ptr<ChildProcess> serveOn(const std::string& db, const std::string& intakeEvery,
                                        const std::string& resendEvery,
                                        const std::string& retryDelay = "0", bool status = true) {
    std::vector<std::string> args{(binDir() / "vornleads").string(),
                                  "--db",
                                  db,
                                  "--endpoint",
                                  sandbox_.url(),
                                  "--home",
                                  home_.path().string(),
                                  "serve",
                                  "--intake-every",
                                  intakeEvery,
                                  "--resend-every",
                                  resendEvery,
                                  "--retry-delay",
                                  retryDelay};
    if (status) args.insert(args.end(), {"--status-port", "0"});
    auto process = std::make_unique<ChildProcess>(args);
    const std::string mark = "status on http://127.0.0.1:";
    if (status && logged(*process, mark))
      port_ = std::atoi(process->err().c_str() + process->err().find(mark) + mark.size());
    return process;
  }
  bool waitFor(const std::function<bool()>& done) { return ChildProcess::waitUntil(done, 60s); }
  bool logged(ChildProcess& process, const std::string& text, size_t times = 1) {
    return waitFor([&] { return occurrences(process.err(), text) >= times; });
  }
  std::pair<int, std::string> get(const std::string& path) const {
    httplib::Client client("127.0.0.1", port_);
    client.set_read_timeout(10, 0);
    const auto result = client.Get(path.c_str());
    return result ? std::pair{result->status, result->body} : std::pair{-1, std::string()};
  }
  // get(), which must answer within two seconds.
  std::pair<int, std::string> getQuickly(const std::string& path) const {
    const auto start = std::chrono::steady_clock::now();
    auto answer = get(path);
    const auto took = std::chrono::steady_clock::now() - start;
    EXPECT_LT(took, 2s) << path << " took "
                        << std::chrono::duration_cast<std::chrono::milliseconds>(took).count()
                        << " ms";
    return answer;
  }
  // The value of a sample ("name{labels}") of an exposition, -1 when it is absent.
  static double sample(const std::string& exposition, const std::string& name) {
    const size_t at = exposition.find("\n" + name + " ");
    return at == std::string::npos ? -1 : std::stod(exposition.substr(at + name.size() + 2));
  }

  // 501 is known to the sandbox by its number only (its intake fails, its receipt is confirmed,
  // its update is sent); 603 fails in every cycle, so a worker repeats its cycle five times and
  // ends with the restart message.
  void addWork() {
    addLeadContact(10, 501);
    addUnsentRow(501, 1, 10);
    sandbox_.addLeads(
        {leadItem(601), leadItem(602), leadItem(603, {{"DataIntencao", "32/01/2025"}})});
  }
  // Permissions do not stop root, which the test machines often are: the file is moved away
  // (and back, with `back`).
  void moveDatabase(bool back = false) {
    const std::filesystem::path away = database_.path().string() + ".away";
    back ? std::filesystem::rename(away, database_.path())
         : std::filesystem::rename(database_.path(), away);
  }

  // SIGTERM ends the service within a few seconds, with status 0 and its last word.
  void stop(ChildProcess& process) {
    process.signal(SIGTERM);
    EXPECT_EQ(process.wait(5s), 0) << process.err();
    const std::string err = process.err();
    EXPECT_EQ(err.substr(err.rfind('\n', err.size() - 2) + 1).substr(20),
              "serve: stopped by SIGTERM\n");
  }
  int port_ = 0;
};

TEST_F(CliServeTest, CyclesAndPassesGoOnThroughFaultsAndTheRestartMessage) {
  addWork();
  sandbox_.fault({{"operation", "BuscaLeadsStatus"},
                  {"mode", "reject"},
                  {"codigo", 150},
                  {"descricao", "DN sem permissão"}});
  const auto process = serve("0.3", "0.5");  // the next interval starts a fresh worker
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
    for (const auto& [outer, inner] : {std::pair{"CAC_CONTATO C", "CAC_LEAD_CONTATO L"},
                                       std::pair{"CAC_LEAD_CONTATO L", "CAC_CONTATO C"}}) {
      EXPECT_EQ(count(std::string("SELECT COUNT(*) FROM ") + outer +
                      " WHERE NOT EXISTS (SELECT 1 FROM " + inner + same),
                0);
    }
    EXPECT_EQ(count("SELECT COUNT(*) FROM FAT_CLIENTE"),
              count("SELECT COUNT(*) FROM CAC_CONTATO WHERE CLIENTE IS NOT NULL"));
    EXPECT_EQ(count("SELECT COUNT(*) FROM CAC_ATUALIZACOES_LEADVW WHERE DESCRICAO_ERRO = "
                    "'Atualização em processo de envio'"),
              0);
  }
  EXPECT_EQ(count("SELECT COUNT(*) FROM CAC_LEAD_CONTATO"), 40);
}

// A database away at start is reported by every run, /health answers 503 naming it while
// /metrics still answers, and once it is back the service carries on and is healthy again.
TEST_F(CliServeTest, DatabaseAwayIsReportedAndUnhealthyUntilItIsBack) {
  moveDatabase();
  sandbox_.addLeads(Json::array({leadItem(701)}));
  const auto process = serve("0.3", "0.3", "0", true);
  ASSERT_TRUE(logged(*process, " intake failed: database unavailable", 2) &&
              logged(*process, " resend failed: database unavailable", 2))
      << process->err();
  const auto down = get("/health");
  const auto metrics = get("/metrics");
  httplib::Client client("127.0.0.1", port_);
  const auto posted = client.Post("/metrics", "", "text/plain");
  ASSERT_TRUE(posted);
  EXPECT_EQ(posted->status, 405);
  EXPECT_EQ(posted->get_header_value("Allow"), "GET");
  moveDatabase(true);
  EXPECT_EQ(down.first, 503) << down.second;
  const Json reasons = Json::parse(down.second)["reasons"];
  ASSERT_FALSE(reasons.empty()) << down.second;
  EXPECT_EQ(reasons[0].get<std::string>().rfind("database: Cannot open ", 0), 0u) << down.second;
  EXPECT_EQ(metrics.first, 200);
  EXPECT_EQ(sample(metrics.second, "vornleads_database_up"), 0) << metrics.second;
  EXPECT_EQ(sample(metrics.second, "vornleads_journal_unsent_rows"), -1);

  ASSERT_TRUE(logged(*process, " intake: 1 dealers, 1 leads read, 1 contacts created"))
      << process->err();
  const size_t resumed = process->err().rfind(" intake: 1 dealers");
  ASSERT_TRUE(
      waitFor([&] { return process->err().find(" resend: ", resumed) != std::string::npos; }));
  const auto healthy = get("/health");
  EXPECT_EQ(healthy.first, 200) << healthy.second;
  EXPECT_EQ(Json::parse(healthy.second)["unsent_updates"], 0);
  EXPECT_EQ(count("SELECT COUNT(*) FROM CAC_LEAD_CONTATO WHERE ID_LEAD_VW = 701"), 1);
  stop(*process);
}

TEST_F(CliServeTest, MetricsCountWhatTheSandboxSaw) {
  addWork();
  addLeadContact(11, 502, 3, false);  // unknown to the sandbox: its update is rejected
  addUnsentRow(502, 1, 10);
  const auto process = serve("600", "600", "0", true);
  ASSERT_TRUE(logged(*process, " resend: ")) << process->err();
  const std::string m = get("/metrics").second;

  // What the sandbox saw (receipts confirmed, calls answered) and the journal holds.
  int confirmed = 0, fetches = 0;
  for (const auto& lead : sandbox_.leads()) confirmed += lead["confirmed"].get<bool>() ? 1 : 0;
  const std::string log = sandbox_.log();
  for (size_t at = 0; (at = log.find("BuscaLeadsStatus:", at)) != std::string::npos; ++at)
    ++fetches;
  const double unsent = Json::parse(vornleads("updates --unsent --json").out).size();
  const std::pair<std::string, double> expected[] = {
      // Each lead once: 603 failed in all six cycles, 501 in the first (with its link).
      {"vornleads_intake_leads_read_total", 4},
      {"vornleads_intake_leads_total{outcome=\"created\"}", 2},
      {"vornleads_intake_leads_total{outcome=\"failed\"}", 2},
      {"vornleads_intake_lead_failed_attempts_total", 2 + 5},
      {"vornleads_intake_receipts_confirmed_total", confirmed},
      {"vornleads_intake_cycles_total{outcome=\"completed\"}", 6},
      {"vornleads_intake_cycles_total{outcome=\"failed\"}", 1},
      {"vornleads_resend_updates_total{outcome=\"sent\"}", 1},
      {"vornleads_resend_updates_total{outcome=\"rejected\"}", 1},
      {"vornleads_resend_passes_total{outcome=\"completed\"}", 1},
      {"vornleads_journal_unsent_rows", unsent},
      {"vornleads_database_up", 1},
      {"vornleads_service_request_duration_seconds_count{operation=\"BuscaLeadsStatus\"}", fetches},
      {"vornleads_service_request_duration_seconds_count{operation=\"AtualizaLeads\"}",
       static_cast<double>(sandbox_.updates().size())},
  };
  for (const auto& [name, value] : expected) EXPECT_EQ(sample(m, name), value) << name;
  EXPECT_EQ(confirmed + 2, sandbox_.updates().size()) << "3 receipts, 1 update sent, 1 rejected";
  EXPECT_EQ(unsent, 1) << "the rejected row waits for the next pass";
  EXPECT_GT(sample(m, "vornleads_intake_last_cycle_timestamp_seconds"), 1.7e9);

  const auto health = get("/health");
  EXPECT_EQ(health.first, 503);
  EXPECT_NE(health.second.find("\"intake: failed at step 08: "), std::string::npos);
  EXPECT_NE(health.second.find("\"intake: lead 603: Não foi possível incluir o lead 603 / "),
            std::string::npos)
      << health.second;
  stop(*process);
}

// A service that drops every status update, and a send log that cannot be written: the pass
// says the rows were not sent (no rejection), names them, and the entries lost; /metrics and
// /health tell the same, and the journal still holds both rows for the next pass.
TEST_F(CliServeTest, DroppedUpdatesAndLostLogEntriesAreToldAsTheyAre) {
  addLeadContact(10, 501, 3, false);  // the intake has nothing to fetch
  addLeadContact(11, 502, 3, false);
  for (int lead : {501, 502}) addUnsentRow(lead, 1, 10);
  const auto sendLog =
      home_.path() / ("logErroLeadsVW_" + FormatDateTime("yyyy_mm_dd", Now()) + ".txt");
  std::filesystem::create_directory(sendLog);
  sandbox_.fault({{"operation", "AtualizaLeads"}, {"mode", "drop"}, {"count", 2}});
  const auto process = serve("600", "600", "0", true);
  ASSERT_TRUE(logged(*process, " resend: 2 rows read")) << process->err();
  const std::string m = get("/metrics").second;
  const auto health = get("/health");
  stop(*process);
  std::filesystem::remove(sendLog);

  const std::string err = process->err();
  EXPECT_NE(err.find(" resend: 2 rows read, 0 sent, 0 rejected, 2 still unsent in "),
            std::string::npos)
      << err;
  EXPECT_NE(err.find("; 2 log entries not written: Não foi possível gravar o arquivo"),
            std::string::npos)
      << err;
  for (const char* row : {" resend: lead 501 (contato 1.1.10, sequência 1) not sent: ",
                          " resend: lead 502 (contato 1.1.11, sequência 1) not sent: "})
    EXPECT_NE(err.find(row), std::string::npos) << row << "\n" << err;
  EXPECT_EQ(journal(501).substr(0, 8) + journal(502).substr(0, 8), "1 N 297 1 N 297 ");
  EXPECT_EQ(sandbox_.updates().size(), 2u);
  for (const auto& [name, value] : std::vector<std::pair<std::string, double>>{
           {"vornleads_resend_updates_total{outcome=\"sent\"}", 0},
           {"vornleads_resend_updates_total{outcome=\"rejected\"}", 0},
           {"vornleads_resend_updates_total{outcome=\"unsent\"}", 2},
           {"vornleads_log_write_failures_total", 2},
           {"vornleads_journal_unsent_rows", 2}})
    EXPECT_EQ(sample(m, name), value) << name;
  EXPECT_EQ(health.first, 503);
  const Json reasons = Json::parse(health.second)["reasons"];
  EXPECT_NE(std::find(reasons.begin(), reasons.end(),
                      "log: Não foi possível gravar o arquivo \"" + sendLog.string() +
                          "\": Is a directory"),
            reasons.end())
      << health.second;
  EXPECT_NE(health.second.find("\"resend: lead 501 (contato 1.1.10, sequência 1) not sent: "),
            std::string::npos)
      << health.second;
}

TEST_F(CliServeTest, StatusPortInUseEndsTheServiceAtStart) {
  httplib::Server holder;
  const int port = holder.bind_to_any_port("127.0.0.1");
  // The default address; a serve that did start must not hold the test up.
  environment_ = "VORNLEADS_STATUS_PORT=" + std::to_string(port) + " timeout 20";
  const CliRun run = vornleads("serve");
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.err, "vornleads: status server: cannot listen on 127.0.0.1 port " +
                         std::to_string(port) + ": Address already in use\n");
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
                                         dated(kLogBuscaLeads, 30) + ".bak",
                                         dated("notes_", 30), "logErroLeadsVW_2020_02_30.txt"};
  for (const auto& name : expired) writeFile(home_ / name, "old\r\n");
  for (const auto& name : kept) writeFile(home_ / name, "kept\r\n");
  const std::string file = (scratch_ / "journal").string();
  environment_ = "exec 2>" + file + "; JOURNAL_STREAM=$(stat -c %d:%i " + file +
                 ") VORNLEADS_LOG_KEEP_DAYS=10 timeout --preserve-status -s TERM 6";
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
}

// SIGHUP reads the configuration file again between runs: new intervals take effect, a setting
// the running service cannot change is named, and a file that no longer parses leaves the
// settings in force. The service runs on throughout and ends with SIGTERM as ever.
TEST_F(CliServeTest, SighupReloadsTheConfigurationOrKeepsItWhenTheFileIsBroken) {
  const std::filesystem::path conf = scratch_ / "vornleads.conf";
  const auto write = [&](const std::string& intakeEvery, const std::string& endpoint) {
    writeFile(conf, "[vornleads]\ndb = " + uri_ + "\nendpoint = " + endpoint +
                        "\nhome = " + home_.path().string() + "\nintake-every = " + intakeEvery +
                        "\nresend-every = 600\n");
  };
  write("600", sandbox_.url());
  ChildProcess process({(binDir() / "vornleads").string(), "--config", conf.string(), "serve"});
  ASSERT_TRUE(logged(process, " resend: ")) << process.err();
  const auto intakes = [&] { return occurrences(process.err(), " intake: "); };
  EXPECT_EQ(intakes(), 1u);

  write("0.2", "http://127.0.0.1:1/elsewhere");
  process.signal(SIGHUP);
  ASSERT_TRUE(logged(process, "serve: intake every 0.2 s, resend every 600 s")) << process.err();
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

// The status pages answer within two seconds while Firebird's server hangs (SIGSTOP): the
// database is "no answer", the counters are there, and a scrape that comes while the probe
// hangs does not start another. Once the server goes on, the service is healthy again.
TEST_F(CliServeTest, StatusPagesAnswerWhileTheDatabaseServerHangs) {
  FirebirdServer server;
  uri_ = server.createDatabase("dms.fdb");
  const auto process = serveOn(uri_, "600", "600");
  ASSERT_TRUE(logged(*process, " resend: ")) << process->err();
  EXPECT_EQ(getQuickly("/health").first, 200);

  server.freeze();
  for (int scrape = 0; scrape < 3; ++scrape) {
    const auto health = getQuickly("/health");
    EXPECT_EQ(health.first, 503) << health.second;
    // Later scrapes may meet the probe's own end: the connect time-out.
    const std::string reason = Json::parse(health.second)["reasons"][0];
    if (scrape == 0) {
      EXPECT_EQ(reason, "database: no answer in 1 s");
    }
    EXPECT_EQ(reason.rfind("database: ", 0), 0u) << reason;
    const auto metrics = getQuickly("/metrics");
    EXPECT_EQ(metrics.first, 200);
    EXPECT_EQ(sample(metrics.second, "vornleads_database_up"), 0) << metrics.second;
    EXPECT_EQ(sample(metrics.second, "vornleads_resend_passes_total{outcome=\"completed\"}"), 1);
  }
  server.thaw();
  EXPECT_TRUE(waitFor([&] { return get("/health").first == 200; }));
  const auto metrics = getQuickly("/metrics");
  EXPECT_EQ(sample(metrics.second, "vornleads_database_up"), 1) << metrics.second;
  stop(*process);
}

// Two clients that trickle their request a byte at a time and 200 that connect and say
// nothing: /health still answers within two seconds, and the tricklers are cut in the end.
TEST_F(CliServeTest, SlowAndIdleClientsDoNotShutTheStatusPagesOut) {
  const auto process = serve("600", "600", "0", true);
  ASSERT_TRUE(logged(*process, " resend: ")) << process->err();
  const auto connect = [&] {
    const int sock = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port_));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(::connect(sock, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    return sock;
  };
  std::atomic<int> cut{0};
  std::vector<std::thread> tricklers;
  for (int i = 0; i < 2; ++i) {
    tricklers.emplace_back([&, sock = connect()] {
      const std::string request = "GET /health HTTP/1.1\r\nHost: x\r\nX-Slow: ";
      // A byte every 300 ms for at most 30 s; a refused write means the server cut it.
      for (int n = 0; n < 100; ++n) {
        const char byte = request[std::min<size_t>(n, request.size() - 1)];
        if (send(sock, &byte, 1, MSG_NOSIGNAL) != 1) {
          ++cut;
          break;
        }
        std::this_thread::sleep_for(300ms);
      }
      close(sock);
    });
  }
  std::vector<int> idle;
  for (int i = 0; i < 200; ++i) idle.push_back(connect());
  for (int scrape = 0; scrape < 5; ++scrape) {
    EXPECT_EQ(getQuickly("/health").first, 200);
    EXPECT_EQ(getQuickly("/metrics").first, 200);
    std::this_thread::sleep_for(500ms);
  }
  for (const int sock : idle) close(sock);
  for (std::thread& t : tricklers) t.join();
  EXPECT_EQ(cut, 2) << "a connection lasts a bounded time";
  stop(*process);
}

// The notifications of a Type=notify unit, read from a socket of the test's own.
TEST_F(CliServeTest, TellsSystemdReadyFeedsTheWatchdogInPausesAndSaysStopping) {
  const int sock = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  ASSERT_GE(sock, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  const std::string path = (scratch_ / "notify").string();
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  ASSERT_EQ(bind(sock, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  const timeval wait{0, 100000};
  setsockopt(sock, SOL_SOCKET, SO_RCVTIMEO, &wait, sizeof wait);
  std::vector<std::string> messages;
  const auto receive = [&] {
    char buffer[256];
    for (ssize_t n; (n = recv(sock, buffer, sizeof buffer, 0)) > 0;)
      messages.emplace_back(buffer, n);
  };

  setenv("NOTIFY_SOCKET", path.c_str(), 1);
  setenv("WATCHDOG_USEC", "500000", 1);
  const auto process = serve("600", "600", "0", true);
  unsetenv("NOTIFY_SOCKET");
  unsetenv("WATCHDOG_USEC");
  // Readiness comes before the first cycle, which feeds the watchdog around each service call.
  ASSERT_TRUE(ChildProcess::waitUntil([&] { return receive(), !messages.empty(); }, 10s));
  EXPECT_EQ(messages.front(), "READY=1");

  ASSERT_TRUE(logged(*process, " resend: ")) << process->err();
  receive();
  // What systemctl status shows: the last cycle's and pass's reports.
  const auto status = std::find_if(messages.rbegin(), messages.rend(), [](const std::string& m) {
    return m.rfind("STATUS=", 0) == 0;
  });
  ASSERT_NE(status, messages.rend());
  EXPECT_EQ(status->rfind("STATUS=intake: 1 dealers, 0 leads read, ", 0), 0u) << *status;
  EXPECT_NE(status->find("; resend: 0 rows read, 0 sent, "), std::string::npos) << *status;
  messages.clear();
  std::this_thread::sleep_for(1s);  // the schedule's pause: a tenth of a second a feed
  receive();
  EXPECT_GE(messages.size(), 4u);
  EXPECT_EQ(messages, std::vector<std::string>(messages.size(), "WATCHDOG=1"));

  stop(*process);
  receive();
  EXPECT_EQ(messages.back(), "STOPPING=1");
  close(sock);
}

}  // namespace
}  // namespace vornleads::test
