// TAtualizaLeadsNaoEnviados: the resend pass over every journalled status update that VW has
// not accepted yet (CAC_ATUALIZACOES_LEADVW.ENVIOU = 'N').
//
// iniciaAtualizacao walks every company/branch with the integration switched on and, for
// each unsent row of a lead still integrating (CAC_LEAD_CONTATO.INTEGRANDO = 'S'), runs a
// TAtualizaLeadsVW as a resend of that row: the row itself is edited with the outcome, no new
// row is added. Rows come in the database's order; a row left unsent is selected again by the
// next pass, and an accepted row marks the lead's earlier unsent rows as delivered, so later
// passes do not send them again. Rejections notify nobody (no message callback is given to
// the workers).
//
// With a RunControl (setRunControl), each row is reported before it is sent, and a stop
// request ends the pass before the next row: the row in hand is sent and journalled first.
//
// Errors: nothing is swallowed here. A worker's exception (no bridge, a preparation failure
// such as a rescheduling now more than six months ahead, a database error) ends the whole pass
// and reaches the caller as VornError "lead <id> (contato <e.r.c>, sequência <n>): <message>",
// after the worker and the datasets are released. Failures while sending
// are journalled on the row by the worker and do not end the pass.
//
// Ownership: the object owns its connection wrapper; the connection and the bridge's target
// belong to the caller and must outlive the pass.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "vornleads/data/conexao_simplificada.h"
#include "vornleads/db/sql_connection.h"
#include "vornleads/text/clock.h"
#include "vornleads/text/run_control.h"
#include "vornleads/types.h"

namespace vornleads {

// What one pass did with the rows it read, counted from each worker's outcome: sent (VW
// accepted it), rejected (VW answered and refused it), or unsent (it did not reach VW: a
// transport failure or service fault, a local answer, no CPF, a lead now out of the
// integration, an error that ended the pass). Every row read is counted once. Counted, not
// acted upon.
struct ResendSummary {
  int rowsRead = 0;
  int sent = 0;
  int rejected = 0;
  int unsent = 0;
};

class TAtualizaLeadsNaoEnviados {
 public:
  explicit TAtualizaLeadsNaoEnviados(SqlConnection& connection);
  TAtualizaLeadsNaoEnviados(const TAtualizaLeadsNaoEnviados&) = delete;
  TAtualizaLeadsNaoEnviados& operator=(const TAtualizaLeadsNaoEnviados&) = delete;

  // The leads library bridge, handed to every worker; must be assigned before the pass.
  TIntegraLeadsVW IntegraLeadsVW;

  // "Now" for the workers (default: the system clock). Never null.
  void setClock(std::shared_ptr<Clock> clock);
  // Progress reports and stop requests (default: unattendedRun()).
  void setRunControl(std::shared_ptr<RunControl> control);
  // Called for every row that was rejected or not sent, with one line naming the lead, the
  // contact and the journal sequence and saying why; may be empty.
  std::function<void(const std::string& linha)> aoFalharLinha;

  // The whole pass over every integrated company/branch.
  void iniciaAtualizacao();
  // The unsent rows of empresaAtual/revendaAtual.
  void buscaLeads();
  // The forwarded user of the branch's first contact, standing in for a row without user.
  // The contact number is accepted but takes no part in the query: the branch's first
  // contact answers whichever contact is asked about.
  int32_t buscaUsuarioEncaminhado(int32_t contato);

  int32_t empresaAtual = 0;
  int32_t revendaAtual = 0;

  // Counts since construction (both a pass and buscaLeads add to them).
  const ResendSummary& summary() const { return summary_; }
  // True when a stop request ended the pass before its last row.
  bool interrompido() const { return interrompido_; }

 private:
  TConexaoSimplificada conexao_;
  std::shared_ptr<Clock> clock_;
  std::shared_ptr<RunControl> control_;
  ResendSummary summary_;
  bool interrompido_ = false;
};

}  // namespace vornleads
