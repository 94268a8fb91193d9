// bin/vornleads-sandbox over real HTTP: its command line, each operation of the leads service
// answered from its lead store, the wire forms it reads, the requests it cannot read or that
// arrive too slowly, its fault modes and its reset.
#include <poll.h>
#include <unistd.h>

#include <cctype>
#include <thread>

#include "apps/cli.h"

namespace vornleads::test {
namespace {

const std::string kLead1001 = servedLead(Json::parse(
    R"({"CpfCnpj":"12345678909","DataIntencao":"05/03/2024 10:00:00","Ddd":11,"DealerNumber":)"
    R"("01234","IdLead":"1001","Modelo":"Polo","Nome":"Ana \"Loja\" & <Filhos>",)"
    R"("Telefone":987654321,"Preco":"85000.50"})"));
const std::string kLead1002 =
    servedLead({{"DealerNumber", "1234"}, {"IdLead", "1002"}, {"Nome", "Bruno"}});
const std::string kLead2001 = servedLead(
    {{"DealerNumber", "5678"}, {"IdLead", "2001"}, {"Nome", "Carla"}, {"Showroom", "S"}});
const std::string kFetch1234 = R"({"DNs":"1234","Status":"0","Nome":"X"})";

std::string update(const std::string& idLead, int status, const std::string& cpf = "98765432100") {
  return R"({"Cpf":")" + cpf +
         R"(","DataAtualizacao":"01/04/2024 09:30:00","DataReagendamento":"",)"
         R"("IdLead":)" +
         idLead + R"(,"Status":)" + std::to_string(status) + "}";
}

class SandboxTest : public ::testing::Test {
 protected:
  std::filesystem::path leadsFile() {
    writeFile(dir_ / "leads.json", R"([
      {"IdLead": "1001", "DealerNumber": "01234", "Nome": "Ana \"Loja\" & <Filhos>", "Ddd": 11.0,
       "Telefone": 987654321, "CpfCnpj": "12345678909", "DataIntencao": "05/03/2024 10:00:00",
       "Status": 0, "Preco": "85000.50", "Modelo": "Polo"},
      {"IdLead": 1002, "DealerNumber": "1234", "Nome": "Bruno"},
      {"IdLead": "2001", "DealerNumber": "5678", "Nome": "Carla", "Showroom": "S"}])");
    return dir_ / "leads.json";
  }
  TempDir dir_{"sandbox-test"};
  SandboxProcess sandbox_{leadsFile()};
};

// What keeps the sandbox from serving ends it with status 1 and the reason.
TEST(SandboxCommandLine, RefusesToServeWhatItCannot) {
  TempDir dir("sandbox-cli");
  const std::string bad = (dir / "bad.json").string();
  writeFile(bad, R"([{"Nome": "sem identificador"}])");
  SandboxProcess first;  // a port in use is refused rather than shared
  const std::string port = std::to_string(first.port()), sandbox = "vornleads-sandbox: ";
  for (const auto& [arguments, message] : std::vector<std::pair<std::string, std::string>>{
           {"--port 0 --leads " + bad, "lead 1 has no IdLead"},
           {"--port " + port, sandbox + "cannot listen on 127.0.0.1:" + port + "\n"},
           {"--port 0 --tls-cert " + bad + " --tls-key " + bad,
            sandbox + "cannot serve TLS with certificate " + bad + " and key " + bad + "\n"}}) {
    // A sandbox that serves when it should have refused is ended by the time-out (124).
    const CliRun ran =
        run("timeout 20 " + (binDir() / "vornleads-sandbox").string() + " " + arguments);
    EXPECT_EQ(ran.status, 1) << arguments << "\n" << ran.err;
    EXPECT_NE((ran.out + ran.err).find(message), std::string::npos) << arguments << ran.err;
  }
}

