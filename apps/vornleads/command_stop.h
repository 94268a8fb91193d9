// CommandStop: SIGINT and SIGTERM during a one-shot command (intake, update, resend, init-db,
// the views). The command goes on to its next safe point (the lead, row or update in hand
// finished or rolled back, a pause cut short), then report() ends it with exit status 1 and
// one line on standard error naming the signal: "vornleads: intake stopped by SIGTERM".
//
// The database engine answers those signals on its own by shutting every attachment down
// under the work in hand; the constructor hands them to this program first (as serve does),
// then installs the StopSignal. Lives for the command's callback; one at a time.
#pragma once

#include <memory>
#include <string>

#include "command.h"
#include "stop_signal.h"

namespace vornleads::cli {

class CommandStop {
 public:
  // command: the name the line gives ("intake").
  explicit CommandStop(std::string command);

  // The stop as a pause and a run control for the worker; never null.
  const std::shared_ptr<StopSignal>& signal() const { return stop_; }
  bool requested() const { return stop_->stopRequested(); }

  // When a stop came: the line (with `detail` in parentheses, if any), exit status 1 in
  // `context`, and true. False, and nothing done, when none came.
  bool report(CommandContext& context, const std::string& detail = "") const;

 private:
  std::string command_;
  std::shared_ptr<StopSignal> stop_;
};

}  // namespace vornleads::cli
