// Field-by-field equality and printing of the lead message records, for the record tests.
// The field lists here are written independently of the mapper's, so that a field the mapper
// forgets shows up as a difference after a round trip.
#pragma once

#include <ostream>
#include <tuple>

#include "vornleads/service/records_replies.h"
#include "vornleads/service/records_requests.h"
#include "vornleads/service/records_status.h"
#include "vornleads/service/records_working.h"

namespace vornleads {

inline auto fieldsOf(const TStatusClass& r) { return std::tie(r.Codigo, r.Descricao, r.Versao); }
inline auto fieldsOf(const TEnviaBuscaLeadsClass& r) { return std::tie(r.DNs); }
inline auto fieldsOf(const TEnviaBuscaLeadsDataClass& r) { return std::tie(r.DNs, r.Data); }
inline auto fieldsOf(const TEnviaBuscaLeadsStatusClass& r) {
  return std::tie(r.DNs, r.Status, r.Nome);
}
inline auto fieldsOf(const TCarregaUltimaCargaInicial& r) { return std::tie(r.DNs, r.Tabela); }
inline auto fieldsOf(const TEnviaAtualizaLeadClass& r) {
  return std::tie(r.Cpf, r.DataAtualizacao, r.DataReagendamento, r.IdLead, r.Status);
}
inline auto fieldsOf(const TEnviaBuscaNovosLeadsClass& r) { return std::tie(r.DataHora); }
inline auto fieldsOf(const TEnviaBuscaHistoricoDealerClass& r) { return std::tie(r.DealerNumber); }
inline auto fieldsOf(const TAutenticaClass& r) {
  return std::tie(r.grant_type, r.username, r.password);
}
inline auto fieldsOf(const TItemBuscaLeadsClass& r) {
  return std::tie(r.Acabamento, r.Cor, r.CpfCnpj, r.DataIntencao, r.Ddd, r.DealerNumber, r.Email,
                  r.IdLead, r.Modelo, r.Nome, r.Opcionais, r.Status, r.Telefone, r.Preco, r.Origem,
                  r.Mensagem, r.DataIntencaoAgendamento, r.Showroom, r.PreferenciaContato);
}
inline auto fieldsOf(const TItemBuscaNovosLeadsClass& r) {
  return std::tie(r.Acabamento, r.Cor, r.CpfCnpj, r.DataIntencao, r.Ddd, r.DealerNumber, r.Email,
                  r.IdLead, r.Modelo, r.Nome, r.Opcionais, r.Status, r.Telefone, r.Preco, r.Origem,
                  r.Mensagem, r.DataIntencaoAgendamento, r.Showroom, r.PreferenciaContato);
}
inline auto fieldsOf(const TItemBuscaHistoricoDealerClass& r) {
  return std::tie(r.Acabamento, r.Cor, r.CpfCnpj, r.DataIntencao, r.Ddd, r.Email, r.IdLead,
                  r.Modelo, r.Nome, r.Opcionais, r.Status, r.Telefone, r.Preco, r.Origem,
                  r.Mensagem, r.DataIntencaoAgendamento, r.Showroom, r.PreferenciaContato);
}
inline auto fieldsOf(const TItemAtualizaLeadClass& r) { return std::tie(r.Mensagem, r.Retorno); }
inline auto fieldsOf(const TRetornoBuscaLeadsClass& r) { return std::tie(r.Status, r.Leads); }
inline auto fieldsOf(const TRetornoBuscaNovosLeadsClass& r) { return std::tie(r.Status, r.Novos); }
inline auto fieldsOf(const TRetornoBuscaHistoricoDealerClass& r) {
  return std::tie(r.Status, r.Historico);
}
inline auto fieldsOf(const TRetornoAtualizaLeadClass& r) { return std::tie(r.Status, r.Retorno); }
inline auto fieldsOf(const TContatoLeadVW& r) {
  return std::tie(r.empresa, r.revenda, r.codigoContato, r.codigoCliente, r.nome, r.DDD, r.telefone,
                  r.cpfcnpj, r.modelo, r.email, r.leadID, r.PrecoPretendido, r.formaContato,
                  r.tipoContato, r.subTipoContato, r.departamento, r.usuarioCorreio,
                  r.origemTrafego, r.dataIntencao, r.vendedorInclusao, r.status, r.origem,
                  r.mensagem, r.dataIntencaoAgendamento, r.showroom, r.preferenciaContato);
}
inline auto fieldsOf(const TParametroPreparaAtualizaLeadVW& r) {
  return std::tie(r.empresa, r.revenda, r.contato, r.usuarioAtualizacao, r.codigoAtualizacao,
                  r.dataReagendamento, r.reenvio, r.sequenciaReenvio, r.dataAtualizacaoReenvio,
                  r.idLead);
}

// Found by argument-dependent lookup for every record above (and, through them, for the
// optional and vector members of the replies).
template <class Record, class = decltype(fieldsOf(std::declval<const Record&>()))>
bool operator==(const Record& a, const Record& b) {
  return fieldsOf(a) == fieldsOf(b);
}

// GoogleTest prints a record that differs as its JSON.
template <class Record, class = decltype(fieldsOf(std::declval<const Record&>()))>
std::ostream& operator<<(std::ostream& out, const Record& record) {
  return out << record.AsJSON();
}

}  // namespace vornleads
