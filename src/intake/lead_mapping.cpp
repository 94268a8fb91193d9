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

// A conversion of one member: its failure names the member (the lead is named by the trap).
template <class Conversion>
auto campo(const char* nome, Conversion converte) -> decltype(converte()) {
  try {
    return converte();
  } catch (const ConversionError& erro) {
    throw ConversionError(std::string("Campo ") + nome + ": " + erro.what());
  }
}

}  // namespace

void TLeadsVWMetodosClass::preencheLead(const TItemBuscaLeadsClass& item, TContatoLeadVW& lead) {
  lead.leadID = campo("IdLead", [&] { return intake::TextoParaInteiro(item.IdLead); });
  recusaCaractereNulo(item, lead.leadID);
  lead.origem = item.Origem;
  lead.mensagem = item.Mensagem;
  lead.showroom = item.Showroom;
  buscaEmpresaRevendaLead(
      campo("DealerNumber", [&] { return intake::TextoParaInteiro(item.DealerNumber); }), lead);
  lead.nome = semAspas(item.Nome);
  lead.cpfcnpj = item.CpfCnpj;
  lead.email = item.Email;
  lead.telefone = campo("Telefone", [&] { return intake::ArredondaInteiro(item.Telefone); });
  lead.DDD = campo("Ddd", [&] { return intake::ArredondaInteiro(item.Ddd); });
  lead.modelo = item.Modelo;
  lead.dataIntencao =
      campo("DataIntencao", [&] { return StrToDateTime(item.DataIntencao, formatoDatasVW()); });
  if (!item.DataIntencaoAgendamento.empty()) {
    lead.dataIntencaoAgendamento = campo("DataIntencaoAgendamento", [&] {
      return StrToDateTime(item.DataIntencaoAgendamento, formatoDatasVW());
    });
  }
  if (!item.PreferenciaContato.empty()) lead.preferenciaContato = item.PreferenciaContato;
  if (!item.Preco.empty()) {
    lead.PrecoPretendido = campo("Preco", [&] { return intake::TextoParaReal(item.Preco); });
  }
  lead.status = campo("Status", [&] { return intake::ArredondaInteiro(item.Status); });
}

}  // namespace vornleads
