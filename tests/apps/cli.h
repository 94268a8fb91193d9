// Shared set-up of the tests of the programs in apps/: bin/vornleads run as a program of its
// own against a sample DMS database, a sandbox of the test's own and a host directory holding
// VornLeadsVW.dll; and a hand-written SOAP caller, in the client's wire form, for the sandbox.
#pragma once

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <httplib.h>
#include <signal.h>
#include <sys/socket.h>

#include <optional>
#include <pugixml.hpp>
#include <string>

#include "support/firebird_db.h"
#include "support/sandbox_process.h"
#include "vornleads/text/clock.h"
#include "vornleads/text/datetime.h"

namespace vornleads::test {

using Json = SandboxProcess::Json;

struct CliRun {
  int status = -1;
  std::string out, err;
};

// Runs a shell command line to its end with `input` on its standard input.
inline CliRun run(const std::string& command, const std::string& input = "") {
  TempDir dir("vornleads-run");
  writeFile(dir / "in", input);
  ChildProcess process({"/bin/sh", "-c", command + " <" + (dir / "in").string()});
  return {process.wait(std::chrono::minutes(10)), process.out(), process.err()};
}

inline void expectRun(const CliRun& run, int status, const std::string& out,
                      const std::string& err) {
  EXPECT_EQ(run.status, status) << run.err;
  EXPECT_EQ(run.out, out);
  EXPECT_EQ(run.err, err);
}

// A lead item as given to the sandbox, for dealer 1234, with `changes`.
inline Json leadItem(int id, const Json& changes = Json::object()) {
  const std::string n = std::to_string(id);
  Json item = {{"IdLead", n},
               {"DealerNumber", "1234"},
               {"Nome", "Cliente " + n},
               {"CpfCnpj", "4" + std::string(10 - n.size(), '0') + n},
               {"Email", "c" + n + "@exemplo.com.br"},
               {"Ddd", 11},
               {"Telefone", 910000000 + id},
               {"Modelo", "GOL"},
               {"DataIntencao", "10/06/2025 10:00:00"},
               {"Preco", "55000,00"},
               {"Origem", "Site"},
               {"Status", 0}};
  for (const auto& [name, change] : changes.items()) item[name] = change;
  return item;
}

// A lead as the fetch replies write it: every member, in the service's order.
inline std::string servedLead(const Json& members) {
  Json item = Json::parse(
      R"({"Acabamento":"","Cor":"","CpfCnpj":"","DataIntencao":"","Ddd":0,"DealerNumber":"",)"
      R"("Email":"","IdLead":"","Modelo":"","Nome":"","Opcionais":"","Status":0,"Telefone":0,)"
      R"("Preco":"","Origem":"","Mensagem":"","DataIntencaoAgendamento":"","Showroom":"",)"
      R"("PreferenciaContato":""})");
  for (const auto& [name, value] : members.items()) item[name] = value;
  return item.dump();
}

inline std::string leadsReply(const std::string& leads = "") {
  return R"({"Status":{"Codigo":0,"Descricao":"Sucesso","Versao":"1.0"},"Leads":[)" + leads + "]}";
}

// The reply of AtualizaLeads (and of an update) with its status; the message is the
// description unless given.
inline std::string retorno(int codigo, const std::string& descricao,
                           const std::optional<std::string>& mensagem = std::nullopt) {
  return R"({"Status":{"Codigo":)" + std::to_string(codigo) + R"(,"Descricao":")" + descricao +
         R"(","Versao":"1.0"},"Retorno":{"Mensagem":")" + mensagem.value_or(descricao) +
         R"(","Retorno":")" + (codigo ? "ERRO" : "OK") + "\"}}";
}

// A fault that makes the sandbox reject `operation` with `codigo` (and `descricao`).
inline Json rejection(const std::string& operation, int codigo, const std::string& descricao = "") {
  Json fault = {{"operation", operation}, {"mode", "reject"}, {"codigo", codigo}};
  if (!descricao.empty()) fault["descricao"] = descricao;
  return fault;
}

// Lead items `first` to `last` (see leadItem).
inline Json leadItems(int first, int last) {
  Json items = Json::array();
  for (int id = first; id <= last; ++id) items.push_back(leadItem(id));
  return items;
}

inline size_t occurrences(const std::string& text, const std::string& part) {
  size_t n = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++n;
  return n;
}

