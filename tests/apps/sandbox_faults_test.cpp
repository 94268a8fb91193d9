// Faults queued on the sandbox: each mode as the client sees it, counted down per call, and
// the reset that returns the sandbox to its start.
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "sandbox_soap_client.h"
#include "support/sandbox_process.h"

namespace vornleads::test {
namespace {

using Json = SandboxProcess::Json;

constexpr const char* kFetch = R"({"DNs":"1234","Status":"0","Nome":"X"})";
constexpr const char* kConfirm =
    R"({"Cpf":"98765432100","DataAtualizacao":"01/04/2024 09:30:00","DataReagendamento":"","IdLead":77,"Status":-1})";

class SandboxFaultTest : public ::testing::Test {
 protected:
  SandboxFaultTest() {
    sandbox_.addLeads(Json::parse(R"([{"IdLead":"77","DealerNumber":"1234","Nome":"Davi"}])"));
  }

  // A normal answer to the fetch, as after the faults are used up.
  void expectNormalFetch() {
    const SoapExchange exchange = callSoap(sandbox_, "BuscaLeadsStatus", kFetch);
    EXPECT_EQ(200, exchange.status);
    const Json reply = Json::parse(soapResult(exchange.body).value_or("null"));
    EXPECT_EQ(Json(0), reply["Status"]["Codigo"]);
    EXPECT_EQ(1u, reply["Leads"].size());
  }

  SandboxProcess sandbox_;
};

TEST_F(SandboxFaultTest, RejectAnswersTheGivenStatusAndChangesNothing) {
  sandbox_.fault(Json{{"operation", "AtualizaLeads"},
                      {"mode", "reject"},
                      {"codigo", 208},
                      {"descricao", "Lead já finalizado"},
                      {"count", 2}});
  for (int call = 0; call < 2; ++call) {
    EXPECT_EQ(
        R"({"Status":{"Codigo":208,"Descricao":"Lead já finalizado","Versao":"1.0"},"Retorno":{"Mensagem":"Lead já finalizado","Retorno":"ERRO"}})",
        replyOf(sandbox_, "AtualizaLeads", kConfirm));
    EXPECT_EQ(Json(false), sandbox_.leads()[0]["confirmed"]);
  }
  EXPECT_NE(std::string::npos, replyOf(sandbox_, "AtualizaLeads", kConfirm).find("confirmado"));
  EXPECT_EQ(Json(true), sandbox_.leads()[0]["confirmed"]);
  EXPECT_EQ(3u, sandbox_.updates().size());
}

// How each failing mode reaches the client, twice, before the fetch is answered again.
TEST_F(SandboxFaultTest, EachFailingModeAsTheClientSeesIt) {
  struct Mode {
    Json fault;
    int status;        // 0: no HTTP reply at all
    std::string body;  // the whole body, or the <return>/<faultstring> text when SOAP
  };
  const std::vector<Mode> modes = {
      {{{"mode", "http500"}, {"descricao", "Serviço indisponível"}}, 500, "Serviço indisponível\n"},
      {{{"mode", "soapfault"}, {"descricao", "Access violation at address 0040A1B2"}},
       500,
       "Access violation at address 0040A1B2"},
      {{{"mode", "malformed"}}, 200, "<not XML>"},
      {{{"mode", "drop"}}, 0, ""},
  };
  for (Mode mode : modes) {
    SCOPED_TRACE(mode.fault.dump());
    mode.fault["operation"] = "BuscaLeadsStatus";
    mode.fault["count"] = 2;
    sandbox_.fault(mode.fault);
    // Another operation is not touched by a fault queued for this one.
    EXPECT_NE(std::string::npos, replyOf(sandbox_, "BuscaLeads", R"({"DNs":"1234"})").find("Davi"));
    for (int call = 0; call < 2; ++call) {
      const SoapExchange exchange = callSoap(sandbox_, "BuscaLeadsStatus", kFetch);
      EXPECT_EQ(mode.status == 0, exchange.transportFailed);
      EXPECT_EQ(mode.status, exchange.status);
      const bool soap = exchange.contentType.rfind("text/xml", 0) == 0;
      EXPECT_EQ(mode.body, soap ? soapResult(exchange.body).value_or("<not XML>") : exchange.body)
          << exchange.body;
    }
    expectNormalFetch();
  }
}

TEST_F(SandboxFaultTest, DelayWaitsThenAnswersNormally) {
  sandbox_.fault({{"operation", "BuscaLeadsStatus"}, {"mode", "delay"}, {"ms", 400}, {"count", 2}});
  for (int call = 0; call < 2; ++call) {
    const auto start = std::chrono::steady_clock::now();
    expectNormalFetch();
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(400));
  }
  const auto start = std::chrono::steady_clock::now();
  expectNormalFetch();
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(400));
}

