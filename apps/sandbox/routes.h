// The sandbox's HTTP routes: the leads service's SOAP endpoint, and the plain JSON routes
// under /sandbox/ through which tests load leads, read what the service received and queue
// faults. The state outlives the server that serves these routes.
#pragma once

#include <httplib.h>

#include <string>

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

// Answers for requests the routes never see, so that no request goes unanswered or gets an
// empty body: a POST without Content-Length (411, before waiting for a body that has no
// length) and any error status cpp-httplib sets by itself (a request it cannot read, an
// unknown route, a body too large).
void installUnreadableRequestAnswers(httplib::Server& server);

// The body of such an answer: a SOAP fault when path is the service's endpoint, else
// {"error": message}; contentType receives its Content-Type.
std::string unreadableRequestBody(const std::string& path, const std::string& message,
                                  std::string& contentType);

}  // namespace vornleads::sandbox
