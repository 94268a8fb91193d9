// A reply item of the fetch becomes the working lead, field by field, in the order below: a
// field that cannot be read fails the lead there, with the fields before it already set.
#include <string>

#include "intake/conversoes.h"
#include "vornleads/intake/leads_vw_metodos.h"
#include "vornleads/text/datetime.h"

namespace vornleads {
namespace {

// Dates of the service: "dd/mm/yyyy HH:mm:Ss", whatever the dealer's regional settings.
const FormatSettings& formatoDatasVW() {
  static const FormatSettings formato = [] {
    FormatSettings f;
    f.shortDateFormat = "dd/mm/yyyy";
    f.dateSeparator = '/';
    f.longTimeFormat = "HH:mm:Ss";
    f.timeSeparator = ':';
    return f;
  }();
  return formato;
}

// Double quotes and apostrophes never reach the customer's or the contact's name.
std::string semAspas(const std::string& nome) {
  std::string limpo;
  for (char c : nome) {
    if (c != '"' && c != '\'') limpo += c;
  }
  return limpo;
}

}  // namespace

void TLeadsVWMetodosClass::preencheLead(const TItemBuscaLeadsClass& item, TContatoLeadVW& lead) {
  lead.leadID = intake::TextoParaInteiro(item.IdLead);
  lead.origem = item.Origem;
  lead.mensagem = item.Mensagem;
  lead.showroom = item.Showroom;
  buscaEmpresaRevendaLead(intake::TextoParaInteiro(item.DealerNumber), lead);
  lead.nome = semAspas(item.Nome);
  lead.cpfcnpj = item.CpfCnpj;
  lead.email = item.Email;
  lead.telefone = intake::ArredondaInteiro(item.Telefone);
  lead.DDD = intake::ArredondaInteiro(item.Ddd);
  lead.modelo = item.Modelo;
  lead.dataIntencao = StrToDateTime(item.DataIntencao, formatoDatasVW());
  if (!item.DataIntencaoAgendamento.empty()) {
    lead.dataIntencaoAgendamento = StrToDateTime(item.DataIntencaoAgendamento, formatoDatasVW());
  }
  if (!item.PreferenciaContato.empty()) lead.preferenciaContato = item.PreferenciaContato;
  if (!item.Preco.empty()) lead.PrecoPretendido = intake::TextoParaReal(item.Preco);
  lead.status = intake::ArredondaInteiro(item.Status);
}

}  // namespace vornleads
