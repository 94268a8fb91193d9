// The receive time-out as a SOAP runtime means it: the longest wait for the next bytes of an
// exchange, not a bound on the whole. Any byte that moves, either way, starts the wait again,
// so a reply that keeps arriving is never cut however long it takes in all.
#pragma once

#include <curl/curl.h>

namespace vornleads {

// Runs a prepared easy handle to its end and returns its result, or CURLE_OPERATION_TIMEDOUT
// once nothing has moved for receiveTimeoutMs (within a few milliseconds). 0 or less waits
// without limit. Takes over the handle's progress and header callbacks.
CURLcode performWithIdleLimit(CURL* handle, int receiveTimeoutMs);

}  // namespace vornleads
