// vornleads intake as a separate program: the summary, the exit status of a failed cycle, and
// several intake processes started together on one database.
#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "feedback_cli.h"
#include "support/child_process.h"
#include "support/soap_test_server.h"
#include "vornleads/text/codepage.h"

namespace vornleads::test {
namespace {

class CliIntakeTest : public FeedbackCliTest {
 protected:
};

TEST_F(CliIntakeTest, OneCycleEndsWithItsSummary) {
  sandbox_.addLeads(Json::array({leadItem(101), leadItem(102), leadItem(103)}));
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
  sandbox_.addLeads(Json::array({leadItem(201)}));
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
  sandbox_.addLeads(Json::array({leadItem(301), leadItem(302, {{"DataIntencao", "32/01/2025"}})}));
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
  sandbox_.addLeads(Json::array({leadItem(1101), leadItem(1102)}));
  int status = -1;
  const std::string terminal =
      runOnTerminal({(binDir() / "vornleads").string(), "--db", database_.uri(), "--endpoint",
                     sandbox_.url(), "--home", home_.path().string(), "intake"},
                    status);
  EXPECT_EQ(status, 0) << terminal;
  EXPECT_EQ(terminal,
            "\r\033[Kintake: lead 1 of 2, 1101\r\033[Kintake: lead 2 of 2, 1102\r\033[K"
            "intake: 1 dealers, 2 leads read, 2 contacts created, 0 linked, 0 revised, 0 closed, "
            "0 failed, 2 confirmed, 1 cycle\r\n");

  sandbox_.addLeads(Json::array({leadItem(1103)}));
  const CliRun piped = vornleads("intake");
  EXPECT_EQ(piped.err, "");
  EXPECT_EQ(piped.out.substr(0, 41), "intake: 1 dealers, 1 leads read, 1 contac");
  EXPECT_EQ(vornleads("intake --retry-delay -5").status, 2);
}

// Text in the Latin range of Unicode, as windows-1252 bytes.
std::string windows1252(const std::string& utf8) {
  std::string bytes;
  for (char16_t unit : utf8ToUtf16(utf8)) bytes += static_cast<char>(unit);
  return bytes;
}

// A peer that answers the fetch in windows-1252, as a Windows server does, and confirms.
TEST_F(CliIntakeTest, AWindows1252ReplyIsStoredAsTheTextItStandsFor) {
  const std::string leads =
      R"({"Status":{"Codigo":0,"Descricao":"Sucesso","Versao":"1.0"},"Leads":[)" +
      leadItem(501, {{"Nome", "João da Conceição"}}).dump() + "]}";
  const std::string confirmed = R"({"Status":{"Codigo":0,"Descricao":"Sucesso","Versao":"1.0"},)"
                                R"("Retorno":{"Mensagem":"ok","Retorno":"OK"}})";
  std::string fetchReply;
  test::SoapTestServer peer;
  peer.answer(
      [&fetchReply, &confirmed](const httplib::Request& request, httplib::Response& response) {
        const bool fetch =
            request.get_header_value("SOAPAction").find("#BuscaLeadsStatus") != std::string::npos;
        response.set_content(fetch ? fetchReply : soapReply("AtualizaLeads", confirmed),
                             fetch ? "text/xml; charset=windows-1252" : "text/xml; charset=utf-8");
      });
  const std::string declaration = "<?xml version=\"1.0\" encoding=\"windows-1252\"?>";

  // A byte the code page leaves undefined stops the fetch before anything is written.
  fetchReply = declaration + windows1252(soapReply("BuscaLeadsStatus", leads)) + "\x81";
  const CliRun refused = vornleads("intake", {}, peer.url());
  EXPECT_EQ(refused.status, 1);
  EXPECT_NE(refused.err.find("bytes inválidos para a codificação windows-1252"), std::string::npos)
      << refused.err;
  EXPECT_EQ(count("SELECT COUNT(*) FROM FAT_CLIENTE"), 0);

  fetchReply = declaration + windows1252(soapReply("BuscaLeadsStatus", leads));
  const CliRun run = vornleads("intake", {}, peer.url());
  EXPECT_EQ(run.status, 0) << run.err;
  const SqlRowSet stored = db_->query("SELECT NOME FROM FAT_CLIENTE");
  ASSERT_EQ(stored.rows.size(), 1u);
  EXPECT_EQ(stored.value(0, "NOME").asString(), "JOÃO DA CONCEIÇÃO");  // names are kept in capitals
}

// Runs `vornleads intake` once per endpoint, all at the same moment, on the test's database
// and host directory; waits for all of them.
std::vector<CliRun> intakesAtOnce(const std::vector<std::string>& endpoints,
                                  const std::string& database, const std::string& home,
                                  const std::filesystem::path& scratch) {
  std::string script;
  for (size_t n = 0; n < endpoints.size(); ++n) {
    const std::string base = (scratch / ("p" + std::to_string(n))).string();
    script += "(" + (binDir() / "vornleads").string() + " --db " + database + " --endpoint " +
              endpoints[n] + " --home " + home + " intake --retry-delay 200 >" + base + ".out 2>" +
              base + ".err; echo $? >" + base + ".status) & ";
  }
  script += "wait";
  EXPECT_EQ(std::system(script.c_str()), 0);
  std::vector<CliRun> runs(endpoints.size());
  for (size_t n = 0; n < endpoints.size(); ++n) {
    const std::string base = "p" + std::to_string(n);
    runs[n].status = std::stoi("0" + readFile(scratch / (base + ".status")));
    runs[n].out = readFile(scratch / (base + ".out"));
    runs[n].err = readFile(scratch / (base + ".err"));
  }
  return runs;
}

// Two intake processes at the same moment on one database and one sandbox: each lead gets
// exactly one contact and one link. The process that loses a race for a lead rolls that lead
// back and repeats its cycle; it may end with the restart message.
TEST_F(CliIntakeTest, TwoProcessesOnTheSameLeadsGiveEachLeadOneContact) {
  Json leads = Json::array();
  for (int id = 401; id <= 440; ++id) leads.push_back(leadItem(id));
  sandbox_.addLeads(leads);

  const auto runs = intakesAtOnce({sandbox_.url(), sandbox_.url()}, database_.uri(),
                                  home_.path().string(), scratch_.path());
  for (const CliRun& run : runs) {
    if (run.status != 0) {
      EXPECT_EQ(run.status, 1);
      EXPECT_NE(run.err.find("Ocorreram repetidos erros ao integrar os leads"), std::string::npos)
          << run.err;
    }
  }
  EXPECT_EQ(count("SELECT COUNT(*) FROM CAC_LEAD_CONTATO"), 40);
  EXPECT_EQ(count("SELECT COUNT(DISTINCT ID_LEAD_VW) FROM CAC_LEAD_CONTATO"), 40);
  EXPECT_EQ(count("SELECT COUNT(*) FROM CAC_CONTATO"), 40);
  EXPECT_EQ(count("SELECT COUNT(*) FROM FAT_CLIENTE"), 40);
  int confirmed = 0;
  for (const auto& stored : sandbox_.leads()) confirmed += stored["confirmed"].get<bool>() ? 1 : 0;
  EXPECT_EQ(confirmed, 40);
}

// A dealership as it is found: two integrated companies, customers numbered long before the
// module (with a gap in their codes), and three intakes at once, each with leads of its own
// for both companies, some of them already customers. No lead may fail over a counter, and
// every new customer gets a code of its own above the ones the DMS had.
TEST_F(CliIntakeTest, ThreeProcessesOnTwoCompaniesAndAnAdoptedCustomerBase) {
  for (const char* sql :
       {"INSERT INTO GER_REVENDA (EMPRESA, REVENDA, RAZAO_SOCIAL) VALUES (2, 1, 'SEGUNDA')",
        "INSERT INTO VWB_PARAMETRO (EMPRESA, REVENDA, NUMERO_DN, API_AUTOSERVICE_ATIVA) "
        "VALUES (2, 1, '05678', 'N')",
        "INSERT INTO CAC_PARAMETRO (EMPRESA, REVENDA, UTILIZA_INTEGRACAO_LEADVW, "
        "USUARIOS_NOTIF_CONTATO_VEI, ORIGEM_TRAFEGO_LEADVW) VALUES (2, 1, 'S', '12', 7)",
        "INSERT INTO VEI_PARAMETRO (EMPRESA, REVENDA, TIPO_CONTATO, SUB_TIPO_CONTATO, "
        "DEPARTAMENTO) VALUES (2, 1, 1, 2, 3)",
        "INSERT INTO FAT_VENDEDOR (EMPRESA, REVENDA, VENDEDOR, USUARIO, NOME, CPF) "
        "VALUES (2, 1, 1, 0, 'ADMINISTRADOR', '11122233396')",
        "INSERT INTO FAT_VENDEDOR (EMPRESA, REVENDA, VENDEDOR, USUARIO, NOME, CPF) "
        "VALUES (2, 1, 12, 12, 'CARLOS SOUZA', '22233344405')",
        "INSERT INTO CAC_FORMA_CONTATO (EMPRESA, FORMA_CONTATO, DES_FORMA_CONTATO, "
        "TIPO_FORMA_CONTATO) VALUES (2, 4, 'E-MAIL', 1)",
        "INSERT INTO VEI_MODELO (EMPRESA, MODELO, DES_MODELO) VALUES (2, '1001', 'GOL')"}) {
    db_->execute(sql);
  }
  // Customers 1..20 and 9001..9005, numbered by the DMS without any counter row.
  for (int cliente : {1,  2,  3,  4,  5,  6,  7,  8,    9,    10,   11,   12,  13,
                      14, 15, 16, 17, 18, 19, 20, 9001, 9002, 9003, 9004, 9005}) {
    db_->execute("INSERT INTO FAT_CLIENTE (CLIENTE, NOME) VALUES (" + std::to_string(cliente) +
                 ", 'ANTIGO')");
    db_->execute("INSERT INTO FAT_PESSOA_FISICA (CLIENTE, CPF) VALUES (" + std::to_string(cliente) +
                 ", '" + std::to_string(70000000000LL + cliente) + "')");
  }

  constexpr int kProcessos = 3, kLeads = 16;
  std::vector<std::unique_ptr<SandboxProcess>> sandboxes;
  std::vector<std::string> endpoints;
  int antigos = 0;
  for (int p = 0; p < kProcessos; ++p) {
    Json leads = Json::array();
    for (int i = 0; i < kLeads; ++i) {
      const int id = 1000 + 100 * p + i;
      Json changes = {{"DealerNumber", i % 2 ? "5678" : "1234"}};
      if (i % 4 == 0) {  // an old customer of its own, found by CPF
        changes["CpfCnpj"] = std::to_string(70000000000LL + 1 + 4 * p + i / 4);
        ++antigos;
      }
      leads.push_back(leadItem(id, changes));
    }
    sandboxes.push_back(std::make_unique<SandboxProcess>());
    sandboxes.back()->addLeads(leads);
    endpoints.push_back(sandboxes.back()->url());
  }

  const auto runs =
      intakesAtOnce(endpoints, database_.uri(), home_.path().string(), scratch_.path());
  for (const CliRun& run : runs) {
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_NE(run.out.find(" 16 contacts created, 0 linked, 0 revised, 0 closed, 0 failed, "
                           "16 confirmed, 1 cycle"),
              std::string::npos)
        << run.out << run.err;
  }
  const int leads = kProcessos * kLeads, novos = leads - antigos;
  EXPECT_EQ(count("SELECT COUNT(DISTINCT ID_LEAD_VW) FROM CAC_LEAD_CONTATO"), leads);
  EXPECT_EQ(count("SELECT COUNT(*) FROM CAC_CONTATO"), leads);
  EXPECT_EQ(count("SELECT COUNT(*) FROM CAC_CONTATO WHERE EMPRESA = 2"), leads / 2);
  EXPECT_EQ(count("SELECT COUNT(*) FROM FAT_CLIENTE WHERE CLIENTE > 9005"), novos);
  EXPECT_EQ(count("SELECT COUNT(*) FROM FAT_CLIENTE"), 25 + novos);
  EXPECT_EQ(count("SELECT COUNT(DISTINCT CLIENTE) FROM CAC_CONTATO WHERE CLIENTE > 9005"), novos);
  EXPECT_EQ(count("SELECT COUNT(*) FROM CAC_CONTATO WHERE CLIENTE <= 9005"), antigos);
  std::cout << "three intakes at once: " << leads << " leads, "
            << count("SELECT COUNT(*) FROM CAC_CONTATO") << " contacts, "
            << count("SELECT COUNT(*) FROM FAT_CLIENTE WHERE CLIENTE > 9005")
            << " new customers numbered "
            << count("SELECT MIN(CLIENTE) FROM FAT_CLIENTE WHERE CLIENTE > 9005") << ".."
            << count("SELECT MAX(CLIENTE) FROM FAT_CLIENTE") << ", " << antigos
            << " matched to old customers\n";
}

}  // namespace
}  // namespace vornleads::test
