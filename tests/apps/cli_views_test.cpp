// The operator's read-only views (leads, updates, log) in both forms, the help of every
// command, and the usage errors of the command line.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "apps/feedback_cli.h"
#include "support/fixed_clock.h"
#include "vornleads/clock.h"
#include "vornleads/package/host_directory.h"
#include "vornleads/package/log_file.h"
#include "vornleads/text/datetime.h"

namespace vornleads::test {
namespace {

class CliViewsTest : public FeedbackCliTest {
 protected:
  CliViewsTest() {
    // 501: customer and situation; 502: later, no customer; 503: out of the integration.
    addLeadContact(9001, 501, 3, false);
    addLeadContact(9002, 502, 3, false);
    addLeadContact(9003, 503, 3, false);
    db_->execute("INSERT INTO FAT_CLIENTE (CLIENTE, NOME) VALUES (77, 'Ana D''Ávila')");
    db_->execute(
        "UPDATE CAC_CONTATO SET CLIENTE = 77, SITUACAO = 'A', DTA_CONTATO = "
        "'2026-01-05 10:00:00' WHERE CONTATO = 9001");
    db_->execute("UPDATE CAC_CONTATO SET DTA_CONTATO = '2026-02-10 08:30:00' WHERE CONTATO > 9001");
    db_->execute("UPDATE CAC_LEAD_CONTATO SET INTEGRANDO = 'N' WHERE ID_LEAD_VW = 503");
    db_->execute(
        "INSERT INTO CAC_ATUALIZACOES_LEADVW (ID_LEAD_VW, SEQUENCIA, STATUS_LEAD, "
        "DTA_ATUALIZACAO, ENVIOU, CODIGO_ERRO, DESCRICAO_ERRO, USUARIO) VALUES "
        "(501, 1, 1, '2026-01-06 09:00:00', 'S', NULL, '', 12)");
    addUnsentRow(501, 2, 10, "NULL", "Recusado:\r\nCPF inválido");
    addUnsentRow(502, 1, 10);
    addUnsentRow(503, 1, 10);
  }
};

TEST_F(CliViewsTest, LeadsAsATableAndAsJson) {
  const CliRun table = vornleads("leads");
  EXPECT_EQ(table.status, 0) << table.err;
  EXPECT_EQ(table.out,
            "ID_LEAD_VW  EMPRESA  REVENDA  CONTATO  DTA_CONTATO          CLIENTE  NOME         "
            "SITUACAO  INTEGRANDO\n"
            "501         1        1        9001     2026-01-05 10:00:00  77       Ana D'Ávila  "
            "A         S\n"
            "502         1        1        9002     2026-02-10 08:30:00                        "
            "          S\n"
            "503         1        1        9003     2026-02-10 08:30:00                        "
            "          N\n");

  const CliRun json = vornleads("leads --lead 501 --json");
  EXPECT_EQ(json.status, 0) << json.err;
  EXPECT_EQ(Json::parse(json.out),
            Json::parse(R"([{"ID_LEAD_VW": 501, "EMPRESA": 1, "REVENDA": 1, "CONTATO": 9001,
                            "DTA_CONTATO": "2026-01-05 10:00:00", "CLIENTE": 77,
                            "NOME": "Ana D'Ávila", "SITUACAO": "A", "INTEGRANDO": "S"}])"));