// Each call in order, on one store: fetches by dealer number and date, new leads, refused
// updates that change nothing, a confirmation and another status. (The empty dealer list,
// the initial load and the history are LibraryEditionTest's and SoapClient's.)
TEST_F(SandboxTest, EachOperationAnswersFromTheLeadStore) {
  const struct {
    std::string operation, parametros, reply;
  } steps[] = {
      {"BuscaLeadsStatus", kFetch1234, leadsReply(kLead1001 + "," + kLead1002)},
      {"BuscaLeads", R"({"DNs":" 0005678 , 1234"})",
       leadsReply(kLead1001 + "," + kLead1002 + "," + kLead2001)},
      {"BuscaLeads", R"({"DNs":"999"})", leadsReply()},
      {"BuscaLeadsData", R"({"DNs":"5678","Data":""})", leadsReply(kLead2001)},
      {"BuscaLeadsData", R"({"DNs":"5678","Data":"01/01/2000"})", leadsReply(kLead2001)},
      {"BuscaLeadsData", R"({"DNs":"5678","Data":"31/12/2999"})", leadsReply()},
      {"BuscaLeadsData", R"({"DNs":"5678","Data":"31/02/2024"})",
       R"js({"Status":{"Codigo":200,"Descricao":"Data inválida: 31/02/2024 (esperado dd/mm/yyyy)","Versao":"1.0"},"Leads":[]})js"},
      // A day count far in the future (31/12/2999) leaves nothing new.
      {"BuscaNovosLeads", R"({"DataHora":401768.5})",
       R"({"Status":{"Codigo":0,"Descricao":"Sucesso","Versao":"1.0"},"Novos":[]})"},
      {"AtualizaLeads", update("999", -1), retorno(201, "Lead 999 não encontrado")},
      {"AtualizaLeads", update("1002", -1, ""),
       retorno(203, "CPF do vendedor não informado para o lead 1002")},
      {"AtualizaLeads", R"({"IdLead":})",
       retorno(200, "Parâmetros inválidos: JSON malformado na posição 11")},
      {"BuscaLeadsStatus", "[1]",
       R"({"Status":{"Codigo":200,"Descricao":"Parâmetros inválidos: esperado um objeto JSON","Versao":"1.0"},"Leads":[]})"},
      // A confirmation removes the lead from the status fetch only.
      {"AtualizaLeads", update("1001.0", -1),
       retorno(0, "Sucesso", "Recebimento do lead 1001 confirmado")},
      {"BuscaLeadsStatus", kFetch1234, leadsReply(kLead1002)},
      {"BuscaLeads", R"({"DNs":"1234"})", leadsReply(kLead1001 + "," + kLead1002)},
      {"AtualizaLeads", update("2001", 3),
       retorno(0, "Sucesso", "Status do lead 2001 atualizado para 3")},
  };
  const Json novos = Json::parse(replyOf(sandbox_, "BuscaNovosLeads", R"({"DataHora":0})"));
  std::string added;  // IdLead a number here
  for (const auto& novo : novos["Novos"])
    added += novo["IdLead"].dump() + novo["DealerNumber"].dump() + " ";
  EXPECT_EQ(added, R"(1001"01234" 1002"1234" 2001"5678" )");
  for (const auto& step : steps)
    EXPECT_EQ(replyOf(sandbox_, step.operation, step.parametros), step.reply) << step.parametros;

  std::string states;
  for (const auto& lead : sandbox_.leads())
    states += lead["confirmed"].dump() + "/" + lead["status"].dump() + " ";
  EXPECT_EQ(states, "true/null false/null false/3 ");
  added = sandbox_.leads()[0]["added"];
  std::string shape = added;  // dd/mm/yyyy hh:nn:ss
  for (char& c : shape) c = std::isdigit(static_cast<unsigned char>(c)) ? '9' : c;
  EXPECT_EQ(shape, "99/99/9999 99:99:99") << added;
  const Json updates = sandbox_.updates();
  ASSERT_EQ(updates.size(), 4u);  // the malformed one is not listed
  EXPECT_EQ(updates[0].dump() + updates[1].dump(),
            Json::parse(update("999", -1)).dump() + Json::parse(update("1002", -1, "")).dump());
  // The log names operations and outcomes, never the salesperson's CPF.
  EXPECT_NE(sandbox_.log().find("AtualizaLeads: Codigo 201"), std::string::npos) << sandbox_.log();
  EXPECT_EQ(sandbox_.log().find("98765432100"), std::string::npos);
}

// The body of a call as another stack may write it: its own prefixes, the operation element
// in `nameSpace`, and `parametros` as the whole content of the call element.
std::string callBody(const std::string& nameSpace, const std::string& operation,
                     const std::string& parametros, const std::string& extra = "") {
  return "<e:Envelope xmlns:e=\"http://schemas.xmlsoap.org/soap/envelope/\" xmlns:t=\"http://"
         "www.w3.org/2001/XMLSchema\"><e:Body><m:" +
         operation + " xmlns:m=\"" + nameSpace + "\">" + parametros + "</m:" + operation + ">" +
         extra + "</e:Body></e:Envelope>";
}

