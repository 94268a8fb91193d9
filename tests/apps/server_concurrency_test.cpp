// Firebird's own server (/usr/sbin/firebird, Super mode) with several client processes at
// once: two intakes on the same leads and a resend pass, as a dealership runs them on a DMS
// server.
#include <arpa/inet.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <iostream>
#include <map>

#include "apps/cli.h"
#include "support/child_process.h"
#include "vornleads/data/schema.h"

namespace vornleads::test {
namespace {

constexpr const char* kPassword = "vornleads-test";

// The server as a child of the test, from a private root (its own firebird.conf, security
// database, lock and temporary files) on a free port of 127.0.0.1, with SYSDBA and a password
// of its own; the machine's Firebird is left alone. The destructor stops it.
class FirebirdServer {
 public:
  FirebirdServer() {
    const std::string root = root_.path().string(),
                      installed = "/usr/lib/x86_64-linux-gnu/firebird/3.0";
    std::filesystem::create_directories(root_ / "lock");
    for (const char* entry : {"plugins", "intl", "firebird.msg", "plugins.conf", "lib"}) {
      if (std::filesystem::exists(installed + "/" + entry))
        std::filesystem::create_symlink(installed + "/" + entry, root_ / entry);
    }
    sockaddr_in address{AF_INET, 0, {htonl(INADDR_LOOPBACK)}, {}};
    socklen_t size = sizeof address;
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    bind(fd, reinterpret_cast<sockaddr*>(&address), size);
    getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size);
    close(fd);
    port_ = std::to_string(ntohs(address.sin_port));  // free a moment ago
    writeFile(root_ / "firebird.conf",
              "ServerMode = Super\nRemoteServicePort = " + port_ +
                  "\nRemoteBindAddress = 127.0.0.1\nSecurityDatabase = " + root +
                  "/security3.fdb\nIpcName = vornleads_test_" + port_ + "\nUdfAccess = None\n");
    environment_ = "FIREBIRD=" + root + " FIREBIRD_LOCK=" + root + "/lock FIREBIRD_TMP=" + root;
    isql("create database '" + root + "/security3.fdb';\ncreate user SYSDBA password '" +
             kPassword + "' using plugin Srp;\ncommit;\n",
         "-user SYSDBA");
    server_.emplace(std::vector<std::string>{"/usr/bin/env", "FIREBIRD=" + root,
                                             "FIREBIRD_LOCK=" + root + "/lock",
                                             "FIREBIRD_TMP=" + root, "/usr/sbin/firebird"});
    if (!ChildProcess::waitUntil([this] { return listening(); }, std::chrono::seconds(10)))
      throw std::runtime_error("the Firebird server did not start:\n" + server_->err());
  }
  ~FirebirdServer() {
    server_->signal(SIGTERM);
    server_->wait(std::chrono::seconds(5));
  }

  // Creates the DMS database `name` through the server, with the sample company/branch 1.1,
  // and returns its firebird:// URI.
  std::string createDatabase(const std::string& name) {
    const std::string path = (root_ / name).string();
    isql("create database 'inet://127.0.0.1:" + port_ + "/" + path + "' user 'SYSDBA' password '" +
         kPassword + "' default character set UTF8;\n");
    const std::string uri =
        "firebird://SYSDBA:" + std::string(kPassword) + "@127.0.0.1:" + port_ + "/" + path;
    auto connection = OpenConnection(uri);
    for (const std::string& statement : SchemaStatements()) connection->execute(statement);
    for (const std::string& statement : SampleStatements()) connection->execute(statement);
    return uri;
  }

 private:
  void isql(const std::string& sql, const std::string& options = "") {
    writeFile(root_ / "script.sql", sql);
    commandOutput(environment_ + " isql-fb -q -b " + options + " -i " +
                  (root_ / "script.sql").string());
  }
  bool listening() {
    sockaddr_in address{
        AF_INET, htons(static_cast<uint16_t>(std::stoi(port_))), {htonl(INADDR_LOOPBACK)}, {}};
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    const bool ok = connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    close(fd);
    return ok;
  }

