#include "serve_schedule.h"

#include <algorithm>
#include <cstdint>
#include <optional>

namespace vornleads::cli {

void runSchedule(std::vector<ScheduledJob>& jobs, Pause& pause, const RunControl& control,
                 const std::function<void()>& betweenRuns) {
  using Clock = std::chrono::steady_clock;
  if (jobs.empty()) return;
  std::vector<std::optional<Clock::time_point>> started(jobs.size());
  // A job that never ran is due at once.
  const auto due = [&](size_t i) {
    return started[i] ? *started[i] + jobs[i].every : Clock::time_point::min();
  };
  while (!control.stopRequested()) {
    if (betweenRuns) betweenRuns();
    bool ran = false;
    for (size_t i = 0; i < jobs.size() && !control.stopRequested(); ++i) {
      const Clock::time_point start = Clock::now();
      if (start < due(i)) continue;
      started[i] = start;
      jobs[i].run();
      ran = true;
    }
    if (ran || control.stopRequested()) continue;
    Clock::time_point next = due(0);
    for (size_t i = 1; i < jobs.size(); ++i) next = std::min(next, due(i));
    const auto wait = std::chrono::ceil<std::chrono::milliseconds>(next - Clock::now());
    // At most a minute at a time, so that a long interval never overflows the pause's int.
    if (wait.count() > 0) pause.sleep(static_cast<int>(std::min<int64_t>(wait.count(), 60000)));
  }
}

}  // namespace vornleads::cli
