#include "feedback/feedback_fixture.h"

#include <atomic>

#include "support/firebird_suite.h"
#include "support/fixed_clock.h"
#include "vornleads/feedback/atualiza_leads_nao_enviados.h"
#include "vornleads/text/datetime.h"

namespace vornleads::test {
namespace {

std::string n(int64_t value) { return std::to_string(value); }
std::string timestamp(int diasAtras) {
  return "CAST('" + FormatDateTime("yyyy-mm-dd hh:nn:ss", testNow() - diasAtras) +
         "' AS TIMESTAMP)";
}

}  // namespace

TDateTime testNow() { return EncodeDateTime({2024, 3, 15, 10, 0, 0, 0}); }

std::vector<Json> updatesOf(int64_t idLead) {
  std::vector<Json> found;
  for (const auto& update : sandbox().updates())
    if (update.value("IdLead", Json()) == idLead) found.push_back(update);
  return found;
}
int32_t nextKey() {
  static std::atomic<int32_t> key{5000};
  return ++key;
}
std::unique_ptr<TestDatabase> newDatabase() {
  auto database = std::make_unique<TestDatabase>(true);
  database->isql(
      "CREATE EXCEPTION E_ENTREGUE 'Linha entregue gravada de novo';\nSET TERM ^ ;\n"
      "CREATE TRIGGER T_ENTREGUE FOR CAC_ATUALIZACOES_LEADVW BEFORE UPDATE AS\n"
      "BEGIN\n  IF (OLD.ENVIOU = 'S') THEN EXCEPTION E_ENTREGUE;\nEND^\nSET TERM ; ^\n");
  return database;
}
std::unique_ptr<TAtualizaLeadsVW> worker(SqlConnection& db, TIntegraLeadsVW bridge) {
  auto atualiza = std::make_unique<TAtualizaLeadsVW>(db);
  atualiza->IntegraLeadsVW = bridge ? std::move(bridge) : test::bridge();
  atualiza->setClock(std::make_shared<FixedClock>(testNow()));
  return atualiza;
}
std::string resendPass(SqlConnection& db, TIntegraLeadsVW bridge) {
  TAtualizaLeadsNaoEnviados resend(db);
  resend.IntegraLeadsVW = std::move(bridge);
  resend.setClock(std::make_shared<FixedClock>(testNow()));
  resend.iniciaAtualizacao();
  const ResendSummary& s = resend.summary();
  return n(s.rowsRead) + "/" + n(s.sent) + "/" + n(s.rejected) + "/" + n(s.unsent);
}
void addLead(SqlConnection& db, int32_t lead, int diasAtras, const std::string& integra,
             int32_t revenda, std::optional<int> novoDias, int32_t usuario) {
  const std::string chave = "1, " + n(revenda) + ", " + n(lead) + ", ";
  db.execute(
      "INSERT INTO CAC_CONTATO (EMPRESA, REVENDA, CONTATO, DTA_CONTATO, DTA_NOVO_CONTATO, "
      "USUARIO_ENCAMINHADO) VALUES (" +
      chave + timestamp(diasAtras) + ", " + (novoDias ? timestamp(*novoDias) : "NULL") + ", " +
      n(usuario) + ")");
  db.execute(
      "INSERT INTO CAC_LEAD_CONTATO (EMPRESA, REVENDA, CONTATO, ID_LEAD_VW, INTEGRANDO) "
      "VALUES (" +
      chave + n(lead) + ", '" + integra + "')");
  sandbox().addLeads(Json::array({{{"IdLead", n(lead)}, {"DealerNumber", "01234"}}}));
}
void addJournalRow(SqlConnection& db, int64_t idLead, int32_t sequencia, int32_t status,
                   const std::string& enviou, const std::string& usuario) {
  db.execute(
      "INSERT INTO CAC_ATUALIZACOES_LEADVW (ID_LEAD_VW, SEQUENCIA, STATUS_LEAD, "
      "DTA_ATUALIZACAO, ENVIOU, CODIGO_ERRO, DESCRICAO_ERRO, USUARIO) VALUES (" +
      n(idLead) + ", " + n(sequencia) + ", " + n(status) + ", " + timestamp(1) + ", '" + enviou +
      "', " + (enviou == "N" ? "297, 'falha anterior'" : "NULL, ''") + ", " + usuario + ")");
}
Strings journal(SqlConnection& db, int64_t idLead) {
  const SqlRowSet rows = db.query(
      "SELECT SEQUENCIA, STATUS_LEAD, ENVIOU, CODIGO_ERRO, DESCRICAO_ERRO, USUARIO, "
      "DTA_ATUALIZACAO, DTA_REAGENDAMENTO FROM CAC_ATUALIZACOES_LEADVW WHERE ID_LEAD_VW = " +
      n(idLead) + " ORDER BY SEQUENCIA");
  Strings found;
  for (size_t row = 0; row < rows.rows.size(); ++row) found.push_back(linha(rows, "", row));
  return found;
}
std::string enviou(SqlConnection& db, int64_t idLead) {
  std::string flags;
  for (const std::string& row : journal(db, idLead))
    flags += row[row.find('|', row.find('|') + 1) + 1];
  return flags;
}
std::string integrando(SqlConnection& db, int64_t idLead) {
  return db.query("SELECT INTEGRANDO FROM CAC_LEAD_CONTATO WHERE ID_LEAD_VW = " + n(idLead))
      .rows.at(0)
      .at(0)
      .asString();
}
TParametroPreparaAtualizaLeadVW updateOf(int32_t lead, int32_t status, int32_t usuario,
                                         int32_t revenda) {
  TParametroPreparaAtualizaLeadVW parametros;
  parametros.empresa = 1;
  parametros.revenda = revenda;
  parametros.contato = parametros.idLead = lead;
  parametros.usuarioAtualizacao = usuario;
  parametros.codigoAtualizacao = status;
  return parametros;
}
std::unique_ptr<TestDatabase> FeedbackTest::shared_;

}  // namespace vornleads::test
