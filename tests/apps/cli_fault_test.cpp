// vornleads over a Firebird server that is killed (SIGKILL) in the middle of its work and
// started again: no abort, a failure with a reason where work was cut short, and afterwards
// every lead, contact, link, receipt and journal row exactly once.
#include <signal.h>

#include <functional>
#include <map>
#include <thread>

#include "apps/cli.h"
#include "support/firebird_server.h"

namespace vornleads::test {
namespace {

using namespace std::chrono_literals;

class CliFaultTest : public CliTest {
 protected:
  CliFaultTest() {
    uri_ = server_.createDatabase("dms.fdb");
    db_ = OpenConnection(uri_);
  }

  std::unique_ptr<ChildProcess> start(const std::vector<std::string>& arguments) {
    std::vector<std::string> args{(binDir() / "vornleads").string(),
                                  "--db",
                                  uri_,
                                  "--endpoint",
                                  sandbox_.url(),
                                  "--home",
                                  home_.path().string()};
    args.insert(args.end(), arguments.begin(), arguments.end());
    return std::make_unique<ChildProcess>(args);
  }
  // Kills the server once `ready` holds (polled on a connection of the test's own), keeps it
  // down for a moment, starts it again and reconnects the test.
  void killServerOnce(const std::function<bool()>& ready) {
    EXPECT_TRUE(ChildProcess::waitUntil(ready, 30s));
    server_.kill();
    std::this_thread::sleep_for(700ms);
    server_.start();
    db_ = OpenConnection(uri_);
  }
  // Times each lead of the sandbox was sent an update with `status`.
  std::map<std::string, int> sent(int status) const {
    std::map<std::string, int> times;
    for (const auto& update : sandbox_.updates())
      if (update["Status"].get<int>() == status) ++times[update["IdLead"].dump()];
    return times;
  }
  static void expectNoAbort(int status, const std::string& err) {
    EXPECT_NE(status, 128 + SIGABRT) << err;
    EXPECT_EQ(err.find("terminate called"), std::string::npos) << err;
  }

  FirebirdServer server_;
};

TEST_F(CliFaultTest, ServeGoesOnThroughAKilledServerAndLosesOrDoublesNothing) {
  constexpr int kLeads = 10, kUnsent = 3;
  Json leads = Json::array();
  for (int id = 7001; id <= 7000 + kLeads; ++id) leads.push_back(leadItem(id));
  // Updates left unsent, on leads of a dealer the intake does not fetch.
  for (int n = 0; n < kUnsent; ++n) {
    addLeadContact(900001 + n, 8001 + n, 3, false);
    addUnsentRow(8001 + n, 1, 10);
    leads.push_back({{"IdLead", std::to_string(8001 + n)}, {"DealerNumber", "99999"}});
  }
  sandbox_.addLeads(leads);
  const auto serve =
      start({"serve", "--intake-every", "0.3", "--resend-every", "0.3", "--retry-delay", "0"});
  killServerOnce(
      [&] { return count("SELECT COUNT(*) FROM CAC_LEAD_CONTATO WHERE CONTATO < 900000") > 1; });
  // Until every lead is confirmed and every update sent, over fresh connections.
  EXPECT_TRUE(ChildProcess::waitUntil(
      [&] {
        db_ = OpenConnection(uri_);
        return sent(-1).size() == kLeads &&
               count("SELECT COUNT(*) FROM CAC_ATUALIZACOES_LEADVW WHERE ENVIOU = 'N'") == 0;
      },
      60s))
      << serve->err();
  serve->signal(SIGTERM);
  const int status = serve->wait(10s);
  EXPECT_EQ(status, 0) << serve->err();
  expectNoAbort(status, serve->err());
  // The intervals while the server was down were reported as failed, and serve went on.
  EXPECT_NE(serve->err().find(" failed"), std::string::npos) << serve->err();

  const std::string intake = " WHERE CONTATO < 900000";
  EXPECT_EQ(count("SELECT COUNT(*) FROM CAC_CONTATO" + intake), kLeads);
  EXPECT_EQ(count("SELECT COUNT(*) FROM CAC_LEAD_CONTATO" + intake), kLeads);
  EXPECT_EQ(count("SELECT COUNT(DISTINCT ID_LEAD_VW) FROM CAC_LEAD_CONTATO" + intake), kLeads);
  for (const auto& [lead, times] : sent(-1)) EXPECT_EQ(times, 1) << "receipt of " << lead;
  EXPECT_EQ(count("SELECT COUNT(*) FROM CAC_ATUALIZACOES_LEADVW"), kUnsent);
  // An update VW took whose outcome the killed server could not record is sent again by the
  // next pass: at least once, at most twice, one journal row all the same.
  const auto updates = sent(10);
  EXPECT_EQ(updates.size(), static_cast<size_t>(kUnsent));
  for (const auto& [lead, times] : updates) EXPECT_LE(times, 2) << lead;
}

TEST_F(CliFaultTest, UpdateCutShortByAKilledServerFailsWithAReasonAndResendFinishesIt) {
  addLeadContact(10, 501);
  // VW answers slowly: the server is killed while the update waits for it.
  sandbox_.fault({{"operation", "AtualizaLeads"}, {"mode", "delay"}, {"ms", 1500}, {"count", 1}});
  const auto update = start({"update", "--empresa", "1", "--revenda", "1", "--contato", "10",
                             "--lead", "501", "--usuario", "12", "--status", "10"});
  killServerOnce([&] { return count("SELECT COUNT(*) FROM CAC_ATUALIZACOES_LEADVW") == 1; });
  const int status = update->wait(30s);
  EXPECT_EQ(status, 1) << update->err();
  expectNoAbort(status, update->err());
  EXPECT_NE(update->err().find("connection"), std::string::npos) << update->err();

  for (int pass = 0; pass < 3 && journal(501).find(" N ") != std::string::npos; ++pass) {
    const CliRun resend = vornleads("resend");
    expectNoAbort(resend.status, resend.err);
  }
  EXPECT_EQ(journal(501), "1 S null \n");
  const auto updates = sent(10);
  ASSERT_EQ(updates.count("501"), 1u);
  EXPECT_LE(updates.at("501"), 2);
}

}  // namespace
}  // namespace vornleads::test
