// The sandbox's HTTP routes: the leads service's SOAP endpoint, and the plain JSON routes
// under /sandbox/ through which tests load leads, read what the service received and queue
// faults. The state outlives the server that serves these routes.
#pragma once

#include <httplib.h>

#include "fault_queue.h"
#include "lead_store.h"

namespace vornleads::sandbox {

inline constexpr const char* kEndpointPath = "/VornLeadsVW/VornISAPILeadsVW.dll/soap/VornLeadsVW";

struct SandboxState {
  LeadStore store;
  FaultQueue faults;
};

// POST to kEndpointPath: one SOAP call, answered from the store unless a queued fault says
// otherwise. A body that is not SOAP or names an unknown operation gets a SOAP fault.
void installServiceRoute(httplib::Server& server, SandboxState& state);

// POST/GET /sandbox/leads, GET /sandbox/updates, POST/GET /sandbox/faults, POST /sandbox/reset.
// Bad input gets HTTP 400 with {"error": reason}.
void installTestRoutes(httplib::Server& server, SandboxState& state);

}  // namespace vornleads::sandbox
