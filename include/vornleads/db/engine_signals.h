// Stop signals and the embedded database engine.
//
// Firebird's client library catches SIGINT and SIGTERM itself and answers them by shutting
// every attachment of the process down at once, whatever the process is in the middle of. A
// host that handles those signals itself, to end its work at a safe point, calls
// leaveStopSignalsToHost() once: from then on the engine declines the shutdown a signal asks
// for, and the attachments live until the host closes them. Idempotent; raises DatabaseError
// when the client library refuses the request.
#pragma once

namespace vornleads {

void leaveStopSignalsToHost();

}  // namespace vornleads
