// The field list of every lead message record, in declaration order (internal). One list per
// record serves both JSON directions (see json_mapper.h); a field missing here is missing from
// the record's JSON in both directions.
#pragma once

#include "service/json_mapper.h"
#include "vornleads/service/records_replies.h"
#include "vornleads/service/records_requests.h"
#include "vornleads/service/records_status.h"
#include "vornleads/service/records_working.h"

namespace vornleads::json_mapper {

template <>
struct RecordFields<TStatusClass> {
  static constexpr const char* name = "TStatusClass";
  template <class M, class R>
  static void map(M& m, R& r) {
    m("Codigo", r.Codigo);
    m("Descricao", r.Descricao);
    m("Versao", r.Versao);
  }
};

// ---- Requests --------------------------------------------------------------------------------

template <>
struct RecordFields<TEnviaBuscaLeadsClass> {
  static constexpr const char* name = "TEnviaBuscaLeadsClass";
  template <class M, class R>
  static void map(M& m, R& r) {
    m("DNs", r.DNs);
  }
};

template <>
struct RecordFields<TEnviaBuscaLeadsDataClass> {
  static constexpr const char* name = "TEnviaBuscaLeadsDataClass";
  template <class M, class R>
  static void map(M& m, R& r) {
    m("DNs", r.DNs);
    m("Data", r.Data);
  }
};

template <>
struct RecordFields<TEnviaBuscaLeadsStatusClass> {
  static constexpr const char* name = "TEnviaBuscaLeadsStatusClass";
  template <class M, class R>
  static void map(M& m, R& r) {
    m("DNs", r.DNs);
    m("Status", r.Status);
    m("Nome", r.Nome);
  }
};

template <>
struct RecordFields<TCarregaUltimaCargaInicial> {
  static constexpr const char* name = "TCarregaUltimaCargaInicial";
  template <class M, class R>
  static void map(M& m, R& r) {
    m("DNs", r.DNs);
    m("Tabela", r.Tabela);
  }
};

template <>
struct RecordFields<TEnviaAtualizaLeadClass> {
  static constexpr const char* name = "TEnviaAtualizaLeadClass";
  template <class M, class R>
  static void map(M& m, R& r) {
    m("Cpf", r.Cpf);
    m("DataAtualizacao", r.DataAtualizacao);
    m("DataReagendamento", r.DataReagendamento);
    m("IdLead", r.IdLead);
    m("Status", r.Status);
  }
};

template <>
struct RecordFields<TEnviaBuscaNovosLeadsClass> {
  static constexpr const char* name = "TEnviaBuscaNovosLeadsClass";
  template <class M, class R>
  static void map(M& m, R& r) {
    m.dateTime("DataHora", r.DataHora);
  }
};

template <>
struct RecordFields<TEnviaBuscaHistoricoDealerClass> {
  static constexpr const char* name = "TEnviaBuscaHistoricoDealerClass";
  template <class M, class R>
  static void map(M& m, R& r) {
    m("DealerNumber", r.DealerNumber);
  }
};

template <>
struct RecordFields<TAutenticaClass> {
  static constexpr const char* name = "TAutenticaClass";
  template <class M, class R>
  static void map(M& m, R& r) {
    m("grant_type", r.grant_type);
    m("username", r.username);
    m("password", r.password);
  }
};

// ---- Lead items ------------------------------------------------------------------------------

// The three lead items share their layout; withDealerNumber is false for the history item,
// which has no DealerNumber.
template <bool withDealerNumber, class M, class R>
void mapLeadItem(M& m, R& r) {
  m("Acabamento", r.Acabamento);
  m("Cor", r.Cor);
  m("CpfCnpj", r.CpfCnpj);
  m("DataIntencao", r.DataIntencao);
  m("Ddd", r.Ddd);
  if constexpr (withDealerNumber) m("DealerNumber", r.DealerNumber);
  m("Email", r.Email);
  m("IdLead", r.IdLead);
  m("Modelo", r.Modelo);
  m("Nome", r.Nome);
  m("Opcionais", r.Opcionais);
  m("Status", r.Status);
  m("Telefone", r.Telefone);
  m("Preco", r.Preco);
  m("Origem", r.Origem);
  m("Mensagem", r.Mensagem);
  m("DataIntencaoAgendamento", r.DataIntencaoAgendamento);
  m("Showroom", r.Showroom);
  m("PreferenciaContato", r.PreferenciaContato);
}

template <>
struct RecordFields<TItemBuscaLeadsClass> {
  static constexpr const char* name = "TItemBuscaLeadsClass";
  template <class M, class R>
  static void map(M& m, R& r) {
    mapLeadItem<true>(m, r);
  }
};

template <>
struct RecordFields<TItemBuscaNovosLeadsClass> {
  static constexpr const char* name = "TItemBuscaNovosLeadsClass";
  template <class M, class R>
  static void map(M& m, R& r) {
    mapLeadItem<true>(m, r);
  }
};

template <>
struct RecordFields<TItemBuscaHistoricoDealerClass> {
  static constexpr const char* name = "TItemBuscaHistoricoDealerClass";
  template <class M, class R>
  static void map(M& m, R& r) {
    mapLeadItem<false>(m, r);
  }
};

template <>
struct RecordFields<TItemAtualizaLeadClass> {
  static constexpr const char* name = "TItemAtualizaLeadClass";
  template <class M, class R>
  static void map(M& m, R& r) {
    m("Mensagem", r.Mensagem);
    m("Retorno", r.Retorno);
  }
};

// ---- Replies ---------------------------------------------------------------------------------

template <>
struct RecordFields<TRetornoBuscaLeadsClass> {
  static constexpr const char* name = "TRetornoBuscaLeadsClass";
  template <class M, class R>
  static void map(M& m, R& r) {
    m("Status", r.Status);
    m("Leads", r.Leads);
  }
};

template <>
struct RecordFields<TRetornoBuscaNovosLeadsClass> {
  static constexpr const char* name = "TRetornoBuscaNovosLeadsClass";
  template <class M, class R>
  static void map(M& m, R& r) {
    m("Status", r.Status);
    m("Novos", r.Novos);
  }
};

template <>
struct RecordFields<TRetornoBuscaHistoricoDealerClass> {
  static constexpr const char* name = "TRetornoBuscaHistoricoDealerClass";
  template <class M, class R>
  static void map(M& m, R& r) {
    m("Status", r.Status);
    m("Historico", r.Historico);
  }
};

template <>
struct RecordFields<TRetornoAtualizaLeadClass> {
  static constexpr const char* name = "TRetornoAtualizaLeadClass";
  template <class M, class R>
  static void map(M& m, R& r) {
    m("Status", r.Status);
    m("Retorno", r.Retorno);
  }
};

// ---- Working records -------------------------------------------------------------------------

template <>
struct RecordFields<TContatoLeadVW> {
  static constexpr const char* name = "TContatoLeadVW";
  template <class M, class R>
  static void map(M& m, R& r) {
    m("empresa", r.empresa);
    m("revenda", r.revenda);
    m("codigoContato", r.codigoContato);
    m("codigoCliente", r.codigoCliente);
    m("nome", r.nome);
    m("DDD", r.DDD);
    m("telefone", r.telefone);
    m("cpfcnpj", r.cpfcnpj);
    m("modelo", r.modelo);
    m("email", r.email);
    m("leadID", r.leadID);
    m("PrecoPretendido", r.PrecoPretendido);
    m("formaContato", r.formaContato);
    m("tipoContato", r.tipoContato);
    m("subTipoContato", r.subTipoContato);
    m("departamento", r.departamento);
    m("usuarioCorreio", r.usuarioCorreio);
    m("origemTrafego", r.origemTrafego);
    m.dateTime("dataIntencao", r.dataIntencao);
    m("vendedorInclusao", r.vendedorInclusao);
    m("status", r.status);
    m("origem", r.origem);
    m("mensagem", r.mensagem);
    m.dateTime("dataIntencaoAgendamento", r.dataIntencaoAgendamento);
    m("showroom", r.showroom);
    m("preferenciaContato", r.preferenciaContato);
  }
};

template <>
struct RecordFields<TParametroPreparaAtualizaLeadVW> {
  static constexpr const char* name = "TParametroPreparaAtualizaLeadVW";
  template <class M, class R>
  static void map(M& m, R& r) {
    m("empresa", r.empresa);
    m("revenda", r.revenda);
    m("contato", r.contato);
    m("usuarioAtualizacao", r.usuarioAtualizacao);
    m("codigoAtualizacao", r.codigoAtualizacao);
    m("dataReagendamento", r.dataReagendamento);
    m("reenvio", r.reenvio);
    m("sequenciaReenvio", r.sequenciaReenvio);
    m("dataAtualizacaoReenvio", r.dataAtualizacaoReenvio);
    m("idLead", r.idLead);
  }
};

}  // namespace vornleads::json_mapper
