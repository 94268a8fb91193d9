// One intake cycle and one resend pass as `vornleads serve` runs them: each on a connection of
// its own, opened for the run and closed after it (so a database that went away is simply
// opened again next time), through the library edition's bridge, with a fresh worker.
//
// Each run reports on standard error, one line per cycle (repetitions included, each with its
// own counts) and per pass, with the time taken; a failure says at which step (sPbPasso) the
// cycle stopped and why. Nothing escapes a run: every failure is reported and the service goes
// on at the next interval. A stop request ends a run after the lead or row in hand.
//
// Every cycle and pass is also recorded in the metrics (with its failure, if any), every call
// of the leads service with the time it took; the watchdog is fed between leads and rows,
// around every service call and through every pause.
#pragma once

#include <memory>
#include <string>

#include "report_line.h"
#include "serve_metrics.h"
#include "stop_signal.h"
#include "vornleads/db/sql_connection.h"
#include "vornleads/types.h"
#include "watchdog.h"

namespace vornleads::cli {

struct ServeSettings {
  std::string db;                         // the database URI
  ConnectionOptions connection;           // lock-timeout and connect-timeout
  TIntegraLeadsVW bridge;                 // IntegraLeadsVW of the library edition
  std::shared_ptr<StopSignal> stop;       // never null
  int retryDelay = 30000;                 // the intake's pause before a repeated cycle, in ms
  std::shared_ptr<ServeMetrics> metrics;  // never null
  std::shared_ptr<Watchdog> watchdog;     // never null
};

void runIntake(const ServeSettings& settings);
void runResend(const ServeSettings& settings);

}  // namespace vornleads::cli
