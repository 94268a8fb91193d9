#include "serve_schedule.h"

#include <algorithm>
#include <cstdint>

namespace vornleads::cli {

void runSchedule(const std::vector<ScheduledJob>& jobs, Pause& pause, const RunControl& control) {
  using Clock = std::chrono::steady_clock;
  std::vector<Clock::time_point> due(jobs.size(), Clock::now());
  while (!control.stopRequested()) {
    bool ran = false;
    for (size_t i = 0; i < jobs.size() && !control.stopRequested(); ++i) {
      const Clock::time_point start = Clock::now();
      if (start < due[i]) continue;
      due[i] = start + jobs[i].every;
      jobs[i].run();
      ran = true;
    }
    if (ran || control.stopRequested()) continue;
    const Clock::time_point next = *std::min_element(due.begin(), due.end());
    const auto wait = std::chrono::ceil<std::chrono::milliseconds>(next - Clock::now());
    // At most a minute at a time, so that a long interval never overflows the pause's int.
    if (wait.count() > 0) pause.sleep(static_cast<int>(std::min<int64_t>(wait.count(), 60000)));
  }
}

}  // namespace vornleads::cli