  const CliRun since = vornleads("leads --since 2026-02-10 --json");
  ASSERT_EQ(since.status, 0) << since.err;
  std::string leads;
  for (const auto& row : Json::parse(since.out)) leads += row["ID_LEAD_VW"].dump() + " ";
  EXPECT_EQ(leads, "502 503 ");
}

TEST_F(CliViewsTest, UnsentUpdatesAreWhatTheNextResendPassSends) {
  const CliRun all = vornleads("updates --json");
  ASSERT_EQ(all.status, 0) << all.err;
  const Json rows = Json::parse(all.out);
  ASSERT_EQ(rows.size(), 4u);
  EXPECT_EQ(rows[0], Json::parse(R"({"ID_LEAD_VW": 501, "SEQUENCIA": 1, "STATUS_LEAD": 1,
      "DTA_ATUALIZACAO": "2026-01-06 09:00:00", "ENVIOU": "S", "CODIGO_ERRO": null,
      "DESCRICAO_ERRO": "", "USUARIO": 12})"));
  EXPECT_EQ(rows[1]["DESCRICAO_ERRO"], "Recusado:\r\nCPF inválido");

  // 503 no longer integrates and 501/1 was sent: neither is picked up.
  const CliRun unsent = vornleads("updates --unsent");
  EXPECT_EQ(unsent.status, 0) << unsent.err;
  const std::string yesterday = FormatDateTime("yyyy-mm-dd", Now() - 1);
  EXPECT_EQ(unsent.out.substr(0, unsent.out.find('\n') + 1),
            "ID_LEAD_VW  SEQUENCIA  STATUS_LEAD  DTA_ATUALIZACAO      ENVIOU  CODIGO_ERRO  "
            "DESCRICAO_ERRO            USUARIO\n");
  EXPECT_NE(unsent.out.find("\n501         2          10           " + yesterday),
            std::string::npos);
  EXPECT_NE(unsent.out.find("  N       297          Recusado: / CPF inválido  12\n"),
            std::string::npos)
      << unsent.out;
  EXPECT_NE(unsent.out.find("\n502         1          10  "), std::string::npos);
  EXPECT_EQ(unsent.out.find("\n503 "), std::string::npos);
  const CliRun one = vornleads("updates --unsent --lead 502 --json");
  ASSERT_EQ(one.status, 0) << one.err;
  ASSERT_EQ(Json::parse(one.out).size(), 1u);
  EXPECT_EQ(Json::parse(one.out)[0]["SEQUENCIA"], 1);

  const CliRun pass = vornleads("resend");
  EXPECT_EQ(pass.out.substr(0, 22), "resend: 2 rows read, 0") << pass.out;
}

TEST_F(CliViewsTest, LogEntriesOfADayNewestLast) {
  setHostDirectory(home_.path());
  const TDateTime day = EncodeDate(2026, 3, 7);
  const auto at = [&](int hour) { return std::make_shared<FixedClock>(day + hour / 24.0); };
  LogFile(kLogBuscaLeads, at(9)).appendExchange("{\"DNs\":\"1234\"}", "{\"Leads\":[]}");
  LogFile(kLogEnvioLeads, at(10)).appendExchange("{\"IdLead\":501}", "{\"Status\":{}}");
  LogFile(kLogBuscaLeads, at(11)).appendExchange("", "Não foi possível incluir o lead 7\r\nCPF");
  setHostDirectory({});

  const CliRun all = vornleads("log --day 2026-03-07");
  EXPECT_EQ(all.status, 0) << all.err;
  EXPECT_EQ(all.out,
            "--- intake\n07-03-26 09:00:00.000\nRequisição: \n{\"DNs\":\"1234\"}\n\nResposta:\n"
            "{\"Leads\":[]}\n"
            "\n--- updates\n07-03-26 10:00:00.000\nRequisição: \n{\"IdLead\":501}\n\nResposta:\n"
            "{\"Status\":{}}\n"
            "\n--- intake\n07-03-26 11:00:00.000\nRequisição: \n\n\nResposta:\n"
            "Não foi possível incluir o lead 7\nCPF\n");

  const CliRun facade = vornleads("log --day 2026-03-07 --kind facade");
  EXPECT_EQ(facade.status, 0);
  EXPECT_EQ(facade.out, "");
  EXPECT_NE(facade.err.find("logVornLeadsVWDLL_2026_03_07.txt"), std::string::npos);
}

TEST_F(CliViewsTest, UsageErrorsFailedOperationsAndHelp) {
  const struct {
    const char* arguments;
    const char* message;
  } usage[] = {
      {"leads --lead abc", "--lead"},
      {"updates --lead 12x", "--lead"},
      {"leads --since 07/03/2026", "YYYY-MM-DD"},
      {"log --day 2026-13-45", "\"2026-13-45\" is not a date of the form YYYY-MM-DD"},
      {"log --day 2026-02-30", "YYYY-MM-DD"},
      {"log --kind journal", "--kind"},
      {"serve --intake-every 0", "--intake-every"},
      {"serve --resend-every abc", "--resend-every"},
  };
  for (const auto& c : usage) {
    SCOPED_TRACE(c.arguments);
    const CliRun run = vornleads(c.arguments);
    EXPECT_EQ(run.status, 2);
    EXPECT_NE(run.err.find(c.message), std::string::npos) << run.err;
  }

  const CliRun missing = vornleadsBare("--db /nonexistent/dms.fdb updates");
  EXPECT_EQ(missing.status, 1);
  EXPECT_EQ(missing.err.rfind("vornleads: ", 0), 0u) << missing.err;
  // The one failure that ends the service at start: no library edition in the host directory.
  const CliRun noLibrary = vornleadsBare("--home " + scratch_.path().string() + " serve");
  EXPECT_EQ(noLibrary.status, 1);
  EXPECT_NE(noLibrary.err.find("VornLeadsVW.dll"), std::string::npos) << noLibrary.err;

  for (const char* command :
       {"init-db", "intake", "update", "resend", "call", "serve", "leads", "updates", "log"}) {
    SCOPED_TRACE(command);
    const CliRun help = vornleadsBare(std::string(command) + " --help");
    EXPECT_EQ(help.status, 0);
    const size_t example = help.out.find("\nExample:\n  ");
    ASSERT_NE(example, std::string::npos) << help.out;
    EXPECT_NE(help.out.find("vornleads ", example), std::string::npos);
  }
}

}  // namespace
}  // namespace vornleads::test
