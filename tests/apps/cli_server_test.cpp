// bin/vornleads on Firebird's own server, as a dealership runs it on a DMS server: two intakes
// and a resend pass at once, and a server killed (SIGKILL) in the middle of the work and
// started again: no abort, a failure with a reason where work was cut short, and afterwards
// every lead, contact, link, receipt and journal row exactly once.
#include <signal.h>

#include <functional>
#include <iostream>
#include <map>
#include <thread>

#include "apps/cli.h"
#include "support/firebird_server.h"

namespace vornleads::test {
namespace {

using namespace std::chrono_literals;

const std::string kIntake = " WHERE CONTATO < 900000";  // not the contacts of addUnsentElsewhere

class CliServerTest : public CliTest {
 protected:
  CliServerTest() {
    uri_ = server_.createDatabase("dms.fdb");
    db_ = OpenConnection(uri_);
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
      if (update["Status"].get<int>() == status)
        ++times[update["IdLead"].is_string() ? update["IdLead"].get<std::string>()
                                             : update["IdLead"].dump()];
    return times;
  }
  static void expectNoAbort(int status, const std::string& err) {
    EXPECT_NE(status, 128 + SIGABRT) << err;
    EXPECT_EQ(err.find("terminate called"), std::string::npos) << err;
  }

  FirebirdServer server_;
};

TEST_F(CliServerTest, TwoIntakesAndAResendPassAtOnce) {
  constexpr int kLeads = 240, kResend = 30;
  Json leads = Json::array();
  int good = 0;
  for (int id = 5001; id < 5001 + kLeads; ++id) {
    const bool bad = id % 10 == 0;  // a date that does not exist fails its lead in every cycle
    good += bad ? 0 : 1;
    leads.push_back(leadItem(id, bad ? Json{{"DataIntencao", "31/02/2025 10:00:00"}} : Json()));
  }
  addUnsentElsewhere(kResend, leads);
  sandbox_.addLeads(leads);
  const std::string intake = options() + "intake --retry-delay 100";
  for (const CliRun& run : atOnce({intake, intake, options() + "resend"})) {
    // An intake with failing leads ends, after its repeated cycles, in the restart message.
    EXPECT_TRUE(run.status == 0 ||
                (run.status == 1 && run.err.find("Ocorreram repetidos erros") != std::string::npos))
        << run.status << run.err;
    std::cout << run.out;
  }
  // Leads lost a race for their link and were repeated; none failed over a counter.
  const std::string logs = this->logs("logBuscaLeadsVW_");
  EXPECT_NE(logs.find("\"31/02/2025 10:00:00\""), std::string::npos) << "failing leads are logged";
  EXPECT_EQ(logs.find("próximo numero"), std::string::npos);
  EXPECT_EQ(logs.find("numerador de clientes"), std::string::npos);
  for (const std::string& from :
       {"CAC_CONTATO" + kIntake, "CAC_LEAD_CONTATO" + kIntake, std::string("CAC_INTERESSE"),
        std::string("GER_MENSAGEM"), std::string("FAT_CLIENTE")})
    EXPECT_EQ(rows(from), good) << from;
  EXPECT_EQ(count("SELECT COUNT(DISTINCT ID_LEAD_VW) FROM CAC_LEAD_CONTATO" + kIntake), good);
  EXPECT_EQ(count("SELECT COUNT(DISTINCT CONTATO) FROM CAC_INTERESSE"), good);
  EXPECT_EQ(rows("CAC_LEAD_CONTATO" + kIntake + " AND MOD(ID_LEAD_VW, 10) = 0"), 0);
  EXPECT_EQ(rows("CAC_ATUALIZACOES_LEADVW WHERE ENVIOU = 'S'"), kResend);

  // Each intake confirms every lead of its cycle that has a link by then, whoever linked it:
  // with two intakes on the same leads a lead may be confirmed by both (VW takes a receipt
  // twice without harm). A failing lead is never confirmed; each update is sent once.
  const auto confirmations = sent(-1), resent = sent(10);
  int confirmedTwice = 0;
  for (const auto& [id, times] : confirmations) {
    confirmedTwice += times > 1 ? 1 : 0;
    EXPECT_NE(std::stoi(id) % 10, 0) << "failing lead " << id << " confirmed";
  }
  EXPECT_EQ(static_cast<int>(confirmations.size()), good);
  EXPECT_EQ(static_cast<int>(resent.size()), kResend);
  for (const auto& [id, times] : resent) EXPECT_EQ(times, 1) << "update of lead " << id;
  std::cout << "firebird server, 2 intakes + 1 resend: " << kLeads << " leads (" << good
            << " good), " << confirmations.size() << " leads confirmed (" << confirmedTwice
            << " confirmed twice), " << resent.size() << " of " << kResend
            << " unsent updates delivered once\n";
}

TEST_F(CliServerTest, ServeGoesOnThroughAKilledServerAndLosesOrDoublesNothing) {
  constexpr int kLeads = 10, kUnsent = 3;
  Json leads = leadItems(7001, 7000 + kLeads);
  addUnsentElsewhere(kUnsent, leads);
  sandbox_.addLeads(leads);
  const auto serve =
      start({"serve", "--intake-every", "0.3", "--resend-every", "0.3", "--retry-delay", "0"});
  killServerOnce([&] { return rows("CAC_LEAD_CONTATO" + kIntake) > 1; });
  // Until every lead is confirmed and every update sent, over fresh connections.
  EXPECT_TRUE(ChildProcess::waitUntil(
      [&] {
        db_ = OpenConnection(uri_);
        return sent(-1).size() == kLeads && rows("CAC_ATUALIZACOES_LEADVW WHERE ENVIOU = 'N'") == 0;
      },
      60s))
      << serve->err();
  expectNoAbort(stop(*serve, 10s), serve->err());
  // The intervals while the server was down were reported as failed, and serve went on.
  EXPECT_NE(serve->err().find(" failed"), std::string::npos) << serve->err();

  for (const char* table : {"CAC_CONTATO", "CAC_LEAD_CONTATO"})
    EXPECT_EQ(rows(table + kIntake), kLeads) << table;
  EXPECT_EQ(count("SELECT COUNT(DISTINCT ID_LEAD_VW) FROM CAC_LEAD_CONTATO" + kIntake), kLeads);
  for (const auto& [lead, times] : sent(-1)) EXPECT_EQ(times, 1) << "receipt of " << lead;
  EXPECT_EQ(rows("CAC_ATUALIZACOES_LEADVW"), kUnsent);
  // An update VW took whose outcome the killed server could not record is sent again by the
  // next pass: at least once, at most twice, one journal row all the same.
  const auto updates = sent(10);
  EXPECT_EQ(updates.size(), static_cast<size_t>(kUnsent));
  for (const auto& [lead, times] : updates) EXPECT_LE(times, 2) << lead;
}

TEST_F(CliServerTest, UpdateCutShortByAKilledServerFailsWithAReasonAndResendFinishesIt) {
  addLeadContact(10, 501);
  // VW answers slowly: the server is killed while the update waits for it.
  sandbox_.fault({{"operation", "AtualizaLeads"}, {"mode", "delay"}, {"ms", 1500}, {"count", 1}});
  const auto update = start({"update", "--empresa", "1", "--revenda", "1", "--contato", "10",
                             "--lead", "501", "--usuario", "12", "--status", "10"});
  killServerOnce([&] { return rows("CAC_ATUALIZACOES_LEADVW") == 1; });
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
