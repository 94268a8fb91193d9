#include "serve_runs.h"

#include <chrono>
#include <cstdio>
#include <exception>
#include <iostream>

#include "summaries.h"
#include "terminal_progress.h"
#include "vornleads/data/aplicacao.h"
#include "vornleads/data/sql_connection.h"
#include "vornleads/feedback/atualiza_leads_nao_enviados.h"
#include "vornleads/intake/leads_vw_metodos.h"
#include "vornleads/text/datetime.h"

namespace vornleads::cli {
namespace {

using SteadyClock = std::chrono::steady_clock;

std::string secondsSince(SteadyClock::time_point start) {
  const double seconds = std::chrono::duration<double>(SteadyClock::now() - start).count();
  char text[32];
  std::snprintf(text, sizeof text, "%.2f s", seconds);
  return text;
}

std::string stopNote(const StopSignal& stop) {
  return stop.stopRequested() ? ", stopped by " + stop.signalName() : "";
}

// The intake's pause, marking when it ended: a repeated cycle is timed from there.
class MarkingPause : public Pause {
 public:
  MarkingPause(std::shared_ptr<Pause> inner, SteadyClock::time_point& mark)
      : inner_(std::move(inner)), mark_(mark) {}
  void sleep(int milliseconds) override {
    inner_->sleep(milliseconds);
    mark_ = SteadyClock::now();
  }

 private:
  std::shared_ptr<Pause> inner_;
  SteadyClock::time_point& mark_;
};

// Opens the run's connection; reports and answers null when the database cannot be reached.
std::unique_ptr<SqlConnection> openFor(const char* run, const std::string& db) {
  try {
    return OpenConnection(db);
  } catch (const std::exception& error) {
    reportLine(std::string(run) + " failed: database unavailable, trying again at the next " +
               "interval: " + error.what());
    return nullptr;
  }
}

}  // namespace

void reportLine(const std::string& message) {
  std::string text = message;
  while (!text.empty() && (text.back() == '\r' || text.back() == '\n')) text.pop_back();
  std::string line = FormatDateTime("yyyy-mm-dd hh:nn:ss", Now()) + " ";
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\r' && text[i] != '\n') {
      line += text[i];
    } else if (text[i] == '\n' || i + 1 == text.size() || text[i + 1] != '\n') {
      line += " / ";
    }
  }
  std::cerr << line << std::endl;
}

void runIntake(const ServeSettings& settings) {
  SteadyClock::time_point cycleStart = SteadyClock::now();
  const std::unique_ptr<SqlConnection> connection = openFor("intake", settings.db);
  if (!connection) return;
  TAplicacaoLibrary aplicacao;
  TLeadsVWMetodosClass worker(aplicacao, *connection);
  worker.IntegraLeadsVW = settings.bridge;
  worker.setIntervaloRepeticao(settings.retryDelay);
  worker.setPause(std::make_shared<MarkingPause>(settings.stop, cycleStart));
  const auto progress = std::make_shared<TerminalProgress>("intake: lead", settings.stop.get());
  worker.setRunControl(progress);
  worker.aoFimDoCiclo = [&](const TotaisIntake& ciclo) {
    progress->clear();
    reportLine("intake: " + intakeCounts(ciclo) + " in " + secondsSince(cycleStart) +
               stopNote(*settings.stop));
  };
  try {
    worker.buscarLeads();
  } catch (const std::exception& error) {
    progress->clear();
    const bool restart = worker.qtdErros() > 5;
    // The cycles before the restart message were reported as they ended.
    reportLine("intake failed at step " + worker.sPbPasso() + " after " + secondsSince(cycleStart) +
               ": " + error.what() +
               (restart ? " (a fresh worker takes over at the next interval)"
                        : " (" + intakeCounts(worker.totaisDoCiclo()) + ")"));
  }
}

void runResend(const ServeSettings& settings) {
  const SteadyClock::time_point start = SteadyClock::now();
  const std::unique_ptr<SqlConnection> connection = openFor("resend", settings.db);
  if (!connection) return;
  TAtualizaLeadsNaoEnviados pass(*connection);
  pass.IntegraLeadsVW = settings.bridge;
  const auto progress = std::make_shared<TerminalProgress>("resend: update", settings.stop.get());
  pass.setRunControl(progress);
  try {
    pass.iniciaAtualizacao();
    progress->clear();
    reportLine("resend: " + resendCounts(pass.summary()) + " in " + secondsSince(start) +
               stopNote(*settings.stop));
  } catch (const std::exception& error) {
    progress->clear();
    reportLine("resend failed after " + secondsSince(start) + ": " + error.what() + " (" +
               resendCounts(pass.summary()) + ")");
  }
}

}  // namespace vornleads::cli
