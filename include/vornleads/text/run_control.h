// RunControl: what a host hands a long-running worker to follow its progress and to end it
// early. The intake worker and the resend pass ask it between leads and journal rows, so a
// stop never cuts one lead's transaction or one update's send in two.
//
// The default, unattendedRun(), never asks to stop and reports nothing. Implementations must
// be cheap to ask: the workers ask once per lead or row.
#pragma once

#include <memory>
#include <string>

namespace vornleads {

class RunControl {
 public:
  virtual ~RunControl() = default;
  // True once the host wants the work to end. The worker then finishes (or rolls back) the
  // item in hand, starts no other and returns normally; a repeated cycle is not started.
  virtual bool stopRequested() const = 0;
  // Item n of total (n from 1), identified by id, is about to be handled.
  virtual void progress(int n, int total, const std::string& id) = 0;
  // The items reported from now on are of another kind ("confirming lead" once the intake's
  // leads are written and their receipts go out). Nothing by default.
  virtual void phase(const std::string& /*items*/) {}
};

// Never stops, reports nothing; never null.
std::shared_ptr<RunControl> unattendedRun();

}  // namespace vornleads
