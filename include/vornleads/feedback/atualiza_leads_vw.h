// TAtualizaLeadsVW: sends one change of a lead contact's status back to VW and journals it.
//
// One object serves one update: construct it on a connection, assign IntegraLeadsVW (and,
// where users are to be mailed about rejections, envioExternoMensagem), call
// realizaAtualizacao once, destroy it.
//
// realizaAtualizacao(parametros):
// - raises VornError "Função IntegraLeadsVW não definida" when no bridge is assigned, before
//   anything else;
// - raises VornError with the original message for any failure while the update is checked
//   and prepared (database errors, unparsable dates, "Não é possível reagendar para um
//   período maior que 6 meses", "Conexão não definida");
// - answers locally, without sending or journalling, when the update is not part of the
//   integration: Status 0 for a first send, 299 (lead older than 90 days) or 297 on a resend;
// - answers std::nullopt when the update was journalled but may not be sent (salesperson
//   without CPF, VornLeadsVW.dll missing from the host directory), or when the send failed
//   (the failure is journalled as "Erro ao enviar atualização para a VW: " + message);
// - otherwise answers VW's reply, accepted (Codigo <= 0) or rejected (Codigo > 0).
// Every update that reaches the journal leaves a CAC_ATUALIZACOES_LEADVW row: "N" while in
// progress or not delivered (picked up by the resend pass), "S" once VW accepted it. No
// transaction is opened here: each statement takes effect as the connection's caller has
// arranged (at once outside a transaction).
//
// Ownership: the object owns its TConexaoSimplificada; the connection, the parameters and
// the callbacks' targets belong to the caller and must outlive the call. parametros is
// written back: a new update's journal sequence is stored in sequenciaReenvio.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "vornleads/data/conexao_simplificada.h"
#include "vornleads/db/sql_connection.h"
#include "vornleads/service/records_replies.h"
#include "vornleads/service/records_requests.h"
#include "vornleads/service/records_working.h"
#include "vornleads/text/clock.h"
#include "vornleads/types.h"

namespace vornleads {

class TAtualizaLeadsVW {
 public:
  explicit TAtualizaLeadsVW(SqlConnection& connection);
  TAtualizaLeadsVW(const TAtualizaLeadsVW&) = delete;
  TAtualizaLeadsVW& operator=(const TAtualizaLeadsVW&) = delete;

  // The leads library bridge (service 2 sends the update); must be assigned before use.
  TIntegraLeadsVW IntegraLeadsVW;
  // The host's internal-mail sender; rejections notify nobody while it is empty.
  TEnvioExternoMensagem envioExternoMensagem;

  // "Now" for the validity, rescheduling and update dates and the send log (default: the
  // system clock). Never null.
  void setClock(std::shared_ptr<Clock> clock);

  std::optional<TRetornoAtualizaLeadClass> realizaAtualizacao(
      TParametroPreparaAtualizaLeadVW& parametros);

  // Marks the lead's unsent journal rows below sequencia as delivered; does nothing unless
  // idLead > 0 and sequencia >= 1.
  void gravaEnviouSequenciaAnterior(double idLead, int32_t sequencia);

  // The last step reached ("1" ... "12"), followed after a send attempt by "-" and the reason
  // the update was not sent (empty when it was).
  const std::string& sPbMensagemAtu() const { return sPbMensagemAtu_; }

  // What became of the update, after realizaAtualizacao:
  // - Aceito: VW accepted it (Codigo <= 0); its journal row is "S".
  // - Recusado: VW answered and refused it (Codigo > 0); the row keeps VW's code and text.
  // - NaoEnviado: it did not reach VW: answered locally, not allowed (CPF, library), or the
  //   call failed (transport, service fault: the library edition then answers with its own
  //   status envelope, which is no answer of VW's), or it failed while being sent.
  enum class Desfecho { NaoEnviado, Aceito, Recusado };
  Desfecho desfecho() const;
  // Why the send log entry could not be written, when it could not; the update went on as if
  // it had been (the failure is also recorded in <vornleads/package/log_failures.h>).
  const std::optional<std::string>& falhaLogEnvio() const { return falhaLogEnvio_; }

  // State after realizaAtualizacao, for the caller's diagnostics.
  bool usaIntegracao() const { return usaIntegracao_; }
  bool realizaEnvio() const { return realizaEnvio_; }
  const std::string& mensagemErro() const { return mensagemErro_; }
  const std::optional<TEnviaAtualizaLeadClass>& envioLead() const { return envioLead_; }
  const std::optional<TRetornoAtualizaLeadClass>& retornoAtualizacao() const {
    return retornoAtualizacao_;
  }

 private:
  // Checks and request building (preparation stage).
  void preparaAtualizacao();
  TDateTime retornaDataContato();
  bool verificaBiblioteca();
  void verificaStatusAnterior();
  void leCpfVendedor();

  // Send stage.
  void enviaAtualizacao();
  TRetornoAtualizaLeadClass respostaLocal(bool foraDaValidade);

  // Journal, integration flag, send log, notification.
  void gravaAtualizacao(bool emProcesso);
  int32_t retornaProximaSequenciaContato();
  bool leadEstaIntegrando(double idLead);
  void marcaLeadParaNaoIntegrar();
  void gravaLogEnvio();
  void enviaMensagemErro();

  TDateTime agora() const { return clock_->now(); }

  TConexaoSimplificada conexao_;
  TParametroPreparaAtualizaLeadVW* parametros_ = nullptr;  // not owned; set per call
  std::optional<TRetornoAtualizaLeadClass> retornoAtualizacao_;
  bool usaIntegracao_ = false;
  std::optional<TEnviaAtualizaLeadClass> envioLead_;
  std::string mensagemErro_;
  bool realizaEnvio_ = false;
  std::string sPbMensagemAtu_;
  std::shared_ptr<Clock> clock_;
  bool respostaDaVW_ = false;  // the reply came from the service, not from the library itself
  bool enviado_ = false;       // the send stage ended with VW's reply in hand
  std::optional<std::string> falhaLogEnvio_;
};

}  // namespace vornleads
