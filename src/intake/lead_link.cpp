// The link between a VW lead and a CRM contact (CAC_LEAD_CONTATO), and the rescheduled lead:
// a customer who already has a contact scheduled for the lead's date gets only the link.
#include <string>

#include "vornleads/data/geral.h"
#include "vornleads/data/insert_builder.h"
#include "vornleads/error.h"
#include "vornleads/intake/leads_vw_metodos.h"

namespace vornleads {
namespace {

// The status VW gets for a lead that joined a contact already scheduled for its date.
constexpr int32_t kCodigoReagendado = 10;

}  // namespace

void TLeadsVWMetodosClass::verificaReagendamento(TContatoLeadVW& lead) {
  const int32_t cliente = retornaCliente(lead);
  if (cliente >= 0) {
    lead.codigoContato =
        conexao_.executaSQLInteger("SELECT CONTATO   FROM CAC_CONTATO  WHERE DTA_NOVO_CONTATO = " +
                                   DataHoraPSql(lead.dataIntencao, conexao_.banco()) +
                                   "   AND EMPRESA = " + std::to_string(lead.empresa) +
                                   "   AND REVENDA = " + std::to_string(lead.revenda) +
                                   "   AND CLIENTE = " + std::to_string(cliente));
    if (lead.codigoContato != -1) {
      incluiLeadContato(lead);
      buscaParametrosCAC(lead);
      atualizaLead(lead, kCodigoReagendado);
      desfecho_ = Desfecho::Vinculado;
      return;
    }
  }
  incluiContato(lead);
}

void TLeadsVWMetodosClass::incluiLeadContato(TContatoLeadVW& lead) {
  TInsert link("CAC_LEAD_CONTATO", conexao_.banco());
  link.AddCampo("EMPRESA", lead.empresa);
  link.AddCampo("REVENDA", lead.revenda);
  link.AddCampo("CONTATO", lead.codigoContato);
  link.AddCampo("ID_LEAD_VW", lead.leadID);
  link.AddCampo("ORIGEM", lead.origem);
  link.AddCampo("MENSAGEM", lead.mensagem);
  // Written also when VW sent no appointment date (zero).
  link.AddCampoDataHora("DTA_INTENCAO_AGENDAMENTO", lead.dataIntencaoAgendamento);
  link.AddCampo("PREFERENCIA_CONTATO", lead.preferenciaContato);
  link.AddCampo("SHOWROOM", lead.showroom);
  if (!conexao_.executaDML(MontaSQLInsert(link))) throw AbortError();
}

}  // namespace vornleads
