// The counts of an intake and a resend pass as the commands print them, and the reports of
// the commands on standard error: failed leads, rows not sent, log entries not written.
#pragma once

#include <functional>
#include <string>

#include "vornleads/feedback/atualiza_leads_nao_enviados.h"
#include "vornleads/intake/leads_vw_metodos.h"

namespace vornleads::cli {

// "1 dealers, 3 leads read, 3 contacts created, 0 linked, 0 revised, 0 closed, 0 failed,
// 3 confirmed" (the number of cycles is left to the caller); when leads failed in more
// attempts than there are failed leads, "1 failed (6 failed attempts)".
std::string intakeCounts(const TotaisIntake& totais);
// "3 rows read, 1 sent, 1 rejected, 1 still unsent".
std::string resendCounts(const ResendSummary& summary);

// "lead 7001 (contato 1): <message>" on one line (line breaks become " / ").
std::string leadFailureLine(const FalhaLead& falha);
// Text on one line: CR, LF and CR LF become " / ".
std::string oneLine(const std::string& text);

// While it lives, every log entry that cannot be written is reported at once on standard
// error ("vornleads: log entry not written: <reason>"), or to `report` when one is given.
class LogFailureReport {
 public:
  explicit LogFailureReport(std::function<void(const std::string&)> report = nullptr);
  ~LogFailureReport();
  LogFailureReport(const LogFailureReport&) = delete;
  LogFailureReport& operator=(const LogFailureReport&) = delete;
};

}  // namespace vornleads::cli
