// vornleads serve --status-port: /health and /metrics against the test's own sandbox and
// database, a status port already taken, and the notifications a Type=notify unit reads.
#include <gtest/gtest.h>
#include <httplib.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "apps/cli.h"
#include "support/child_process.h"

namespace vornleads::test {
namespace {

using namespace std::chrono_literals;

struct Page {
  int status = -1;  // -1: no answer
  std::string body;
};

class CliStatusTest : public CliTest {
 protected:
  // serve with a status server on a free port; the intervals outlast the test (one run each).
  std::unique_ptr<ChildProcess> serve() {
    auto process = std::make_unique<ChildProcess>(std::vector<std::string>{
        (binDir() / "vornleads").string(), "--db", database_.uri(), "--endpoint", sandbox_.url(),
        "--home", home_.path().string(), "serve", "--intake-every", "600", "--resend-every", "600",
        "--retry-delay", "0", "--status-port", "0"});
    const std::string mark = "status on http://127.0.0.1:";
    EXPECT_TRUE(ChildProcess::waitUntil(
        [&] { return process->err().find(mark) != std::string::npos; }, 30s))
        << process->err();
    const std::string err = process->err();
    port_ = std::atoi(err.c_str() + err.find(mark) + mark.size());
    return process;
  }

  // Until the first intake run and resend pass have ended.
  static bool ranOnce(const ChildProcess& process) {
    return ChildProcess::waitUntil(
        [&] { return process.err().find(" resend: ") != std::string::npos; }, 60s);
  }

  Page get(const std::string& path) const {
    httplib::Client client("127.0.0.1", port_);
    client.set_read_timeout(10, 0);
    const auto result = client.Get(path.c_str());
    return result ? Page{result->status, result->body} : Page{};
  }

  // The value of a sample ("name{labels}") of an exposition, -1 when it is absent.
  static double sample(const std::string& exposition, const std::string& name) {
    const size_t at = exposition.find("\n" + name + " ");
    return at == std::string::npos ? -1 : std::stod(exposition.substr(at + name.size() + 2));
  }

  static void stop(ChildProcess& process) {
    process.signal(SIGTERM);
    EXPECT_EQ(process.wait(10s), 0) << process.err();
  }

  int port_ = 0;
};

TEST_F(CliStatusTest, HealthFollowsTheDatabaseWhileMetricsAlwaysAnswer) {
  sandbox_.addLeads(Json::array({leadItem(601), leadItem(602)}));
  const auto process = serve();
  ASSERT_TRUE(ranOnce(*process)) << process->err();

  const Page healthy = get("/health");
  EXPECT_EQ(healthy.status, 200) << healthy.body;
  EXPECT_EQ(Json::parse(healthy.body)["unsent_updates"], 0);

  // Permissions do not stop root, which the test machines often are: the file is moved away.
  const std::filesystem::path away = database_.path().string() + ".away";
  std::filesystem::rename(database_.path(), away);
  const Page down = get("/health");
  const Page metrics = get("/metrics");
  std::filesystem::rename(away, database_.path());
  EXPECT_EQ(down.status, 503) << down.body;
  const Json reasons = Json::parse(down.body)["reasons"];
  ASSERT_EQ(reasons.size(), 1u) << down.body;
  EXPECT_EQ(reasons[0].get<std::string>().rfind("database: Cannot open ", 0), 0u) << down.body;
  EXPECT_EQ(metrics.status, 200);
  EXPECT_EQ(sample(metrics.body, "vornleads_database_up"), 0) << metrics.body;
  EXPECT_EQ(sample(metrics.body, "vornleads_journal_unsent_rows"), -1);

  EXPECT_EQ(get("/health").status, 200) << "the database is back";
  stop(*process);
}

TEST_F(CliStatusTest, MetricsCountWhatTheSandboxSaw) {
  // 501 is known to the sandbox by its number only (its intake fails, its receipt is
  // confirmed, its update is sent); 502 is unknown (its update is rejected); 603 fails in
  // every cycle, so the worker ends with the restart message after five repetitions.
  addLeadContact(10, 501);
  addUnsentRow(501, 1, 10);
  addLeadContact(11, 502, 3, false);
  addUnsentRow(502, 1, 10);
  sandbox_.addLeads(
      Json::array({leadItem(601), leadItem(602), leadItem(603, {{"DataIntencao", "32/01/2025"}})}));
  const auto process = serve();
  ASSERT_TRUE(ranOnce(*process)) << process->err();
  const std::string m = get("/metrics").body;

  // What the sandbox saw (receipts confirmed, calls answered) and the journal holds.
  int confirmed = 0, fetches = 0;
  for (const auto& lead : sandbox_.leads()) confirmed += lead["confirmed"].get<bool>() ? 1 : 0;
  const std::string log = sandbox_.log();
  for (size_t at = 0; (at = log.find("BuscaLeadsStatus:", at)) != std::string::npos; ++at)
    ++fetches;
  const double unsent = Json::parse(vornleads("updates --unsent --json").out).size();
  const std::pair<std::string, double> expected[] = {
      {"vornleads_intake_leads_read_total", 4 + 5},
      {"vornleads_intake_leads_total{outcome=\"created\"}", 2},
      {"vornleads_intake_leads_total{outcome=\"failed\"}", 2 + 5},
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

  const Page health = get("/health");
  EXPECT_EQ(health.status, 503);
  EXPECT_NE(health.body.find("\"intake: failed at step 08: "), std::string::npos);
  stop(*process);
}

TEST_F(CliStatusTest, StatusPortInUseEndsTheServiceAtStart) {
  httplib::Server holder;
  const int port = holder.bind_to_any_port("127.0.0.1");
  // The default address; a serve that did start must not hold the test up.
  environment_ = "VORNLEADS_STATUS_PORT=" + std::to_string(port) + " timeout 20";
  const CliRun run = vornleads("serve");
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.err, "vornleads: status server: cannot listen on 127.0.0.1 port " +
                         std::to_string(port) + ": Address already in use\n");
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
  const auto process = serve();
  unsetenv("NOTIFY_SOCKET");
  unsetenv("WATCHDOG_USEC");
  // Readiness comes before the first cycle, which feeds the watchdog around each service call.
  ASSERT_TRUE(ChildProcess::waitUntil([&] { return receive(), !messages.empty(); }, 10s));
  EXPECT_EQ(messages.front(), "READY=1");

  ASSERT_TRUE(ranOnce(*process)) << process->err();
  receive(), messages.clear();
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
