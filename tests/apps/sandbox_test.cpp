// The sandbox over real HTTP: start-up and shutdown of the program, and each operation of the
// leads service answered from its lead store.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>

#include <cctype>
#include <cstdio>
#include <thread>
#include <vector>

#include "sandbox_soap_client.h"
#include "support/paths.h"
#include "support/sandbox_process.h"

namespace vornleads::test {
namespace {

using Json = SandboxProcess::Json;

constexpr const char* kLeadsFile = R"([
  {"IdLead": "1001", "DealerNumber": "01234", "Nome": "Ana \"Loja\" & <Filhos>", "Ddd": 11.0,
   "Telefone": 987654321, "CpfCnpj": "12345678909", "DataIntencao": "05/03/2024 10:00:00",
   "Status": 0, "Preco": "85000.50", "Modelo": "Polo"},
  {"IdLead": 1002, "DealerNumber": "1234", "Nome": "Bruno"},
  {"IdLead": "2001", "DealerNumber": "5678", "Nome": "Carla", "Showroom": "S"}
])";

// The three leads above as the fetch replies write them.
constexpr const char* kLead1001 =
    R"({"Acabamento":"","Cor":"","CpfCnpj":"12345678909","DataIntencao":"05/03/2024 10:00:00",)"
    R"("Ddd":11,"DealerNumber":"01234","Email":"","IdLead":"1001","Modelo":"Polo",)"
    R"("Nome":"Ana \"Loja\" & <Filhos>","Opcionais":"","Status":0,"Telefone":987654321,)"
    R"("Preco":"85000.50","Origem":"","Mensagem":"","DataIntencaoAgendamento":"","Showroom":"",)"
    R"("PreferenciaContato":""})";
constexpr const char* kLead1002 =
    R"({"Acabamento":"","Cor":"","CpfCnpj":"","DataIntencao":"","Ddd":0,"DealerNumber":"1234",)"
    R"("Email":"","IdLead":"1002","Modelo":"","Nome":"Bruno","Opcionais":"","Status":0,)"
    R"("Telefone":0,"Preco":"","Origem":"","Mensagem":"","DataIntencaoAgendamento":"",)"
    R"("Showroom":"","PreferenciaContato":""})";
constexpr const char* kLead2001 =
    R"({"Acabamento":"","Cor":"","CpfCnpj":"","DataIntencao":"","Ddd":0,"DealerNumber":"5678",)"
    R"("Email":"","IdLead":"2001","Modelo":"","Nome":"Carla","Opcionais":"","Status":0,)"
    R"("Telefone":0,"Preco":"","Origem":"","Mensagem":"","DataIntencaoAgendamento":"",)"
    R"("Showroom":"S","PreferenciaContato":""})";

std::string leadsReply(const std::vector<std::string>& leads) {
  std::string reply = R"({"Status":{"Codigo":0,"Descricao":"Sucesso","Versao":"1.0"},"Leads":[)";
  for (size_t i = 0; i < leads.size(); ++i) reply += (i ? "," : "") + leads[i];
  return reply + "]}";
}

std::string update(const std::string& idLead, int status, const std::string& cpf = "98765432100") {
  return R"({"Cpf":")" + cpf +
         R"(","DataAtualizacao":"01/04/2024 09:30:00",)"
         R"("DataReagendamento":"","IdLead":)" +
         idLead + R"(,"Status":)" + std::to_string(status) + "}";
}

// "dd/mm/yyyy hh:nn:ss"
bool looksLikeDateTime(const std::string& text) {
  const std::string shape = "00/00/0000 00:00:00";
  if (text.size() != shape.size()) return false;
  for (size_t i = 0; i < shape.size(); ++i) {
    if (shape[i] == '0' ? !std::isdigit(static_cast<unsigned char>(text[i]))
                        : text[i] != shape[i]) {
      return false;
    }
  }
  return true;
}

