// Service failures on the way to VW: each leaves the journal row unsent, and the next resend
// pass delivers it. The library edition answers every transport failure with its status
// envelope 297 and the failure's text, which the pipeline journals like a rejection.
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <optional>
#include <string>

#include "feedback/feedback_fixture.h"
#include "vornleads/feedback/atualiza_leads_nao_enviados.h"

namespace vornleads::test {
namespace {

using Json = SandboxProcess::Json;

struct FaultCase {
  const char* name;
  Json fault;
};

// A fresh sample database and a sandbox without leftover faults for every case.
class ServiceFaultFixture : public ::testing::Test {
 protected:
  void SetUp() override {
    LeadsService::instance().sandbox().reset();
    database_ = std::make_unique<TestDatabase>(true);
    db_ = database_->connect();
  }

  std::unique_ptr<TestDatabase> database_;
  std::unique_ptr<SqlConnection> db_;
};

class SendFaultTest : public ServiceFaultFixture,
                      public ::testing::WithParamInterface<FaultCase> {};
using SendTimeOutTest = ServiceFaultFixture;

TEST_P(SendFaultTest, RowStaysUnsentUntilTheNextResendPassDeliversIt) {
  LeadsService& service = LeadsService::instance();
  const int32_t contato = nextKey();
  const int64_t lead = nextKey();
  addLeadContact(*db_, contato, lead);
  Json fault = GetParam().fault;
  fault["operation"] = "AtualizaLeads";
  service.sandbox().fault(fault);

  auto parametros = updateOf(contato, lead, 10);
  const auto resposta = worker(*db_)->realizaAtualizacao(parametros);
  ASSERT_TRUE(resposta.has_value());
  EXPECT_EQ(297, resposta->Status->Codigo);
  const auto failed = journal(*db_, lead).at(0);
  EXPECT_EQ("N", failed.enviou);
  EXPECT_EQ(297, failed.codigoErro);
  EXPECT_FALSE(failed.descricaoErro.empty());
  EXPECT_EQ(resposta->Status->Descricao.substr(0, failed.descricaoErro.size()),
            failed.descricaoErro);

  TAtualizaLeadsNaoEnviados resend(*db_);
  resend.IntegraLeadsVW = service.bridge();
  resend.setClock(std::make_shared<FixedClock>(testNow()));
  resend.iniciaAtualizacao();
  EXPECT_EQ(1, resend.summary().sent);
  const auto delivered = journal(*db_, lead).at(0);
  EXPECT_EQ("S", delivered.enviou);
  EXPECT_EQ(std::nullopt, delivered.codigoErro);
  const std::size_t requests = service.updatesOf(lead).size();
  EXPECT_GE(requests, 1u);

  TAtualizaLeadsNaoEnviados again(*db_);
  again.IntegraLeadsVW = service.bridge();
  again.iniciaAtualizacao();
  EXPECT_EQ(0, again.summary().rowsRead);
  EXPECT_EQ(requests, service.updatesOf(lead).size());
}

INSTANTIATE_TEST_SUITE_P(
    LibraryEdition, SendFaultTest,
    ::testing::Values(
        FaultCase{"drop", {{"mode", "drop"}}}, FaultCase{"malformed", {{"mode", "malformed"}}},
        FaultCase{"http500", {{"mode", "http500"}, {"descricao", "Servidor indisponível"}}},
        FaultCase{"soapfault", {{"mode", "soapfault"}, {"descricao", "Falha no serviço"}}}),
    [](const ::testing::TestParamInfo<FaultCase>& info) { return std::string(info.param.name); });

// Sets an environment variable for one test and restores what was there before.
class ScopedEnvironment {
 public:
  ScopedEnvironment(const char* name, const char* value) : name_(name) {
    if (const char* before = std::getenv(name)) before_ = before;
    setenv(name, value, 1);
  }
  ~ScopedEnvironment() {
    if (before_) {
      setenv(name_, before_->c_str(), 1);
    } else {
      unsetenv(name_);
    }
  }
  ScopedEnvironment(const ScopedEnvironment&) = delete;
  ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

 private:
  const char* name_;
  std::optional<std::string> before_;
};

// A service slower than the receive time-out: the library edition's facade gives up, the row
// stays unsent with the time-out's text, and the next pass, with the service answering
// again, delivers it.
TEST_F(SendTimeOutTest, ReplyPastTheReceiveTimeOutIsResentLater) {
  LeadsService& service = LeadsService::instance();
  const int32_t contato = nextKey();
  const int64_t lead = nextKey();
  addLeadContact(*db_, contato, lead);
  service.sandbox().fault({{"operation", "AtualizaLeads"}, {"mode", "delay"}, {"ms", 4000}});

  {
    ScopedEnvironment shortWait("VORNLEADS_RECEIVE_TIMEOUT_MS", "1000");
    auto parametros = updateOf(contato, lead, 10);
    const auto resposta = worker(*db_)->realizaAtualizacao(parametros);
    ASSERT_TRUE(resposta.has_value());
    EXPECT_EQ(297, resposta->Status->Codigo);
    EXPECT_NE(std::string::npos, resposta->Status->Descricao.find("AtualizaLeads"))
        << resposta->Status->Descricao;
  }
  const auto failed = journal(*db_, lead).at(0);
  EXPECT_EQ("N", failed.enviou);
  EXPECT_EQ(297, failed.codigoErro);

  TAtualizaLeadsNaoEnviados resend(*db_);
  resend.IntegraLeadsVW = service.bridge();
  resend.setClock(std::make_shared<FixedClock>(testNow()));
  resend.iniciaAtualizacao();
  EXPECT_EQ(1, resend.summary().sent);
  EXPECT_EQ("S", journal(*db_, lead).at(0).enviou);
}

}  // namespace
}  // namespace vornleads::test
