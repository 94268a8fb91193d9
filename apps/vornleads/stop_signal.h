// StopSignal: SIGINT and SIGTERM turned into a stop request that long work polls (as its
// RunControl, which reports no progress), and a pause that such a request cuts short; for the
// service, also SIGHUP turned into a request to read the configuration again.
//
// While the object lives, the two signals no longer end the process: they set the request
// (a second signal changes nothing) and wake any sleep() in progress within milliseconds.
// After watchHangup(), SIGHUP no longer ends the process either: it sets a reload request
// that takeHangup() answers once, and cuts sleepOrHangup() short (sleep() sleeps on).
// The handlers only set a flag and write one byte to a pipe of the object's own, as a signal
// handler may. The destructor puts the previous handlers back. At most one StopSignal may
// exist at a time (a second one raises std::logic_error).
#pragma once

#include <string>

#include "vornleads/text/clock.h"
#include "vornleads/text/run_control.h"

namespace vornleads::cli {

class StopSignal : public Pause, public RunControl {
 public:
  StopSignal();
  ~StopSignal() override;
  StopSignal(const StopSignal&) = delete;
  StopSignal& operator=(const StopSignal&) = delete;

  bool stopRequested() const override;
  void progress(int, int, const std::string&) override {}
  // The name of the signal that asked for the stop ("SIGTERM"), empty before one came.
  std::string signalName() const;

  // Sleeps the given time, or less when a stop is or becomes requested.
  void sleep(int milliseconds) override;

  // From now on SIGHUP is a reload request.
  void watchHangup();
  bool hangupPending() const;
  // True once per reload request (SIGHUPs that come before it is asked count as one).
  bool takeHangup();
  // As sleep(), and also less when a reload request is or becomes pending.
  void sleepOrHangup(int milliseconds);

 private:
  void wait(int milliseconds, bool hangupEnds);
  bool hangupWatched_ = false;
};

}  // namespace vornleads::cli
