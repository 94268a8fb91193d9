// A lead that is already linked to a contact: the contact is kept (and its customer and date
// brought up to date) while the lead is open, and closed once VW reports a final status.
#include <cmath>

#include "vornleads/intake/fecha_contato.h"
#include "vornleads/intake/leads_vw_metodos.h"

namespace vornleads {
namespace {

// The statuses of a lead that is still open on VW's side.
bool leadEmAberto(int32_t status) {
  return status == 0 || status == 1 || status == 9 || status == 10;
}

// A sale closes the contact as realised; every other final status as lost.
constexpr int32_t kStatusVendaRealizada = 7;

// Date-times read back from the database carry float noise below the millisecond.
bool mesmoInstante(TDateTime a, TDateTime b) {
  return std::llround(a * 86400000.0) == std::llround(b * 86400000.0);
}

}  // namespace

void TLeadsVWMetodosClass::editaContato(TClientDataSet& contato, TContatoLeadVW& lead) {
  if (!leadEmAberto(lead.status)) {
    lead.codigoContato = static_cast<int32_t>(contato.FieldByName("CONTATO").asInteger());
    fechaContato(lead);
    desfecho_ = Desfecho::Encerrado;
    return;
  }

  contato.Edit();
  // A different customer found (or none) registers a new prospect for the contact, even when
  // an existing customer was found: the contact's customer is not switched to someone else's
  // record.
  if (contato.FieldByName("CLIENTE").asInteger() != retornaCliente(lead)) {
    buscaVendedorAdministrador(lead);
    contato.SetField("CLIENTE", SqlValue::integer(cadastraCliente(lead)));
  }
  if (lead.status == 0 &&
      !mesmoInstante(contato.FieldByName("DTA_CONTATO").asDateTime(), lead.dataIntencao)) {
    contato.SetField("DTA_CONTATO", SqlValue::dateTime(lead.dataIntencao));
  }
  contato.Post();
  desfecho_ = Desfecho::Revisado;
}

void TLeadsVWMetodosClass::fechaContato(TContatoLeadVW& lead) {
  FechamentoContato fechamento;
  fechamento.empresa = lead.empresa;
  fechamento.revenda = lead.revenda;
  fechamento.contato = lead.codigoContato;
  fechamento.leadID = lead.leadID;
  fechamento.resultado = lead.status == kStatusVendaRealizada ? "R" : "P";
  fechamento.dataFechamento = agora();
  const int32_t versao = FechaContatoCRM(conexao_.retornaSQLConnection(), fechamento);
  if (versao >= 0) Aplicacao_.versaoBanco = versao;
}

}  // namespace vornleads