TEST_F(SandboxTest, ReadsCallsAsStrictlyAsTheServiceDoes) {
  const std::string ns = "urn:VornLeadsVWIntf-IVornLeadsVW",
                    action = "\"" + ns + "#BuscaLeadsStatus\"";
  const std::string xml = "text/xml; charset=utf-8",
                    fetch = R"({"DNs":"5678","Status":"0","Nome":"X"})";
  const std::string parametros = "<Parametros>" + xmlText(fetch) + "</Parametros>";
  const auto fetchBody = [&](const std::string& content, const std::string& extra = "") {
    return callBody(ns, "BuscaLeadsStatus", content, extra);
  };
  const std::string latin1 = fetchBody("<Parametros>\xE7</Parametros>");
  const struct {
    std::string soapAction, contentType, body;
    int status;
    std::string answer;  // the <return> text, or the faultstring
  } forms[] = {
      {action, xml, soapEnvelope("BuscaLeadsStatus", fetch), 200, leadsReply(kLead2001)},
      {"\"\"", xml, fetchBody(parametros), 200, leadsReply(kLead2001)},
      {action, xml,
       fetchBody("<Parametros href=\"#p\"/>",
                 "<t:string id=\"p\">" + xmlText(fetch) + "</t:string>"),
       200, leadsReply(kLead2001)},
      {action, xml, fetchBody("<Parametros href=\"#9\"/>"), 500,
       "Parametros refers to \"#9\", which is not in the request"},
      {action, xml, "DNs=1234", 500,
       "the request is not XML: No document element found at offset 8"},
      {action, xml, latin1, 500,
       "the request is not valid UTF-8: invalid bytes at offset " +
           std::to_string(latin1.find('\xE7'))},
      {action, xml, fetchBody("<Parametros>&#x110000;</Parametros>"), 500,
       "the request refers to &#x110000;, which is no XML character"},
      {action, "text/xml; charset=koi8-r", fetchBody(parametros), 500,
       "the request's encoding \"koi8-r\" is not supported"},
      // Labels that disagree (which label wins is XmlCharsetTest's, in tests/text).
      {action, "text/xml; charset=windows-1252",
       "<?xml version=\"1.0\" encoding=\"utf-8\"?>" + latin1, 500,
       "the request's encoding labels disagree: \"windows-1252\" (Content-Type) and \"utf-8\" (XML "
       "declaration)"},
      {action, xml, fetchBody("<Parametros xsi:type=\"xsd:base64Binary\">e30=</Parametros>"), 500,
       "Parametros is not a string (found xsd:base64Binary)"},
      {action, xml,
       "<e:Envelope xmlns:e=\"http://www.w3.org/2003/05/soap-envelope\"><e:Body/></e:Envelope>",
       500,
       "the request is not a SOAP 1.1 envelope (root element <e:Envelope> in namespace "
       "\"http://www.w3.org/2003/05/soap-envelope\")"},
      {action, xml,
       "<e:Envelope xmlns:e=\"http://schemas.xmlsoap.org/soap/envelope/\"><e:Body/></e:Envelope>",
       500, "the SOAP request names no operation"},
      {action, xml, callBody("urn:outro", "BuscaLeadsStatus", parametros), 500,
       "operation \"BuscaLeadsStatus\" is in namespace \"urn:outro\", not " + ns},
      {"\"" + ns + "#AtualizaLeads\"", xml, fetchBody(parametros), 500,
       "SOAPAction \"" + ns + "#AtualizaLeads\" does not name the operation of the body, " + ns +
           "#BuscaLeadsStatus"},
      {"\"" + ns + "#ApagaLeads\"", xml, callBody(ns, "ApagaLeads", parametros), 500,
       "Unknown operation \"ApagaLeads\": interface IVornLeadsVW has no method of that name"},
      // Text in windows-1252 arrives as the characters it stands for.
      {"\"" + ns + "#AtualizaLeads\"", "text/xml; charset=windows-1252",
       callBody(ns, "AtualizaLeads",
                "<Parametros>{\"Cpf\":\"1\",\"DataReagendamento\":\"a\xE7\xE3o "
                "\x80\",\"IdLead\":2001,\"Status\":3}</Parametros>"),
       200, retorno(0, "Sucesso", "Status do lead 2001 atualizado para 3")},
  };
  for (const auto& form : forms) {
    const SoapExchange exchange = postRaw(sandbox_, form.soapAction, form.contentType, form.body);
    EXPECT_EQ(form.status, exchange.status) << form.body << "\n" << exchange.body;
    EXPECT_EQ(form.answer, soapResult(exchange.body)) << form.body;
  }
  EXPECT_EQ(sandbox_.updates().at(0)["DataReagendamento"], "ação €");
}

