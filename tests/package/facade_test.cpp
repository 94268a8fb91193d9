// The facade and what it stands on: the configuration file, the endpoint change, the service
// calls over real SOAP against the sandbox.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <string>

#include "support/paths.h"
#include "support/sandbox_process.h"
#include "vornleads/error.h"
#include "vornleads/package/configuracao.h"
#include "vornleads/package/udm_vornleadsvw.h"
#include "vornleads/text/codepage.h"

namespace vornleads {
namespace {

using Json = test::SandboxProcess::Json;

// The current directory (".\VornLeadsVW.ini" is resolved against it) and the boundary code page
// for one test; both are put back afterwards (the directory if it still exists).
struct Scope {
  Scope(const std::filesystem::path& to, CodePage page = CodePage::Utf8) {
    std::filesystem::current_path(to);
    setBoundaryCodePage(page);
  }
  ~Scope() {
    std::error_code ignored;
    std::filesystem::current_path(directory, ignored);
    setBoundaryCodePage(codePage);
  }
  const std::filesystem::path directory = std::filesystem::current_path();
  const CodePage codePage = boundaryCodePage();
};

std::string envelope(int codigo, const std::string& descricao) {
  return "{\"Status\":{\"Versao\":\"1.0\",\"Codigo\":" + std::to_string(codigo) +
         ",\"Descricao\":\"" + descricao + "\"}}";
}

TEST(Configuracao, GravaINIWritesTheProxyKeyOfItsSection) {
  test::TempDir dir("vornleads-ini");
  const Scope inDir(dir.path());
  const auto ini = dir / "VornLeadsVW.ini";
  const std::string none = "<none>";
  struct Row {
    std::string before, valor, after;
  };
  // clang-format off
  const Row rows[] = {
      {none, "http://dms:8080/x", "[Config]\r\nProxy=http://dms:8080/x\r\n"},
      {"[Config]\r\nProxy=antigo\r\n", "http://outro", "[Config]\r\nProxy=http://outro\r\n"},
      {"[Geral]\nNome=A\r\n\r\n[ config ]\r\n proxy = antigo\r\nOutra=1\r\n[Fim]\rX=2", "novo",
       "[Geral]\r\nNome=A\r\n\r\n[ config ]\r\nProxy=novo\r\nOutra=1\r\n[Fim]\r\nX=2\r\n"},
      {"[Config]\r\nA=1\r\n\r\n[B]\r\nProxy=b\r\n", "v", "[Config]\r\nA=1\r\nProxy=v\r\n\r\n[B]\r\nProxy=b\r\n"},
      {"[B]\r\nx=1", "v", "[B]\r\nx=1\r\n\r\n[Config]\r\nProxy=v\r\n"},
      {none, "http://a\r\n[Outra]\nChave=1", "[Config]\r\nProxy=http://a  [Outra] Chave=1\r\n"}};
  // clang-format on
  for (const Row& row : rows) {
    std::filesystem::remove(ini);
    if (row.before != none) test::writeFile(ini, row.before);
    EXPECT_TRUE(GravaINI("Proxy", row.valor)) << row.before;
    EXPECT_EQ(test::readFile(ini), row.after) << row.before;
  }
  // The endpoint in force is the built-in one, whatever the file says.
  EXPECT_NE(AcessaINI("Proxy"), "http://a  [Outra] Chave=1");
  EXPECT_EQ(AcessaINI("QualquerChave"), AcessaINI("Proxy"));

  // A file that cannot be written answers false (a directory gone from under it: below).
  std::filesystem::remove(ini);
  std::filesystem::create_directory(ini);
  EXPECT_FALSE(GravaINI("Proxy", "x"));
}

// What each argument makes of the endpoint: the answer (or the error raised) and the endpoint
// afterwards, empty when it must stay as it was.
TEST(Facade, AlteraEnderecoServico) {
  const std::string invalid = envelope(297, "Parâmetros JSON inválidos!");
  const std::string raises = "raises AlteraEnderecoServico: o ";
  const std::string notJson = raises + "texto recebido não é JSON válido (posição ";
  const std::string notObject = raises + "JSON recebido não é um objeto";
  const std::string refusing = "http://127.0.0.1:1/soap";  // nothing listens on port 1
  struct Row {
    std::string json, outcome, endereco;
  };
  // clang-format off
  const Row rows[] = {
      {R"({"Outro":1,"NovoEndereco":")" + refusing + "\"}", envelope(0, "Ok"), refusing},
      {R"({"NovoEndereco":"http://serviço.com.br/ação"})", envelope(0, "Ok"), "http://servi?o.com.br/a??o"},
      {"{}", invalid, ""},                              {R"({"novoendereco":"http://x"})", invalid, ""},
      {R"({"NovoEndereco":null})", invalid, ""},        {R"({"NovoEndereco":{"url":"http://x"}})", invalid, ""},
      {R"({"NovoEndereco":8080})", invalid, ""},        {R"({"NovoEndereco":["http://x"]})", invalid, ""},
      {"[1]", notObject, ""},                           {"\"NovoEndereco\"", notObject, ""},
      {"lixo", notJson + "1)", ""},                     {"", notJson + "1)", ""},
      {R"({"NovoEndereco":"x")", notJson + "20)", ""},
      {R"({"NovoEndereco":1e400})", raises + "texto recebido traz um número fora do intervalo", ""}};
  // clang-format on
  for (const Row& row : rows) {
    test::TempDir dir("facade-ini");
    const Scope inDir(dir.path());
    TdmVornLeadsVW fachada;
    EXPECT_EQ(fachada.receiveTimeoutMs(), 180000);
    const auto antes = fachada.endereco();
    EXPECT_EQ(antes, AcessaINI("Proxy"));
    std::string outcome;
    try {
      outcome = fromAnsi(fachada.AlteraEnderecoServico(toAnsi(row.json)));
    } catch (const VornError& error) {
      outcome = std::string("raises ") + error.what();
    }
    EXPECT_EQ(outcome, row.outcome) << row.json;
    EXPECT_EQ(fachada.endereco(), row.endereco.empty() ? antes : row.endereco) << row.json;
    EXPECT_EQ(std::filesystem::exists(dir / "VornLeadsVW.ini"), !row.endereco.empty()) << row.json;
    if (row.endereco != refusing) continue;
    EXPECT_EQ(test::readFile(dir / "VornLeadsVW.ini"), "[Config]\r\nProxy=" + refusing + "\r\n");
    // The next call goes to the new endpoint; the next facade starts at the built-in one again.
    EXPECT_EQ(fachada.BuscaLeads("{}"), envelope(297, "Falha ao chamar a operação BuscaLeads em " +
                                                          refusing + ": conexão recusada"));
    EXPECT_EQ(TdmVornLeadsVW().endereco(), antes);
  }

  // A file that cannot be written answers 202, and the endpoint changes all the same.
  test::TempDir dir("facade-ini");
  std::filesystem::create_directory(dir / "removed");
  const Scope inDir(dir / "removed");
  std::filesystem::remove(dir / "removed");
  TdmVornLeadsVW fachada;
  EXPECT_EQ(fachada.AlteraEnderecoServico(R"({"NovoEndereco":"http://novo:8080/soap"})"),
            envelope(202, "Erro ao registrar solicitação!"));
  EXPECT_EQ(fachada.endereco(), "http://novo:8080/soap");
}

// Replies pass through as the sandbox wrote them, in the boundary code page; a failure becomes
// the 297 envelope naming operation, endpoint and cause, within the receive time-out.
TEST(Facade, ServiceCallsAgainstTheSandbox) {
  const std::string fetch = R"({"DNs":"1234","Status":"0","Nome":"X"})";
  test::SandboxProcess sandbox;
  sandbox.addLeads(
      Json::parse(R"([{"IdLead":"77","DealerNumber":"1234","Nome":"João Conceição"}])"));
  test::TempDir dir("facade-service");
  TdmVornLeadsVW fachada;
  {
    const Scope inDir(dir.path(), CodePage::Cp1252);  // the endpoint set the way a host sets it
    fachada.AlteraEnderecoServico(R"({"NovoEndereco":")" + sandbox.url() + "\"}");
    const std::string lead77 = fachada.BuscaLeadsStatus(fetch);
    EXPECT_EQ(fromAnsi(lead77).rfind(R"({"Status":{"Codigo":0,"Descricao":"Sucesso")", 0), 0u);
    EXPECT_NE(lead77.find("\"Jo\xE3o Concei\xE7\xE3o\""), std::string::npos) << lead77;
  }
  sandbox.fault(
      Json::parse(R"([{"operation":"CarregaUltimaCargaInicial","mode":"delay","ms":1500}])"));
  fachada.setReceiveTimeoutMs(300);
  const auto started = std::chrono::steady_clock::now();
  EXPECT_EQ(fachada.CarregaUltimaCargaInicial("{}"),
            envelope(297, "Falha ao chamar a operação CarregaUltimaCargaInicial em " +
                              sandbox.url() + ": sem resposta do serviço em 300 ms"));
  EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::milliseconds(1200));
}

}  // namespace
}  // namespace vornleads
