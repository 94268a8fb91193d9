// The counts of the lead intake: what one cycle did with the leads of its reply, and what one
// top-level buscarLeads did with each lead over all its repeated cycles.
#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace vornleads {

// Leads by outcome. For one cycle every lead of its reply counts once. For a whole call each
// lead counts once however many cycles offered it: created, linked, revised, closed or
// confirmed when it was in any cycle; failed when it failed and never succeeded afterwards.
// The failures of the cycles are counted apart in tentativasFalhas (a lead that failed in six
// cycles: falhas 1, tentativasFalhas 6).
struct TotaisIntake {
  int32_t ciclos = 0;            // cycles run (1 + repetitions)
  int32_t revendas = 0;          // dealer numbers asked for
  int32_t leadsLidos = 0;        // leads in the service's replies
  int32_t contatosCriados = 0;   // new CAC_CONTATO rows
  int32_t vinculados = 0;        // leads linked to a contact already scheduled for their date
  int32_t revisados = 0;         // already linked leads whose contact was kept or updated
  int32_t encerrados = 0;        // already linked leads whose contact was closed
  int32_t falhas = 0;            // leads rolled back (and, for a call, never taken in after)
  int32_t confirmados = 0;       // leads whose receipt VW accepted
  int32_t tentativasFalhas = 0;  // per-lead failures, one per lead and cycle
};

// Adds every count of `outros` (revendas too: totals of several runs count their dealers
// as often as they were asked for).
TotaisIntake& operator+=(TotaisIntake& totais, const TotaisIntake& outros);

// What happened to a lead that was committed.
enum class DesfechoLead { Nenhum, Criado, Vinculado, Revisado, Encerrado };

// Tallies the leads of one top-level call, cycle by cycle. A lead is known by its IdLead text
// (or, when it has none, by its position in the reply).
class ContagemLeads {
 public:
  void iniciaCiclo();
  void revendas(int32_t quantas);
  void lido(const std::string& lead);
  void incluido(const std::string& lead, DesfechoLead desfecho);
  void falhou(const std::string& lead);
  void confirmado(const std::string& lead);

  // The cycle in hand, or the last one when none is running.
  const TotaisIntake& ciclo() const { return ciclo_; }
  // Every cycle so far, each lead once.
  TotaisIntake total() const;

 private:
  // Per lead, each of its counts 0 or 1 (leadsLidos always 1; falhas 1 while its last attempt
  // failed).
  TotaisIntake ciclo_;
  int32_t ciclos_ = 0;
  int32_t revendas_ = 0;
  int32_t tentativasFalhas_ = 0;
  std::map<std::string, TotaisIntake> leads_;
};

}  // namespace vornleads
