#include "summaries.h"

#include <iostream>
#include <utility>

#include "vornleads/package/log_failures.h"

namespace vornleads::cli {

std::string intakeCounts(const TotaisIntake& t) {
  const std::string attempts = t.tentativasFalhas > t.falhas
                                   ? " (" + std::to_string(t.tentativasFalhas) + " failed attempts)"
                                   : "";
  return std::to_string(t.revendas) + " dealers, " + std::to_string(t.leadsLidos) +
         " leads read, " + std::to_string(t.contatosCriados) + " contacts created, " +
         std::to_string(t.vinculados) + " linked, " + std::to_string(t.revisados) + " revised, " +
         std::to_string(t.encerrados) + " closed, " + std::to_string(t.falhas) + " failed" +
         attempts + ", " + std::to_string(t.confirmados) + " confirmed";
}

std::string resendCounts(const ResendSummary& s) {
  return std::to_string(s.rowsRead) + " rows read, " + std::to_string(s.sent) + " sent, " +
         std::to_string(s.rejected) + " rejected, " + std::to_string(s.unsent) + " still unsent";
}

std::string oneLine(const std::string& text) {
  std::string line;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\r' && text[i] != '\n') {
      line += text[i];
    } else if (text[i] == '\n' || i + 1 == text.size() || text[i + 1] != '\n') {
      line += " / ";
    }
  }
  while (line.size() >= 3 && line.compare(line.size() - 3, 3, " / ") == 0)
    line.resize(line.size() - 3);
  return line;
}

std::string leadFailureLine(const FalhaLead& falha) {
  const std::string contato =
      falha.contato > 0 ? " (contato " + std::to_string(falha.contato) + ")" : "";
  return "lead " + falha.idLead + contato + ": " + oneLine(falha.mensagem);
}

LogFailureReport::LogFailureReport(std::function<void(const std::string&)> report) {
  if (!report) {
    report = [](const std::string& message) {
      std::cerr << "vornleads: log entry not written: " << oneLine(message) << std::endl;
    };
  }
  setLogWriteFailureListener(std::move(report));
}

LogFailureReport::~LogFailureReport() { setLogWriteFailureListener(nullptr); }

}  // namespace vornleads::cli
