// Status updates per second: the whole pipeline (TAtualizaLeadsVW through the library edition
// and the sandbox on loopback, into an embedded Firebird database) against the same SQL
// statements issued directly, without the pipeline and without the bridge.
//
//   feedback_bench [UPDATES] [BIN_DIR]     (default 300; BIN_DIR: the directory holding
//                                           vornleads-sandbox and VornLeadsVW.dll, by default
//                                           ../bin beside this program)
#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "bench_support.h"
#include "vornleads/data/conexao_simplificada.h"
#include "vornleads/db/schema.h"
#include "vornleads/db/sql_connection.h"
#include "vornleads/feedback/atualiza_leads_vw.h"
#include "vornleads/package/leads_library.h"
#include "vornleads/text/datetime.h"

namespace {

namespace fs = std::filesystem;
using bench_support::ScratchDir;
using bench_support::Sandbox;
using Steady = std::chrono::steady_clock;

class FixedClock : public vornleads::Clock {
 public:
  vornleads::TDateTime now() const override {
    return vornleads::EncodeDateTime({2024, 3, 15, 10, 0, 0, 0});
  }
};

constexpr int kFirstLead = 100000;

// Contacts and lead links for leads first .. first + count - 1 (contact = lead number).
void addLeads(vornleads::SqlConnection& db, int first, int count) {
  vornleads::Transaction transaction(db);
  for (int lead = first; lead < first + count; ++lead) {
    const std::string n = std::to_string(lead);
    db.execute(
        "INSERT INTO CAC_CONTATO (EMPRESA, REVENDA, CONTATO, DTA_CONTATO, USUARIO_ENCAMINHADO) "
        "VALUES (1, 1, " +
        n + ", CAST('2024-03-10 09:00:00' AS TIMESTAMP), 12)");
    db.execute(
        "INSERT INTO CAC_LEAD_CONTATO (EMPRESA, REVENDA, CONTATO, ID_LEAD_VW, INTEGRANDO) "
        "VALUES (1, 1, " +
        n + ", " + n + ", 'S')");
  }
  transaction.commit();
}

double pipelineRun(vornleads::SqlConnection& db, const vornleads::TIntegraLeadsVW& bridge,
                   int count) {
  const auto clock = std::make_shared<FixedClock>();
  const auto start = Steady::now();
  for (int lead = kFirstLead; lead < kFirstLead + count; ++lead) {
    vornleads::TAtualizaLeadsVW worker(db);
    worker.IntegraLeadsVW = bridge;
    worker.setClock(clock);
    vornleads::TParametroPreparaAtualizaLeadVW parametros;
    parametros.empresa = 1;
    parametros.revenda = 1;
    parametros.contato = lead;
    parametros.usuarioAtualizacao = 12;
    parametros.codigoAtualizacao = 10;
    parametros.idLead = lead;
    const auto resposta = worker.realizaAtualizacao(parametros);
    if (!resposta || resposta->Status->Codigo > 0) {
      throw std::runtime_error("update of lead " + std::to_string(lead) + " not accepted: " +
                               (resposta ? resposta->Status->Descricao : worker.mensagemErro()));
    }
  }
  return std::chrono::duration<double>(Steady::now() - start).count();
}

// The statements one accepted update sends, in the same order and text, with the journal rows
// written by plain INSERT/UPDATE statements.
double directRun(vornleads::SqlConnection& db, int first, int count) {
  vornleads::TConexaoSimplificada conexao(db);
  const auto start = Steady::now();
  for (int lead = first; lead < first + count; ++lead) {
    const std::string n = std::to_string(lead);
    conexao.RetornaDataset(
        "select DTA_CONTATO, DTA_NOVO_CONTATO   from CAC_CONTATO  where EMPRESA = 1"
        "   and REVENDA = 1   and CONTATO = " +
        n);
    conexao.executaSQLString(
        "select INTEGRANDO   from CAC_LEAD_CONTATO  where EMPRESA = 1   and "
        "REVENDA = 1   and CONTATO = " +
        n + "   and ID_LEAD_VW = " + n);
    conexao.executaSQLString(
        "SELECT UTILIZA_INTEGRACAO_LEADVW   FROM CAC_PARAMETRO  WHERE EMPRESA = 1"
        "   AND REVENDA = 1");
    conexao.executaSQLInteger(
        "SELECT STATUS_LEAD   FROM CAC_ATUALIZACOES_LEADVW  WHERE ID_LEAD_VW = " + n +
        "   AND SEQUENCIA = (SELECT MAX(SEQUENCIA) "
        "                      FROM CAC_ATUALIZACOES_LEADVW "
        "                     WHERE ID_LEAD_VW = " +
        n + "                    )");
    conexao.executaSQLString(
        "SELECT CPF   FROM FAT_VENDEDOR  WHERE EMPRESA = 1   AND REVENDA = 1"
        "   AND USUARIO = 12");
    conexao.RetornaDataset("SELECT *   FROM CAC_ATUALIZACOES_LEADVW  WHERE ID_LEAD_VW = " + n +
                           "   AND SEQUENCIA = -1");
    conexao.executaSQLInteger(
        "Select MAX(SEQUENCIA)   from CAC_ATUALIZACOES_LEADVW  where ID_LEAD_VW = " + n);
    conexao.executaDML(
        "INSERT INTO CAC_ATUALIZACOES_LEADVW (ID_LEAD_VW, SEQUENCIA, STATUS_LEAD, "
        "DTA_ATUALIZACAO, ENVIOU, CODIGO_ERRO, DESCRICAO_ERRO, USUARIO) VALUES (" +
        n +
        ", 1, 10, CAST('2024-03-15 10:00:00' AS TIMESTAMP), 'N', 297, "
        "'Atualização em processo de envio', 12)");
    conexao.RetornaDataset("SELECT *   FROM CAC_ATUALIZACOES_LEADVW  WHERE ID_LEAD_VW = " + n +
                           "   AND SEQUENCIA = 1");
    conexao.executaDML("update CAC_ATUALIZACOES_LEADVW set ENVIOU = 'S'  where ID_LEAD_VW = " + n +
                       "   and ENVIOU = 'N'    and SEQUENCIA < 1");
    conexao.executaDML(
        "UPDATE CAC_ATUALIZACOES_LEADVW SET ENVIOU = 'S', CODIGO_ERRO = NULL, "
        "DESCRICAO_ERRO = '' WHERE ID_LEAD_VW = " +
        n + " AND SEQUENCIA = 1");
  }
  return std::chrono::duration<double>(Steady::now() - start).count();
}

}  // namespace

