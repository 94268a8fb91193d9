#include <ibase.h>

#include <string>

#include "db/firebird_shared_mode.h"
#include "vornleads/db/engine_signals.h"
#include "vornleads/error.h"

namespace vornleads {
namespace {

// Asked before the engine shuts down: a non-zero answer cancels a shutdown that a signal
// started, and lets every other kind (the process exiting) go ahead.
int declineSignalShutdown(const int reason, const int /*mask*/, void* /*arg*/) {
  return reason == fb_shutrsn_signal ? 1 : 0;
}

}  // namespace

void leaveStopSignalsToHost() {
  static const bool registered = [] {
    // The call below starts the client library, which reads its mode only then.
    useSharedEmbeddedFirebird();
    ISC_STATUS_ARRAY status{};
    fb_shutdown_callback(status, declineSignalShutdown, fb_shut_confirmation, nullptr);
    if (status[0] == 1 && status[1] != 0) {
      throw DatabaseError(
          "Firebird refused the shutdown callback (status " + std::to_string(status[1]) + ")", "");
    }
    return true;
  }();
  (void)registered;
}

}  // namespace vornleads
