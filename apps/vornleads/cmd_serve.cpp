// vornleads serve [--intake-every S] [--resend-every S] [--retry-delay MS]
//                 [--status-port P [--status-bind ADDR]]: the intake cycle and
// the resend pass on their own schedules until SIGINT or SIGTERM, as the DMS's scheduled service
// runs them. Every cycle gets a fresh worker and its own connection; a cycle ending in the
// restart message is reported and the next interval starts a fresh worker. A stop lets the
// lead or update in hand finish, cuts any pause short, and ends with exit status 0. Only a
// library edition that cannot be loaded or a status port it cannot listen on ends the service
// at start (exit status 1).
//
// SIGHUP reads the configuration file again between runs (a pause between runs is cut short
// for it) and reports the outcome in one line; a file that no longer parses is reported and
// the settings in force stay. Options given on the command line keep beating the file.
//
// With a status port, GET /health and GET /metrics answer on it (serve_health.h), each within
// about a second whatever the database does (database_probe.h). Under
// systemd (Type=notify) the service says READY=1 once the status server listens, before the
// first cycle, STATUS= with the last cycle's and pass's report, STOPPING=1 when it sees the
// stop, and feeds the watchdog while it works (watchdog.h). At the first intake cycle of each
// day it deletes the log files older than log-keep-days (log_retention.h).
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "command.h"
#include "database_probe.h"
#include "db/firebird_shared_mode.h"
#include "log_retention.h"
#include "serve_health.h"
#include "serve_runs.h"
#include "serve_schedule.h"
#include "status_server.h"
#include "vornleads/db/engine_signals.h"
#include "vornleads/package/leads_library.h"

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

// How long a scrape waits for the database probe.
constexpr std::chrono::seconds kProbePatience(1);

// Settings whose new value takes effect only when the service starts again: the library
// edition reads the endpoint, the code page and the receive time-out once, from the host
// directory it was loaded from, and the status server is bound. The intervals, the database,
// lock-timeout, connect-timeout and ca-file (read at each call) take effect at once.
const char* const kRestartOnly[] = {"endpoint",           "home",        "codepage",
                                    "receive-timeout-ms", "status-port", "status-bind"};

// What the serve command line fixed, and what the settings decide otherwise.
struct ServeSources {
  bool intakeEvery, resendEvery, retryDelay;
};

// The settings' values into the service's, where no serve option fixed them.
void applySettings(const Settings& from, const ServeSources& fixed, ServeOptions& options,
                   ServeSettings& settings) {
  if (!fixed.intakeEvery) options.intakeEvery = std::stod(from.value("intake-every"));
  if (!fixed.resendEvery) options.resendEvery = std::stod(from.value("resend-every"));
  if (!fixed.retryDelay) options.retryDelay = std::stoi(from.value("retry-delay"));
  settings.retryDelay = options.retryDelay;
  settings.db = from.value("db");
  settings.connection = from.connection();
}

// Reads the configuration again into `context.settings`; the settings in force stay when it
// fails. Reports the outcome either way.
bool reloadSettings(CommandContext& context) {
  Settings fresh = context.settings;
  try {
    fresh.reload();
  } catch (const std::exception& error) {
    reportLine(std::string("serve: SIGHUP: configuration not reloaded, the settings in force "
                           "stay: ") +
               error.what());
    return false;
  }
  std::string later;
  for (const char* key : kRestartOnly) {
    if (fresh.value(key) != context.settings.value(key))
      later += (later.empty() ? "" : ", ") + std::string(key);
  }
  context.settings = fresh;
  const std::string file = fresh.fileInUse();
  reportLine("serve: SIGHUP: configuration reloaded" +
             (file.empty() ? std::string(" (no configuration file)") : " from " + file) +
             (later.empty() ? "" : "; changed, in force after a restart: " + later));
  return true;
}

const RegisterCommand registration(45, [](CLI::App& app, CommandContext& context) {
  auto options = std::make_shared<ServeOptions>();
  CLI::App* command =
      app.add_subcommand("serve",
                         "run intake and resend on a schedule until SIGINT or SIGTERM; SIGHUP "
                         "reads the configuration file again between runs");
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
  CLI::Option* retryDelay = addRetryDelayOption(*command, options->retryDelay);
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
    const ServeSources fixed{intakeEvery->count() > 0, resendEvery->count() > 0,
                             retryDelay->count() > 0};
    if (statusPort->count() == 0 && !context.settings.value("status-port").empty()) {
      options->statusPort = std::stoi(context.settings.value("status-port"));
    }
    if (statusBind->count() == 0) options->statusBind = context.settings.value("status-bind");
    const LeadsLibrary library;
    leaveStopSignalsToHost();
    ServeSettings settings;
    applySettings(context.settings, fixed, *options, settings);
    settings.bridge = library.bind();
    settings.stop = std::make_shared<StopSignal>();
    settings.stop->watchHangup();
    settings.metrics = std::make_shared<ServeMetrics>();
    settings.watchdog = std::make_shared<Watchdog>(systemdNotifier(), systemdWatchdogInterval());

    // The embedded engine's set-up touches the environment: done before other threads start.
    useSharedEmbeddedFirebird();
    std::shared_ptr<DatabaseProbe> probe;
    std::unique_ptr<StatusServer> status;
    if (options->statusPort >= 0) {
      probe = std::make_shared<DatabaseProbe>(probeJournal, kProbePatience);
      probe->setTarget(settings.db, settings.connection);
      const std::shared_ptr<const ServeMetrics> metrics = settings.metrics;
      status = std::make_unique<StatusServer>(
          options->statusBind, options->statusPort,
          StatusPages{[probe, metrics] { return healthAnswer(*metrics, probe->answer()); },
                      [probe, metrics] { return metricsAnswer(*metrics, probe->answer()); }});
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
    FeedingPause pause(settings.stop, settings.watchdog, true);
    std::vector<ScheduledJob> jobs{{interval(options->intakeEvery),
                                    [&settings, &retention] {
                                      retention.atCycleStart();
                                      runIntake(settings);
                                    }},
                                   {interval(options->resendEvery), [&settings] { runResend(settings); }}};
    const auto betweenRuns = [&] {
      if (!settings.stop->takeHangup() || !reloadSettings(context)) return;
      applySettings(context.settings, fixed, *options, settings);
      retention.setKeepDays(std::stoi(context.settings.value("log-keep-days")));
      jobs[0].every = interval(options->intakeEvery);
      jobs[1].every = interval(options->resendEvery);
      if (probe) probe->setTarget(settings.db, settings.connection);
      reportLine("serve: intake every " + secondsText(options->intakeEvery) + " s, resend every " +
                 secondsText(options->resendEvery) + " s");
    };
    runSchedule(jobs, pause, *settings.stop, betweenRuns);
    settings.watchdog->stopping();
    observeReports(nullptr);
    status.reset();
    reportLine("serve: stopped by " + settings.stop->signalName());
    if (probe && probe->busy()) {
      // A probe hanging in the database would hold the engine's shutdown at exit as long as
      // the database hangs: the work is done and said, so the process ends here.
      std::cout.flush();
      std::_Exit(0);
    }
  });
});

}  // namespace
}  // namespace vornleads::cli
