// TLeadsVWMetodosClass: the lead intake worker. One cycle (buscarLeads) asks the leads service,
// through the host's bridge IntegraLeadsVW (service 4), for the new leads of every dealership
// that takes part in the integration, turns each lead into CRM records in a database
// transaction of its own, confirms each linked lead back to VW (service 2, status -1) and,
// when anything failed, repeats the cycle after a pause.
//
// Per lead (verificaLeads): the routing lookups fill company, branch, users, contact kind and
// seller; the customer is matched by CPF/CNPJ, e-mail or phone, or registered as a prospect;
// then either the lead's existing contact is revised (kept, updated or closed by the lead's
// status), or the lead is linked to a contact already scheduled for its date (and VW gets
// update code 10), or a new contact with its interest, lead link and internal message is
// written. Any error of a lead rolls back that lead alone and is written to the intake log
// ("logBuscaLeadsVW_" + date, an entry with an empty request and the error as response); the
// next lead goes on. Text from the lead is always written into SQL as a literal with embedded
// single quotes doubled.
//
// Errors that leave buscarLeads: the service's own failure (Status.Codigo > 0: its Descricao),
// a reply that is no JSON reply, "Erro ao buscar nome fantasia da revenda 1.1", database errors
// outside the per-lead work, and, after the sixth failed cycle of one call, "Ocorreram repetidos
// erros ao integrar os leads, o serviço será reiniciado". A failed lead makes every later cycle
// of the same worker count as failed too (erroInclusao is never cleared): after each failed
// cycle the worker pauses intervaloRepeticao() ms (default 30000, through its Pause), repeats
// the cycle five times, and after the sixth pause raises; the host restarts its service.
//
// A host that runs the intake unattended gives it a RunControl: the worker reports each lead
// before handling it, ends the cycle after the lead in hand once a stop is requested (the
// receipts then stop as well: a linked lead left unconfirmed comes back in the next fetch and
// is confirmed then), and starts no repeated cycle after a stop, not even when the pause before
// it ends early. The end-of-cycle callback receives each cycle's own counts, repetitions
// included, before the pause that precedes a repetition.
//
// One worker serves one top-level buscarLeads: the dealer list is read once and released at the
// end of that call, so a second call on the same worker raises VornError. The worker keeps
// references to the host's application context and connection (both must outlive it); it owns
// its connection wrapper and its lists. Not thread-safe: one worker per thread, and the
// connection must not be used by anyone else during a cycle.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "vornleads/data/aplicacao.h"
#include "vornleads/data/client_dataset.h"
#include "vornleads/data/conexao_simplificada.h"
#include "vornleads/data/numeracao_reserva.h"
#include "vornleads/db/sql_connection.h"
#include "vornleads/intake/totais_intake.h"
#include "vornleads/service/lead_items_reply.h"
#include "vornleads/service/records_replies.h"
#include "vornleads/service/records_working.h"
#include "vornleads/text/clock.h"
#include "vornleads/text/run_control.h"
#include "vornleads/types.h"

namespace vornleads {

// A lead that failed, as the worker reports it to its host (aoFalharLead).
struct FalhaLead {
  std::string idLead;    // the IdLead text of the reply, or "posição N" when it has none
  int32_t contato = 0;   // the lead's CRM contact, 0 when it has none yet
  std::string mensagem;  // what the intake log holds for it
};

class TLeadsVWMetodosClass {
 public:
  // Fills Aplicacao.banco from the connection when the host left it empty.
  TLeadsVWMetodosClass(TAplicacaoLibrary& Aplicacao, SqlConnection& SQLConnection);
  TLeadsVWMetodosClass(const TLeadsVWMetodosClass&) = delete;
  TLeadsVWMetodosClass& operator=(const TLeadsVWMetodosClass&) = delete;

  // The leads-service bridge; must be assigned before buscarLeads.
  TIntegraLeadsVW IntegraLeadsVW;

  // Time: "now" for receipts, messages and registrations; the pause before a repeated cycle.
  void setClock(std::shared_ptr<Clock> clock);
  void setPause(std::shared_ptr<Pause> pause);
  void setIntervaloRepeticao(int milliseconds) { intervaloRepeticao_ = milliseconds; }
  int intervaloRepeticao() const { return intervaloRepeticao_; }
  // Progress reports and stop requests (default: unattendedRun()).
  void setRunControl(std::shared_ptr<RunControl> control);
  // Called at the end of every cycle with that cycle's own counts; may be empty.
  std::function<void(const TotaisIntake& ciclo)> aoFimDoCiclo;
  // Called for every lead that fails, after its rollback and its log entry; may be empty.
  std::function<void(const FalhaLead& falha)> aoFalharLead;

  // --- fetch cycle ------------------------------------------------------------------------
  void buscarLeads();
  // Reads the participating dealer numbers into listaDN; false when there is none.
  bool populaListaDN();
  // NOME_FANTASIA of company 1; VornError "Erro ao buscar nome fantasia da revenda 1.1".
  std::string buscaNomeFantasia();
  // Handles every lead of the reply, then the receipt pass; false when the cycle is to end,
  // true when it is to be repeated (after the pause). Raises the restart message when the
  // failed cycles pass five.
  bool verificaLeads(const TRetornoBuscaLeadsClass& Retorno);
  // The same for a reply read item by item: each item is mapped inside its lead's own trap,
  // so an item whose members have the wrong type fails that lead alone.
  bool verificaLeads(const LeadItemsReply& Retorno);
  // One intake log entry. A log that cannot be written changes nothing of the cycle: the
  // failure is recorded for the host (<vornleads/package/log_failures.h>), not raised.
  void gravaLog(const std::string& requisicao, const std::string& resposta);