class SandboxTest : public ::testing::Test {
 protected:
  SandboxTest() : sandbox_(writeLeads()) {}

  std::filesystem::path writeLeads() {
    writeFile(dir_ / "leads.json", kLeadsFile);
    return dir_ / "leads.json";
  }

  TempDir dir_{"sandbox-test"};
  SandboxProcess sandbox_;
};

TEST_F(SandboxTest, PrintsItsEndpointAndStopsCleanlyOnSignals) {
  EXPECT_NE(0, sandbox_.port());
  EXPECT_EQ("http://127.0.0.1:" + std::to_string(sandbox_.port()) +
                "/VornLeadsVW/VornISAPILeadsVW.dll/soap/VornLeadsVW",
            sandbox_.url());
  EXPECT_EQ("http://127.0.0.1:" + std::to_string(sandbox_.port()), sandbox_.baseUrl());
  EXPECT_EQ(0, sandbox_.stop());
  EXPECT_NE(std::string::npos, sandbox_.log().find("stopped (SIGTERM)")) << sandbox_.log();

  SandboxProcess interrupted;
  ASSERT_EQ(0, kill(interrupted.pid(), SIGINT));
  EXPECT_EQ(0, interrupted.stop());
  EXPECT_NE(std::string::npos, interrupted.log().find("stopped (SIGINT)")) << interrupted.log();
}

