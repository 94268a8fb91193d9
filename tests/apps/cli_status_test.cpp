// The status server of vornleads serve (/health, /metrics) as a monitor sees it: a database
// away or a database server that hangs, what the sandbox saw counted, dropped updates and lost
// log entries told, slow and idle clients; and the notifications a Type=notify unit reads.
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <thread>

#include "apps/cli_serve.h"
#include "support/firebird_server.h"

namespace vornleads::test {
namespace {

using namespace std::chrono_literals;

class CliStatusTest : public CliServeTest {
 protected:
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
  static void expectSamples(const std::string& exposition,
                            const std::vector<std::pair<std::string, double>>& samples) {
    for (const auto& [name, value] : samples) EXPECT_EQ(sample(exposition, name), value) << name;
  }
  // /health is 503 and has a reason starting with each of `prefixes`; returns the reasons.
  Json expectUnhealthy(const std::vector<std::string>& prefixes) const {
    const auto health = get("/health");
    EXPECT_EQ(health.first, 503) << health.second;
    const Json reasons = Json::parse(health.second)["reasons"];
    for (const std::string& prefix : prefixes) {
      EXPECT_TRUE(std::any_of(
          reasons.begin(), reasons.end(),
          [&](const Json& reason) { return reason.get<std::string>().rfind(prefix, 0) == 0; }))
          << prefix << "\n"
          << health.second;
    }
    return reasons;
  }
};

// A database away at start is reported by every run, /health answers 503 naming it while
// /metrics still answers, and once it is back the service carries on and is healthy again.
// Permissions do not stop root, which the test machines often are: the file is moved away.
TEST_F(CliStatusTest, DatabaseAwayIsReportedAndUnhealthyUntilItIsBack) {
  const std::filesystem::path away = database_.path().string() + ".away";
  std::filesystem::rename(database_.path(), away);
  sandbox_.addLeads(Json::array({leadItem(701)}));
  const auto process = serve("0.3", "0.3", true);
  ASSERT_TRUE(logged(*process, " intake failed: database unavailable", 2) &&
              logged(*process, " resend failed: database unavailable", 2))
      << process->err();
  const Json down = expectUnhealthy({"database: Cannot open "});
  ASSERT_FALSE(down.empty());
  EXPECT_EQ(down[0].get<std::string>().rfind("database: ", 0), 0u) << "the database's first";
  const auto metrics = get("/metrics");
  httplib::Client client("127.0.0.1", port_);
  const auto posted = client.Post("/metrics", "", "text/plain");
  ASSERT_TRUE(posted);
  EXPECT_EQ(posted->status, 405);
  EXPECT_EQ(posted->get_header_value("Allow"), "GET");
  std::filesystem::rename(away, database_.path());
  EXPECT_EQ(metrics.first, 200);
  expectSamples(metrics.second,
                {{"vornleads_database_up", 0}, {"vornleads_journal_unsent_rows", -1}});

  ASSERT_TRUE(logged(*process, " intake: 1 dealers, 1 leads read, 1 contacts created"))
      << process->err();
  const size_t resumed = process->err().rfind(" intake: 1 dealers");
  ASSERT_TRUE(
      waitFor([&] { return process->err().find(" resend: ", resumed) != std::string::npos; }));
  const auto healthy = get("/health");
  EXPECT_EQ(healthy.first, 200) << healthy.second;
  EXPECT_EQ(Json::parse(healthy.second)["unsent_updates"], 0);
  EXPECT_EQ(rows("CAC_LEAD_CONTATO WHERE ID_LEAD_VW = 701"), 1);
  stop(*process);
}

TEST_F(CliStatusTest, MetricsCountWhatTheSandboxSaw) {
  addWork();
  addLeadContact(11, 502, 3, false);  // unknown to the sandbox: its update is rejected
  addUnsentRow(502, 1, 10);
  const auto process = serve("600", "600", true);
  ASSERT_TRUE(logged(*process, " resend: ")) << process->err();
  const std::string m = get("/metrics").second;
  // What the sandbox saw (receipts confirmed, calls answered) and the journal holds.
  const int receipts = confirmed();
  const double fetches = occurrences(sandbox_.log(), "BuscaLeadsStatus:"),
               unsent = Json::parse(vornleads("updates --unsent --json").out).size(),
               updates = sandbox_.updates().size();
  EXPECT_EQ(receipts + 2, updates) << "3 receipts, 1 update sent, 1 rejected";
  EXPECT_EQ(unsent, 1) << "the rejected row waits for the next pass";
  expectSamples(
      m,
      {// Each lead once: 603 failed in all six cycles, 501 in the first (with its link).
       {"vornleads_intake_leads_read_total", 4},
       {"vornleads_intake_leads_total{outcome=\"created\"}", 2},
       {"vornleads_intake_leads_total{outcome=\"failed\"}", 2},
       {"vornleads_intake_lead_failed_attempts_total", 2 + 5},
       {"vornleads_intake_receipts_confirmed_total", receipts},
       {"vornleads_intake_cycles_total{outcome=\"completed\"}", 6},
       {"vornleads_intake_cycles_total{outcome=\"failed\"}", 1},
       {"vornleads_resend_updates_total{outcome=\"sent\"}", 1},
       {"vornleads_resend_updates_total{outcome=\"rejected\"}", 1},
       {"vornleads_resend_passes_total{outcome=\"completed\"}", 1},
       {"vornleads_journal_unsent_rows", unsent},
       {"vornleads_database_up", 1},
       {"vornleads_service_request_duration_seconds_count{operation=\"BuscaLeadsStatus\"}",
        fetches},
       {"vornleads_service_request_duration_seconds_count{operation=\"AtualizaLeads\"}", updates}});
  EXPECT_GT(sample(m, "vornleads_intake_last_cycle_timestamp_seconds"), 1.7e9);
  expectUnhealthy(
      {"intake: failed at step 08: ", "intake: lead 603: Não foi possível incluir o lead 603 / "});
  stop(*process);
}

// A service that drops every status update, and a send log that cannot be written: the pass
// says the rows were not sent (no rejection), names them, and the entries lost; /metrics and
// /health tell the same, and the journal still holds both rows for the next pass.
TEST_F(CliStatusTest, DroppedUpdatesAndLostLogEntriesAreToldAsTheyAre) {
  addLeadContact(10, 501, 3, false);  // the intake has nothing to fetch
  addLeadContact(11, 502, 3, false);
  for (int lead : {501, 502}) addUnsentRow(lead, 1, 10);
  std::filesystem::create_directory(sendLog());
  sandbox_.fault({{"operation", "AtualizaLeads"}, {"mode", "drop"}, {"count", 2}});
  const auto process = serve("600", "600", true);
  ASSERT_TRUE(logged(*process, " resend: 2 rows read")) << process->err();
  expectSamples(get("/metrics").second,
                {{"vornleads_resend_updates_total{outcome=\"sent\"}", 0},
                 {"vornleads_resend_updates_total{outcome=\"rejected\"}", 0},
                 {"vornleads_resend_updates_total{outcome=\"unsent\"}", 2},
                 {"vornleads_log_write_failures_total", 2},
                 {"vornleads_journal_unsent_rows", 2}});
  const std::string logReason =
      "log: Não foi possível gravar o arquivo \"" + sendLog().string() + "\": Is a directory";
  const Json reasons =
      expectUnhealthy({logReason, "resend: lead 501 (contato 1.1.10, sequência 1) not sent: "});
  EXPECT_NE(std::find(reasons.begin(), reasons.end(), logReason), reasons.end());
  stop(*process);
  std::filesystem::remove(sendLog());

  const std::string err = process->err();
  for (const char* line : {" resend: 2 rows read, 0 sent, 0 rejected, 2 still unsent in ",
                           "; 2 log entries not written: Não foi possível gravar o arquivo",
                           " resend: lead 501 (contato 1.1.10, sequência 1) not sent: ",
                           " resend: lead 502 (contato 1.1.11, sequência 1) not sent: "})
    EXPECT_NE(err.find(line), std::string::npos) << line << "\n" << err;
  EXPECT_EQ(journal(501).substr(0, 8) + journal(502).substr(0, 8), "1 N 297 1 N 297 ");
  EXPECT_EQ(sandbox_.updates().size(), 2u);
}

// The status pages answer within two seconds while Firebird's server hangs (SIGSTOP): the
// database is "no answer", the counters are there, and a scrape that comes while the probe
// hangs does not start another. Once the server goes on, the service is healthy again.
TEST_F(CliStatusTest, StatusPagesAnswerWhileTheDatabaseServerHangs) {
  FirebirdServer server;
  uri_ = server.createDatabase("dms.fdb");
  const auto process = serve("600", "600", true);
  ASSERT_TRUE(logged(*process, " resend: ")) << process->err();
  EXPECT_EQ(getQuickly("/health").first, 200);

  server.freeze();
  for (int scrape = 0; scrape < 3; ++scrape) {
    const auto health = getQuickly("/health");
    EXPECT_EQ(health.first, 503) << health.second;
    // Later scrapes may meet the probe's own end: the connect time-out.
    const std::string reason = Json::parse(health.second)["reasons"][0];
    EXPECT_EQ(scrape == 0 ? reason : reason.substr(0, 10),
              scrape == 0 ? "database: no answer in 1 s" : "database: ");
    const auto metrics = getQuickly("/metrics");
    EXPECT_EQ(metrics.first, 200);
    expectSamples(metrics.second, {{"vornleads_database_up", 0},
                                   {"vornleads_resend_passes_total{outcome=\"completed\"}", 1}});
  }
  server.thaw();
  EXPECT_TRUE(waitFor([&] { return get("/health").first == 200; }));
  EXPECT_EQ(sample(getQuickly("/metrics").second, "vornleads_database_up"), 1);
  stop(*process);
}

// Two clients that trickle their request a byte at a time and 200 that connect and say
// nothing: /health still answers within two seconds, and the tricklers are cut in the end.
TEST_F(CliStatusTest, SlowAndIdleClientsDoNotShutTheStatusPagesOut) {
  const auto process = serve("600", "600", true);
  ASSERT_TRUE(logged(*process, " resend: ")) << process->err();
  std::atomic<int> cut{0};
  std::vector<std::thread> tricklers;
  for (int i = 0; i < 2; ++i) {
    tricklers.emplace_back([&, sock = connectLoopback(port_)] {
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
  for (int i = 0; i < 200; ++i) idle.push_back(connectLoopback(port_));
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
TEST_F(CliStatusTest, TellsSystemdReadyFeedsTheWatchdogInPausesAndSaysStopping) {
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
  const auto process = serve("600", "600", true);
  unsetenv("NOTIFY_SOCKET");
  unsetenv("WATCHDOG_USEC");
  // Readiness comes before the first cycle, which feeds the watchdog around each service call.
  ASSERT_TRUE(ChildProcess::waitUntil([&] { return receive(), !messages.empty(); }, 10s));
  EXPECT_EQ(messages.front(), "READY=1");

  ASSERT_TRUE(logged(*process, " resend: ")) << process->err();
  receive();
  // What systemctl status shows: the last cycle's and pass's reports.
  const auto status = std::find_if(messages.rbegin(), messages.rend(),
                                   [](const std::string& m) { return m.rfind("STATUS=", 0) == 0; });
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
