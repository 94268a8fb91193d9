// A reply item of the fetch becomes the working lead, field by field, in the order below: a
// field that cannot be read fails the lead there, with the fields before it already set.
#include <string>
#include <utility>

#include "intake/conversoes.h"
#include "intake/sql_texto.h"
#include "vornleads/error.h"
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

// A NUL character ends an SQL text where the database reads it: the lead is refused with the
// field's name rather than with the syntax error of a statement cut short.
void recusaCaractereNulo(const TItemBuscaLeadsClass& item, int32_t leadID) {
  const std::pair<const char*, const std::string*> campos[] = {
      {"Nome", &item.Nome},         {"CpfCnpj", &item.CpfCnpj},
      {"Email", &item.Email},       {"Modelo", &item.Modelo},
      {"Origem", &item.Origem},     {"Mensagem", &item.Mensagem},
      {"Showroom", &item.Showroom}, {"PreferenciaContato", &item.PreferenciaContato}};
  for (const auto& [nome, texto] : campos) {
    if (texto->find('\0') != std::string::npos) {
      throw VornError(intake::falhaLead(leadID) + "O campo " + nome +
                      " contém o caractere nulo (código 0), que o banco de dados não grava");
    }
  }
}

}  // namespace

void TLeadsVWMetodosClass::preencheLead(const TItemBuscaLeadsClass& item, TContatoLeadVW& lead) {
  lead.leadID = intake::TextoParaInteiro(item.IdLead);
  recusaCaractereNulo(item, lead.leadID);
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
