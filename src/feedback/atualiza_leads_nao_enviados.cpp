// The resend pass over the unsent rows of the update journal.
#include "vornleads/feedback/atualiza_leads_nao_enviados.h"

#include <exception>
#include <optional>
#include <string>
#include <utility>

#include "vornleads/error.h"
#include "vornleads/feedback/atualiza_leads_vw.h"
#include "vornleads/feedback/unsent_selection.h"
#include "vornleads/service/records_working.h"
#include "vornleads/text/text_cut.h"

namespace vornleads {
namespace {

constexpr int kStatusReagendamento = 9;

// "lead 501 (contato 1.1.10, sequência 2)": how the pass names a journal row.
std::string nomeLinha(const TParametroPreparaAtualizaLeadVW& p) {
  return "lead " + std::to_string(p.idLead) + " (contato " + std::to_string(p.empresa) + "." +
         std::to_string(p.revenda) + "." + std::to_string(p.contato) + ", sequência " +
         std::to_string(p.sequenciaReenvio) + ")";
}

// Counts the row by what reached VW, and says why a row was not sent; empty when it was.
std::string contaResultado(const TAtualizaLeadsVW& worker,
                           const std::optional<TRetornoAtualizaLeadClass>& resposta,
                           ResendSummary& summary) {
  switch (worker.desfecho()) {
    case TAtualizaLeadsVW::Desfecho::Aceito:
      ++summary.sent;
      return "";
    case TAtualizaLeadsVW::Desfecho::Recusado:
      ++summary.rejected;
      return "rejected: " + resposta->Status->Descricao;
    case TAtualizaLeadsVW::Desfecho::NaoEnviado:
      break;
  }
  ++summary.unsent;
  // The journalled reason, else the answer that came instead of VW's (the library's own, or
  // the local one).
  std::string motivo = worker.mensagemErro();
  if (motivo.empty() && resposta && resposta->Status) motivo = resposta->Status->Descricao;
  while (!motivo.empty() && (motivo.back() == '\n' || motivo.back() == '\r')) motivo.pop_back();
  return "not sent: " + excerpt(motivo);
}

}  // namespace

TAtualizaLeadsNaoEnviados::TAtualizaLeadsNaoEnviados(SqlConnection& connection)
    : conexao_(connection), clock_(systemClock()), control_(unattendedRun()) {}

void TAtualizaLeadsNaoEnviados::setClock(std::shared_ptr<Clock> clock) {
  clock_ = clock ? std::move(clock) : systemClock();
}

void TAtualizaLeadsNaoEnviados::setRunControl(std::shared_ptr<RunControl> control) {
  control_ = control ? std::move(control) : unattendedRun();
}

void TAtualizaLeadsNaoEnviados::iniciaAtualizacao() {
  const auto revendas = conexao_.RetornaDataset(integratedBranchesSql());
  for (; !revendas->Eof() && !interrompido_; revendas->Next()) {
    empresaAtual = static_cast<int32_t>(revendas->FieldByName("EMPRESA").asInteger());
    revendaAtual = static_cast<int32_t>(revendas->FieldByName("REVENDA").asInteger());
    buscaLeads();
  }
}

void TAtualizaLeadsNaoEnviados::buscaLeads() {
  const auto linhas = conexao_.RetornaDataset(unsentUpdatesSql(empresaAtual, revendaAtual));
  const int total = linhas->RecordCount();
  int n = 0;
  for (; !linhas->Eof(); linhas->Next()) {
    if (control_->stopRequested()) {
      interrompido_ = true;
      return;
    }
    TParametroPreparaAtualizaLeadVW parametros;
    parametros.empresa = static_cast<int32_t>(linhas->FieldByName("EMPRESA").asInteger());
    parametros.revenda = static_cast<int32_t>(linhas->FieldByName("REVENDA").asInteger());
    parametros.contato = static_cast<int32_t>(linhas->FieldByName("CONTATO").asInteger());
    const SqlValue& usuario = linhas->FieldByName("USUARIO");
    parametros.usuarioAtualizacao = usuario.isNull() ? buscaUsuarioEncaminhado(parametros.contato)
                                                     : static_cast<int32_t>(usuario.asInteger());
    parametros.codigoAtualizacao =
        static_cast<int32_t>(linhas->FieldByName("STATUS_LEAD").asInteger());
    parametros.reenvio = true;
    if (parametros.codigoAtualizacao == kStatusReagendamento) {
      parametros.dataReagendamento = linhas->FieldByName("DTA_REAGENDAMENTO").asString();
    }
    parametros.sequenciaReenvio =
        static_cast<int32_t>(linhas->FieldByName("SEQUENCIA").asInteger());
    parametros.dataAtualizacaoReenvio = linhas->FieldByName("DTA_ATUALIZACAO").asString();
    parametros.idLead = static_cast<int32_t>(linhas->FieldByName("ID_LEAD_VW").asInteger());

    control_->progress(
        ++n, total,
        std::to_string(parametros.idLead) + "/" + std::to_string(parametros.sequenciaReenvio));
    TAtualizaLeadsVW worker(conexao_.retornaSQLConnection());
    worker.IntegraLeadsVW = IntegraLeadsVW;
    worker.setClock(clock_);
    ++summary_.rowsRead;
    std::optional<TRetornoAtualizaLeadClass> resposta;
    try {
      resposta = worker.realizaAtualizacao(parametros);
    } catch (const std::exception& erro) {
      // Counted and passed on, naming the row: the error ends the pass and the row stays
      // unsent.
      ++summary_.unsent;
      throw VornError(nomeLinha(parametros) + ": " + boundedMessage(erro));
    }
    // The outcome is in the journal row; the reply is only counted.
    const std::string motivo = contaResultado(worker, resposta, summary_);
    if (!motivo.empty() && aoFalharLinha) aoFalharLinha(nomeLinha(parametros) + " " + motivo);
  }
}

int32_t TAtualizaLeadsNaoEnviados::buscaUsuarioEncaminhado(int32_t /*contato*/) {
  // clang-format off
  return conexao_.executaSQLInteger("SELECT USUARIO_ENCAMINHADO "
                                    "  FROM CAC_CONTATO "
                                    " WHERE EMPRESA = " + std::to_string(empresaAtual) +
                                    "   AND REVENDA = " + std::to_string(revendaAtual));
  // clang-format on
}

}  // namespace vornleads
