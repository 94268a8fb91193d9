#include "watchdog.h"

#include <systemd/sd-daemon.h>

#include <algorithm>
#include <climits>
#include <cstdint>

namespace vornleads::cli {
namespace {

class SystemdNotifier : public Notifier {
 public:
  // A failed send changes nothing for the work: systemd then sees no readiness or feed and
  // acts on its own time-outs.
  void notify(const std::string& state) override { sd_notify(0, state.c_str()); }
};

}  // namespace

std::shared_ptr<Notifier> systemdNotifier() { return std::make_shared<SystemdNotifier>(); }

std::chrono::microseconds systemdWatchdogInterval() {
  uint64_t usec = 0;
  if (sd_watchdog_enabled(0, &usec) <= 0) return std::chrono::microseconds(0);
  return std::chrono::microseconds(usec);
}

Watchdog::Watchdog(std::shared_ptr<Notifier> notifier, std::chrono::microseconds interval)
    : notifier_(std::move(notifier)), interval_(interval) {}

void Watchdog::runReported(const std::string& report) {
  if (report.rfind("intake", 0) == 0) {
    lastIntake_ = report;
  } else if (report.rfind("resend", 0) == 0) {
    lastResend_ = report;
  } else {
    return;
  }
  notifier_->notify("STATUS=" + lastIntake_ + (lastIntake_.empty() || lastResend_.empty() ? "" : "; ") +
                    lastResend_);
}

void Watchdog::stopping() {
  if (stopping_) return;
  stopping_ = true;
  notifier_->notify("STOPPING=1");
}

void Watchdog::feed() {
  if (interval_.count() <= 0) return;
  const auto now = std::chrono::steady_clock::now();
  if (lastFed_ != std::chrono::steady_clock::time_point{} && now - lastFed_ < interval_ / 5) {
    return;
  }
  lastFed_ = now;
  notifier_->notify("WATCHDOG=1");
}

std::chrono::milliseconds Watchdog::slice() const {
  if (interval_.count() <= 0) return std::chrono::milliseconds(INT_MAX);
  return std::max(std::chrono::milliseconds(1),
                  std::chrono::duration_cast<std::chrono::milliseconds>(interval_ / 5));
}

void FeedingPause::sleep(int milliseconds) {
  using Clock = std::chrono::steady_clock;
  const auto end = Clock::now() + std::chrono::milliseconds(milliseconds);
  for (;;) {
    watchdog_->feed();
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now());
    if (left.count() <= 0 || stop_->stopRequested()) return;
    const int slice = static_cast<int>(std::min(left, watchdog_->slice()).count());
    if (!hangupEnds_) {
      stop_->sleep(slice);
    } else if (stop_->hangupPending()) {
      return;
    } else {
      stop_->sleepOrHangup(slice);
    }
  }
}

bool FeedingRunControl::stopRequested() const {
  watchdog_->feed();
  const bool stop = inner_->stopRequested();
  if (stop) watchdog_->stopping();
  return stop;
}

}  // namespace vornleads::cli
