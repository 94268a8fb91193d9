#include "summaries.h"

namespace vornleads::cli {

std::string intakeCounts(const TotaisIntake& t) {
  return std::to_string(t.revendas) + " dealers, " + std::to_string(t.leadsLidos) +
         " leads read, " + std::to_string(t.contatosCriados) + " contacts created, " +
         std::to_string(t.vinculados) + " linked, " + std::to_string(t.revisados) + " revised, " +
         std::to_string(t.encerrados) + " closed, " + std::to_string(t.falhas) + " failed, " +
         std::to_string(t.confirmados) + " confirmed";
}

std::string resendCounts(const ResendSummary& s) {
  return std::to_string(s.rowsRead) + " rows read, " + std::to_string(s.sent) + " sent, " +
         std::to_string(s.rejected) + " rejected, " + std::to_string(s.unsent) + " still unsent";
}

}  // namespace vornleads::cli
