// The facade's service calls against the sandbox over real SOAP: replies pass through as the
// service wrote them, and every failure becomes the 297 envelope with a message that names the
// operation, the endpoint and the cause.
#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "package/code_page_scope.h"
#include "package/current_directory_scope.h"
#include "support/paths.h"
#include "support/sandbox_process.h"
#include "vornleads/package/udm_vornleadsvw.h"
#include "vornleads/text/codepage.h"

namespace vornleads {
namespace {

using Json = test::SandboxProcess::Json;

constexpr const char* kFetch = R"({"DNs":"1234","Status":"0","Nome":"X"})";
constexpr const char* kConfirm =
    R"({"Cpf":"98765432100","DataAtualizacao":"01/04/2024 09:30:00","DataReagendamento":"","IdLead":77,"Status":-1})";
constexpr const char* kLead77 =
    R"({"Acabamento":"","Cor":"","CpfCnpj":"","DataIntencao":"","Ddd":0,"DealerNumber":"1234",)"
    R"("Email":"","IdLead":"77","Modelo":"","Nome":"João Conceição","Opcionais":"","Status":0,)"
    R"("Telefone":0,"Preco":"","Origem":"","Mensagem":"","DataIntencaoAgendamento":"",)"
    R"("Showroom":"","PreferenciaContato":""})";

std::string leadsReply(const std::string& leads) {
  return R"({"Status":{"Codigo":0,"Descricao":"Sucesso","Versao":"1.0"},"Leads":[)" + leads + "]}";
}

std::string envelope297(const std::string& descricao) {
  return R"({"Status":{"Versao":"1.0","Codigo":297,"Descricao":")" + descricao + "\"}}";
}

class FacadeServiceTest : public ::testing::Test {
 protected:
  FacadeServiceTest() {
    sandbox_.addLeads(
        Json::parse(R"([{"IdLead":"77","DealerNumber":"1234","Nome":"João Conceição"}])"));
    // The endpoint reaches the facade the way a host sets it; the INI goes to a scratch directory.
    test::CurrentDirectoryScope inDir(dir_.path());
    fachada_.AlteraEnderecoServico(R"({"NovoEndereco":")" + sandbox_.url() + "\"}");
  }

  std::string failing(const std::string& operation) const {
    return "Falha ao chamar a operação " + operation + " em " + sandbox_.url() + ": ";
  }

  test::TempDir dir_{"facade-service"};
  test::SandboxProcess sandbox_;
  TdmVornLeadsVW fachada_;
};

TEST_F(FacadeServiceTest, EachServiceCallReturnsTheReplyUnchanged) {
  EXPECT_EQ(fachada_.BuscaLeadsStatus(kFetch), leadsReply(kLead77));
  EXPECT_EQ(fachada_.BuscaLeads(R"({"DNs":"1234"})"), leadsReply(kLead77));
  EXPECT_EQ(fachada_.BuscaLeadsData(R"({"DNs":"1234","Data":"01/01/2000"})"), leadsReply(kLead77));
  EXPECT_EQ(fachada_.CarregaUltimaCargaInicial(R"({"DNs":"1234","Tabela":"LEADS"})"),
            leadsReply(kLead77));
  EXPECT_EQ(
      fachada_.AtualizaLeads(kConfirm),
      R"({"Status":{"Codigo":0,"Descricao":"Sucesso","Versao":"1.0"},"Retorno":{"Mensagem":"Recebimento do lead 77 confirmado","Retorno":"OK"}})");
  EXPECT_EQ(sandbox_.updates().dump(), std::string("[") + kConfirm + "]");
  // Confirmed, the lead leaves the status fetch; a rejection is a reply like any other.
  EXPECT_EQ(fachada_.BuscaLeadsStatus(kFetch), leadsReply(""));
  EXPECT_EQ(
      fachada_.AtualizaLeads(R"({"IdLead":999,"Status":-1,"Cpf":"1"})"),
      R"({"Status":{"Codigo":201,"Descricao":"Lead 999 não encontrado","Versao":"1.0"},"Retorno":{"Mensagem":"Lead 999 não encontrado","Retorno":"ERRO"}})");
}

TEST_F(FacadeServiceTest, EightBitTextCrossesInTheBoundaryCodePage) {
  test::CodePageScope cp1252(CodePage::Cp1252);
  const AnsiString reply = fachada_.BuscaLeads(R"({"DNs":"1234"})");
  EXPECT_NE(reply.find("\"Jo\xE3o Concei\xE7\xE3o\""), std::string::npos) << reply;
  EXPECT_EQ(fromAnsi(reply), leadsReply(kLead77));
  // An empty argument is sent as an empty parameter, which the service refuses as it sees fit.
  EXPECT_EQ(
      fromAnsi(fachada_.BuscaLeads("")),
      R"({"Status":{"Codigo":200,"Descricao":"Parâmetros inválidos: JSON malformado na posição 1","Versao":"1.0"},"Leads":[]})");
}

TEST_F(FacadeServiceTest, ServiceFailuresBecomeThe297Envelope) {
  sandbox_.fault(Json::parse(R"([
      {"operation":"BuscaLeadsStatus","mode":"soapfault","descricao":"Access violation at address 0040A1B2"},
      {"operation":"BuscaLeads","mode":"http500"},
      {"operation":"BuscaLeadsData","mode":"malformed"},
      {"operation":"AtualizaLeads","mode":"drop"},
      {"operation":"CarregaUltimaCargaInicial","mode":"delay","ms":1500}])"));
  fachada_.setReceiveTimeoutMs(300);

  EXPECT_EQ(fachada_.BuscaLeadsStatus(kFetch), envelope297("Access violation at address 0040A1B2"));
  EXPECT_EQ(fachada_.BuscaLeads(R"({"DNs":"1234"})"),
            envelope297(failing("BuscaLeads") + "o servidor respondeu HTTP 500"));
  EXPECT_EQ(fachada_.BuscaLeadsData(R"({"DNs":"1234"})"),
            envelope297(failing("BuscaLeadsData") + "a resposta não é um XML válido"));
  EXPECT_EQ(
      fachada_.AtualizaLeads(kConfirm),
      envelope297(failing("AtualizaLeads") + "a conexão foi encerrada antes da resposta completa"));
  EXPECT_EQ(sandbox_.leads()[0]["confirmed"], Json(false));

  const auto started = std::chrono::steady_clock::now();
  EXPECT_EQ(
      fachada_.CarregaUltimaCargaInicial("{}"),
      envelope297(failing("CarregaUltimaCargaInicial") + "sem resposta do serviço em 300 ms"));
  EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::milliseconds(1200));

  // The faults are used up: the same facade goes on working, until the service stops.
  EXPECT_EQ(fachada_.BuscaLeadsStatus(kFetch), leadsReply(kLead77));
  sandbox_.stop();
  EXPECT_EQ(fachada_.BuscaLeadsStatus(kFetch),
            envelope297(failing("BuscaLeadsStatus") + "conexão recusada"));
}

}  // namespace
}  // namespace vornleads
