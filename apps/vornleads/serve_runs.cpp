#include "serve_runs.h"

#include <chrono>
#include <cstdio>
#include <exception>
#include <iostream>
#include <utility>
#include <vector>

#include "summaries.h"
#include "terminal_progress.h"
#include "vornleads/data/aplicacao.h"
#include "vornleads/db/sql_connection.h"
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
               "interval: " + error.what(),
               ReportPriority::Failure);
    return nullptr;
  }
}

// What went wrong beside the counts of a cycle or pass: the leads or rows that failed (for
// /health) and the log entries that could not be written (for the next report line).
class RunNotes {
 public:
  RunNotes()
      : logFailures_([this](const std::string& message) {
          ++logsLost_;
          lastLogFailure_ = message;
        }) {}

  void problem(const std::string& line) {
    if (problems_.size() < kProblemLines) {
      problems_.push_back(line);
    } else {
      ++moreProblems_;
    }
  }
  // The problems since the last call, and a fresh start for the next cycle.
  std::vector<std::string> takeProblems() {
    std::vector<std::string> taken = std::move(problems_);
    if (moreProblems_ > 0) taken.push_back("and " + std::to_string(moreProblems_) + " more");
    problems_.clear();
    moreProblems_ = 0;
    return taken;
  }
  // "; 2 log entries not written: <reason>" for the log entries lost since the last call.
  std::string takeLogNote() {
    if (logsLost_ == 0) return "";
    const std::string note = "; " + std::to_string(logsLost_) + " log " +
                             (logsLost_ == 1 ? "entry" : "entries") +
                             " not written: " + lastLogFailure_;
    logsLost_ = 0;
    return note;
  }

 private:
  std::vector<std::string> problems_;
  size_t moreProblems_ = 0;
  size_t logsLost_ = 0;
  std::string lastLogFailure_;
  const LogFailureReport logFailures_;  // last: it calls back into the members above
};

}  // namespace

void runIntake(const ServeSettings& settings) {
  SteadyClock::time_point cycleStart = SteadyClock::now();
  std::string unavailable;
  const std::unique_ptr<SqlConnection> connection = openFor("intake", settings, unavailable);
  if (!connection) {
    settings.metrics->intakeCycle(elapsed(cycleStart), unavailable);
    return;
  }
  RunNotes notes;
  TAplicacaoLibrary aplicacao;
  TLeadsVWMetodosClass worker(aplicacao, *connection);
  worker.IntegraLeadsVW = timedBridge(settings);
  worker.setIntervaloRepeticao(settings.retryDelay);
  worker.setPause(std::make_shared<MarkingPause>(
      std::make_shared<FeedingPause>(settings.stop, settings.watchdog), cycleStart));
  const auto progress = std::make_shared<TerminalProgress>("intake: lead", settings.stop.get());
  worker.setRunControl(std::make_shared<FeedingRunControl>(progress, settings.watchdog));
  int cycles = 0;
  std::vector<std::string> lastProblems;  // of the last cycle that ended
  worker.aoFalharLead = [&](const FalhaLead& falha) {
    progress->clear();
    notes.problem(leadFailureLine(falha));
    reportLine("intake: " + leadFailureLine(falha));
  };
  worker.aoFimDoCiclo = [&](const TotaisIntake& ciclo) {
    progress->clear();
    ++cycles;
    const double seconds = elapsed(cycleStart);
    lastProblems = notes.takeProblems();
    settings.metrics->intakeCycle(seconds, "", lastProblems);
    reportLine("intake: " + intakeCounts(ciclo) + " in " + secondsText(seconds) +
                   stopNote(*settings.stop) + notes.takeLogNote(),
               ciclo.falhas > 0 || ciclo.tentativasFalhas > 0 || settings.stop->stopRequested()
                   ? ReportPriority::Warning
                   : ReportPriority::Notice);
  };
  try {
    worker.buscarLeads();
    // A run without a cycle (no dealer takes part) still ended as expected.
    if (cycles == 0) settings.metrics->intakeCycle(elapsed(cycleStart), "");
  } catch (const std::exception& error) {
    progress->clear();
    const bool restart = worker.qtdErros() > 5;
    const double seconds = elapsed(cycleStart);
    const std::string failure = "failed at step " + worker.sPbPasso() + ": " + error.what();
    // The cycles before the restart message were reported as they ended; the leads that
    // failed in the last of them are what the restart message is about.
    std::vector<std::string> problems = notes.takeProblems();
    if (restart && problems.empty()) problems = lastProblems;
    settings.metrics->intakeCycle(seconds, failure, problems);
    reportLine("intake failed at step " + worker.sPbPasso() + " after " + secondsText(seconds) +
               ": " + error.what() +
               (restart ? " (a fresh worker takes over at the next interval)"
                        : " (" + intakeCounts(worker.totaisDoCiclo()) + ")") +
                   notes.takeLogNote(),
               ReportPriority::Failure);
  }
  // Each lead once, however many cycles of the run offered it.
  settings.metrics->intakeLeads(worker.totais());
}

void runResend(const ServeSettings& settings) {
  const SteadyClock::time_point start = SteadyClock::now();
  std::string unavailable;
  const std::unique_ptr<SqlConnection> connection = openFor("resend", settings, unavailable);
  if (!connection) {
    settings.metrics->resendPass({}, elapsed(start), unavailable);
    return;
  }
  RunNotes notes;
  TAtualizaLeadsNaoEnviados pass(*connection);
  pass.IntegraLeadsVW = timedBridge(settings);
  const auto progress = std::make_shared<TerminalProgress>("resend: update", settings.stop.get());
  pass.setRunControl(std::make_shared<FeedingRunControl>(progress, settings.watchdog));
  pass.aoFalharLinha = [&](const std::string& linha) {
    progress->clear();
    notes.problem(oneLine(linha));
    reportLine("resend: " + linha);
  };
  try {
    pass.iniciaAtualizacao();
    progress->clear();
    const double seconds = elapsed(start);
    settings.metrics->resendPass(pass.summary(), seconds, "", notes.takeProblems());
    const ResendSummary& summary = pass.summary();
    reportLine("resend: " + resendCounts(summary) + " in " + secondsText(seconds) +
                   stopNote(*settings.stop) + notes.takeLogNote(),
               summary.rejected > 0 || summary.unsent > 0 || settings.stop->stopRequested()
                   ? ReportPriority::Warning
                   : ReportPriority::Notice);
  } catch (const std::exception& error) {
    progress->clear();
    const double seconds = elapsed(start);
    settings.metrics->resendPass(pass.summary(), seconds, std::string("failed: ") + error.what(),
                                 notes.takeProblems());
    reportLine("resend failed after " + secondsText(seconds) + ": " + error.what() + " (" +
                   resendCounts(pass.summary()) + ")" + notes.takeLogNote(),
               ReportPriority::Failure);
  }
}

}  // namespace vornleads::cli
