#include "feedback/feedback_fixture.h"

#include <atomic>
#include <cstdlib>
#include <filesystem>

#include "support/fixed_clock.h"
#include "vornleads/text/datetime.h"

namespace vornleads::test {
namespace {

std::string text(const std::string& value) { return "'" + value + "'"; }
std::string timestamp(TDateTime value) {
  return "CAST('" + FormatDateTime("yyyy-mm-dd hh:nn:ss", value) + "' AS TIMESTAMP)";
}
std::string n(int64_t value) { return std::to_string(value); }

std::optional<int32_t> optionalInteger(const SqlValue& value) {
  if (value.isNull()) return std::nullopt;
  return static_cast<int32_t>(value.asInteger());
}

}  // namespace

LeadsService& LeadsService::instance() {
  static LeadsService service;
  return service;
}

LeadsService::LeadsService() {
  std::filesystem::create_symlink(binDir() / kBibliotecaLeads, home_.path() / kBibliotecaLeads);
  // This program and the library edition find the host directory and the endpoint through
  // the environment.
  setenv("VORNLEADS_HOME", home_.path().c_str(), 1);
  sandbox_ = std::make_unique<SandboxProcess>();
  setenv("VORNLEADS_ENDPOINT", sandbox_->url().c_str(), 1);
  library_ = std::make_unique<LeadsLibrary>();
}

std::vector<Json> LeadsService::updatesOf(int64_t idLead) const {
  std::vector<Json> found;
  for (const auto& update : sandbox_->updates()) {
    if (update.value("IdLead", Json()) == idLead) found.push_back(update);
  }
  return found;
}

TDateTime testNow() { return EncodeDateTime({2024, 3, 15, 10, 0, 0, 0}); }

int32_t nextKey() {
  static std::atomic<int32_t> key{5000};
  return ++key;
}

std::unique_ptr<TAtualizaLeadsVW> worker(SqlConnection& db, TIntegraLeadsVW bridge) {
  auto atualiza = std::make_unique<TAtualizaLeadsVW>(db);
  atualiza->IntegraLeadsVW = bridge ? std::move(bridge) : LeadsService::instance().bridge();
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

void addContact(SqlConnection& db, int32_t contato, TDateTime dtaContato,
                std::optional<TDateTime> dtaNovoContato, int32_t usuarioEncaminhado,
                int32_t revenda) {
  db.execute(
      "INSERT INTO CAC_CONTATO (EMPRESA, REVENDA, CONTATO, DTA_CONTATO, DTA_NOVO_CONTATO, "
      "USUARIO_ENCAMINHADO) VALUES (1, " +
      n(revenda) + ", " + n(contato) + ", " + timestamp(dtaContato) + ", " +
      (dtaNovoContato ? timestamp(*dtaNovoContato) : "NULL") + ", " + n(usuarioEncaminhado) + ")");
}

void linkLead(SqlConnection& db, int32_t contato, int64_t idLead, const std::string& integrando,
              int32_t revenda) {
  db.execute(
      "INSERT INTO CAC_LEAD_CONTATO (EMPRESA, REVENDA, CONTATO, ID_LEAD_VW, INTEGRANDO) "
      "VALUES (1, " +
      n(revenda) + ", " + n(contato) + ", " + n(idLead) + ", " + text(integrando) + ")");
  LeadsService::instance().sandbox().addLeads(
      Json::array({{{"IdLead", n(idLead)}, {"DealerNumber", "01234"}, {"Nome", "CLIENTE"}}}));
}

void addBranch(SqlConnection& db, int32_t revenda, std::optional<std::string> usuariosNotificacao) {
  db.execute(
      "INSERT INTO CAC_PARAMETRO (EMPRESA, REVENDA, UTILIZA_INTEGRACAO_LEADVW, "
      "USUARIOS_NOTIF_CONTATO_VEI) VALUES (1, " +
      n(revenda) + ", 'S', " + (usuariosNotificacao ? text(*usuariosNotificacao) : "NULL") + ")");
  db.execute(
      "INSERT INTO FAT_VENDEDOR (EMPRESA, REVENDA, VENDEDOR, USUARIO, NOME, CPF) VALUES (1, " +
      n(revenda) + ", 12, 12, 'CARLOS SOUZA', '22233344405')");
}

void addJournalRow(SqlConnection& db, int64_t idLead, int32_t sequencia, int32_t status,
                   const std::string& enviou, std::optional<int32_t> usuario) {
  db.execute(
      "INSERT INTO CAC_ATUALIZACOES_LEADVW (ID_LEAD_VW, SEQUENCIA, STATUS_LEAD, "
      "DTA_ATUALIZACAO, ENVIOU, CODIGO_ERRO, DESCRICAO_ERRO, USUARIO) VALUES (" +
      n(idLead) + ", " + n(sequencia) + ", " + n(status) + ", " + timestamp(testNow() - 1) + ", " +
      text(enviou) + ", " + (enviou == "N" ? "297, 'falha anterior'" : "NULL, ''") + ", " +
      (usuario ? n(*usuario) : "NULL") + ")");
}

std::vector<JournalRow> journal(SqlConnection& db, int64_t idLead) {
  const SqlRowSet rows = db.query(
      "SELECT SEQUENCIA, STATUS_LEAD, ENVIOU, CODIGO_ERRO, DESCRICAO_ERRO, USUARIO, "
      "DTA_ATUALIZACAO, DTA_REAGENDAMENTO FROM CAC_ATUALIZACOES_LEADVW WHERE ID_LEAD_VW = " +
      n(idLead) + " ORDER BY SEQUENCIA");
  std::vector<JournalRow> found;
  for (const auto& r : rows.rows) {
    found.push_back({static_cast<int32_t>(r[0].asInteger()), static_cast<int32_t>(r[1].asInteger()),
                     r[2].asString(), optionalInteger(r[3]), r[4].asString(), optionalInteger(r[5]),
                     r[6].asString(), r[7].asString()});
  }
  return found;
}

std::string enviou(SqlConnection& db, int64_t idLead) {
  std::string flags;
  for (const auto& row : journal(db, idLead)) flags += row.enviou;
  return flags;
}

std::string integrando(SqlConnection& db, int64_t idLead) {
  const SqlRowSet rows =
      db.query("SELECT INTEGRANDO FROM CAC_LEAD_CONTATO WHERE ID_LEAD_VW = " + n(idLead));
  return rows.empty() ? "<no link>" : rows.rows.front().front().asString();
}

TParametroPreparaAtualizaLeadVW updateOf(int32_t lead, int32_t status, int32_t usuario,
                                         int32_t revenda) {
  TParametroPreparaAtualizaLeadVW parametros;
  parametros.empresa = 1;
  parametros.revenda = revenda;
  parametros.contato = lead;
  parametros.usuarioAtualizacao = usuario;
  parametros.codigoAtualizacao = status;
  parametros.idLead = lead;
  return parametros;
}

std::unique_ptr<TestDatabase> FeedbackTest::shared_;

void FeedbackTest::SetUp() {
  sandbox().reset();
  db_ = shared_->connect();
}

void FeedbackTest::isolate() {
  own_ = std::make_unique<TestDatabase>(true);
  db_ = own_->connect();
}

int32_t FeedbackTest::newLead(int diasAtras, int32_t revenda) {
  const int32_t lead = nextKey();
  addContact(*db_, lead, testNow() - diasAtras, std::nullopt, 12, revenda);
  linkLead(*db_, lead, lead, "S", revenda);
  return lead;
}

}  // namespace vornleads::test
