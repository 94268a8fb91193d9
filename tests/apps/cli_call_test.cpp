// vornleads call: one service call through the library edition, run as a program against the
// sandbox; the reply on standard output, the exit status from the reply's status.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <string>

#include "support/paths.h"
#include "support/sandbox_process.h"

namespace vornleads {
namespace {

using Json = test::SandboxProcess::Json;

struct ProgramRun {
  int status = -1;
  std::string out;
  std::string err;
};

// Runs bin/vornleads with the arguments (already quoted for the shell) and standard input.
ProgramRun vornleads(const std::string& arguments, const std::string& input = "") {
  test::TempDir dir("cli-call");
  test::writeFile(dir / "in", input);
  const std::string command = (test::binDir() / "vornleads").string() + " " + arguments + " <" +
                              (dir / "in").string() + " >" + (dir / "out").string() + " 2>" +
                              (dir / "err").string();
  const int raw = std::system(command.c_str());
  ProgramRun run;
  run.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
  run.out = test::readFile(dir / "out");
  run.err = test::readFile(dir / "err");
  return run;
}

class CliCallTest : public ::testing::Test {
 protected:
  CliCallTest() {
    sandbox_.addLeads(Json::parse(R"([{"IdLead":"77","DealerNumber":"1234","Nome":"Davi"}])"));
  }
  std::string endpoint() const { return "--endpoint " + sandbox_.url() + " "; }

  test::SandboxProcess sandbox_;
};

constexpr const char* kLeads =
    R"({"Status":{"Codigo":0,"Descricao":"Sucesso","Versao":"1.0"},"Leads":[{"Acabamento":"","Cor":"",)"
    R"("CpfCnpj":"","DataIntencao":"","Ddd":0,"DealerNumber":"1234","Email":"","IdLead":"77",)"
    R"("Modelo":"","Nome":"Davi","Opcionais":"","Status":0,"Telefone":0,"Preco":"","Origem":"",)"
    R"("Mensagem":"","DataIntencaoAgendamento":"","Showroom":"","PreferenciaContato":""}]})";

TEST_F(CliCallTest, PrintsTheReplyOfTheOperation) {
  const ProgramRun fetch =
      vornleads(endpoint() + R"(call BuscaLeadsStatus '{"DNs":"1234","Status":"0","Nome":"X"}')");
  EXPECT_EQ(fetch.status, 0) << fetch.err;
  EXPECT_EQ(fetch.out, std::string(kLeads) + "\n");
  EXPECT_EQ(fetch.err, "");

  const ProgramRun confirm = vornleads(
      endpoint() + "call AtualizaLeads -",
      R"({"Cpf":"1","DataAtualizacao":"","DataReagendamento":"","IdLead":77,"Status":-1})");
  EXPECT_EQ(confirm.status, 0) << confirm.err;
  EXPECT_EQ(
      confirm.out,
      R"({"Status":{"Codigo":0,"Descricao":"Sucesso","Versao":"1.0"},"Retorno":{"Mensagem":"Recebimento do lead 77 confirmado","Retorno":"OK"}})"
      "\n");
  EXPECT_EQ(sandbox_.leads()[0]["confirmed"], Json(true));
}

TEST_F(CliCallTest, AReplyWithAFailureStatusExitsWithOne) {
  const ProgramRun rejected =
      vornleads(endpoint() + R"(call AtualizaLeads '{"IdLead":999,"Status":-1,"Cpf":"1"}')");
  EXPECT_EQ(rejected.status, 1);
  EXPECT_EQ(
      rejected.out,
      R"({"Status":{"Codigo":201,"Descricao":"Lead 999 não encontrado","Versao":"1.0"},"Retorno":{"Mensagem":"Lead 999 não encontrado","Retorno":"ERRO"}})"
      "\n");
  EXPECT_EQ(rejected.err, "vornleads: AtualizaLeads falhou: código 201: Lead 999 não encontrado\n");

  sandbox_.fault(Json{{"operation", "BuscaLeads"}, {"mode", "http500"}});
  const ProgramRun failed = vornleads(endpoint() + R"(call BuscaLeads '{"DNs":"1234"}')");
  EXPECT_EQ(failed.status, 1);
  const std::string message = "Falha ao chamar a operação BuscaLeads em " + sandbox_.url() +
                              ": o servidor respondeu HTTP 500";
  EXPECT_EQ(failed.out,
            R"({"Status":{"Versao":"1.0","Codigo":297,"Descricao":")" + message + "\"}}\n");
  EXPECT_EQ(failed.err, "vornleads: BuscaLeads falhou: código 297: " + message + "\n");
}

TEST_F(CliCallTest, UsageErrorsAndAMissingLibrary) {
  const ProgramRun unknown = vornleads(endpoint() + "call ApagaLeads '{}'");
  EXPECT_EQ(unknown.status, 2);
  EXPECT_EQ(unknown.out, "");
  EXPECT_NE(unknown.err.find("ApagaLeads"), std::string::npos) << unknown.err;

  EXPECT_EQ(vornleads("call").status, 2);

  test::TempDir home("cli-home");
  const ProgramRun missing =
      vornleads(endpoint() + "--home " + home.path().string() + " call BuscaLeads '{}'");
  EXPECT_EQ(missing.status, 1);
  EXPECT_EQ(missing.out, "");
  const std::string file = (home / "VornLeadsVW.dll").string();
  EXPECT_EQ(missing.err, "vornleads: Não foi possível carregar a biblioteca \"" + file +
                             "\": " + file +
                             ": cannot open shared object file: No such file or directory\n");
}

}  // namespace
}  // namespace vornleads
