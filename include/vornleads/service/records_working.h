// Working records of the lead intake and the status update workers. They have the same JSON
// form as the service records (see records_status.h), which the workers use for their logs.
#pragma once

#include <cstdint>
#include <string>

#include "vornleads/types.h"

namespace vornleads {

// One received lead while it is turned into a CRM contact.
struct TContatoLeadVW {
  int32_t empresa = 0;
  int32_t revenda = 0;
  int32_t codigoContato = 0;
  int32_t codigoCliente = 0;
  std::string nome;
  int32_t DDD = 0;
  int32_t telefone = 0;
  std::string cpfcnpj;
  std::string modelo;
  std::string email;
  int32_t leadID = 0;
  double PrecoPretendido = 0;
  int32_t formaContato = 0;
  int32_t tipoContato = 0;
  int32_t subTipoContato = 0;
  int32_t departamento = 0;
  int32_t usuarioCorreio = 0;
  int32_t origemTrafego = 0;
  TDateTime dataIntencao = 0;
  int32_t vendedorInclusao = 0;
  int32_t status = 0;
  std::string origem;
  std::string mensagem;
  TDateTime dataIntencaoAgendamento = 0;
  std::string showroom;
  std::string preferenciaContato;

  std::string AsJSON() const;
  void AssignFromJSON(const std::string& json);
  static TContatoLeadVW FromJSON(const std::string& json);
};

// The input of one status update. sequenciaReenvio -1 marks an update that is not a resend.
struct TParametroPreparaAtualizaLeadVW {
  int32_t empresa = 0;
  int32_t revenda = 0;
  int32_t contato = 0;
  int32_t usuarioAtualizacao = 0;
  int32_t codigoAtualizacao = 0;
  std::string dataReagendamento;
  bool reenvio = false;
  int32_t sequenciaReenvio = -1;
  std::string dataAtualizacaoReenvio;
  int32_t idLead = 0;

  std::string AsJSON() const;
  void AssignFromJSON(const std::string& json);
  static TParametroPreparaAtualizaLeadVW FromJSON(const std::string& json);
};

}  // namespace vornleads
