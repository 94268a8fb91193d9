// bin/vornleads's read-only views: leads, updates and log as tables cut to a width, whole with
// --wide, as JSON, the newest first with --limit, from a day on with --since, and the log's
// entries of one lead.
#include <string>
#include <utility>

#include "apps/cli.h"
#include "support/fixed_clock.h"
#include "vornleads/package/host_directory.h"
#include "vornleads/package/log_file.h"
#include "vornleads/text/datetime.h"

namespace vornleads::test {
namespace {

class CliViewsTest : public CliTest {
 protected:
  CliViewsTest() {
    // 501: customer and situation; 502: later, no customer; 503: out of the integration.
    for (int n : {1, 2, 3}) addLeadContact(9000 + n, 500 + n, 3, false);
    for (const char* sql :
         {"INSERT INTO FAT_CLIENTE (CLIENTE, NOME) VALUES (77, 'Ana D''Ávila')",
          "UPDATE CAC_CONTATO SET CLIENTE = 77, SITUACAO = 'A', DTA_CONTATO = "
          "'2026-01-05 10:00:00' WHERE CONTATO = 9001",
          "UPDATE CAC_CONTATO SET DTA_CONTATO = '2026-02-10 08:30:00' WHERE CONTATO > 9001",
          "UPDATE CAC_LEAD_CONTATO SET INTEGRANDO = 'N' WHERE ID_LEAD_VW = 503",
          "INSERT INTO CAC_ATUALIZACOES_LEADVW (ID_LEAD_VW, SEQUENCIA, STATUS_LEAD, "
          "DTA_ATUALIZACAO, ENVIOU, CODIGO_ERRO, DESCRICAO_ERRO, USUARIO) VALUES "
          "(501, 1, 1, '2026-01-06 09:00:00', 'S', NULL, '', 12)"}) {
      db_->execute(sql);
    }
    addUnsentRow(501, 2, 10, "NULL", "Recusado:\r\nCPF inválido");
    addUnsentRow(502, 1, 10);
    addUnsentRow(503, 1, 10);
    db_->execute(
        "UPDATE CAC_ATUALIZACOES_LEADVW SET DTA_ATUALIZACAO = '2026-02-11 09:00:00' "
        "WHERE ENVIOU = 'N'");
  }
};

// Each view as JSON, by lead and from a day on (503 no longer integrates and 501/1 was sent:
// neither is among the unsent rows, which are what the next resend pass reads). Tables keep
// within the width (COLUMNS here, the output being no terminal; 100 without it): the free text
// is cut with "…" first, then the headers wider than their values; --wide keeps every text
// whole. --limit keeps the newest rows, newest first; --since those from a day on.
TEST_F(CliViewsTest, AsJsonAndAsTablesThatFitTheWidthUnlessWideNewestFirstWithLimit) {
  const std::string unsent = R"(,"SEQUENCIA":1,"STATUS_LEAD":10,"DTA_ATUALIZACAO":"2026-02-11 )"
                             R"(09:00:00","ENVIOU":"N","CODIGO_ERRO":297,"DESCRICAO_ERRO":"",)"
                             R"("USUARIO":12})";
  const std::pair<std::string, std::string> json[] = {
      {"leads --lead 501 --json",
       R"([{"ID_LEAD_VW":501,"EMPRESA":1,"REVENDA":1,"CONTATO":9001,"DTA_CONTATO":)"
       R"("2026-01-05 10:00:00","CLIENTE":77,"NOME":"Ana D'Ávila","SITUACAO":"A","INTEGRANDO":"S"}])"},
      {"updates --json",
       R"([{"ID_LEAD_VW":501,"SEQUENCIA":1,"STATUS_LEAD":1,"DTA_ATUALIZACAO":"2026-01-06 )"
       R"(09:00:00","ENVIOU":"S","CODIGO_ERRO":null,"DESCRICAO_ERRO":"","USUARIO":12},)"
       R"({"ID_LEAD_VW":501)" +
           unsent + R"(,{"ID_LEAD_VW":502)" + unsent + R"(,{"ID_LEAD_VW":503)" + unsent + "]"},
      {"updates --unsent --lead 502 --json", R"([{"ID_LEAD_VW":502)" + unsent + "]"},
      {"leads --since 2026-02-10 --lead 501 --json", "[]"},  // 501 is older
  };
  for (const auto& [arguments, expected] : json) {
    const CliRun run = vornleads(arguments);
    EXPECT_EQ(run.status, 0) << arguments << run.err;
    Json rows = Json::parse(expected);
    if (rows.size() == 4)
      rows[1].update({{"SEQUENCIA", 2}, {"DESCRICAO_ERRO", "Recusado:\r\nCPF inválido"}});
    EXPECT_EQ(Json::parse(run.out), rows) << arguments;
  }

  const std::string longText(1540, 'x');
  db_->execute("UPDATE CAC_ATUALIZACOES_LEADVW SET DESCRICAO_ERRO = '" + longText +
               "', DTA_ATUALIZACAO = '2026-02-12 09:00:00' WHERE ID_LEAD_VW = 502");
  const std::string recusado = "297    Recusado: / CPF inv…  12\n";
  const struct {
    std::string environment, arguments, out;
  } views[] = {
      {"", "leads --wide",
       "ID_LEAD_VW  EMPRESA  REVENDA  CONTATO  DTA_CONTATO          CLIENTE  NOME         "
       "SITUACAO  INTEGRANDO\n"
       "501         1        1        9001     2026-01-05 10:00:00  77       Ana D'Ávila  "
       "A         S\n"
       "502         1        1        9002     2026-02-10 08:30:00                        "
       "          S\n"
       "503         1        1        9003     2026-02-10 08:30:00                        "
       "          N\n"},
      {"COLUMNS=80", "updates --unsent",
       "ID_…  SEQ…  STA…  DTA_ATUALIZACAO      ENVI…  CODI…  DESCRICAO_ERRO        USUA…\n"
       "501   2     10    2026-02-11 09:00:00  N      " + recusado +
       "502   1     10    2026-02-12 09:00:00  N      297    " + std::string(19, 'x') + "…  12\n"},
      {"", "updates --limit 2",
       "ID_LEAD…  SEQUENC…  STATUS_L…  DTA_ATUALIZACAO      ENVIOU  CODIGO_E…  DESCRICAO_ERRO  "
       "      USUARIO\n"
       "502       1         10         2026-02-12 09:00:00  N       297        " +
           std::string(19, 'x') + "…  12\n"
           "501       2         10         2026-02-11 09:00:00  N       297        Recusado: / "
           "CPF inv…  12\n"},
      {"COLUMNS=60", "leads --since 2026-02-10 --limit 1",
       "ID…  EM…  RE…  CON…  DTA_CONTATO          CL…  NO…  SI…  IN…\n"
       "502  1    1    9002  2026-02-10 08:30:00                 S\n"},
      {"COLUMNS=40", "leads --lead 501",
       "ID…  EM…  RE…  CO…  DT…  CL…  NO…  SI…  IN…\n"
       "501  1    1    90…  20…  77   An…  A    S\n"},
      {"COLUMNS=80", "updates --unsent --wide --lead 502",
       "ID_LEAD_VW  SEQUENCIA  STATUS_LEAD  DTA_ATUALIZACAO      ENVIOU  CODIGO_ERRO  "
       "DESCRICAO_ERRO" + std::string(1528, ' ') + "USUARIO\n"
       "502         1          10           2026-02-12 09:00:00  N       297          " +
           longText + "  12\n"},
  };
  for (const auto& view : views) {
    environment_ = view.environment;
    expectRun(vornleads(view.arguments), 0, view.out, "");
  }
}

