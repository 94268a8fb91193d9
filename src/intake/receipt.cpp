// Receipt confirmation: every lead of the cycle that now has a lead link is confirmed to VW
// (service 2, status -1); and the status updates the intake itself reports.
#include <exception>
#include <string>

#include "intake/conversoes.h"
#include "vornleads/error.h"
#include "vornleads/feedback/atualiza_leads_vw.h"
#include "vornleads/intake/leads_vw_metodos.h"
#include "vornleads/package/leads_library.h"
#include "vornleads/service/records_requests.h"
#include "vornleads/text/codepage.h"
#include "vornleads/text/datetime.h"
#include "vornleads/text/text_cut.h"

namespace vornleads {
namespace {

// The status that tells VW a lead was received.
constexpr double kStatusRecebido = -1;

// An identifier goes into the SQL text as it came; only one that reads as an integer can have
// a link (the others failed their lead) and only such text is safe to place there unquoted.
bool identificadorNumerico(const std::string& id) {
  try {
    intake::TextoParaInteiro(id);
    return true;
  } catch (const ConversionError&) {
    return false;
  }
}

}  // namespace

void TLeadsVWMetodosClass::validaLeadsProcessados() {
  const int total = static_cast<int>(leadsProcessados_->size());
  int n = 0;
  control_->phase("confirming lead");
  for (const std::string& id : *leadsProcessados_) {
    if (control_->stopRequested()) {
      interrompido_ = true;
      break;
    }
    control_->progress(++n, total, id);
    if (!identificadorNumerico(id)) continue;
    auto link = conexao_.RetornaDataset(
        "select EMPRESA, REVENDA, CONTATO   from CAC_LEAD_CONTATO  where ID_LEAD_VW = " + id, "",
        "");
    if (link->IsEmpty()) continue;
    TContatoLeadVW lead;
    lead.empresa = static_cast<int32_t>(link->FieldByName("EMPRESA").asInteger());
    lead.revenda = static_cast<int32_t>(link->FieldByName("REVENDA").asInteger());
    lead.codigoContato = static_cast<int32_t>(link->FieldByName("CONTATO").asInteger());
    lead.leadID = intake::TextoParaInteiro(id);
    try {
      buscaParametrosCAC(lead);
      marcaLeadComoRecebido(lead);
    } catch (const std::exception& erro) {
      // The pass ends here, as before; its message says which lead and contact it stopped at.
      const std::string mensagem =
          "Recebimento do lead " + id + " (contato " + std::to_string(lead.empresa) + "." +
          std::to_string(lead.revenda) + "." + std::to_string(lead.codigoContato) +
          ") não confirmado\r\n" + boundedMessage(erro);
      if (aoFalharLead) aoFalharLead(FalhaLead{id, lead.codigoContato, mensagem});
      throw VornError(mensagem);
    }
    contagem_.confirmado(id);
  }
  leadsProcessados_.reset();
}

void TLeadsVWMetodosClass::marcaLeadComoRecebido(TContatoLeadVW& Lead) {
  TEnviaAtualizaLeadClass envio;
  TRetornoAtualizaLeadClass retorno;
  const std::string cpf = buscarCPFUsuarioCorreio(Lead);
  envio.DataAtualizacao = FormatDateTime("dd/mm/yyyy hh:mm:Ss", agora());
  envio.IdLead = Lead.leadID;
  envio.Status = kStatusRecebido;
  envio.Cpf = cpf;
  const std::string requisicao = envio.AsJSON();

  inicializaCOM();
  if (!IntegraLeadsVW) throw VornError("Função IntegraLeadsVW não definida");
  const std::string resposta = fromAnsi(IntegraLeadsVW(kServicoAtualizaLeads, toAnsi(requisicao)));
  gravaLog(requisicao, resposta);

  retorno.AssignFromJSON(resposta);
  if (!retorno.Status) throw VornError("Resposta do serviço de leads sem Status: " + excerpt(resposta));
  if (retorno.Status->Codigo > 0) throw VornError(retorno.Status->Descricao);
}

void TLeadsVWMetodosClass::atualizaLead(TContatoLeadVW& Lead, int32_t codigoAtualizacao) {
  TAtualizaLeadsVW atualizacao(conexao_.retornaSQLConnection());
  atualizacao.IntegraLeadsVW = IntegraLeadsVW;
  atualizacao.setClock(clock_);

  TParametroPreparaAtualizaLeadVW parametros;
  parametros.empresa = Lead.empresa;
  parametros.revenda = Lead.revenda;
  parametros.contato = Lead.codigoContato;
  parametros.usuarioAtualizacao = Lead.usuarioCorreio;
  parametros.codigoAtualizacao = codigoAtualizacao;
  parametros.dataAtualizacaoReenvio = DateTimeToStr(agora());
  // The update must reach VW: it names the lead, and it is a first send of its own journal
  // row. As a resend of a row that does not exist it would be answered locally at best, or
  // fail the lead when its journal row is written.
  parametros.idLead = Lead.leadID;
  parametros.reenvio = false;
  atualizacao.realizaAtualizacao(parametros);
}

}  // namespace vornleads
