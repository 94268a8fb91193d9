// The rules that decide whether an update is sent: bridge, validity, integration flag,
// rescheduling, earlier statuses, the salesperson's CPF and the library file.
#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string>
#include <typeinfo>

#include "feedback/feedback_fixture.h"
#include "vornleads/error.h"
#include "vornleads/package/host_directory.h"

namespace vornleads::test {
namespace {

constexpr char kForaValidade[] =
    "Este lead está fora do prazo de validade (90 dias) e não será mais enviado para a VW";
constexpr char kSemIntegracao[] = "Contato não faz parte da integração";

// Points this program (not the library edition, already loaded) at another host directory.
class HostDirectoryOverride {
 public:
  explicit HostDirectoryOverride(const std::filesystem::path& home) { setHostDirectory(home); }
  ~HostDirectoryOverride() { setHostDirectory({}); }
  HostDirectoryOverride(const HostDirectoryOverride&) = delete;
  HostDirectoryOverride& operator=(const HostDirectoryOverride&) = delete;
};

class RulesTest : public FeedbackSuite {
 protected:
  // Runs one update and checks the local answer: code, text, nothing journalled or sent.
  void expectLocalAnswer(TParametroPreparaAtualizaLeadVW parametros, double codigo,
                         const std::string& descricao) {
    auto atualiza = worker(*db_);
    const auto resposta = atualiza->realizaAtualizacao(parametros);
    ASSERT_TRUE(resposta.has_value());
    EXPECT_EQ(codigo, resposta->Status->Codigo);
    EXPECT_EQ(descricao, resposta->Status->Descricao);
    EXPECT_EQ("1.0", resposta->Status->Versao);
    EXPECT_EQ("6", atualiza->sPbMensagemAtu());
    EXPECT_TRUE(service().updatesOf(parametros.idLead).empty());
  }
};

TEST_F(RulesTest, WithoutABridgeNothingHappens) {
  const int32_t contato = nextKey();
  const int64_t lead = nextKey();
  addLeadContact(*db_, contato, lead);
  TAtualizaLeadsVW atualiza(*db_);
  auto parametros = updateOf(contato, lead, 10);
  try {
    atualiza.realizaAtualizacao(parametros);
    FAIL() << "no error raised";
  } catch (const VornError& error) {
    EXPECT_STREQ("Função IntegraLeadsVW não definida", error.what());
  }
  EXPECT_EQ("1", atualiza.sPbMensagemAtu());
  EXPECT_TRUE(journal(*db_, lead).empty());
}

TEST_F(RulesTest, ValidityEndsAfterNinetyWholeDays) {
  const int64_t old = nextKey();
  const int32_t oldContact = nextKey();
  addLeadContact(*db_, oldContact, old, 91);
  expectLocalAnswer(updateOf(oldContact, old, 10), 0, kForaValidade);
  EXPECT_EQ("N", integrando(*db_, old));
  EXPECT_TRUE(journal(*db_, old).empty());

  auto resend = updateOf(oldContact, old, 10);
  resend.reenvio = true;
  expectLocalAnswer(resend, 299, kForaValidade);

  const int64_t ninety = nextKey();
  const int32_t ninetyContact = nextKey();
  addLeadContact(*db_, ninetyContact, ninety, 90);
  auto parametros = updateOf(ninetyContact, ninety, 10);
  ASSERT_TRUE(worker(*db_)->realizaAtualizacao(parametros).has_value());
  EXPECT_EQ("S", journal(*db_, ninety).at(0).enviou);

  // A rescheduled contact counts from its new date.
  const int64_t renewed = nextKey();
  const int32_t renewedContact = nextKey();
  addContact(*db_, renewedContact, testNow() - 200, testNow() - 5);
  linkLead(*db_, renewedContact, renewed);
  sandbox().addLeads(SandboxProcess::Json::array({{{"IdLead", std::to_string(renewed)}}}));
  auto renewedUpdate = updateOf(renewedContact, renewed, 10);
  ASSERT_TRUE(worker(*db_)->realizaAtualizacao(renewedUpdate).has_value());
  EXPECT_EQ("S", journal(*db_, renewed).at(0).enviou);
}

TEST_F(RulesTest, UpdatesOutsideTheIntegrationAreAnsweredLocally) {
  const int32_t contato = nextKey();
  const int64_t lead = nextKey();
  addContact(*db_, contato, testNow() - 3);
  linkLead(*db_, contato, lead, "N");
  expectLocalAnswer(updateOf(contato, lead, 10), 0, kSemIntegracao);
  auto resend = updateOf(contato, lead, 10);
  resend.reenvio = true;
  resend.dataAtualizacaoReenvio = "14/03/2024 09:00:00";
  expectLocalAnswer(resend, 297, kSemIntegracao);

  // Nothing to send: a negative status; a branch with the integration off.
  const int32_t other = nextKey();
  const int64_t otherLead = nextKey();
  addLeadContact(*db_, other, otherLead);
  expectLocalAnswer(updateOf(other, otherLead, -1), 0, kSemIntegracao);
  db_->execute(
      "INSERT INTO CAC_PARAMETRO (EMPRESA, REVENDA, UTILIZA_INTEGRACAO_LEADVW) VALUES (1, 31, "
      "'N')");
  const int32_t offContact = nextKey();
  const int64_t offLead = nextKey();
  addLeadContact(*db_, offContact, offLead, 10, 31);
  expectLocalAnswer(updateOf(offContact, offLead, 10, 12, 31), 0, kSemIntegracao);
  EXPECT_TRUE(journal(*db_, otherLead).empty());
  EXPECT_TRUE(journal(*db_, offLead).empty());
}

TEST_F(RulesTest, ReschedulingGoesForwardAndAtMostSixMonths) {
  const int32_t contato = nextKey();
  const int64_t lead = nextKey();
  addLeadContact(*db_, contato, lead);

  auto past = updateOf(contato, lead, 9);
  past.dataReagendamento = "14/03/2024 18:00:00";
  expectLocalAnswer(past, 0, kSemIntegracao);

  auto far = updateOf(contato, lead, 9);
  far.dataReagendamento = "20/10/2024 10:00:00";
  auto atualiza = worker(*db_);
  try {
    atualiza->realizaAtualizacao(far);
    FAIL() << "no error raised";
  } catch (const VornError& error) {
    EXPECT_STREQ("Não é possível reagendar para um período maior que 6 meses", error.what());
  }
  EXPECT_FALSE(atualiza->envioLead().has_value());
  EXPECT_TRUE(journal(*db_, lead).empty());

  auto sixMonths = updateOf(contato, lead, 9);
  sixMonths.dataReagendamento = "14/09/2024 08:30";
  ASSERT_TRUE(worker(*db_)->realizaAtualizacao(sixMonths).has_value());
  const auto row = journal(*db_, lead).at(0);
  EXPECT_EQ("14/09/2024 08:30:00", row.dtaReagendamento);
  EXPECT_EQ("S", row.enviou);
  EXPECT_EQ("14/09/2024 08:30:00", service().updatesOf(lead).at(0)["DataReagendamento"]);
}

TEST_F(RulesTest, PreparationErrorsReachTheCallerAsPlainErrors) {
  const int32_t contato = nextKey();
  const int64_t lead = nextKey();
  addLeadContact(*db_, contato, lead);
  auto parametros = updateOf(contato, lead, 9);
  parametros.dataReagendamento = "31/02/2024";
  try {
    worker(*db_)->realizaAtualizacao(parametros);
    FAIL() << "no error raised";
  } catch (const VornError& error) {
    EXPECT_EQ(typeid(VornError), typeid(error)) << "the conversion error is raised anew";
    EXPECT_STREQ("\"31/02/2024\" is not a valid date and time", error.what());
  }
}

TEST_F(RulesTest, EarlierStatusesSuppressRepeatsAndEverythingAfterAnEnd) {
  struct Case {
    int anterior;
    int novo;
    bool enviado;
  };
  for (const Case c :
       {Case{5, 5, false}, Case{2, 10, false}, Case{9, 1, false}, Case{11, 10, false},
        Case{10, 10, false}, Case{10, 1, true}, Case{1, 10, true}}) {
    const int32_t contato = nextKey();
    const int64_t lead = nextKey();
    addLeadContact(*db_, contato, lead);
    addJournalRow(*db_, lead, 1, c.anterior, "S");
    auto parametros = updateOf(contato, lead, c.novo);
    worker(*db_)->realizaAtualizacao(parametros);
    EXPECT_EQ(c.enviado ? 2u : 1u, journal(*db_, lead).size()) << c.anterior << " then " << c.novo;
    EXPECT_EQ(c.enviado ? 1u : 0u, service().updatesOf(lead).size())
        << c.anterior << " then " << c.novo;
  }
}

TEST_F(RulesTest, MissingCpfOrLibraryIsJournalledAndNothingIsSent) {
  db_->execute(
      "INSERT INTO FAT_VENDEDOR (EMPRESA, REVENDA, VENDEDOR, USUARIO, CPF) VALUES (1, 1, 40, 40, "
      "'0')");
  const std::string semCpf =
      "Contato originado de lead VW sem CPF informado para o vendedor do usuário 40. "
      "Favor informar o CPF para continuar com a operação.\r\n";
  const std::string semBiblioteca = "A biblioteca \"VornLeadsVW.dll\" não foi encontrada.";
  TempDir emptyHome("vornleads-nolib");

  struct Case {
    int32_t usuario;
    bool biblioteca;
    std::string motivo;
  };
  for (const Case& c :
       {Case{40, true, semCpf},
        Case{99, true,
             "Contato originado de lead VW sem CPF informado para o vendedor do usuário 99. "
             "Favor informar o CPF para continuar com a operação.\r\n"},
        Case{12, false, semBiblioteca}, Case{40, false, semCpf + semBiblioteca}}) {
    const int32_t contato = nextKey();
    const int64_t lead = nextKey();
    addLeadContact(*db_, contato, lead);
    int calls = 0;
    const TIntegraLeadsVW library = service().bridge();
    auto atualiza = worker(*db_, [&](int32_t servico, const AnsiString& json) {
      ++calls;
      return library(servico, json);
    });
    auto parametros = updateOf(contato, lead, 10, c.usuario);
    std::optional<TRetornoAtualizaLeadClass> resposta;
    {
      const HostDirectoryOverride home(c.biblioteca ? service().home() : emptyHome.path());
      resposta = atualiza->realizaAtualizacao(parametros);
    }

    EXPECT_FALSE(resposta.has_value());
    EXPECT_EQ("7", atualiza->sPbMensagemAtu());
    EXPECT_EQ(0, calls);
    const auto rows = journal(*db_, lead);
    ASSERT_EQ(1u, rows.size());
    EXPECT_EQ("N", rows[0].enviou);
    EXPECT_EQ(297, rows[0].codigoErro);
    EXPECT_EQ(c.motivo, rows[0].descricaoErro);
    EXPECT_EQ(c.usuario, rows[0].usuario);
  }
}

}  // namespace
}  // namespace vornleads::test