// A TCP socket connected to 127.0.0.1:`port` (the connection checked), closed by the caller.
inline int connectLoopback(int port) {
  const int sock = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  EXPECT_EQ(::connect(sock, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  return sock;
}

class CliTest : public ::testing::Test {
 protected:
  explicit CliTest(std::optional<SandboxTls> tls = std::nullopt)
      : db_(database_.connect()), sandbox_({}, std::chrono::seconds(30), std::move(tls)) {
    std::filesystem::create_symlink(binDir() / "VornLeadsVW.dll", home_ / "VornLeadsVW.dll");
  }

  // bin/vornleads after `environment_` with the arguments given (quoted for the shell) only.
  CliRun bare(const std::string& arguments, const std::string& input = "") {
    return run(environment_ + " " + (binDir() / "vornleads").string() + " " + arguments, input);
  }
  // The test's database, sandbox (or `endpoint`) and host directory (or `home`) as options.
  std::string options(const std::string& endpoint = "",
                      const std::filesystem::path& home = {}) const {
    return "--db " + uri_ + " --endpoint " + (endpoint.empty() ? sandbox_.url() : endpoint) +
           " --home " + (home.empty() ? home_.path() : home).string() + " ";
  }
  CliRun vornleads(const std::string& arguments, const std::string& endpoint = "",
                   const std::string& input = "") {
    return bare(options(endpoint) + arguments, input);
  }
  // bin/vornleads once per argument list (options included), all at the same moment.
  std::vector<CliRun> atOnce(const std::vector<std::string>& arguments) {
    std::vector<std::unique_ptr<ChildProcess>> processes;
    for (const std::string& a : arguments)
      processes.push_back(std::make_unique<ChildProcess>(
          std::vector<std::string>{"/bin/sh", "-c", (binDir() / "vornleads").string() + " " + a}));
    std::vector<CliRun> runs;
    for (auto& p : processes)
      runs.push_back({p->wait(std::chrono::minutes(10)), p->out(), p->err()});
    return runs;
  }
  // bin/vornleads started with the test's database, sandbox and host directory and `rest`.
  std::unique_ptr<ChildProcess> start(const std::vector<std::string>& rest) {
    std::vector<std::string> args{(binDir() / "vornleads").string(), "--db", uri_};
    args.insert(args.end(), {"--endpoint", sandbox_.url(), "--home", home_.path().string()});
    args.insert(args.end(), rest.begin(), rest.end());
    return std::make_unique<ChildProcess>(args);
  }
  // SIGTERM ends serve within `limit`, with status 0 and its last word; returns the status.
  static int stop(ChildProcess& process, std::chrono::seconds limit = std::chrono::seconds(5)) {
    process.signal(SIGTERM);
    const int status = process.wait(limit);
    EXPECT_EQ(status, 0) << process.err();
    const std::string err = process.err();
    EXPECT_EQ(err.substr(err.rfind('\n', err.size() - 2) + 1).substr(20),
              "serve: stopped by SIGTERM\n");
    return status;
  }

  // Contact `contato` of branch 1.1, `diasAtras` days old, linked to lead `lead`, which the
  // sandbox knows by its number and dealer only when `inSandbox`.
  void addLeadContact(int contato, int lead, int diasAtras = 3, bool inSandbox = true) {
    const std::string c = std::to_string(contato);
    db_->execute(
        "INSERT INTO CAC_CONTATO (EMPRESA, REVENDA, CONTATO, DTA_CONTATO, "
        "USUARIO_ENCAMINHADO) VALUES (1, 1, " +
        c + ", CURRENT_TIMESTAMP - " + std::to_string(diasAtras) + ", 12)");
    db_->execute(
        "INSERT INTO CAC_LEAD_CONTATO (EMPRESA, REVENDA, CONTATO, ID_LEAD_VW, "
        "INTEGRANDO) VALUES (1, 1, " +
        c + ", " + std::to_string(lead) + ", 'S')");
    if (inSandbox)
      sandbox_.addLeads({{{"IdLead", std::to_string(lead)}, {"DealerNumber", "01234"}}});
  }

  // A journal row of `lead` not yet sent, dated yesterday, by user 12.
  void addUnsentRow(int lead, int sequencia, int status, const std::string& reagendamento = "NULL",
                    const std::string& descricao = "") {
    db_->execute(
        "INSERT INTO CAC_ATUALIZACOES_LEADVW (ID_LEAD_VW, SEQUENCIA, STATUS_LEAD, "
        "DTA_REAGENDAMENTO, DTA_ATUALIZACAO, ENVIOU, CODIGO_ERRO, DESCRICAO_ERRO, "
        "USUARIO) VALUES (" +
        std::to_string(lead) + ", " + std::to_string(sequencia) + ", " + std::to_string(status) +
        ", " + reagendamento + ", CURRENT_TIMESTAMP - 1, 'N', 297, '" + descricao + "', 12)");
  }
  // `n` updates left unsent by an earlier pass on leads 8001.. of a dealer number the intake does
  // not fetch (added to `leads`), their contacts numbered far above what an intake draws.
  void addUnsentElsewhere(int n, Json& leads) {
    for (int i = 0; i < n; ++i) {
      addLeadContact(900001 + i, 8001 + i, 3, false);
      addUnsentRow(8001 + i, 1, 10);
      leads.push_back({{"IdLead", std::to_string(8001 + i)}, {"DealerNumber", "99999"}});
    }
  }

  // The host directory's log files whose names start with `prefix`, one after the other.
  std::string logs(const std::string& prefix) const {
    std::string text;
    for (const auto& entry : std::filesystem::directory_iterator(home_.path())) {
      if (entry.path().filename().string().rfind(prefix, 0) == 0) text += readFile(entry.path());
    }
    return text;
  }

  int64_t count(const std::string& sql) { return db_->query(sql).rows.at(0).at(0).asInteger(); }
  int64_t rows(const std::string& from) { return count("SELECT COUNT(*) FROM " + from); }
  // The leads the sandbox holds as confirmed.
  int confirmed() const {
    int n = 0;
    for (const auto& lead : sandbox_.leads()) n += lead["confirmed"].get<bool>() ? 1 : 0;
    return n;
  }
  // Today's send log in the host directory.
  std::filesystem::path sendLog() const {
    return home_ / ("logErroLeadsVW_" + FormatDateTime("yyyy_mm_dd", Now()) + ".txt");
  }

  // "SEQUENCIA ENVIOU CODIGO_ERRO DESCRICAO_ERRO" of each journal row of a lead, a line each.
  std::string journal(int lead) {
    std::string text;
    for (const auto& row : db_->query("SELECT SEQUENCIA || ' ' || ENVIOU || ' ' || COALESCE("
                                      "CAST(CODIGO_ERRO AS VARCHAR(9)), 'null') || ' ' || "
                                      "COALESCE(DESCRICAO_ERRO, '') FROM CAC_ATUALIZACOES_LEADVW "
                                      "WHERE ID_LEAD_VW = " +
                                      std::to_string(lead) + " ORDER BY SEQUENCIA")
                               .rows)
      text += row.at(0).asString() + "\n";
    return text;
  }

  std::string environment_;
  TestDatabase database_{true};
  std::string uri_ = database_.uri();
  std::unique_ptr<SqlConnection> db_;
  SandboxProcess sandbox_;
  TempDir home_{"vornleads-cli-home"};
  TempDir scratch_{"vornleads-cli-run"};
};

// --- the sandbox over SOAP, written by hand --------------------------------------------------

struct SoapExchange {
  int status = 0;  // 0: no complete HTTP reply came back
  std::string contentType, body;
};

inline std::string xmlText(const std::string& text) {
  std::string xml;
  for (char c : text)
    xml += c == '&' ? "&amp;" : c == '<' ? "&lt;" : c == '>' ? "&gt;" : std::string(1, c);
  return xml;
}

inline std::string soapEnvelope(const std::string& operation, const std::string& parametros) {
  return "<?xml version=\"1.0\" encoding=\"utf-8\"?><SOAP-ENV:Envelope xmlns:SOAP-ENV=\""
         "http://schemas.xmlsoap.org/soap/envelope/\" xmlns:xsd=\"http://www.w3.org/2001/"
         "XMLSchema\" xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" xmlns:SOAP-ENC=\""
         "http://schemas.xmlsoap.org/soap/encoding/\"><SOAP-ENV:Body SOAP-ENV:encodingStyle=\""
         "http://schemas.xmlsoap.org/soap/encoding/\"><NS1:" +
         operation +
         " xmlns:NS1=\"urn:VornLeadsVWIntf-IVornLeadsVW\"><Parametros xsi:type=\"xsd:string\">" +
         xmlText(parametros) + "</Parametros></NS1:" + operation +
         "></SOAP-ENV:Body></SOAP-ENV:Envelope>";
}

inline SoapExchange postRaw(const SandboxProcess& sandbox, const std::string& soapAction,
                            const std::string& contentType, const std::string& body) {
  httplib::Client client(sandbox.baseUrl());
  client.set_read_timeout(std::chrono::seconds(30));
  const auto result = client.Post(sandbox.url().substr(sandbox.baseUrl().size()).c_str(),
                                  {{"SOAPAction", soapAction}}, body, contentType.c_str());
  if (!result) return {};
  return {result->status, result->get_header_value("Content-Type"), result->body};
}

inline SoapExchange callSoap(const SandboxProcess& sandbox, const std::string& operation,
                             const std::string& parametros) {
  return postRaw(sandbox, "\"urn:VornLeadsVWIntf-IVornLeadsVW#" + operation + "\"",
                 "text/xml; charset=utf-8", soapEnvelope(operation, parametros));
}

// The text of the reply's <return>, or of <faultstring>; "<not XML>" when it is not XML.
inline std::string soapResult(const std::string& body) {
  pugi::xml_document document;
  if (!document.load_buffer(body.data(), body.size())) return "<not XML>";
  for (const char* query : {"//return", "//faultstring"}) {
    if (const auto node = document.select_node(query)) return node.node().text().get();
  }
  return "";
}

// The reply of a call, which must be answered with HTTP 200.
inline std::string replyOf(const SandboxProcess& sandbox, const std::string& operation,
                           const std::string& parametros) {
  const SoapExchange exchange = callSoap(sandbox, operation, parametros);
  EXPECT_EQ(200, exchange.status) << exchange.body;
  return soapResult(exchange.body);
}

}  // namespace vornleads::test