int main(int argc, char** argv) {
  try {
    const int count = argc > 1 ? std::atoi(argv[1]) : 300;
    if (count <= 0) throw std::runtime_error("UPDATES must be a positive number");
    const fs::path binDir = argc > 2
                                ? fs::path(argv[2])
                                : fs::read_symlink("/proc/self/exe").parent_path() / ".." / "bin";

    ScratchDir scratch("vornleads-feedback-bench");
    fs::create_symlink(fs::absolute(binDir / vornleads::kBibliotecaLeads),
                       scratch.path() / vornleads::kBibliotecaLeads);
    {
      std::ofstream leads(scratch.path() / "leads.json");
      leads << "[";
      for (int lead = kFirstLead; lead < kFirstLead + count; ++lead) {
        leads << (lead == kFirstLead ? "" : ",") << R"({"IdLead":")" << lead
              << R"(","DealerNumber":"01234"})";
      }
      leads << "]";
    }
    const Sandbox sandbox(binDir / "vornleads-sandbox", scratch.path() / "leads.json");
    setenv("VORNLEADS_ENDPOINT", sandbox.url().c_str(), 1);
    setenv("VORNLEADS_HOME", scratch.path().c_str(), 1);

    const std::string database = (scratch.path() / "dms.fdb").string();
    vornleads::CreateDatabase(database, true);
    const auto db = vornleads::OpenConnection(database);
    addLeads(*db, kFirstLead, count);
    addLeads(*db, kFirstLead + count, count);

    const vornleads::LeadsLibrary library;
    const double pipeline = pipelineRun(*db, library.bind(), count);
    const double direct = directRun(*db, kFirstLead + count, count);

    std::printf("updates:                         %d\n", count);
    std::printf("pipeline (library edition, SOAP): %.1f updates/s (%.2f ms each)\n",
                count / pipeline, 1000 * pipeline / count);
    std::printf("same SQL issued directly:         %.1f updates/s (%.2f ms each)\n", count / direct,
                1000 * direct / count);
    std::printf("ratio direct / pipeline:          %.2f\n", pipeline / direct);
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "feedback_bench: %s\n", error.what());
    return 1;
  }
}
