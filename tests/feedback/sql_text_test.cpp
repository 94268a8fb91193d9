// The SQL the update worker and the resend pass send, statement by statement, while they run
// on a real Firebird database.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "feedback/feedback_fixture.h"
#include "feedback/tracing_connection.h"
#include "vornleads/feedback/atualiza_leads_nao_enviados.h"

namespace vornleads::test {
namespace {

using Statements = std::vector<std::string>;

class SqlTextTest : public FeedbackSuite {};

TEST_F(SqlTextTest, AcceptedUpdate) {
  addLeadContact(*db_, 900001, 900001);
  TracingConnection traced(*db_);
  auto parametros = updateOf(900001, 900001, 10);
  ASSERT_TRUE(worker(traced)->realizaAtualizacao(parametros).has_value());
  EXPECT_EQ(
      (Statements{
          "select DTA_CONTATO, DTA_NOVO_CONTATO   from CAC_CONTATO  where EMPRESA = 1   and "
          "REVENDA = 1   and CONTATO = 900001",
          "select INTEGRANDO   from CAC_LEAD_CONTATO  where EMPRESA = 1   and REVENDA = 1   and "
          "CONTATO = 900001   and ID_LEAD_VW = 900001",
          "SELECT UTILIZA_INTEGRACAO_LEADVW   FROM CAC_PARAMETRO  WHERE EMPRESA = 1   AND REVENDA "
          "= 1",
          "SELECT STATUS_LEAD   FROM CAC_ATUALIZACOES_LEADVW  WHERE ID_LEAD_VW = 900001"
          "   AND SEQUENCIA = (SELECT MAX(SEQUENCIA) "
          "                      FROM CAC_ATUALIZACOES_LEADVW "
          "                     WHERE ID_LEAD_VW = 900001"
          "                    )",
          "SELECT CPF   FROM FAT_VENDEDOR  WHERE EMPRESA = 1   AND REVENDA = 1   AND USUARIO = 12",
          "SELECT *   FROM CAC_ATUALIZACOES_LEADVW  WHERE ID_LEAD_VW = 900001   AND SEQUENCIA = -1",
          "Select MAX(SEQUENCIA)   from CAC_ATUALIZACOES_LEADVW  where ID_LEAD_VW = 900001",
          "INSERT INTO CAC_ATUALIZACOES_LEADVW (ID_LEAD_VW, SEQUENCIA, STATUS_LEAD, "
          "DTA_ATUALIZACAO, ENVIOU, CODIGO_ERRO, DESCRICAO_ERRO, USUARIO) VALUES (900001, 1, 10, "
          "CAST('2024-03-15 10:00:00' AS TIMESTAMP), 'N', 297, 'Atualização em processo de "
          "envio', 12)",
          "SELECT *   FROM CAC_ATUALIZACOES_LEADVW  WHERE ID_LEAD_VW = 900001   AND SEQUENCIA = 1",
          "update CAC_ATUALIZACOES_LEADVW set ENVIOU = 'S'  where ID_LEAD_VW = 900001   and "
          "ENVIOU = 'N'    and SEQUENCIA < 1",
          "UPDATE CAC_ATUALIZACOES_LEADVW SET ENVIOU = 'S', CODIGO_ERRO = NULL, DESCRICAO_ERRO "
          "= '' WHERE ID_LEAD_VW = 900001 AND SEQUENCIA = 1",
      }),
      traced.statements());
}

TEST_F(SqlTextTest, RejectionThatEndsTheLead) {
  addLeadContact(*db_, 900002, 900002);
  sandbox().fault({{"operation", "AtualizaLeads"}, {"mode", "reject"}, {"codigo", 208}});
  TracingConnection traced(*db_);
  auto atualiza = worker(traced);
  atualiza->envioExternoMensagem = [](int32_t, int32_t, const std::string&, const std::string&) {};
  auto parametros = updateOf(900002, 900002, 10);
  atualiza->realizaAtualizacao(parametros);
  const Statements& sent = traced.statements();
  ASSERT_EQ(12u, sent.size());
  EXPECT_EQ(
      (Statements{
          "update CAC_LEAD_CONTATO    set INTEGRANDO = 'N'  where EMPRESA = 1   and REVENDA = "
          "1   and CONTATO = 900002   and ID_LEAD_VW = 900002",
          "SELECT COALESCE(USUARIOS_NOTIF_CONTATO_VEI,'0')   FROM CAC_PARAMETRO  WHERE "
          "EMPRESA = 1   AND REVENDA = 1",
          "SELECT *   FROM CAC_ATUALIZACOES_LEADVW  WHERE ID_LEAD_VW = 900002   AND SEQUENCIA = 1",
          "UPDATE CAC_ATUALIZACOES_LEADVW SET CODIGO_ERRO = 208, DESCRICAO_ERRO = 'Falha "
          "simulada' WHERE ID_LEAD_VW = 900002 AND SEQUENCIA = 1",
      }),
      Statements(sent.begin() + 8, sent.end()));
}

TEST(SqlTextResend, PassOverOneBranch) {
  LeadsService::instance().sandbox().reset();
  TestDatabase database(true);
  auto db = database.connect();
  addLeadContact(*db, 900003, 900003);
  addJournalRow(*db, 900003, 4, 10, "N", std::nullopt);
  TracingConnection traced(*db);
  TAtualizaLeadsNaoEnviados resend(traced);
  resend.IntegraLeadsVW = LeadsService::instance().bridge();
  resend.setClock(std::make_shared<FixedClock>(testNow()));
  resend.iniciaAtualizacao();
  const Statements& sent = traced.statements();
  ASSERT_GE(sent.size(), 4u);
  EXPECT_EQ(
      (Statements{
          "select EMPRESA,        REVENDA   from CAC_PARAMETRO  where UTILIZA_INTEGRACAO_LEADVW = "
          "'S' ",
          "select CLC.EMPRESA,        CLC.REVENDA,        CLC.CONTATO,        CLC.ID_LEAD_VW,  "
          "      CAL.STATUS_LEAD,        CAL.USUARIO,        CAL.DTA_REAGENDAMENTO,        "
          "CAL.DTA_ATUALIZACAO,        CAL.SEQUENCIA   from CAC_LEAD_CONTATO CLC,        "
          "CAC_ATUALIZACOES_LEADVW CAL  where CLC.ID_LEAD_VW = CAL.ID_LEAD_VW    and CAL.ENVIOU "
          "= 'N'    and CLC.INTEGRANDO = 'S'    and CLC.EMPRESA = 1   and CLC.REVENDA = 1",
          "SELECT USUARIO_ENCAMINHADO   FROM CAC_CONTATO  WHERE EMPRESA = 1   AND REVENDA = 1",
          "select DTA_CONTATO, DTA_NOVO_CONTATO   from CAC_CONTATO  where EMPRESA = 1   and "
          "REVENDA = 1   and CONTATO = 900003",
      }),
      Statements(sent.begin(), sent.begin() + 4));
  // A resend edits its own row: no comparison with the last status, no new row.
  EXPECT_EQ(
      "SELECT *   FROM CAC_ATUALIZACOES_LEADVW  WHERE ID_LEAD_VW = 900003   AND SEQUENCIA = 4",
      sent.at(7));
  EXPECT_EQ("S", journal(*db, 900003).at(0).enviou);
}

}  // namespace
}  // namespace vornleads::test
