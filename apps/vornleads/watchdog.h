// The service manager's side of `vornleads serve`: the notifications systemd reads from a
// Type=notify unit (READY=1, STOPPING=1) and the feeding of its watchdog (WATCHDOG=1).
//
// Notifications go through a Notifier, so that a test can put its own in place. The system's
// one uses sd_notify of libsystemd, which sends to the socket named by NOTIFY_SOCKET and does
// nothing without it: outside systemd, serve runs as it did. The watchdog interval comes from
// WATCHDOG_USEC (WatchdogSec= of the unit); without it nothing is fed and pauses stay whole.
//
// The watchdog is fed from the thread that does the work (between leads and journal rows,
// around every call of the leads service, and in slices through every pause), never from a
// helper thread: a serve that hangs stops feeding and systemd restarts it.
#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "stop_signal.h"
#include "vornleads/text/clock.h"
#include "vornleads/text/run_control.h"

namespace vornleads::cli {

class Notifier {
 public:
  virtual ~Notifier() = default;
  // Sends one state assignment ("READY=1").
  virtual void notify(const std::string& state) = 0;
};

// sd_notify; silent outside systemd.
std::shared_ptr<Notifier> systemdNotifier();
// WATCHDOG_USEC of this process, zero when no watchdog is asked for.
std::chrono::microseconds systemdWatchdogInterval();

class Watchdog {
 public:
  // interval zero: no watchdog (feed() sends nothing, slice() is unbounded).
  Watchdog(std::shared_ptr<Notifier> notifier, std::chrono::microseconds interval);

  void ready() { notifier_->notify("READY=1"); }
  // STATUS= (what `systemctl status` shows): the last intake cycle's and the last resend pass's
  // report line, "intake: ...; resend: ...". Other reports change nothing.
  void runReported(const std::string& report);
  // STOPPING=1, sent once however often it is called.
  void stopping();
  // WATCHDOG=1 when a fifth of the interval has passed since the last one.
  void feed();
  // The longest a pause may sleep between two feeds.
  std::chrono::milliseconds slice() const;

 private:
  std::shared_ptr<Notifier> notifier_;
  std::chrono::microseconds interval_;
  std::chrono::steady_clock::time_point lastFed_{};
  bool stopping_ = false;
  std::string lastIntake_, lastResend_;
};

// The stop signal's pause, cut into slices that each feed the watchdog first. With
// `hangupEnds`, a reload request cuts it short as well (the schedule's pause between runs,
// never a worker's).
class FeedingPause : public Pause {
 public:
  FeedingPause(std::shared_ptr<StopSignal> stop, std::shared_ptr<Watchdog> watchdog,
               bool hangupEnds = false)
      : stop_(std::move(stop)), watchdog_(std::move(watchdog)), hangupEnds_(hangupEnds) {}
  void sleep(int milliseconds) override;

 private:
  std::shared_ptr<StopSignal> stop_;
  std::shared_ptr<Watchdog> watchdog_;
  bool hangupEnds_;
};

// A worker's run control that feeds the watchdog each time the worker asks it (once per lead
// or journal row) and says STOPPING=1 as soon as the worker sees the stop.
class FeedingRunControl : public RunControl {
 public:
  FeedingRunControl(std::shared_ptr<RunControl> inner, std::shared_ptr<Watchdog> watchdog)
      : inner_(std::move(inner)), watchdog_(std::move(watchdog)) {}
  bool stopRequested() const override;
  void progress(int n, int total, const std::string& id) override {
    inner_->progress(n, total, id);
  }
  void phase(const std::string& items) override { inner_->phase(items); }

 private:
  std::shared_ptr<RunControl> inner_;
  std::shared_ptr<Watchdog> watchdog_;
};

}  // namespace vornleads::cli
