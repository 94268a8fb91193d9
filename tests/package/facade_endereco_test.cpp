// The facade's own entries: the endpoint change and its record, the placeholders, the log.
#include <gtest/gtest.h>

#include <cctype>
#include <ctime>
#include <string>
#include <vector>

#include "package/current_directory_scope.h"
#include "support/paths.h"
#include "vornleads/error.h"
#include "vornleads/package/configuracao.h"
#include "vornleads/package/host_directory.h"
#include "vornleads/package/udm_vornleadsvw.h"
#include "vornleads/text/codepage.h"

namespace vornleads {
namespace {

using test::CurrentDirectoryScope;
using test::TempDir;

std::string envelope(int codigo, const std::string& descricao) {
  return "{\"Status\":{\"Versao\":\"1.0\",\"Codigo\":" + std::to_string(codigo) +
         ",\"Descricao\":\"" + descricao + "\"}}";
}

// The text with every time stamp line ("dd-mm-yy HH:nn:ss.zzz") replaced by "<stamp>".
std::string maskStamps(const std::string& text) {
  const std::string shape = "00-00-00 00:00:00.000";
  std::string masked;
  size_t start = 0;
  while (start < text.size()) {
    size_t end = text.find("\r\n", start);
    end = end == std::string::npos ? text.size() : end + 2;
    const std::string line = text.substr(start, end - start);
    bool stamp = line.size() == shape.size() + 2;
    for (size_t i = 0; stamp && i < shape.size(); ++i) {
      stamp = shape[i] == '0' ? std::isdigit(static_cast<unsigned char>(line[i])) != 0
                              : line[i] == shape[i];
    }
    masked += stamp ? "<stamp>\r\n" : line;
    start = end;
  }
  return masked;
}

std::string alteraEndereco(TdmVornLeadsVW& fachada, const std::string& json) {
  return fromAnsi(fachada.AlteraEnderecoServico(toAnsi(json)));
}

TEST(FacadeEndereco, StartsAtTheBuiltInEndpoint) {
  TdmVornLeadsVW fachada;
  EXPECT_EQ(fachada.endereco(), AcessaINI("Proxy"));
  EXPECT_FALSE(fachada.endereco().empty());
  EXPECT_EQ(fachada.receiveTimeoutMs(), 180000);
}

TEST(FacadeEndereco, NewEndpointIsRecordedAndUsedButNotKeptByTheNextFacade) {
  TempDir dir("facade-ini");
  CurrentDirectoryScope inDir(dir.path());
  TdmVornLeadsVW fachada;

  EXPECT_EQ(alteraEndereco(fachada,
                           R"({"Outro":1,"NovoEndereco":"http://127.0.0.1:1/soap/VornLeadsVW"})"),
            envelope(0, "Ok"));
  EXPECT_EQ(fachada.endereco(), "http://127.0.0.1:1/soap/VornLeadsVW");
  EXPECT_EQ(test::readFile(dir / "VornLeadsVW.ini"),
            "[Config]\r\nProxy=http://127.0.0.1:1/soap/VornLeadsVW\r\n");
  // The very next call of this facade goes to the new endpoint (nothing listens on port 1).
  EXPECT_EQ(fromAnsi(fachada.BuscaLeads(toAnsi("{}"))),
            envelope(297,
                     "Falha ao chamar a operação BuscaLeads em "
                     "http://127.0.0.1:1/soap/VornLeadsVW: conexão recusada"));

  TdmVornLeadsVW proxima;
  EXPECT_EQ(proxima.endereco(), AcessaINI("Proxy"));
  EXPECT_NE(proxima.endereco(), fachada.endereco());
}

TEST(FacadeEndereco, UnwritableDirectoryAnswers202AndStillSwitches) {
  TempDir dir("facade-ini");
  const auto gone = dir / "removed";
  std::filesystem::create_directory(gone);
  CurrentDirectoryScope inDir(gone);
  std::filesystem::remove(gone);  // nothing can be created in a removed directory, even by root

  TdmVornLeadsVW fachada;
  EXPECT_EQ(alteraEndereco(fachada, R"({"NovoEndereco":"http://novo:8080/soap"})"),
            envelope(202, "Erro ao registrar solicitação!"));
  EXPECT_EQ(fachada.endereco(), "http://novo:8080/soap");
}

// What each argument makes of the endpoint: the answer (or the error raised) and the endpoint
// afterwards, empty when it must stay as it was.
TEST(FacadeEndereco, EachArgumentAndItsOutcome) {
  struct Case {
    std::string json;
    std::string outcome;
    std::string endereco;
  };
  const std::string invalid = envelope(297, "Parâmetros JSON inválidos!");
  const std::string notJson = "raises AlteraEnderecoServico: o texto recebido não é JSON válido";
  const std::string notObject = "raises AlteraEnderecoServico: o JSON recebido não é um objeto";
  const std::vector<Case> cases = {
      {R"({"NovoEndereco":"http://serviço.com.br/ação"})", envelope(0, "Ok"),
       "http://servi?o.com.br/a??o"},
      {"{}", invalid, ""},
      {R"({"novoendereco":"http://x"})", invalid, ""},
      {R"({"NovoEndereco":null})", invalid, ""},
      {R"({"NovoEndereco":{"url":"http://x"}})", invalid, ""},
      {R"({"NovoEndereco":8080})", invalid, ""},
      {R"({"NovoEndereco":["http://x"]})", invalid, ""},
      {"[1]", notObject, ""},
      {"\"NovoEndereco\"", notObject, ""},
      {"lixo", notJson + " (posição 1)", ""},
      {"", notJson + " (posição 1)", ""},
      {R"({"NovoEndereco":"x")", notJson + " (posição 20)", ""},
      {R"({"NovoEndereco":1e400})",
       "raises AlteraEnderecoServico: o texto recebido traz um número fora do intervalo", ""},
  };
  for (const Case& c : cases) {
    TempDir dir("facade-ini");
    CurrentDirectoryScope inDir(dir.path());
    TdmVornLeadsVW fachada;
    const auto antes = fachada.endereco();
    std::string outcome;
    try {
      outcome = alteraEndereco(fachada, c.json);
    } catch (const VornError& error) {
      outcome = std::string("raises ") + error.what();
    }
    EXPECT_EQ(outcome, c.outcome) << c.json;
    EXPECT_EQ(fachada.endereco(), c.endereco.empty() ? antes : c.endereco) << c.json;
    EXPECT_EQ(std::filesystem::exists(dir / "VornLeadsVW.ini"), !c.endereco.empty()) << c.json;
  }
}

TEST(FacadePlaceholders, AnswerAFreshStatusRecord) {
  TdmVornLeadsVW fachada;
  const std::string vazio = R"({"Codigo":0,"Descricao":"","Versao":""})";
  EXPECT_EQ(fachada.Busca_LeadsVW(), vazio);
  EXPECT_EQ(fachada.Atualiza_LeadsVW(R"({"IdLead":1})"), vazio);
  EXPECT_EQ(fachada.AtualizaNaoEnviados_LeadsVW(), vazio);
  EXPECT_EQ(fachada.Integra_VornLeadsVW(4, R"({"DNs":"1234"})"), vazio);
  EXPECT_EQ(fachada.Integra_VornLeadsVW(-7, ""), vazio);
  // The session entries take and ignore what the host hands them.
  fachada.inicializaDM(nullptr);
  fachada.AtualizaTAplicacao(nullptr, nullptr, 12);
  fachada.finalizaDM();
  EXPECT_EQ(fachada.Busca_LeadsVW(), vazio);
  EXPECT_EQ(fromAnsi(fachada.DLLMsgJSON("Teste \"ok\"", 5)),
            R"({"Status":{"Versao":"1.0","Codigo":5,"Descricao":"Teste \"ok\""}})");
  EXPECT_EQ(dmVornLeadsVW, nullptr);
}

TEST(FacadeLog, EntriesGoToTheFacadeLogOfTheHostDirectory) {
  TempDir home("facade-log");
  setHostDirectory(home.path());
  TdmVornLeadsVW fachada;
  fachada.gravaLog("BuscaLeads", "{\"DNs\":\"1\"}", "Ok");
  fachada.gravaLog("AtualizaLeads", "linha 1\r\nlinha 2", "Falha");
  setHostDirectory({});

  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::directory_iterator(home.path()))
    files.push_back(entry.path());
  ASSERT_EQ(files.size(), 1u);
  char today[16];
  const std::time_t now = std::time(nullptr);
  std::strftime(today, sizeof today, "%Y_%m_%d", std::localtime(&now));
  EXPECT_EQ(files[0].filename().string(), std::string("logVornLeadsVWDLL_") + today + ".txt");
  const std::string separator(152, '=');
  EXPECT_EQ(maskStamps(test::readFile(files[0])),
            separator +
                "\r\n<stamp>\r\nFunção: BuscaLeads\r\n{\"DNs\":\"1\"}\r\n\r\n"
                "Situação/Erro:\r\nOk\r\n" +
                separator +
                "\r\n<stamp>\r\n"
                "Função: AtualizaLeads\r\nlinha 1\r\nlinha 2\r\n\r\nSituação/Erro:\r\nFalha\r\n");
}

}  // namespace
}  // namespace vornleads
