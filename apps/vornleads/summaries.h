// The counts of an intake and a resend pass as the commands print them.
#pragma once

#include <string>

#include "vornleads/feedback/atualiza_leads_nao_enviados.h"
#include "vornleads/intake/leads_vw_metodos.h"

namespace vornleads::cli {

// "1 dealers, 3 leads read, 3 contacts created, 0 linked, 0 revised, 0 closed, 0 failed,
// 3 confirmed" (the number of cycles is left to the caller).
std::string intakeCounts(const TotaisIntake& totais);
// "3 rows read, 1 sent, 1 rejected, 1 still unsent".
std::string resendCounts(const ResendSummary& summary);

}  // namespace vornleads::cli
