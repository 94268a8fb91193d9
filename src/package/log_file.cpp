#include "vornleads/package/log_file.h"

#include <exception>
#include <utility>

#include "package/log_append.h"
#include "vornleads/package/host_directory.h"
#include "vornleads/package/log_failures.h"
#include "vornleads/text/datetime.h"

namespace vornleads {

const std::string& logSeparator() {
  static const std::string separator(152, '=');
  return separator;
}

std::string logTimeStamp(TDateTime now) { return FormatDateTime("dd-mm-yy HH:nn:ss.zzz", now); }

std::string facadeLogEntry(TDateTime now, const std::string& funcao, const std::string& texto,
                           const std::string& situacao) {
  return logTimeStamp(now) + "\r\n" + "Função: " + funcao + "\r\n" + texto + "\r\n" + "\r\n" +
         "Situação/Erro:" + "\r\n" + situacao;
}

std::string exchangeLogEntry(TDateTime now, const std::string& requisicao,
                             const std::string& resposta) {
  return logTimeStamp(now) + "\r\n" + "Requisição: " + "\r\n" + requisicao + "\r\n" + "\r\n" +
         "Resposta:" + "\r\n" + resposta;
}

LogFile::LogFile(std::string prefix, std::shared_ptr<Clock> clock)
    : prefix_(std::move(prefix)), clock_(clock ? std::move(clock) : systemClock()) {}

std::filesystem::path LogFile::pathFor(TDateTime now) const {
  return hostDirectory() / (prefix_ + FormatDateTime("yyyy_mm_dd", now) + ".txt");
}

void LogFile::append(const std::string& entryText) const { appendAt(clock_->now(), entryText); }

void LogFile::appendFacade(const std::string& funcao, const std::string& texto,
                           const std::string& situacao) const {
  const TDateTime now = clock_->now();
  appendAt(now, facadeLogEntry(now, funcao, texto, situacao));
}

void LogFile::appendExchange(const std::string& requisicao, const std::string& resposta) const {
  const TDateTime now = clock_->now();
  appendAt(now, exchangeLogEntry(now, requisicao, resposta));
}

std::optional<std::string> LogFile::recordExchange(const std::string& requisicao,
                                                   const std::string& resposta) const {
  try {
    appendExchange(requisicao, resposta);
  } catch (const std::exception& error) {
    recordLogWriteFailure(error.what());
    return std::string(error.what());
  }
  recordLogWriteSuccess();
  return std::nullopt;
}

void LogFile::appendAt(TDateTime now, const std::string& entryText) const {
  appendLogEntry(pathFor(now), logSeparator(), entryText);
}

}  // namespace vornleads