// One raw HTTP exchange on a fresh connection: the request's bytes, each `pause` apart when
// trickled, and the whole answer up to the close (or 20 s).
std::string rawExchange(int port, const std::string& request, std::chrono::milliseconds pause) {
  const int sock = connectLoopback(port);
  std::string answer;
  const std::size_t step = pause.count() > 0 ? 1 : request.size();
  pollfd watched{sock, POLLIN, 0};
  for (std::size_t at = 0; at < request.size() && poll(&watched, 1, 0) == 0; at += step) {
    if (::send(sock, request.data() + at, step, MSG_NOSIGNAL) <= 0) break;
    std::this_thread::sleep_for(pause);
  }
  char buffer[4096];
  for (int waits = 0; waits < 200 && poll(&watched, 1, 100) >= 0; ++waits) {
    if (!(watched.revents & (POLLIN | POLLHUP))) continue;
    const ssize_t n = ::recv(sock, buffer, sizeof buffer, 0);
    if (n <= 0) break;
    answer.append(buffer, static_cast<std::size_t>(n));
    const auto headersEnd = answer.find("\r\n\r\n"), length = answer.find("Content-Length: ");
    if (headersEnd != std::string::npos && length < headersEnd &&
        answer.size() >= headersEnd + 4 + std::stoul(answer.substr(length + 16))) {
      break;  // the whole answer
    }
  }
  ::close(sock);
  return answer;
}

// Requests it cannot read are answered with a body, never with silence; clients that trickle
// their request are let go within the request bound, and a normal call made meanwhile is
// answered at once even with more of them than the old eight workers.
TEST_F(SandboxTest, UnreadableAndSlowRequestsAreAnsweredAndHoldNobodyUp) {
  const std::string endpoint = "/VornLeadsVW/VornISAPILeadsVW.dll/soap/VornLeadsVW";
  const std::string post = "POST " + endpoint + " HTTP/1.1\r\nHost: x\r\n";
  const std::string fault = "<faultstring>", cutOff = "the request did not arrive within 5 s";
  const struct {
    std::string request;
    int clients;  // trickling their request a byte at a time when more than one
    std::string status, body;
  } rows[] = {
      {post + "Content-Type: text/xml\r\n\r\n<x/>", 1, "411",
       fault + "the request has no Content-Length"},
      {"POST /sandbox/faults HTTP/1.1\r\nHost: x\r\n\r\n", 1, "411",
       R"({"error":"the request has no Content-Length"})"},
      {post + "Content-Length: 10\r\n\r\n<x/>", 1, "408", fault + cutOff},
      {"GET /nowhere HTTP/1.1\r\nHost: x\r\n\r\n", 1, "404",
       R"({"error":"there is no route GET /nowhere"})"},
      {post + "Content-Type: text/xml\r\nContent-Length: 4\r\nX-Filler: " + std::string(60, 'x') +
           "\r\n\r\n<x/>",
       16, "408", cutOff},
  };
  for (const auto& row : rows) {
    // 140 bytes 50 ms apart: the request line in time, the rest of the headers not.
    const auto pause = std::chrono::milliseconds(row.clients > 1 ? 50 : 0);
    std::vector<std::string> answers(static_cast<std::size_t>(row.clients));
    std::vector<std::thread> clients;
    const auto started = std::chrono::steady_clock::now();
    for (auto& answer : answers) {
      clients.emplace_back([&] { answer = rawExchange(sandbox_.port(), row.request, pause); });
    }
    if (row.clients > 1) {
      std::this_thread::sleep_for(std::chrono::milliseconds(500));  // all of them connected
      const auto asked = std::chrono::steady_clock::now();
      EXPECT_NE(replyOf(sandbox_, "BuscaLeads", R"({"DNs":"1234"})").find("Bruno"),
                std::string::npos);
      EXPECT_LT(std::chrono::steady_clock::now() - asked, std::chrono::seconds(2));
    }
    for (auto& client : clients) client.join();
    EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(9)) << row.request;
    for (const auto& answer : answers) {
      EXPECT_EQ(answer.substr(0, 12), "HTTP/1.1 " + row.status) << row.request << "\n" << answer;
      EXPECT_NE(answer.find(row.body), std::string::npos) << row.request << "\n" << answer;
    }
  }
}

