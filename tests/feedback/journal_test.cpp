// The journal of status updates through the whole chain: pipeline, library edition, SOAP,
// sandbox, and CAC_ATUALIZACOES_LEADVW in a real Firebird database.
#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "feedback/feedback_fixture.h"
#include "vornleads/error.h"
#include "vornleads/text/datetime.h"

namespace vornleads::test {
namespace {

using Json = SandboxProcess::Json;

class JournalTest : public FeedbackSuite {};

TEST_F(JournalTest, AcceptedUpdateIsSentThroughTheLibraryAndJournalledAsDelivered) {
  const int32_t contato = nextKey();
  const int64_t lead = nextKey();
  addLeadContact(*db_, contato, lead);

  // Between the two journal writes the row already stands as "in progress".
  std::vector<JournalRow> duringCall;
  const TIntegraLeadsVW library = service().bridge();
  auto atualiza = worker(*db_, [&](int32_t servico, const AnsiString& json) {
    duringCall = journal(*db_, lead);
    return library(servico, json);
  });
  auto parametros = updateOf(contato, lead, 10);
  const auto resposta = atualiza->realizaAtualizacao(parametros);

  ASSERT_TRUE(resposta.has_value());
  EXPECT_EQ(0, resposta->Status->Codigo);
  EXPECT_EQ("Sucesso", resposta->Status->Descricao);
  EXPECT_EQ("12-", atualiza->sPbMensagemAtu());
  EXPECT_EQ(1, parametros.sequenciaReenvio);

  ASSERT_EQ(1u, duringCall.size());
  EXPECT_EQ("N", duringCall[0].enviou);
  EXPECT_EQ(297, duringCall[0].codigoErro);
  EXPECT_EQ("Atualização em processo de envio", duringCall[0].descricaoErro);

  const auto rows = journal(*db_, lead);
  ASSERT_EQ(1u, rows.size());
  EXPECT_EQ(1, rows[0].sequencia);
  EXPECT_EQ(10, rows[0].status);
  EXPECT_EQ("S", rows[0].enviou);
  EXPECT_EQ(std::nullopt, rows[0].codigoErro);
  EXPECT_EQ("", rows[0].descricaoErro);
  EXPECT_EQ(12, rows[0].usuario);
  EXPECT_EQ("15/03/2024 10:00:00", rows[0].dtaAtualizacao);
  EXPECT_EQ("", rows[0].dtaReagendamento);

  const auto sent = service().updatesOf(lead);
  ASSERT_EQ(1u, sent.size());
  EXPECT_EQ(Json::parse(R"({"Cpf":"22233344405","DataAtualizacao":"15/03/2024 10:00:00",)"
                        R"("DataReagendamento":"","IdLead":)" +
                        std::to_string(lead) + R"(,"Status":10})"),
            sent[0]);
}

TEST_F(JournalTest, SequencesCountPerLeadWhateverTheEarlierOutcome) {
  const int32_t contato = nextKey();
  const int64_t lead = nextKey();
  const int32_t otherContact = nextKey();
  const int64_t other = nextKey();
  addLeadContact(*db_, contato, lead);
  addLeadContact(*db_, otherContact, other);

  sandbox().fault({{"operation", "AtualizaLeads"}, {"mode", "reject"}, {"codigo", 150}});
  for (int32_t status : {1, 10, 1}) {
    auto parametros = updateOf(contato, lead, status);
    worker(*db_)->realizaAtualizacao(parametros);
  }
  auto first = updateOf(otherContact, other, 1);
  worker(*db_)->realizaAtualizacao(first);

  const auto rows = journal(*db_, lead);
  ASSERT_EQ(3u, rows.size());
  EXPECT_EQ(
      (std::vector<std::tuple<int, int, std::string>>{{1, 1, "S"}, {2, 10, "S"}, {3, 1, "S"}}),
      (std::vector<std::tuple<int, int, std::string>>{
          {rows[0].sequencia, rows[0].status, rows[0].enviou},
          {rows[1].sequencia, rows[1].status, rows[1].enviou},
          {rows[2].sequencia, rows[2].status, rows[2].enviou}}))
      << "the rejected first row is superseded by the accepted second one";
  ASSERT_EQ(1u, journal(*db_, other).size());
  EXPECT_EQ(1, journal(*db_, other)[0].sequencia);
}

TEST_F(JournalTest, AcceptedResendOfSequenceFiveMarksOnlyTheEarlierUnsentRows) {
  const int32_t contato = nextKey();
  const int64_t lead = nextKey();
  addLeadContact(*db_, contato, lead);
  for (int32_t sequencia = 1; sequencia <= 7; ++sequencia) {
    addJournalRow(*db_, lead, sequencia, 1, sequencia == 2 ? "S" : "N");
  }

  auto parametros = updateOf(contato, lead, 1);
  parametros.reenvio = true;
  parametros.sequenciaReenvio = 5;
  parametros.dataAtualizacaoReenvio = "14/03/2024 10:00:00";
  ASSERT_TRUE(worker(*db_)->realizaAtualizacao(parametros).has_value());

  std::string enviou;
  for (const auto& row : journal(*db_, lead)) enviou += row.enviou;
  EXPECT_EQ("SSSSSNN", enviou);
  EXPECT_EQ("14/03/2024 10:00:00", service().updatesOf(lead).at(0)["DataAtualizacao"]);
}

TEST_F(JournalTest, MarkingEarlierRowsNeedsALeadAndASequence) {
  const int64_t lead = nextKey();
  for (int32_t sequencia = 1; sequencia <= 2; ++sequencia)
    addJournalRow(*db_, lead, sequencia, 1, "N");
  auto atualiza = worker(*db_);
  atualiza->gravaEnviouSequenciaAnterior(lead, 0);
  atualiza->gravaEnviouSequenciaAnterior(0, 3);
  EXPECT_EQ("N", journal(*db_, lead)[0].enviou);
  atualiza->gravaEnviouSequenciaAnterior(lead, 2);
  EXPECT_EQ("S", journal(*db_, lead)[0].enviou);
  EXPECT_EQ("N", journal(*db_, lead)[1].enviou);
}

TEST_F(JournalTest, RejectionKeepsCodeAndFirst500CharactersAndNotifiesTheBranchUsers) {
  const int32_t contato = nextKey();
  const int64_t lead = nextKey();
  addLeadContact(*db_, contato, lead);
  std::string descricao;
  for (int i = 0; i < 60; ++i) descricao += "Rejeições ";  // 10 characters, 12 bytes each
  ASSERT_EQ(720u, descricao.size());
  sandbox().fault({{"operation", "AtualizaLeads"},
                   {"mode", "reject"},
                   {"codigo", 150},
                   {"descricao", descricao}});

  std::vector<std::tuple<int, int, std::string, std::string>> mensagens;
  auto atualiza = worker(*db_);
  atualiza->envioExternoMensagem = [&](int32_t origem, int32_t destino, const std::string& assunto,
                                       const std::string& texto) {
    mensagens.emplace_back(origem, destino, assunto, texto);
  };
  auto parametros = updateOf(contato, lead, 10);
  const auto resposta = atualiza->realizaAtualizacao(parametros);

  ASSERT_TRUE(resposta.has_value());
  EXPECT_EQ(150, resposta->Status->Codigo);
  const auto rows = journal(*db_, lead);
  ASSERT_EQ(1u, rows.size());
  EXPECT_EQ("N", rows[0].enviou);
  EXPECT_EQ(150, rows[0].codigoErro);
  std::string first500;
  for (int i = 0; i < 50; ++i) first500 += "Rejeições ";
  EXPECT_EQ(first500, rows[0].descricaoErro);
  EXPECT_EQ("S", integrando(*db_, lead)) << "150 only notifies";
  const std::string texto =
      "Erro ao enviar atualização de Lead VW para o contato " + std::to_string(contato);
  EXPECT_EQ(
      (std::vector<std::tuple<int, int, std::string, std::string>>{
          {0, 12, "Erro integração Leads VW", texto}, {0, 15, "Erro integração Leads VW", texto}}),
      mensagens);
}

TEST_F(JournalTest, RejectionsThatEndTheLeadSwitchItOff) {
  for (int codigo : {207, 208, 209}) {
    const int32_t contato = nextKey();
    const int64_t lead = nextKey();
    addLeadContact(*db_, contato, lead);
    sandbox().fault({{"operation", "AtualizaLeads"},
                     {"mode", "reject"},
                     {"codigo", codigo},
                     {"descricao", "Lead encerrado"}});
    int notified = 0;
    auto atualiza = worker(*db_);
    atualiza->envioExternoMensagem = [&](int32_t, int32_t, const std::string&, const std::string&) {
      ++notified;
    };
    auto parametros = updateOf(contato, lead, 10);
    atualiza->realizaAtualizacao(parametros);

    EXPECT_EQ("N", integrando(*db_, lead)) << codigo;
    EXPECT_EQ(2, notified) << codigo;
    EXPECT_EQ(codigo, journal(*db_, lead).at(0).codigoErro);
    EXPECT_EQ("Lead encerrado", journal(*db_, lead).at(0).descricaoErro);
  }
}

TEST_F(JournalTest, NotificationListsAsConfigured) {
  // A null list notifies user 0; a bad entry stops the loop after the users before it and
  // becomes the row's send error.
  addBranch(*db_, 21, std::nullopt);
  addBranch(*db_, 22, std::string("12,x,15"));
  for (int32_t revenda : {21, 22}) {
    const int32_t contato = nextKey();
    const int64_t lead = nextKey();
    addLeadContact(*db_, contato, lead, 10, revenda);
    sandbox().fault({{"operation", "AtualizaLeads"}, {"mode", "reject"}, {"codigo", 150}});
    std::vector<int> destinos;
    auto atualiza = worker(*db_);
    atualiza->envioExternoMensagem = [&](int32_t, int32_t destino, const std::string&,
                                         const std::string&) { destinos.push_back(destino); };
    auto parametros = updateOf(contato, lead, 10, 12, revenda);
    const auto resposta = atualiza->realizaAtualizacao(parametros);

    const auto row = journal(*db_, lead).at(0);
    if (revenda == 21) {
      EXPECT_EQ(std::vector<int>{0}, destinos);
      EXPECT_EQ(150, row.codigoErro);
    } else {
      EXPECT_EQ(std::vector<int>{12}, destinos);
      EXPECT_FALSE(resposta.has_value());
      EXPECT_EQ(297, row.codigoErro);
      EXPECT_EQ("Erro ao enviar atualização para a VW: \"x\" is not a valid integer value",
                row.descricaoErro);
    }
    EXPECT_EQ("N", row.enviou);
  }
}

TEST_F(JournalTest, FailuresWhileSendingAreJournalledNotRaised) {
  struct Case {
    TIntegraLeadsVW bridge;
    std::string marker;  // the step reached, then the journalled reason
  };
  const std::vector<Case> cases{
      {[](int32_t, const AnsiString&) -> AnsiString { throw VornError("conexão recusada"); },
       "9-Erro ao enviar atualização para a VW: conexão recusada"},
      // A reply that is no JSON fails while the reply record is read.
      {[](int32_t, const AnsiString&) -> AnsiString { return "<html>"; },
       "10-Erro ao enviar atualização para a VW: "},
      {[](int32_t, const AnsiString&) -> AnsiString { return R"({"Status":null})"; },
       "11-Erro ao enviar atualização para a VW: Resposta da VW sem Status"},
  };
  for (const auto& [bridge, marker] : cases) {
    const int32_t contato = nextKey();
    const int64_t lead = nextKey();
    addLeadContact(*db_, contato, lead);
    auto atualiza = worker(*db_, bridge);
    auto parametros = updateOf(contato, lead, 10);
    EXPECT_FALSE(atualiza->realizaAtualizacao(parametros).has_value());

    const auto row = journal(*db_, lead).at(0);
    EXPECT_EQ("N", row.enviou);
    EXPECT_EQ(297, row.codigoErro);
    EXPECT_EQ(atualiza->sPbMensagemAtu().substr(atualiza->sPbMensagemAtu().find('-') + 1),
              row.descricaoErro);
    EXPECT_EQ(0u, atualiza->sPbMensagemAtu().rfind(marker, 0)) << atualiza->sPbMensagemAtu();
  }
}

}  // namespace
}  // namespace vornleads::test