  // --- one lead ---------------------------------------------------------------------------
  // Fills the working lead from a reply item (the company lookup included). A non-numeric
  // IdLead or DealerNumber, an empty or malformed DataIntencao or a malformed Preco raise
  // ConversionError.
  void preencheLead(const TItemBuscaLeadsClass& item, TContatoLeadVW& lead);

  // Routing lookups; each failure raises VornError "Não foi possível incluir o lead <id>\r\n...".
  void buscaEmpresaRevendaLead(int32_t DN, TContatoLeadVW& lead);
  void buscaParametrosCAC(TContatoLeadVW& lead);
  void buscaParametrosVeiculos(TContatoLeadVW& lead);
  void buscaFormaContatoWeb(TContatoLeadVW& lead);
  void buscaVendedorAdministrador(TContatoLeadVW& lead);
  std::string buscarCPFUsuarioCorreio(const TContatoLeadVW& lead);
  // Model code of a description ("" when unknown).
  std::string buscaCodigoModelo(int32_t empresa, const std::string& descricao);
  static bool campoNuloOuVazio(const SqlValue& campo);

  // Customer: the code matched by CPF/CNPJ, e-mail, then phone (-1 for none); a new prospect.
  int32_t retornaCliente(const TContatoLeadVW& lead);
  int32_t cadastraCliente(const TContatoLeadVW& lead);

  // Contact and link.
  void verificaContato(TContatoLeadVW& lead);
  void verificaReagendamento(TContatoLeadVW& lead);
  void incluiContato(TContatoLeadVW& lead);
  // Raises AbortError when the insert reports that it wrote nothing.
  void incluiLeadContato(TContatoLeadVW& lead);
  void editaContato(TClientDataSet& contato, TContatoLeadVW& lead);
  void fechaContato(TContatoLeadVW& lead);
  // Next number of tabela.coluna for the company/branch, drawn and committed in a transaction
  // of its own (a lead rolled back leaves a gap). Single numbers, like the prospects' customer
  // codes, come from blocks the worker reserves (see numeracao_reserva.h: the numbers of a block
  // left when the worker ends are a gap, and numbers are not in creation order across workers);
  // VornError "Erro ao buscar o próximo numero da tabela <tabela>\r\n<reason>".
  int32_t BuscaProximoNumeroTran(int32_t empresa, int32_t revenda, int32_t quantidade,
                                 const std::string& coluna, const std::string& tabela);

  // --- receipt and status ------------------------------------------------------------------
  void validaLeadsProcessados();
  void marcaLeadComoRecebido(TContatoLeadVW& Lead);
  // Reports a status of the lead's contact to VW through the status update worker
  // (TAtualizaLeadsVW), on this worker's connection and bridge; its errors reach the caller.
  void atualizaLead(TContatoLeadVW& Lead, int32_t codigoAtualizacao);

  // --- state ------------------------------------------------------------------------------
  // The last step reached ("00" after construction, "01" ... "09", "01.01" ... "01.06").
  const std::string& sPbPasso() const { return sPbPasso_; }
  bool erroInclusao() const { return erroInclusao_; }
  int32_t qtdErros() const { return qtdErros_; }
  // Absent once the cycle released it.
  const std::optional<std::vector<std::string>>& listaDN() const { return listaDN_; }
  const std::optional<std::vector<std::string>>& leadsProcessados() const {
    return leadsProcessados_;
  }
  // Every cycle of the call so far, each lead counted once (see TotaisIntake).
  TotaisIntake totais() const { return contagem_.total(); }
  // The counts of the cycle in hand, or of the last one when none is running.
  const TotaisIntake& totaisDoCiclo() const { return contagem_.ciclo(); }
  // True when a stop request ended the call before its work was done.
  bool interrompido() const { return interrompido_; }
  TConexaoSimplificada& conexao() { return conexao_; }

 private:
  using Desfecho = DesfechoLead;

  // Steps 1 to 11 of one cycle; true when the cycle is to be repeated.
  bool cicloBusca();
  void trataLead(const LeadItemText& item, int posicao);
  // The message of a failed lead as logged: headed by the lead it concerns, bounded in length.
  std::string mensagemFalha(const std::string& erro, const LeadItemText& item, int posicao) const;
  void incluiInteresse(const TContatoLeadVW& lead);
  void incluiMensagem(const TContatoLeadVW& lead);
  TDateTime agora() const { return clock_->now(); }

  TConexaoSimplificada conexao_;
  ReservaNumeros numeros_;  // the contact, interest and customer numbers of this worker's leads
  std::optional<std::vector<std::string>> listaDN_;
  bool erroInclusao_ = false;
  TAplicacaoLibrary& Aplicacao_;
  std::optional<std::vector<std::string>> leadsProcessados_;
  int32_t qtdErros_ = 0;
  std::string sPbPasso_ = "00";

  std::shared_ptr<Clock> clock_;
  std::shared_ptr<Pause> pause_;
  std::shared_ptr<RunControl> control_;
  int intervaloRepeticao_ = 30000;
  ContagemLeads contagem_;
  bool interrompido_ = false;
  Desfecho desfecho_ = Desfecho::Nenhum;  // of the lead being handled
};

}  // namespace vornleads
