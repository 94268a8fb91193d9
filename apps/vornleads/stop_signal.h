// StopSignal: SIGINT and SIGTERM turned into a stop request that long work polls (as its
// RunControl, which reports no progress), and a pause that such a request cuts short.
//
// While the object lives, the two signals no longer end the process: they set the request
// (a second signal changes nothing) and wake any sleep() in progress within milliseconds.
// The handlers only set a flag and write one byte to a pipe of the object's own, as a signal
// handler may. The destructor puts the previous handlers back. At most one StopSignal may
// exist at a time (a second one raises std::logic_error).
#pragma once

#include <string>

#include "vornleads/clock.h"
#include "vornleads/run_control.h"

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
};

}  // namespace vornleads::cli
