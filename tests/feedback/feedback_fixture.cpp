#include "feedback/feedback_fixture.h"

#include <atomic>
#include <cstdlib>
#include <filesystem>

#include "vornleads/text/datetime.h"

namespace vornleads::test {
namespace {

std::string text(const std::string& value) { return "'" + value + "'"; }

std::string timestamp(TDateTime value) {
  return "CAST('" + FormatDateTime("yyyy-mm-dd hh:nn:ss", value) + "' AS TIMESTAMP)";
}

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
  // Both this program and the library edition find the host directory and the endpoint
  // through the environment; the library reads the endpoint once, at its first call.
  setenv("VORNLEADS_HOME", home_.path().c_str(), 1);
  sandbox_ = std::make_unique<SandboxProcess>();
  setenv("VORNLEADS_ENDPOINT", sandbox_->url().c_str(), 1);
  library_ = std::make_unique<LeadsLibrary>();
}

std::vector<SandboxProcess::Json> LeadsService::updatesOf(int64_t idLead) const {
  std::vector<SandboxProcess::Json> found;
  for (const auto& update : sandbox_->updates()) {
    if (update.value("IdLead", SandboxProcess::Json()) == idLead) found.push_back(update);
  }
  return found;
}

TDateTime testNow() { return EncodeDateTime({2024, 3, 15, 10, 0, 0, 0}); }

int32_t nextKey() {
  static std::atomic<int32_t> key{5000};
  return ++key;
}

void addContact(SqlConnection& db, int32_t contato, TDateTime dtaContato,
                std::optional<TDateTime> dtaNovoContato, int32_t usuarioEncaminhado,
                int32_t revenda) {
  db.execute(
      "INSERT INTO CAC_CONTATO (EMPRESA, REVENDA, CONTATO, DTA_CONTATO, DTA_NOVO_CONTATO, "
      "USUARIO_ENCAMINHADO) VALUES (1, " +
      std::to_string(revenda) + ", " + std::to_string(contato) + ", " + timestamp(dtaContato) +
      ", " + (dtaNovoContato ? timestamp(*dtaNovoContato) : std::string("NULL")) + ", " +
      std::to_string(usuarioEncaminhado) + ")");
}

void linkLead(SqlConnection& db, int32_t contato, int64_t idLead, const std::string& integrando,
              int32_t revenda) {
  db.execute(
      "INSERT INTO CAC_LEAD_CONTATO (EMPRESA, REVENDA, CONTATO, ID_LEAD_VW, INTEGRANDO) "
      "VALUES (1, " +
      std::to_string(revenda) + ", " + std::to_string(contato) + ", " + std::to_string(idLead) +
      ", " + text(integrando) + ")");
}

void addLeadContact(SqlConnection& db, int32_t contato, int64_t idLead, int diasAtras,
                    int32_t revenda) {
  addContact(db, contato, testNow() - diasAtras, std::nullopt, 12, revenda);
  linkLead(db, contato, idLead, "S", revenda);
  LeadsService::instance().sandbox().addLeads(SandboxProcess::Json::array(
      {{{"IdLead", std::to_string(idLead)}, {"DealerNumber", "01234"}, {"Nome", "CLIENTE"}}}));
}

void addBranch(SqlConnection& db, int32_t revenda, std::optional<std::string> usuariosNotificacao) {
  db.execute(
      "INSERT INTO CAC_PARAMETRO (EMPRESA, REVENDA, UTILIZA_INTEGRACAO_LEADVW, "
      "USUARIOS_NOTIF_CONTATO_VEI) VALUES (1, " +
      std::to_string(revenda) + ", 'S', " +
      (usuariosNotificacao ? text(*usuariosNotificacao) : std::string("NULL")) + ")");
  db.execute(
      "INSERT INTO FAT_VENDEDOR (EMPRESA, REVENDA, VENDEDOR, USUARIO, NOME, CPF) VALUES (1, " +
      std::to_string(revenda) + ", 12, 12, 'CARLOS SOUZA', '22233344405')");
}

void addJournalRow(SqlConnection& db, int64_t idLead, int32_t sequencia, int32_t status,
                   const std::string& enviou, std::optional<int32_t> usuario) {
  db.execute(
      "INSERT INTO CAC_ATUALIZACOES_LEADVW (ID_LEAD_VW, SEQUENCIA, STATUS_LEAD, "
      "DTA_ATUALIZACAO, ENVIOU, CODIGO_ERRO, DESCRICAO_ERRO, USUARIO) VALUES (" +
      std::to_string(idLead) + ", " + std::to_string(sequencia) + ", " + std::to_string(status) +
      ", " + timestamp(testNow() - 1) + ", " + text(enviou) + ", " +
      (enviou == "N" ? "297, 'falha anterior'" : "NULL, ''") + ", " +
      (usuario ? std::to_string(*usuario) : std::string("NULL")) + ")");
}

std::vector<JournalRow> journal(SqlConnection& db, int64_t idLead) {
  const SqlRowSet rows = db.query(
      "SELECT SEQUENCIA, STATUS_LEAD, ENVIOU, CODIGO_ERRO, DESCRICAO_ERRO, USUARIO, "
      "DTA_ATUALIZACAO, DTA_REAGENDAMENTO FROM CAC_ATUALIZACOES_LEADVW WHERE ID_LEAD_VW = " +
      std::to_string(idLead) + " ORDER BY SEQUENCIA");
  std::vector<JournalRow> found;
  for (size_t i = 0; i < rows.rows.size(); ++i) {
    JournalRow row;
    row.sequencia = static_cast<int32_t>(rows.value(i, "SEQUENCIA").asInteger());
    row.status = static_cast<int32_t>(rows.value(i, "STATUS_LEAD").asInteger());
    row.enviou = rows.value(i, "ENVIOU").asString();
    row.codigoErro = optionalInteger(rows.value(i, "CODIGO_ERRO"));
    row.descricaoErro = rows.value(i, "DESCRICAO_ERRO").asString();
    row.usuario = optionalInteger(rows.value(i, "USUARIO"));
    row.dtaAtualizacao = rows.value(i, "DTA_ATUALIZACAO").asString();
    row.dtaReagendamento = rows.value(i, "DTA_REAGENDAMENTO").asString();
    found.push_back(row);
  }
  return found;
}

std::string integrando(SqlConnection& db, int64_t idLead) {
  const SqlRowSet rows = db.query("SELECT INTEGRANDO FROM CAC_LEAD_CONTATO WHERE ID_LEAD_VW = " +
                                  std::to_string(idLead));
  return rows.empty() ? "<no link>" : rows.rows.front().front().asString();
}

TParametroPreparaAtualizaLeadVW updateOf(int32_t contato, int64_t idLead, int32_t status,
                                         int32_t usuario, int32_t revenda) {
  TParametroPreparaAtualizaLeadVW parametros;
  parametros.empresa = 1;
  parametros.revenda = revenda;
  parametros.contato = contato;
  parametros.usuarioAtualizacao = usuario;
  parametros.codigoAtualizacao = status;
  parametros.idLead = static_cast<int32_t>(idLead);
  return parametros;
}

std::unique_ptr<TAtualizaLeadsVW> worker(SqlConnection& db, TIntegraLeadsVW bridge) {
  auto atualiza = std::make_unique<TAtualizaLeadsVW>(db);
  atualiza->IntegraLeadsVW = bridge ? std::move(bridge) : LeadsService::instance().bridge();
  atualiza->setClock(std::make_shared<FixedClock>(testNow()));
  return atualiza;
}

std::unique_ptr<TestDatabase> FeedbackSuite::database_;

void FeedbackSuite::SetUpTestSuite() { database_ = std::make_unique<TestDatabase>(true); }

void FeedbackSuite::TearDownTestSuite() { database_.reset(); }

void FeedbackSuite::SetUp() {
  service().sandbox().reset();
  db_ = database_->connect();
}

}  // namespace vornleads::test
