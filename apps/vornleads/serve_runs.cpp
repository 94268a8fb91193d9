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

namespace vornleads::cli {
namespace {

using SteadyClock = std::chrono::steady_clock;

double elapsed(SteadyClock::time_point start) {
  return std::chrono::duration<double>(SteadyClock::now() - start).count();
}

std::string secondsText(double seconds) {
  char text[32];
  std::snprintf(text, sizeof text, "%.2f s", seconds);
  return text;
}

// The library edition's bridge, timed into the metrics, with the watchdog fed on both sides
// of every call (a call may take up to the receive time-out).
TIntegraLeadsVW timedBridge(const ServeSettings& settings) {
  return [bridge = settings.bridge, metrics = settings.metrics, watchdog = settings.watchdog](
             int32_t service, const AnsiString& json) {
    watchdog->feed();
    const SteadyClock::time_point start = SteadyClock::now();
    const auto record = [&] {
      metrics->serviceCall(service, elapsed(start));
      watchdog->feed();
    };
    try {
      AnsiString reply = bridge(service, json);
      record();
      return reply;
    } catch (...) {
      record();
      throw;
    }
  };
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
// `failure` receives the reason.
std::unique_ptr<SqlConnection> openFor(const char* run, const ServeSettings& settings,
                                       std::string& failure) {
  try {
    return OpenConnection(settings.db, settings.connection);
  } catch (const std::exception& error) {
    failure = std::string("database unavailable: ") + error.what();
    reportLine(std::string(run) + " failed: database unavailable, trying again at the next " +
               "interval: " + error.what());
    return nullptr;
  }
}

}  // namespace

void runIntake(const ServeSettings& settings) {
  SteadyClock::time_point cycleStart = SteadyClock::now();
  std::string unavailable;
  const std::unique_ptr<SqlConnection> connection = openFor("intake", settings, unavailable);
  if (!connection) {
    settings.metrics->intakeCycle({}, elapsed(cycleStart), unavailable);
    return;
  }
  TAplicacaoLibrary aplicacao;
  TLeadsVWMetodosClass worker(aplicacao, *connection);
  worker.IntegraLeadsVW = timedBridge(settings);
  worker.setIntervaloRepeticao(settings.retryDelay);
  worker.setPause(std::make_shared<MarkingPause>(
      std::make_shared<FeedingPause>(settings.stop, settings.watchdog), cycleStart));
  const auto progress = std::make_shared<TerminalProgress>("intake: lead", settings.stop.get());
  worker.setRunControl(std::make_shared<FeedingRunControl>(progress, settings.watchdog));
  int cycles = 0;
  worker.aoFimDoCiclo = [&](const TotaisIntake& ciclo) {
    progress->clear();
    ++cycles;
    const double seconds = elapsed(cycleStart);
    settings.metrics->intakeCycle(ciclo, seconds, "");
    reportLine("intake: " + intakeCounts(ciclo) + " in " + secondsText(seconds) +
               stopNote(*settings.stop));
  };
  try {
    worker.buscarLeads();
    // A run without a cycle (no dealer takes part) still ended as expected.
    if (cycles == 0) settings.metrics->intakeCycle({}, elapsed(cycleStart), "");
  } catch (const std::exception& error) {
    progress->clear();
    const bool restart = worker.qtdErros() > 5;
    const double seconds = elapsed(cycleStart);
    const std::string failure = "failed at step " + worker.sPbPasso() + ": " + error.what();
    // The cycles before the restart message were reported (and counted) as they ended.
    settings.metrics->intakeCycle(restart ? TotaisIntake{} : worker.totaisDoCiclo(), seconds,
                                  failure);
    reportLine("intake failed at step " + worker.sPbPasso() + " after " + secondsText(seconds) +
               ": " + error.what() +
               (restart ? " (a fresh worker takes over at the next interval)"
                        : " (" + intakeCounts(worker.totaisDoCiclo()) + ")"));
  }
}

void runResend(const ServeSettings& settings) {
  const SteadyClock::time_point start = SteadyClock::now();
  std::string unavailable;
  const std::unique_ptr<SqlConnection> connection = openFor("resend", settings, unavailable);
  if (!connection) {
    settings.metrics->resendPass({}, elapsed(start), unavailable);
    return;
  }
  TAtualizaLeadsNaoEnviados pass(*connection);
  pass.IntegraLeadsVW = timedBridge(settings);
  const auto progress = std::make_shared<TerminalProgress>("resend: update", settings.stop.get());
  pass.setRunControl(std::make_shared<FeedingRunControl>(progress, settings.watchdog));
  try {
    pass.iniciaAtualizacao();
    progress->clear();
    const double seconds = elapsed(start);
    settings.metrics->resendPass(pass.summary(), seconds, "");
    reportLine("resend: " + resendCounts(pass.summary()) + " in " + secondsText(seconds) +
               stopNote(*settings.stop));
  } catch (const std::exception& error) {
    progress->clear();
    const double seconds = elapsed(start);
    settings.metrics->resendPass(pass.summary(), seconds, std::string("failed: ") + error.what());
    reportLine("resend failed after " + secondsText(seconds) + ": " + error.what() + " (" +
               resendCounts(pass.summary()) + ")");
  }
}

}  // namespace vornleads::cli
