// The schedule of `vornleads serve`: jobs that each run at their own interval until a stop is
// requested.
//
// Every job runs once at the start (in the order given), then again each time its interval,
// counted from the start of its previous run, has passed; a run that lasts longer than the
// interval is followed at once by the next. Between runs the schedule sleeps through the
// Pause, which a stop request cuts short. A job reports its own outcome and must not throw:
// the schedule does not catch.
//
// `betweenRuns`, when given, is called at every safe point: before the jobs due are looked
// for and after every pause. It may change the jobs' intervals; a changed interval counts from
// the job's last start, so a shorter one takes effect at once.
#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "vornleads/text/clock.h"
#include "vornleads/text/run_control.h"

namespace vornleads::cli {

struct ScheduledJob {
  std::chrono::milliseconds every;
  std::function<void()> run;
};

void runSchedule(std::vector<ScheduledJob>& jobs, Pause& pause, const RunControl& control,
                 const std::function<void()>& betweenRuns = {});

}  // namespace vornleads::cli
