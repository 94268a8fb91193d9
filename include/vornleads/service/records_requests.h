// Requests sent to the leads service: each record's JSON is the Parametros text of one
// operation. JSON form and reading rules: see records_status.h.
#pragma once

#include <string>

#include "vornleads/types.h"

namespace vornleads {

// BuscaLeads. DNs carries the dealer number or numbers ("DN") of the request.
struct TEnviaBuscaLeadsClass {
  std::string DNs;

  std::string AsJSON() const;
  void AssignFromJSON(const std::string& json);
  static TEnviaBuscaLeadsClass FromJSON(const std::string& json);
};

// BuscaLeadsData.
struct TEnviaBuscaLeadsDataClass {
  std::string DNs;
  std::string Data;

  std::string AsJSON() const;
  void AssignFromJSON(const std::string& json);
  static TEnviaBuscaLeadsDataClass FromJSON(const std::string& json);
};

// BuscaLeadsStatus.
struct TEnviaBuscaLeadsStatusClass {
  std::string DNs;
  std::string Status;
  std::string Nome;

  std::string AsJSON() const;
  void AssignFromJSON(const std::string& json);
  static TEnviaBuscaLeadsStatusClass FromJSON(const std::string& json);
};

// CarregaUltimaCargaInicial.
struct TCarregaUltimaCargaInicial {
  std::string DNs;
  std::string Tabela;

  std::string AsJSON() const;
  void AssignFromJSON(const std::string& json);
  static TCarregaUltimaCargaInicial FromJSON(const std::string& json);
};

// AtualizaLeads: one status update of a lead (Status -1 confirms receipt).
struct TEnviaAtualizaLeadClass {
  std::string Cpf;
  std::string DataAtualizacao;
  std::string DataReagendamento;
  double IdLead = 0;
  double Status = 0;

  std::string AsJSON() const;
  void AssignFromJSON(const std::string& json);
  static TEnviaAtualizaLeadClass FromJSON(const std::string& json);
};

// BuscaNovosLeads.
struct TEnviaBuscaNovosLeadsClass {
  TDateTime DataHora = 0;

  std::string AsJSON() const;
  void AssignFromJSON(const std::string& json);
  static TEnviaBuscaNovosLeadsClass FromJSON(const std::string& json);
};

// BuscaHistLeads.
struct TEnviaBuscaHistoricoDealerClass {
  std::string DealerNumber;

  std::string AsJSON() const;
  void AssignFromJSON(const std::string& json);
  static TEnviaBuscaHistoricoDealerClass FromJSON(const std::string& json);
};

// Token request.
struct TAutenticaClass {
  std::string grant_type;
  std::string username;
  std::string password;

  std::string AsJSON() const;
  void AssignFromJSON(const std::string& json);
  static TAutenticaClass FromJSON(const std::string& json);
};

}  // namespace vornleads
