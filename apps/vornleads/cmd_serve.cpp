// vornleads serve [--intake-every S] [--resend-every S] [--retry-delay MS]
//                 [--status-port P [--status-bind ADDR]]: the intake cycle and
// the resend pass on their own schedules until SIGINT or SIGTERM, as the DMS's scheduled service
// runs them. Every cycle gets a fresh worker and its own connection; a cycle ending in the
// restart message is reported and the next interval starts a fresh worker. A stop lets the
// lead or update in hand finish, cuts any pause short, and ends with exit status 0. Only a
// library edition that cannot be loaded or a status port it cannot listen on ends the service
// at start (exit status 1).
//
// With a status port, GET /health and GET /metrics answer on it (serve_health.h). Under
// systemd (Type=notify) the service says READY=1 once the status server listens, before the
// first cycle, STATUS= with the last cycle's and pass's report, STOPPING=1 when it sees the
// stop, and feeds the watchdog while it works (watchdog.h). At the first intake cycle of each
// day it deletes the log files older than log-keep-days (log_retention.h).
#include <chrono>
#include <cmath>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "command.h"
#include "data/firebird_shared_mode.h"
#include "log_retention.h"
#include "serve_health.h"
#include "serve_runs.h"
#include "serve_schedule.h"
#include "status_server.h"
#include "vornleads/data/engine_signals.h"
#include "vornleads/service/leads_library.h"

namespace vornleads::cli {
namespace {

struct ServeOptions {
  double intakeEvery = 300;
  double resendEvery = 900;
  int retryDelay = 30000;
  int statusPort = -1;  // none
  std::string statusBind;
};

// From a millisecond to a year.
const CLI::Range kIntervalRange(0.001, 31536000.0);

std::chrono::milliseconds interval(double seconds) {
  return std::chrono::milliseconds(std::llround(seconds * 1000));
}

std::string secondsText(double seconds) {
  std::ostringstream text;
  text << seconds;
  return text.str();
}

const RegisterCommand registration(45, [](CLI::App& app, CommandContext& context) {
  auto options = std::make_shared<ServeOptions>();
  CLI::App* command =
      app.add_subcommand("serve", "run intake and resend on a schedule until SIGINT or SIGTERM");
  CLI::Option* intakeEvery =
      command
          ->add_option("--intake-every", options->intakeEvery,
                       "seconds between intake cycles (default: VORNLEADS_INTAKE_EVERY, the "
                       "configuration file's intake-every, 300; fractions allowed)")
          ->check(kIntervalRange);
  CLI::Option* resendEvery =
      command
          ->add_option("--resend-every", options->resendEvery,
                       "seconds between resend passes (default: VORNLEADS_RESEND_EVERY, the "
                       "configuration file's resend-every, 900; fractions allowed)")
          ->check(kIntervalRange);
  CLI::Option* retryDelay =
      command
          ->add_option("--retry-delay", options->retryDelay,
                       "pause before a repeated intake cycle, in milliseconds (default: "
                       "VORNLEADS_RETRY_DELAY, the configuration file's retry-delay, 30000)")
          ->check(CLI::NonNegativeNumber);
  CLI::Option* statusPort =
      command
          ->add_option("--status-port", options->statusPort,
                       "serve GET /health and GET /metrics on this port, 0 for any free one "
                       "(default: VORNLEADS_STATUS_PORT, the configuration file's status-port, "
                       "none)")
          ->check(CLI::Range(0, 65535));
  CLI::Option* statusBind = command->add_option(
      "--status-bind", options->statusBind,
      "the status server's address (default: VORNLEADS_STATUS_BIND, the configuration file's "
      "status-bind, 127.0.0.1)");
  command->callback([options, intakeEvery, resendEvery, retryDelay, statusPort, statusBind,
                     &context] {
    // Without the option, the environment, the configuration file or the default decides.
    if (intakeEvery->count() == 0) {
      options->intakeEvery = std::stod(context.settings.value("intake-every"));
    }
    if (resendEvery->count() == 0) {
      options->resendEvery = std::stod(context.settings.value("resend-every"));
    }
    if (statusPort->count() == 0 && !context.settings.value("status-port").empty()) {
      options->statusPort = std::stoi(context.settings.value("status-port"));
    }
    if (statusBind->count() == 0) options->statusBind = context.settings.value("status-bind");
    if (retryDelay->count() == 0) {
      options->retryDelay = std::stoi(context.settings.value("retry-delay"));
    }
    const LeadsLibrary library;
    leaveStopSignalsToHost();
    ServeSettings settings;
    settings.db = context.global.db;
    settings.bridge = library.bind();
    settings.stop = std::make_shared<StopSignal>();
    settings.retryDelay = options->retryDelay;
    settings.metrics = std::make_shared<ServeMetrics>();
    settings.watchdog = std::make_shared<Watchdog>(systemdNotifier(), systemdWatchdogInterval());

    // The embedded engine's set-up touches the environment: done before other threads start.
    useSharedEmbeddedFirebird();
    std::unique_ptr<StatusServer> status;
    if (options->statusPort >= 0) {
      const std::string db = settings.db;
      const std::shared_ptr<const ServeMetrics> metrics = settings.metrics;
      status = std::make_unique<StatusServer>(
          options->statusBind, options->statusPort,
          StatusPages{[db, metrics] { return healthAnswer(*metrics, probeJournal(db)); },
                      [db, metrics] { return metricsAnswer(*metrics, probeJournal(db)); }});
    }

    // The database URI stays out of the report: a server's may hold its password.
    reportLine("serve: intake every " + secondsText(options->intakeEvery) + " s, resend every " +
               secondsText(options->resendEvery) + " s, library " + library.file().string() +
               (status ? ", status on " + status->url() : ""));
    settings.watchdog->ready();
    // systemctl status shows the last cycle's and pass's report.
    observeReports([watchdog = settings.watchdog](const std::string& report) {
      watchdog->runReported(report);
    });
    LogRetention retention(std::stoi(context.settings.value("log-keep-days")));
    FeedingPause pause(settings.stop, settings.watchdog);
    runSchedule({{interval(options->intakeEvery),
                  [&settings, &retention] {
                    retention.atCycleStart();
                    runIntake(settings);
                  }},
                 {interval(options->resendEvery), [&settings] { runResend(settings); }}},
                pause, *settings.stop);
    settings.watchdog->stopping();
    observeReports(nullptr);
    reportLine("serve: stopped by " + settings.stop->signalName());
  });
});

}  // namespace
}  // namespace vornleads::cli
