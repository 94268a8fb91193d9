// The dated log files of the facade, the lead intake and the status update worker.
//
// One file per writer and calendar day in the host directory
// (<vornleads/package/host_directory.h>): prefix + "yyyy_mm_dd" + ".txt", the date taken from the
// writer's clock at every call, so entries after midnight go to the next day's file. Each entry is
// preceded by a separator line of 152 '='. Files are UTF-8 with CRLF line breaks.
//
// The file always holds exactly what loading it as a list of lines (a line ends at CR, LF or
// CR LF), adding the separator and the entry as two items and saving every item followed by
// CR LF would give; in particular an entry is written as it stands, and its bare CRs and LFs
// become CR LF, like the rest of the file, when the next entry is added. The work of one entry
// does not grow with the size of the file: only the last entry (the text after the last
// separator line) is read back. Text before the last separator line is taken as saved already;
// so an entry that itself holds a line of exactly 152 '=' keeps the bare line breaks it has
// before that line.
//
// A missing or unreadable file is not an error (the entry starts a new file). A file that
// cannot be written raises VornError naming it; the entry is then lost. No locking: two
// writers appending to one file at the same moment may interleave.
#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "vornleads/text/clock.h"
#include "vornleads/types.h"

namespace vornleads {

// File name prefixes of the three logs.
inline constexpr char kLogFachada[] = "logVornLeadsVWDLL_";
inline constexpr char kLogBuscaLeads[] = "logBuscaLeadsVW_";
inline constexpr char kLogEnvioLeads[] = "logErroLeadsVW_";

// The line of 152 '=' that precedes every entry.
const std::string& logSeparator();

// "dd-mm-yy HH:nn:ss.zzz".
std::string logTimeStamp(TDateTime now);

// The facade's entry: time stamp, "Função: " + funcao, texto, a blank line, "Situação/Erro:",
// situacao, joined by CR LF.
std::string facadeLogEntry(TDateTime now, const std::string& funcao, const std::string& texto,
                           const std::string& situacao);

// The entry of the intake and update workers: time stamp, "Requisição: ", requisicao, a blank
// line, "Resposta:", resposta, joined by CR LF.
std::string exchangeLogEntry(TDateTime now, const std::string& requisicao,
                             const std::string& resposta);

class LogFile {
 public:
  explicit LogFile(std::string prefix, std::shared_ptr<Clock> clock = systemClock());

  // The file of the day of `now`.
  std::filesystem::path pathFor(TDateTime now) const;

  // Adds the separator and entryText to the file of the clock's current day.
  void append(const std::string& entryText) const;

  // Build the entry and add it, with one reading of the clock for its time stamp and its file.
  void appendFacade(const std::string& funcao, const std::string& texto,
                    const std::string& situacao) const;
  void appendExchange(const std::string& requisicao, const std::string& resposta) const;

  // The exchange entry for a worker whose work must not depend on its log: a file that cannot
  // be written is not raised but recorded (<vornleads/package/log_failures.h>) and its message
  // returned; nullopt when the entry was written.
  std::optional<std::string> recordExchange(const std::string& requisicao,
                                            const std::string& resposta) const;

  const Clock& clock() const { return *clock_; }

 private:
  void appendAt(TDateTime now, const std::string& entryText) const;

  std::string prefix_;
  std::shared_ptr<Clock> clock_;
};

}  // namespace vornleads