// A day's entries of every log, newest last; those naming one lead; one JSON object a line.
TEST_F(CliViewsTest, LogEntriesOfADayNewestLastByLeadAndAsJson) {
  setHostDirectory(home_.path());
  const auto at = [](int hour) {
    return std::make_shared<FixedClock>(EncodeDate(2026, 3, 7) + hour / 24.0);
  };
  LogFile(kLogBuscaLeads, at(9)).appendExchange("{\"DNs\":\"1234\"}", "{\"Leads\":[]}");
  LogFile(kLogEnvioLeads, at(10)).appendExchange("{\"IdLead\":501}", "{\"Status\":{}}");
  LogFile(kLogBuscaLeads, at(11)).appendExchange("", "Não foi possível incluir o lead 7\r\nCPF");
  LogFile(kLogEnvioLeads, at(12)).appendExchange("{\"IdLead\":5010}", "{}");
  LogFile(kLogFachada, at(13)).appendFacade("BuscaLeads", "{\"IdLead\":\"501\"}", "Ok");
  setHostDirectory({});
  const std::string updates501 =
      "--- updates\n07-03-26 10:00:00.000\nRequisição: \n{\"IdLead\":501}\n\nResposta:\n"
      "{\"Status\":{}}\n";
  const std::string facade501 =
      "--- facade\n07-03-26 13:00:00.000\nFunção: BuscaLeads\n{\"IdLead\":\"501\"}\n\n"
      "Situação/Erro:\nOk\n";
  const std::pair<std::string, std::string> views[] = {
      {"log --day 2026-03-07 --kind intake",
       "--- intake\n07-03-26 09:00:00.000\nRequisição: \n{\"DNs\":\"1234\"}\n\nResposta:\n"
       "{\"Leads\":[]}\n"
       "\n--- intake\n07-03-26 11:00:00.000\nRequisição: \n\n\nResposta:\n"
       "Não foi possível incluir o lead 7\nCPF\n"},
      {"log --day 2026-03-07 --lead 501", updates501 + "\n" + facade501},
      {"log --day 2026-03-07 --lead 501 --json",
       R"({"time":"2026-03-07T10:00:00.000","kind":"updates","request":"{\"IdLead\":501}",)"
       R"("response":"{\"Status\":{}}"})" "\n"
       R"({"time":"2026-03-07T13:00:00.000","kind":"facade","function":"BuscaLeads",)"
       R"("request":"{\"IdLead\":\"501\"}","response":"Ok"})" "\n"},
  };
  for (const auto& [arguments, expected] : views) expectRun(vornleads(arguments), 0, expected, "");
  const CliRun none = vornleads("log --day 2026-03-07 --lead 7");
  EXPECT_EQ(none.out, "");
  EXPECT_EQ(none.err.rfind("vornleads: no log entries naming that lead in ", 0), 0u) << none.err;
}

}  // namespace
}  // namespace vornleads::test
