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

TEST(FacadeEndereco, TextOutsideAsciiBecomesQuestionMarks) {
  TempDir dir("facade-ini");
  CurrentDirectoryScope inDir(dir.path());
  TdmVornLeadsVW fachada;
  EXPECT_EQ(alteraEndereco(fachada, R"({"NovoEndereco":"http://serviço.com.br/ação"})"),
            envelope(0, "Ok"));
  EXPECT_EQ(fachada.endereco(), "http://servi?o.com.br/a??o");
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

TEST(FacadeEndereco, MissingMemberAnswers297AndKeepsTheEndpoint) {
  TempDir dir("facade-ini");
  CurrentDirectoryScope inDir(dir.path());
  TdmVornLeadsVW fachada;
  const auto antes = fachada.endereco();
  EXPECT_EQ(alteraEndereco(fachada, "{}"), envelope(297, "Parâmetros JSON inválidos!"));
  EXPECT_EQ(alteraEndereco(fachada, R"({"novoendereco":"http://x"})"),
            envelope(297, "Parâmetros JSON inválidos!"));
  EXPECT_EQ(fachada.endereco(), antes);
  EXPECT_FALSE(std::filesystem::exists(dir / "VornLeadsVW.ini"));
}

TEST(FacadeEndereco, TextThatIsNotAJsonObjectRaises) {
  TdmVornLeadsVW fachada;
  const auto antes = fachada.endereco();
  auto messageOf = [&fachada](const std::string& json) -> std::string {
    try {
      fachada.AlteraEnderecoServico(json);
    } catch (const VornError& error) {
      return error.what();
    }
    return "no error";
  };
  EXPECT_EQ(messageOf("[1]"), "AlteraEnderecoServico: o JSON recebido não é um objeto");
  EXPECT_EQ(messageOf("\"NovoEndereco\""),
            "AlteraEnderecoServico: o JSON recebido não é um objeto");
  EXPECT_EQ(messageOf("lixo"),
            "AlteraEnderecoServico: o texto recebido não é JSON válido (posição 1)");
  EXPECT_EQ(messageOf(""), "AlteraEnderecoServico: o texto recebido não é JSON válido (posição 1)");
  EXPECT_EQ(messageOf(R"({"NovoEndereco":"x")"),
            "AlteraEnderecoServico: o texto recebido não é JSON válido (posição 20)");
  EXPECT_EQ(messageOf(R"({"NovoEndereco":"x","Porta":1e400})"),
            "AlteraEnderecoServico: o texto recebido traz um número fora do intervalo");
  EXPECT_EQ(fachada.endereco(), antes);
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