  TempDir root_{"vornleads-fbserver"};
  std::string port_, environment_;
  std::optional<ChildProcess> server_;
};

class FirebirdServerConcurrency : public CliTest {
 protected:
  FirebirdServer server_;
};

TEST_F(FirebirdServerConcurrency, TwoIntakesAndAResendPassAtOnce) {
  constexpr int kLeads = 240, kResend = 30;
  uri_ = server_.createDatabase("dms.fdb");
  db_ = OpenConnection(uri_);
  Json leads = Json::array();
  int good = 0;
  for (int id = 5001; id < 5001 + kLeads; ++id) {
    const bool bad = id % 10 == 0;  // a date that does not exist fails its lead in every cycle
    good += bad ? 0 : 1;
    leads.push_back(leadItem(id, bad ? Json{{"DataIntencao", "31/02/2025 10:00:00"}} : Json()));
  }
  // Updates left unsent by an earlier pass, on leads of a dealer number the intake does not
  // fetch: contacts numbered far above what the intakes draw.
  for (int n = 0; n < kResend; ++n) {
    addLeadContact(900001 + n, 8001 + n, 3, false);
    addUnsentRow(8001 + n, 1, 10);
    leads.push_back({{"IdLead", std::to_string(8001 + n)}, {"DealerNumber", "99999"}});
  }
  sandbox_.addLeads(leads);
  const auto runs = atOnce({options() + "intake --retry-delay 100",
                            options() + "intake --retry-delay 100", options() + "resend"});
  for (const CliRun& run : runs) {
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

  const std::string intake = " WHERE CONTATO < 900000";
  for (const std::string& sql : {"SELECT COUNT(*) FROM CAC_CONTATO" + intake,
                                 "SELECT COUNT(*) FROM CAC_LEAD_CONTATO" + intake,
                                 "SELECT COUNT(DISTINCT ID_LEAD_VW) FROM CAC_LEAD_CONTATO" + intake,
                                 std::string("SELECT COUNT(*) FROM CAC_INTERESSE"),
                                 std::string("SELECT COUNT(DISTINCT CONTATO) FROM CAC_INTERESSE"),
                                 std::string("SELECT COUNT(*) FROM GER_MENSAGEM"),
                                 std::string("SELECT COUNT(*) FROM FAT_CLIENTE")}) {
    EXPECT_EQ(count(sql), good) << sql;
  }
  EXPECT_EQ(
      count("SELECT COUNT(*) FROM CAC_LEAD_CONTATO" + intake + " AND MOD(ID_LEAD_VW, 10) = 0"), 0);
  EXPECT_EQ(count("SELECT COUNT(*) FROM CAC_ATUALIZACOES_LEADVW WHERE ENVIOU = 'S'"), kResend);

  std::map<std::string, int> confirmations, resent;
  for (const auto& update : sandbox_.updates()) {
    const std::string id = update["IdLead"].is_string() ? update["IdLead"].get<std::string>()
                                                        : update["IdLead"].dump();
    (update["Status"].get<int>() == -1 ? confirmations : resent)[id]++;
  }
  // Each intake confirms every lead of its cycle that has a link by then, whoever linked it:
  // with two intakes on the same leads a lead may be confirmed by both (VW takes a receipt
  // twice without harm). A failing lead is never confirmed.
  int confirmedTwice = 0;
  for (const auto& [id, times] : confirmations) {
    confirmedTwice += times > 1 ? 1 : 0;
    EXPECT_NE(std::stoi(id) % 10, 0) << "failing lead " << id << " confirmed";
  }
  EXPECT_EQ(static_cast<int>(confirmations.size()), good);
  EXPECT_EQ(static_cast<int>(resent.size()), kResend);
  for (const auto& [id, times] : resent) EXPECT_EQ(times, 1) << "update of lead " << id;
  std::cout << "firebird server, 2 intakes + 1 resend: " << kLeads << " leads (" << good
            << " good), " << count("SELECT COUNT(*) FROM CAC_CONTATO" + intake) << " contacts, "
            << confirmations.size() << " leads confirmed (" << confirmedTwice
            << " confirmed twice), " << resent.size() << " of " << kResend
            << " unsent updates delivered once\n";
}

}  // namespace
}  // namespace vornleads::test
