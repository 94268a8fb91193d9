// Replies received from the leads service and the lead items they carry. JSON form and reading
// rules: see records_status.h.
//
// A reply holds its Status, items and Retorno by value. A fresh search reply has no Status
// (absent until filled from JSON); a fresh TRetornoAtualizaLeadClass holds an empty Status and
// an empty Retorno. The three lead items differ on purpose: the item of BuscaLeads-type replies
// keeps IdLead as text, the others as a number; the history item has no DealerNumber and its
// Ddd is a double.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "vornleads/service/records_status.h"

namespace vornleads {

// A lead of BuscaLeads, BuscaLeadsData and BuscaLeadsStatus replies.
struct TItemBuscaLeadsClass {
  std::string Acabamento;
  std::string Cor;
  std::string CpfCnpj;
  std::string DataIntencao;
  double Ddd = 0;
  std::string DealerNumber;
  std::string Email;
  std::string IdLead;
  std::string Modelo;
  std::string Nome;
  std::string Opcionais;
  double Status = 0;
  double Telefone = 0;
  std::string Preco;
  std::string Origem;
  std::string Mensagem;
  std::string DataIntencaoAgendamento;
  std::string Showroom;
  std::string PreferenciaContato;

  std::string AsJSON() const;
  void AssignFromJSON(const std::string& json);
  static TItemBuscaLeadsClass FromJSON(const std::string& json);
};

// A lead of BuscaNovosLeads replies.
struct TItemBuscaNovosLeadsClass {
  std::string Acabamento;
  std::string Cor;
  std::string CpfCnpj;
  std::string DataIntencao;
  double Ddd = 0;
  std::string DealerNumber;
  std::string Email;
  double IdLead = 0;
  std::string Modelo;
  std::string Nome;
  std::string Opcionais;
  double Status = 0;
  double Telefone = 0;
  std::string Preco;
  std::string Origem;
  std::string Mensagem;
  std::string DataIntencaoAgendamento;
  std::string Showroom;
  std::string PreferenciaContato;

  std::string AsJSON() const;
  void AssignFromJSON(const std::string& json);
  static TItemBuscaNovosLeadsClass FromJSON(const std::string& json);
};

// A lead of BuscaHistLeads replies.
struct TItemBuscaHistoricoDealerClass {
  std::string Acabamento;
  std::string Cor;
  std::string CpfCnpj;
  std::string DataIntencao;
  double Ddd = 0;
  std::string Email;
  double IdLead = 0;
  std::string Modelo;
  std::string Nome;
  std::string Opcionais;
  double Status = 0;
  double Telefone = 0;
  std::string Preco;
  std::string Origem;
  std::string Mensagem;
  std::string DataIntencaoAgendamento;
  std::string Showroom;
  std::string PreferenciaContato;

  std::string AsJSON() const;
  void AssignFromJSON(const std::string& json);
  static TItemBuscaHistoricoDealerClass FromJSON(const std::string& json);
};

// The outcome of one AtualizaLeads request.
struct TItemAtualizaLeadClass {
  std::string Mensagem;
  std::string Retorno;

  std::string AsJSON() const;
  void AssignFromJSON(const std::string& json);
  static TItemAtualizaLeadClass FromJSON(const std::string& json);
};

struct TRetornoBuscaLeadsClass {
  std::optional<TStatusClass> Status;
  std::vector<TItemBuscaLeadsClass> Leads;

  std::string AsJSON() const;
  void AssignFromJSON(const std::string& json);
  static TRetornoBuscaLeadsClass FromJSON(const std::string& json);
};

struct TRetornoBuscaNovosLeadsClass {
  std::optional<TStatusClass> Status;
  std::vector<TItemBuscaNovosLeadsClass> Novos;

  std::string AsJSON() const;
  void AssignFromJSON(const std::string& json);
  static TRetornoBuscaNovosLeadsClass FromJSON(const std::string& json);
};

struct TRetornoBuscaHistoricoDealerClass {
  std::optional<TStatusClass> Status;
  std::vector<TItemBuscaHistoricoDealerClass> Historico;

  std::string AsJSON() const;
  void AssignFromJSON(const std::string& json);
  static TRetornoBuscaHistoricoDealerClass FromJSON(const std::string& json);
};

// Both members are present from construction; JSON null makes them absent.
struct TRetornoAtualizaLeadClass {
  std::optional<TStatusClass> Status = TStatusClass{};
  std::optional<TItemAtualizaLeadClass> Retorno = TItemAtualizaLeadClass{};

  std::string AsJSON() const;
  void AssignFromJSON(const std::string& json);
  static TRetornoAtualizaLeadClass FromJSON(const std::string& json);
};

}  // namespace vornleads
