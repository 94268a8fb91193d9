// Firebird's own server with several client processes at once: two intakes on the same leads
// and a resend pass, as a dealership runs them on a DMS server.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <iostream>
#include <map>
#include <memory>
#include <string>

#include "apps/feedback_cli.h"
#include "support/firebird_server.h"
#include "support/paths.h"
#include "support/sandbox_process.h"
#include "vornleads/data/sql_connection.h"

namespace vornleads::test {
namespace {

using Json = SandboxProcess::Json;

constexpr int kLeads = 240;
constexpr int kResend = 30;

TEST(FirebirdServerConcurrency, TwoIntakesAndAResendPassAtOnce) {
  FirebirdServer server;
  const std::string uri = server.createDatabase("dms.fdb");
  auto db = OpenConnection(uri);
  SandboxProcess sandbox;
  TempDir home("vornleads-server-home"), scratch("vornleads-server-run");
  std::filesystem::create_symlink(binDir() / "VornLeadsVW.dll", home / "VornLeadsVW.dll");

  Json leads = Json::array();
  int good = 0;
  for (int id = 5001; id < 5001 + kLeads; ++id) {
    const bool bad = id % 10 == 0;
    good += bad ? 0 : 1;
    // A date that does not exist fails its lead in every cycle.
    leads.push_back(
        leadItem(id, bad ? Json{{"DataIntencao", "31/02/2025 10:00:00"}} : Json::object()));
  }
  // Updates left unsent by an earlier pass, on leads of a dealer number the intake does not
  // fetch: contacts numbered far above what the intakes draw.
  for (int n = 0; n < kResend; ++n) {
    const std::string id = std::to_string(8001 + n), contato = std::to_string(900001 + n);
    db->execute(
        "INSERT INTO CAC_CONTATO (EMPRESA, REVENDA, CONTATO, DTA_CONTATO, "
        "USUARIO_ENCAMINHADO) VALUES (1, 1, " +
        contato + ", CURRENT_TIMESTAMP - 3, 12)");
    db->execute(
        "INSERT INTO CAC_LEAD_CONTATO (EMPRESA, REVENDA, CONTATO, ID_LEAD_VW, "
        "INTEGRANDO) VALUES (1, 1, " +
        contato + ", " + id + ", 'S')");
    db->execute(
        "INSERT INTO CAC_ATUALIZACOES_LEADVW (ID_LEAD_VW, SEQUENCIA, STATUS_LEAD, "
        "DTA_ATUALIZACAO, ENVIOU, CODIGO_ERRO, USUARIO) VALUES (" +
        id + ", 1, 10, CURRENT_TIMESTAMP - 1, 'N', 297, 12)");
    leads.push_back({{"IdLead", id}, {"DealerNumber", "99999"}});
  }
  sandbox.addLeads(leads);

  const std::string program = (binDir() / "vornleads").string() + " --db " + uri + " --endpoint " +
                              sandbox.url() + " --home " + home.path().string();
  std::string script;
  const std::map<std::string, std::string> runs = {{"intake1", "intake --retry-delay 100"},
                                                   {"intake2", "intake --retry-delay 100"},
                                                   {"resend", "resend"}};
  for (const auto& [name, command] : runs) {
    const std::string base = (scratch / name).string();
    script += "(" + program + " " + command + " >" + base + ".out 2>" + base + ".err; echo $? >" +
              base + ".status) & ";
  }
  ASSERT_EQ(std::system((script + "wait").c_str()), 0);
  for (const auto& [name, command] : runs) {
    const std::string status = readFile(scratch / (name + ".status"));
    const std::string err = readFile(scratch / (name + ".err"));
    // An intake with failing leads ends, after its repeated cycles, in the restart message.
    EXPECT_TRUE(status == "0\n" ||
                (status == "1\n" && err.find("Ocorreram repetidos erros") != std::string::npos))
        << name << ": " << status << err;
    std::cout << name << ": " << readFile(scratch / (name + ".out"));
  }

  // Leads lost a race for their link and were repeated; none failed over a counter.
  std::string logs;
  for (const auto& entry : std::filesystem::directory_iterator(home.path())) {
    if (entry.path().filename().string().rfind("logBuscaLeadsVW_", 0) == 0)
      logs += readFile(entry.path());
  }
  EXPECT_NE(logs.find("\"31/02/2025 10:00:00\""), std::string::npos)
      << "the failing leads are logged";
  EXPECT_EQ(logs.find("próximo numero"), std::string::npos);
  EXPECT_EQ(logs.find("numerador de clientes"), std::string::npos);

  auto count = [&](const std::string& sql) { return db->query(sql).rows.at(0).at(0).asInteger(); };
  const std::string intake = " WHERE CONTATO < 900000";
  EXPECT_EQ(count("SELECT COUNT(*) FROM CAC_CONTATO" + intake), good);
  EXPECT_EQ(count("SELECT COUNT(*) FROM CAC_LEAD_CONTATO" + intake), good);
  EXPECT_EQ(count("SELECT COUNT(DISTINCT ID_LEAD_VW) FROM CAC_LEAD_CONTATO" + intake), good);
  EXPECT_EQ(
      count("SELECT COUNT(*) FROM CAC_LEAD_CONTATO" + intake + " AND MOD(ID_LEAD_VW, 10) = 0"), 0);
  EXPECT_EQ(count("SELECT COUNT(*) FROM CAC_INTERESSE"), good);
  EXPECT_EQ(count("SELECT COUNT(DISTINCT CONTATO) FROM CAC_INTERESSE"), good);
  EXPECT_EQ(count("SELECT COUNT(*) FROM GER_MENSAGEM"), good);
  EXPECT_EQ(count("SELECT COUNT(*) FROM FAT_CLIENTE"), good);
  EXPECT_EQ(count("SELECT COUNT(*) FROM CAC_ATUALIZACOES_LEADVW WHERE ENVIOU = 'S'"), kResend);

  std::map<std::string, int> confirmations, resent;
  for (const auto& update : sandbox.updates()) {
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
