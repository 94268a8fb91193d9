// vornleads intake as a separate program: the summary, the exit status of a failed cycle, and
// two intake processes started together on one database.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "feedback_cli.h"
#include "support/child_process.h"

namespace vornleads::test {
namespace {

class CliIntakeTest : public FeedbackCliTest {
 protected:
  static Json lead(int id, const Json& changes = Json::object()) { return leadItem(id, changes); }
};

TEST_F(CliIntakeTest, OneCycleEndsWithItsSummary) {
  sandbox_.addLeads(Json::array({lead(101), lead(102), lead(103)}));
  const CliRun run = vornleads("intake");
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.out,
            "intake: 1 dealers, 3 leads read, 3 contacts created, 0 linked, 0 revised, 0 closed, "
            "0 failed, 3 confirmed, 1 cycle\n");
  EXPECT_EQ(count("SELECT COUNT(*) FROM CAC_LEAD_CONTATO"), 3);
  EXPECT_EQ(sandbox_.updates().size(), 3u);

  // The leads are confirmed: the next cycle reads none.
  const CliRun again = vornleads("intake");
  EXPECT_EQ(again.status, 0) << again.err;
  EXPECT_EQ(again.out,
            "intake: 1 dealers, 0 leads read, 0 contacts created, 0 linked, 0 revised, 0 closed, "
            "0 failed, 0 confirmed, 1 cycle\n");
}

TEST_F(CliIntakeTest, ServiceFailureExitsWithItsMessageAndWritesNothing) {
  sandbox_.addLeads(Json::array({lead(201)}));
  sandbox_.fault({{"operation", "BuscaLeadsStatus"},
                  {"mode", "reject"},
                  {"codigo", 150},
                  {"descricao", "DN sem permissão"}});
  const CliRun rejected = vornleads("intake");
  EXPECT_EQ(rejected.status, 1);
  EXPECT_EQ(rejected.out, "");
  EXPECT_NE(rejected.err.find("vornleads: DN sem permissão\n"), std::string::npos) << rejected.err;

  sandbox_.stop();
  const CliRun down = vornleads("intake");
  EXPECT_EQ(down.status, 1);
  EXPECT_NE(down.err.find("vornleads: "), std::string::npos);
  EXPECT_EQ(count("SELECT COUNT(*) FROM CAC_CONTATO"), 0);
  EXPECT_EQ(count("SELECT COUNT(*) FROM FAT_CLIENTE"), 0);

  // Both failures are in the day's intake log, beside the requests that met them.
  std::string logs;
  for (const auto& entry : std::filesystem::directory_iterator(home_.path())) {
    if (entry.path().filename().string().rfind("logBuscaLeadsVW_", 0) == 0)
      logs += readFile(entry.path());
  }
  EXPECT_NE(logs.find("DN sem permissão"), std::string::npos);
  const std::string message = down.err.substr(down.err.find("vornleads: ") + 11);
  EXPECT_NE(logs.find(message.substr(0, message.find('\n'))), std::string::npos) << down.err;
}

TEST_F(CliIntakeTest, FailedLeadRepeatsTheCycleAndExitsWithTheRestartMessage) {
  sandbox_.addLeads(Json::array({lead(301), lead(302, {{"DataIntencao", "32/01/2025"}})}));
  const CliRun run = vornleads("intake --retry-delay 0");
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("vornleads: Ocorreram repetidos erros ao integrar os leads, o serviço "
                         "será reiniciado\n"),
            std::string::npos)
      << run.err;
  EXPECT_EQ(run.out,
            "intake: 1 dealers, 7 leads read, 1 contacts created, 0 linked, 0 revised, 0 closed, "
            "6 failed, 1 confirmed, 6 cycles\n");
  EXPECT_EQ(count("SELECT COUNT(*) FROM CAC_LEAD_CONTATO"), 1);
}

// Progress shows on a terminal only; the summary stays on standard output either way.
TEST_F(CliIntakeTest, ProgressOnATerminalOnly) {
  sandbox_.addLeads(Json::array({lead(1101), lead(1102)}));
  int status = -1;
  const std::string terminal = runOnTerminal(
      {(binDir() / "vornleads").string(), "--db", database_.uri(), "--endpoint", sandbox_.url(),
       "--home", home_.path().string(), "intake"},
      status);
  EXPECT_EQ(status, 0) << terminal;
  EXPECT_EQ(terminal,
            "\r\033[Kintake: lead 1 of 2, 1101\r\033[Kintake: lead 2 of 2, 1102\r\033[K"
            "intake: 1 dealers, 2 leads read, 2 contacts created, 0 linked, 0 revised, 0 closed, "
            "0 failed, 2 confirmed, 1 cycle\r\n");

  sandbox_.addLeads(Json::array({lead(1103)}));
  const CliRun piped = vornleads("intake");
  EXPECT_EQ(piped.err, "");
  EXPECT_EQ(piped.out.substr(0, 41), "intake: 1 dealers, 1 leads read, 1 contac");
  EXPECT_EQ(vornleads("intake --retry-delay -5").status, 2);
}

// Two intake processes at the same moment on one database and one sandbox: each lead gets
// exactly one contact and one link. The process that loses a race for a lead rolls that lead
// back and repeats its cycle; it may end with the restart message.
TEST_F(CliIntakeTest, TwoProcessesAtOnceGiveEachLeadOneContact) {
  Json leads = Json::array();
  for (int id = 401; id <= 440; ++id) leads.push_back(lead(id));
  sandbox_.addLeads(leads);

  const std::string program = (binDir() / "vornleads").string() + " --db " + database_.uri() +
                              " --endpoint " + sandbox_.url() + " --home " + home_.path().string() +
                              " intake --retry-delay 200";
  std::string script;
  for (const char* n : {"1", "2"}) {
    const std::string base = (scratch_ / (std::string("p") + n)).string();
    script +=
        "(" + program + " >" + base + ".out 2>" + base + ".err; echo $? >" + base + ".status) & ";
  }
  script += "wait";
  ASSERT_EQ(std::system(script.c_str()), 0);

  for (const char* n : {"1", "2"}) {
    SCOPED_TRACE(n);
    const std::string base = std::string("p") + n;
    const std::string status = readFile(scratch_ / (base + ".status"));
    const std::string err = readFile(scratch_ / (base + ".err"));
    if (status != "0\n") {
      EXPECT_EQ(status, "1\n");
      EXPECT_NE(err.find("Ocorreram repetidos erros ao integrar os leads"), std::string::npos)
          << err;
    }
  }
  EXPECT_EQ(count("SELECT COUNT(*) FROM CAC_LEAD_CONTATO"), 40);
  EXPECT_EQ(count("SELECT COUNT(DISTINCT ID_LEAD_VW) FROM CAC_LEAD_CONTATO"), 40);
  EXPECT_EQ(count("SELECT COUNT(*) FROM CAC_CONTATO"), 40);
  EXPECT_EQ(count("SELECT COUNT(*) FROM CAC_CONTATO C WHERE NOT EXISTS (SELECT 1 FROM "
                  "CAC_LEAD_CONTATO L WHERE L.EMPRESA = C.EMPRESA AND L.REVENDA = C.REVENDA "
                  "AND L.CONTATO = C.CONTATO)"),
            0);
  EXPECT_EQ(count("SELECT COUNT(*) FROM FAT_CLIENTE"), 40);
  int confirmed = 0;
  for (const auto& stored : sandbox_.leads()) confirmed += stored["confirmed"].get<bool>() ? 1 : 0;
  EXPECT_EQ(confirmed, 40);
}

}  // namespace
}  // namespace vornleads::test
