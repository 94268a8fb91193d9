// TerminalProgress: the RunControl of the commands. Progress ("intake: lead 3 of 10, 4711")
// goes to standard error on one line that each report overwrites, and only when standard error
// is a terminal; clear() wipes that line before a summary line is written. Stop requests come
// from the StopSignal given, if any.
#pragma once

#include <string>

#include "stop_signal.h"
#include "vornleads/text/run_control.h"

namespace vornleads::cli {

class TerminalProgress : public RunControl {
 public:
  // label: "intake: lead", "resend: update"; stop may be null (never stops).
  TerminalProgress(std::string label, const StopSignal* stop);

  bool stopRequested() const override { return stop_ && stop_->stopRequested(); }
  void progress(int n, int total, const std::string& id) override;
  // "confirming lead": the label's words after its "intake: " change.
  void phase(const std::string& items) override;
  // Wipes the progress line, if one is shown.
  void clear();

 private:
  std::string label_;
  const StopSignal* stop_;
  bool terminal_;
  bool shown_ = false;
};

}  // namespace vornleads::cli