TEST_F(SandboxFaultTest, AnyOperationFaultsAreUsedInTheOrderQueued) {
  sandbox_.fault(Json::parse(R"([{"operation":"*","mode":"http500"},
                                 {"operation":"BuscaLeads","mode":"soapfault","descricao":"B"}])"));
  EXPECT_EQ(
      R"([{"operation":"*","mode":"http500","codigo":999,"descricao":"Falha simulada","ms":0,"count":1},)"
      R"({"operation":"BuscaLeads","mode":"soapfault","codigo":999,"descricao":"B","ms":0,"count":1}])",
      sandbox_.faults().dump());
  EXPECT_EQ("Falha simulada\n", callSoap(sandbox_, "BuscaLeads", R"({"DNs":"1234"})").body);
  EXPECT_EQ("B", soapResult(callSoap(sandbox_, "BuscaLeads", R"({"DNs":"1234"})").body));
  EXPECT_EQ("[]", sandbox_.faults().dump());
  EXPECT_NE(std::string::npos, replyOf(sandbox_, "BuscaLeads", R"({"DNs":"1234"})").find("Davi"));
}

TEST_F(SandboxFaultTest, RefusesFaultsItCannotServe) {
  for (const char* fault : {R"({"operation":"BuscaLeads","mode":"explode"})",
                            R"({"operation":"ApagaLeads","mode":"drop"})",
                            R"({"operation":"BuscaLeads","mode":"drop","count":0})"}) {
    EXPECT_THROW(sandbox_.fault(Json::parse(fault)), std::runtime_error) << fault;
  }
  EXPECT_EQ("[]", sandbox_.faults().dump());
}

TEST_F(SandboxFaultTest, ResetReturnsToTheStartingLeads) {
  replyOf(sandbox_, "AtualizaLeads", kConfirm);
  sandbox_.fault(Json{{"operation", "*"}, {"mode", "drop"}});
  sandbox_.reset();
  EXPECT_EQ("[]", sandbox_.leads().dump());  // this sandbox started without a leads file
  EXPECT_EQ("[]", sandbox_.updates().dump());
  EXPECT_EQ("[]", sandbox_.faults().dump());

  TempDir dir("sandbox-reset");
  writeFile(dir / "leads.json", R"({"Leads":[{"IdLead":"5","DealerNumber":"1"}]})");
  SandboxProcess withFile(dir / "leads.json");
  withFile.addLeads(Json::parse(R"([{"IdLead":"6","DealerNumber":"1"}])"));
  replyOf(withFile, "AtualizaLeads",
          R"({"Cpf":"1","DataAtualizacao":"","DataReagendamento":"","IdLead":5,"Status":-1})");
  withFile.reset();
  const Json leads = withFile.leads();
  ASSERT_EQ(1u, leads.size());
  EXPECT_EQ(Json("5"), leads[0]["IdLead"]);
  EXPECT_EQ(Json(false), leads[0]["confirmed"]);
}

}  // namespace
}  // namespace vornleads::test
