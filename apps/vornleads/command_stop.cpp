#include "command_stop.h"

#include <iostream>
#include <utility>

#include "vornleads/db/engine_signals.h"

namespace vornleads::cli {
namespace {

// The engine's hand-over comes first: it starts the client library, whose own handlers the
// StopSignal then replaces.
std::shared_ptr<StopSignal> takeStopSignals() {
  leaveStopSignalsToHost();
  return std::make_shared<StopSignal>();
}

}  // namespace

CommandStop::CommandStop(std::string command)
    : command_(std::move(command)), stop_(takeStopSignals()) {}

bool CommandStop::report(CommandContext& context, const std::string& detail) const {
  if (!requested()) return false;
  std::cerr << "vornleads: " << command_ << " stopped by " << stop_->signalName()
            << (detail.empty() ? "" : " (" + detail + ")") << std::endl;
  context.exitCode = 1;
  return true;
}

}  // namespace vornleads::cli
