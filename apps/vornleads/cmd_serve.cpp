// vornleads serve [--intake-every S] [--resend-every S] [--retry-delay MS]: the intake cycle and
// the resend pass on their own schedules until SIGINT or SIGTERM, as the DMS's scheduled service
// runs them. Every cycle gets a fresh worker and its own connection; a cycle ending in the
// restart message is reported and the next interval starts a fresh worker. A stop lets the
// lead or update in hand finish, cuts any pause short, and ends with exit status 0. Only a
// library edition that cannot be loaded ends the service at start (exit status 1).
#include <chrono>
#include <cmath>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "command.h"
#include "serve_runs.h"
#include "serve_schedule.h"
#include "vornleads/data/engine_signals.h"
#include "vornleads/service/leads_library.h"

namespace vornleads::cli {
namespace {

struct ServeOptions {
  double intakeEvery = 300;
  double resendEvery = 900;
  int retryDelay = 30000;
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
  command
      ->add_option("--retry-delay", options->retryDelay,
                   "pause before a repeated intake cycle, in milliseconds (default 30000)")
      ->check(CLI::NonNegativeNumber);
  command->callback([options, intakeEvery, resendEvery, &context] {
    // Without the option, the environment, the configuration file or the default decides.
    if (intakeEvery->count() == 0) {
      options->intakeEvery = std::stod(context.settings.value("intake-every"));
    }
    if (resendEvery->count() == 0) {
      options->resendEvery = std::stod(context.settings.value("resend-every"));
    }
    const LeadsLibrary library;
    leaveStopSignalsToHost();
    ServeSettings settings;
    settings.db = context.global.db;
    settings.bridge = library.bind();
    settings.stop = std::make_shared<StopSignal>();
    settings.retryDelay = options->retryDelay;

    // The database URI stays out of the report: a server's may hold its password.
    reportLine("serve: intake every " + secondsText(options->intakeEvery) + " s, resend every " +
               secondsText(options->resendEvery) + " s, library " + library.file().string());
    runSchedule({{interval(options->intakeEvery), [&settings] { runIntake(settings); }},
                 {interval(options->resendEvery), [&settings] { runResend(settings); }}},
                *settings.stop, *settings.stop);
    reportLine("serve: stopped by " + settings.stop->signalName());
  });
});

}  // namespace
}  // namespace vornleads::cli
