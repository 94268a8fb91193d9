// The send log: every request of a status update and VW's reply, in the day's
// "logErroLeadsVW_" file of the host directory.
#include "vornleads/feedback/atualiza_leads_vw.h"
#include "vornleads/package/log_file.h"

namespace vornleads {

void TAtualizaLeadsVW::gravaLogEnvio() {
  // The request carries the salesperson's CPF and the lead, never a credential. A log that
  // cannot be written must not turn a delivered update into an unsent one (which the resend
  // pass would deliver again): its failure is kept apart from the send's error trap.
  falhaLogEnvio_ = LogFile(kLogEnvioLeads, clock_)
                       .recordExchange(envioLead_->AsJSON(), retornoAtualizacao_->AsJSON());
}

}  // namespace vornleads