// Runs the program with `arguments`; its standard output and error go to `output`.
int runSandbox(const std::string& arguments, std::string& output) {
  // A sandbox that serves when it should have refused is ended by timeout (exit status 124).
  const std::string command =
      "timeout 20 " + (binDir() / "vornleads-sandbox").string() + " " + arguments + " 2>&1";
  FILE* pipe = popen(command.c_str(), "r");
  if (!pipe) return -1;
  char buffer[512];
  size_t got = 0;
  while ((got = fread(buffer, 1, sizeof buffer, pipe)) > 0) output.append(buffer, got);
  const int status = pclose(pipe);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(SandboxCommandLine, HelpAndBadArgumentsEndWithoutServing) {
  std::string help;
  EXPECT_EQ(0, runSandbox("--help", help));
  for (const char* option : {"--bind", "--port", "--leads", "--tls-cert", "--tls-key"}) {
    EXPECT_NE(std::string::npos, help.find(option)) << help;
  }
  std::string usage;
  EXPECT_EQ(2, runSandbox("--port 70000", usage)) << usage;

  TempDir dir("sandbox-cli");
  writeFile(dir / "bad.json", R"([{"Nome": "sem identificador"}])");
  std::string refused;
  EXPECT_EQ(1, runSandbox("--port 0 --leads " + (dir / "bad.json").string(), refused));
  EXPECT_NE(std::string::npos, refused.find("lead 1 has no IdLead")) << refused;

  // A port in use is refused rather than shared with the sandbox already on it.
  SandboxProcess first;
  std::string busy;
  EXPECT_EQ(1, runSandbox("--port " + std::to_string(first.port()), busy));
  EXPECT_EQ("vornleads-sandbox: cannot listen on 127.0.0.1:" + std::to_string(first.port()) + "\n",
            busy);

  // TLS needs both files, and files that hold a certificate and its key.
  const std::string notPem = (dir / "bad.json").string();
  std::string halfTls;
  EXPECT_EQ(2, runSandbox("--port 0 --tls-cert " + notPem, halfTls)) << halfTls;
  std::string badTls;
  EXPECT_EQ(1, runSandbox("--port 0 --tls-cert " + notPem + " --tls-key " + notPem, badTls));
  EXPECT_EQ("vornleads-sandbox: cannot serve TLS with certificate " + notPem + " and key " +
                notPem + "\n",
            badTls);
}

TEST_F(SandboxTest, AnswersInTheServiceEnvelopeWithTheJsonEscaped) {
  const SoapExchange exchange =
      callSoap(sandbox_, "BuscaLeadsStatus", R"({"DNs":"2001,5678","Status":"0","Nome":"X"})");
  EXPECT_EQ(200, exchange.status);
  EXPECT_EQ("text/xml; charset=utf-8", exchange.contentType);
  EXPECT_EQ(
      R"(<?xml version="1.0" encoding="utf-8"?><SOAP-ENV:Envelope xmlns:SOAP-ENV="http://schemas.xmlsoap.org/soap/envelope/" xmlns:xsd="http://www.w3.org/2001/XMLSchema" xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance" xmlns:SOAP-ENC="http://schemas.xmlsoap.org/soap/encoding/"><SOAP-ENV:Body SOAP-ENV:encodingStyle="http://schemas.xmlsoap.org/soap/encoding/"><NS1:BuscaLeadsStatusResponse xmlns:NS1="urn:VornLeadsVWIntf-IVornLeadsVW"><return xsi:type="xsd:string">)" +
          xmlText(leadsReply({kLead2001})) +
          "</return></NS1:BuscaLeadsStatusResponse></SOAP-ENV:Body></SOAP-ENV:Envelope>",
      exchange.body);
  // The escaped characters of the first lead come back as they were stored.
  EXPECT_EQ(leadsReply({kLead1001, kLead1002}),
            replyOf(sandbox_, "BuscaLeadsStatus", R"({"DNs":"1234","Status":"0","Nome":"X"})"));
}

TEST_F(SandboxTest, FetchesSelectDealersByNumberAndLeadsByDate) {
  EXPECT_EQ(leadsReply({kLead1001, kLead1002, kLead2001}),
            replyOf(sandbox_, "BuscaLeads", R"({"DNs":" 0005678 , 1234"})"));
  EXPECT_EQ(leadsReply({}), replyOf(sandbox_, "BuscaLeads", R"({"DNs":"999"})"));
  EXPECT_EQ(R"({"Status":{"Codigo":204,"Descricao":"DN não informado","Versao":"1.0"},"Leads":[]})",
            replyOf(sandbox_, "BuscaLeads", R"({"DNs":""})"));
  EXPECT_EQ(leadsReply({kLead2001}),
            replyOf(sandbox_, "CarregaUltimaCargaInicial", R"({"DNs":"5678","Tabela":"LEADS"})"));

  EXPECT_EQ(leadsReply({kLead2001}),
            replyOf(sandbox_, "BuscaLeadsData", R"({"DNs":"5678","Data":""})"));
  EXPECT_EQ(leadsReply({kLead2001}),
            replyOf(sandbox_, "BuscaLeadsData", R"({"DNs":"5678","Data":"01/01/2000"})"));
  EXPECT_EQ(leadsReply({}),
            replyOf(sandbox_, "BuscaLeadsData", R"({"DNs":"5678","Data":"31/12/2999"})"));
  EXPECT_EQ(
      R"js({"Status":{"Codigo":200,"Descricao":"Data inválida: 31/02/2024 (esperado dd/mm/yyyy)","Versao":"1.0"},"Leads":[]})js",
      replyOf(sandbox_, "BuscaLeadsData", R"({"DNs":"5678","Data":"31/02/2024"})"));
}

TEST_F(SandboxTest, NewLeadsCarryTheirIdentifierAsANumber) {
  const std::string novos = replyOf(sandbox_, "BuscaNovosLeads", R"({"DataHora":0})");
  const Json reply = Json::parse(novos);
  ASSERT_EQ(3u, reply["Novos"].size()) << novos;
  EXPECT_EQ(Json(1001), reply["Novos"][0]["IdLead"]);
  EXPECT_EQ(Json("01234"), reply["Novos"][0]["DealerNumber"]);
  EXPECT_EQ(Json(2001), reply["Novos"][2]["IdLead"]);
  // A day count far in the future (31/12/2999) leaves nothing new.
  EXPECT_EQ(R"({"Status":{"Codigo":0,"Descricao":"Sucesso","Versao":"1.0"},"Novos":[]})",
            replyOf(sandbox_, "BuscaNovosLeads", R"({"DataHora":401768.5})"));
}

TEST_F(SandboxTest, ConfirmationRemovesALeadFromTheStatusFetchOnly) {
  EXPECT_EQ(
      R"({"Status":{"Codigo":0,"Descricao":"Sucesso","Versao":"1.0"},"Retorno":{"Mensagem":"Recebimento do lead 1001 confirmado","Retorno":"OK"}})",
      replyOf(sandbox_, "AtualizaLeads", update("1001.0", -1)));
  EXPECT_EQ(leadsReply({kLead1002}),
            replyOf(sandbox_, "BuscaLeadsStatus", R"({"DNs":"1234","Status":"0","Nome":"X"})"));
  EXPECT_EQ(leadsReply({kLead1001, kLead1002}),
            replyOf(sandbox_, "BuscaLeads", R"({"DNs":"1234"})"));

  const Json leads = sandbox_.leads();
  ASSERT_EQ(3u, leads.size());
  EXPECT_EQ(Json(true), leads[0]["confirmed"]);
  EXPECT_EQ(Json(), leads[0]["status"]);
  EXPECT_EQ(Json(false), leads[1]["confirmed"]);
  EXPECT_TRUE(looksLikeDateTime(leads[0]["added"].get<std::string>())) << leads[0]["added"];
}

TEST_F(SandboxTest, OtherStatusesAreRecordedAndShownInTheHistory) {
  EXPECT_EQ(
      R"({"Status":{"Codigo":0,"Descricao":"Sucesso","Versao":"1.0"},"Retorno":{"Mensagem":"Status do lead 2001 atualizado para 3","Retorno":"OK"}})",
      replyOf(sandbox_, "AtualizaLeads", update("2001", 3)));
  EXPECT_EQ(Json(3), sandbox_.leads()[2]["status"]);
  EXPECT_EQ(Json(false), sandbox_.leads()[2]["confirmed"]);
  EXPECT_EQ(
      R"({"Status":{"Codigo":0,"Descricao":"Sucesso","Versao":"1.0"},"Historico":[{"Acabamento":"","Cor":"","CpfCnpj":"","DataIntencao":"","Ddd":0,"Email":"","IdLead":2001,"Modelo":"","Nome":"Carla","Opcionais":"","Status":3,"Telefone":0,"Preco":"","Origem":"","Mensagem":"","DataIntencaoAgendamento":"","Showroom":"S","PreferenciaContato":""}]})",
      replyOf(sandbox_, "BuscaHistLeads", R"({"DealerNumber":"05678"})"));
}

TEST_F(SandboxTest, RefusedUpdatesChangeNothingButAreListedInOrder) {
  EXPECT_EQ(
      R"({"Status":{"Codigo":201,"Descricao":"Lead 999 não encontrado","Versao":"1.0"},"Retorno":{"Mensagem":"Lead 999 não encontrado","Retorno":"ERRO"}})",
      replyOf(sandbox_, "AtualizaLeads", update("999", -1)));
  EXPECT_EQ(
      R"({"Status":{"Codigo":203,"Descricao":"CPF do vendedor não informado para o lead 1002","Versao":"1.0"},"Retorno":{"Mensagem":"CPF do vendedor não informado para o lead 1002","Retorno":"ERRO"}})",
      replyOf(sandbox_, "AtualizaLeads", update("1002", -1, "")));
  EXPECT_EQ(
      R"({"Status":{"Codigo":200,"Descricao":"Parâmetros inválidos: JSON malformado na posição 11","Versao":"1.0"},"Retorno":{"Mensagem":"Parâmetros inválidos: JSON malformado na posição 11","Retorno":"ERRO"}})",
      replyOf(sandbox_, "AtualizaLeads", R"({"IdLead":})"));
  EXPECT_EQ(
      R"({"Status":{"Codigo":200,"Descricao":"Parâmetros inválidos: esperado um objeto JSON","Versao":"1.0"},"Leads":[]})",
      replyOf(sandbox_, "BuscaLeadsStatus", "[1]"));
  for (const auto& lead : sandbox_.leads()) EXPECT_EQ(Json(false), lead["confirmed"]);

  EXPECT_EQ(
      R"([{"Cpf":"98765432100","DataAtualizacao":"01/04/2024 09:30:00","DataReagendamento":"","IdLead":999,"Status":-1},)"
      R"({"Cpf":"","DataAtualizacao":"01/04/2024 09:30:00","DataReagendamento":"","IdLead":1002,"Status":-1}])",
      sandbox_.updates().dump());
  // The log names operations and outcomes, never the salesperson's CPF.
  EXPECT_NE(std::string::npos, sandbox_.log().find("AtualizaLeads: Codigo 201")) << sandbox_.log();
  EXPECT_EQ(std::string::npos, sandbox_.log().find("98765432100"));
}

// The body of a call as another stack may write it: its own prefixes, the operation element
// in `nameSpace`, and `parametros` as the whole content of the call element.
std::string callBody(const std::string& nameSpace, const std::string& operation,
                     const std::string& parametros, const std::string& extra = "") {
  return "<e:Envelope xmlns:e=\"http://schemas.xmlsoap.org/soap/envelope/\" "
         "xmlns:t=\"http://www.w3.org/2001/XMLSchema\"><e:Body><m:" +
         operation + " xmlns:m=\"" + nameSpace + "\">" + parametros + "</m:" + operation + ">" +
         extra + "</e:Body></e:Envelope>";
}

std::string asUtf16Le(const std::string& ascii) {
  std::string bytes = "\xFF\xFE";
  for (char c : ascii) bytes += std::string{c, '\0'};
  return bytes;
}

struct RequestForm {
  const char* form;
  std::string soapAction;
  std::string contentType;
  std::string body;
  int status;
  std::string answer;  // the <return> text, or the faultstring
};

TEST_F(SandboxTest, ReadsCallsAsStrictlyAsTheServiceDoes) {
  const std::string ns = "urn:VornLeadsVWIntf-IVornLeadsVW";
  const std::string action = "\"" + ns + "#BuscaLeadsStatus\"";
  const std::string xml = "text/xml; charset=utf-8";
  const std::string fetch = R"({"DNs":"5678","Status":"0","Nome":"X"})";
  const std::string fetched = leadsReply({kLead2001});
  const std::string parametros = "<Parametros>" + xmlText(fetch) + "</Parametros>";
  const std::string latin1 = callBody(ns, "BuscaLeadsStatus", "<Parametros>\xE7</Parametros>");
  const std::vector<RequestForm> forms = {
      {"the client's own form", action, xml, soapEnvelope("BuscaLeadsStatus", fetch), 200, fetched},
      {"other prefixes, no SOAPAction value", "\"\"", xml,
       callBody(ns, "BuscaLeadsStatus", parametros), 200, fetched},
      {"UTF-16 by its byte-order mark", action, "text/xml",
       asUtf16Le("<?xml version=\"1.0\" encoding=\"utf-16\"?>" +
                 callBody(ns, "BuscaLeadsStatus", parametros)),
       200, fetched},
      {"multi-reference Parametros", action, xml,
       callBody(ns, "BuscaLeadsStatus", "<Parametros href=\"#p\"/>",
                "<t:string id=\"p\">" + xmlText(fetch) + "</t:string>"),
       200, fetched},
      {"multi-reference to nothing", action, xml,
       callBody(ns, "BuscaLeadsStatus", "<Parametros href=\"#9\"/>"), 500,
       "Parametros refers to \"#9\", which is not in the request"},
      {"not XML", action, xml, "DNs=1234", 500,
       "the request is not XML: No document element found at offset 8"},
      {"bytes invalid in the declared encoding", action, xml, latin1, 500,
       "the request is not valid UTF-8: invalid bytes at offset " +
           std::to_string(latin1.find('\xE7'))},
      {"a reference to no character", action, xml,
       callBody(ns, "BuscaLeadsStatus", "<Parametros>&#x110000;</Parametros>"), 500,
       "the request refers to &#x110000;, which is no XML character"},
      {"an encoding the service does not read", action, "text/xml; charset=koi8-r",
       callBody(ns, "BuscaLeadsStatus", parametros), 500,
       "the request's encoding \"koi8-r\" is not supported"},
      {"a SOAP 1.2 envelope", action, xml,
       "<e:Envelope xmlns:e=\"http://www.w3.org/2003/05/soap-envelope\"><e:Body/></e:Envelope>",
       500,
       "the request is not a SOAP 1.1 envelope (root element <e:Envelope> in namespace "
       "\"http://www.w3.org/2003/05/soap-envelope\")"},
      {"no operation", action, xml,
       "<e:Envelope xmlns:e=\"http://schemas.xmlsoap.org/soap/envelope/\"><e:Body/></e:Envelope>",
       500, "the SOAP request names no operation"},
      {"an operation in a foreign namespace", action, xml,
       callBody("urn:outro", "BuscaLeadsStatus", parametros), 500,
       "operation \"BuscaLeadsStatus\" is in namespace \"urn:outro\", not " + ns},
      {"a SOAPAction naming another operation", "\"" + ns + "#AtualizaLeads\"", xml,
       callBody(ns, "BuscaLeadsStatus", parametros), 500,
       "SOAPAction \"" + ns + "#AtualizaLeads\" does not name the operation of the body, " + ns +
           "#BuscaLeadsStatus"},
      {"an operation the service lacks", "\"" + ns + "#ApagaLeads\"", xml,
       callBody(ns, "ApagaLeads", parametros), 500,
       "Unknown operation \"ApagaLeads\": interface IVornLeadsVW has no method of that name"},
  };
  for (const RequestForm& form : forms) {
    const SoapExchange exchange = postRaw(sandbox_, form.soapAction, form.contentType, form.body);
    EXPECT_EQ(form.status, exchange.status) << form.form << "\n" << exchange.body;
    EXPECT_EQ(form.answer, soapResult(exchange.body).value_or("<not XML>")) << form.form;
  }

  // Text in windows-1252 arrives as the characters it stands for.
  const SoapExchange update =
      postRaw(sandbox_, "\"" + ns + "#AtualizaLeads\"", "text/xml; charset=windows-1252",
              callBody(ns, "AtualizaLeads",
                       "<Parametros>{\"Cpf\":\"1\",\"DataReagendamento\":\"a\xE7\xE3o \x80\","
                       "\"IdLead\":2001,\"Status\":3}</Parametros>"));
  EXPECT_EQ(200, update.status) << update.body;
  EXPECT_EQ("ação €", sandbox_.updates().at(0)["DataReagendamento"]);
}

TEST_F(SandboxTest, ServesConcurrentUpdatesWithoutLosingAny) {
  std::vector<std::thread> callers;
  for (int i = 0; i < 8; ++i) {
    callers.emplace_back([this, i] {
      replyOf(sandbox_, "AtualizaLeads", update(i % 2 ? "1002" : "2001", i + 1));
      replyOf(sandbox_, "BuscaLeadsStatus", R"({"DNs":"1234,5678","Status":"0","Nome":"X"})");
    });
  }
  for (auto& caller : callers) caller.join();
  EXPECT_EQ(8u, sandbox_.updates().size());
  const Json leads = sandbox_.leads();
  EXPECT_EQ(0, leads[1]["status"].get<int>() % 2);  // 1002 got the even statuses
  EXPECT_EQ(1, leads[2]["status"].get<int>() % 2);
}

}  // namespace
}  // namespace vornleads::test