// How each mode reaches the client, twice (count 2), while other operations are answered;
// then the call is answered normally again. A rejected confirmation changes nothing.
TEST_F(SandboxTest, EachFaultModeAsTheClientSeesIt) {
  const struct {
    Json fault;
    int status;        // 0: no HTTP reply at all
    std::string body;  // the whole body, or the <return>/<faultstring> text when SOAP
  } modes[] = {
      {{{"mode", "http500"}, {"descricao", "Serviço indisponível"}}, 500, "Serviço indisponível\n"},
      {{{"mode", "soapfault"}, {"descricao", "Access violation at address 0040A1B2"}},
       500,
       "Access violation at address 0040A1B2"},
      {{{"mode", "malformed"}}, 200, "<not XML>"},
      {{{"mode", "drop"}}, 0, ""},
      {{{"mode", "delay"}, {"ms", 400}}, 200, leadsReply(kLead1001 + "," + kLead1002)},
      {{{"operation", "AtualizaLeads"},
        {"mode", "reject"},
        {"codigo", 208},
        {"descricao", "Lead já finalizado"}},
       200,
       retorno(208, "Lead já finalizado")},
  };
  for (const auto& mode : modes) {
    Json fault = {{"operation", "BuscaLeadsStatus"}, {"count", 2}};
    for (const auto& [name, value] : mode.fault.items()) fault[name] = value;
    SCOPED_TRACE(fault.dump());
    sandbox_.fault(fault);
    EXPECT_NE(replyOf(sandbox_, "BuscaLeads", R"({"DNs":"1234"})").find("Bruno"),
              std::string::npos);
    const std::string operation = fault["operation"];
    const std::string parametros = operation == "AtualizaLeads" ? update("1001", -1) : kFetch1234;
    for (int call = 0; call < 3; ++call) {
      const auto start = std::chrono::steady_clock::now();
      const SoapExchange exchange = callSoap(sandbox_, operation, parametros);
      const bool delayed =
          std::chrono::steady_clock::now() - start >= std::chrono::milliseconds(400);
      EXPECT_TRUE(fault["mode"] != "delay" || delayed == (call < 2));
      if (call == 2) {
        EXPECT_EQ(Json::parse(soapResult(exchange.body))["Status"]["Codigo"], 0);
        continue;
      }
      EXPECT_EQ(exchange.status, mode.status);
      const bool soap = exchange.contentType.rfind("text/xml", 0) == 0;
      EXPECT_EQ(soap ? soapResult(exchange.body) : exchange.body, mode.body) << exchange.body;
      EXPECT_EQ(sandbox_.leads()[0]["confirmed"], false);
    }
  }
  EXPECT_EQ(sandbox_.leads()[0]["confirmed"], true);
  EXPECT_EQ(sandbox_.updates().size(), 3u);  // the rejected calls did reach the service
}

TEST_F(SandboxTest, FaultsForAnyOperationAreUsedInTheOrderQueuedAndResetClearsAll) {
  for (const char* fault : {R"({"operation":"BuscaLeads","mode":"explode"})",
                            R"({"operation":"ApagaLeads","mode":"drop"})",
                            R"({"operation":"BuscaLeads","mode":"drop","count":0})"}) {
    EXPECT_THROW(sandbox_.fault(Json::parse(fault)), std::runtime_error) << fault;
  }
  sandbox_.fault(Json::parse(R"([{"operation":"*","mode":"http500"},
                                 {"operation":"BuscaLeads","mode":"soapfault","descricao":"B"}])"));
  EXPECT_EQ(
      sandbox_.faults().dump(),
      R"([{"operation":"*","mode":"http500","codigo":999,"descricao":"Falha simulada","ms":0,"count":1},)"
      R"({"operation":"BuscaLeads","mode":"soapfault","codigo":999,"descricao":"B","ms":0,"count":1}])");
  EXPECT_EQ(callSoap(sandbox_, "BuscaLeads", R"({"DNs":"1234"})").body, "Falha simulada\n");
  EXPECT_EQ(soapResult(callSoap(sandbox_, "BuscaLeads", R"({"DNs":"1234"})").body), "B");
  EXPECT_EQ(sandbox_.faults().dump(), "[]");

  sandbox_.addLeads(Json::parse(R"({"Leads":[{"IdLead":"6","DealerNumber":"1"}]})"));
  replyOf(sandbox_, "AtualizaLeads", update("1001", -1));
  sandbox_.fault({{"operation", "*"}, {"mode", "drop"}});
  sandbox_.reset();
  std::string leads;
  for (const auto& lead : sandbox_.leads())
    leads += lead["IdLead"].dump() + lead["confirmed"].dump() + " ";
  EXPECT_EQ(leads, R"("1001"false "1002"false "2001"false )");
  EXPECT_EQ(sandbox_.updates().dump() + sandbox_.faults().dump(), "[][]");
}

}  // namespace
}  // namespace vornleads::test
