// The sandbox's HTTP server, made so that slow or idle clients cannot keep others waiting.
//
// cpp-httplib bounds each single read of a request, not the whole of it, and serves every
// connection on one of a few threads: a client that trickles its headers a byte at a time
// would hold its thread for hours, and a handful of them the whole server. Here a request's
// headers and body (and, under TLS, the handshake before the first one) must arrive within
// kRequestBound of its first byte; an idle connection is closed after the keep-alive time-out;
// and there are many more threads than clients a test starts. A request cut off by the bound
// is answered 408 with a SOAP fault (at the service's endpoint) or a JSON error.
#pragma once

#include <httplib.h>

#include <chrono>
#include <memory>
#include <string>

namespace vornleads::sandbox {

inline constexpr std::chrono::seconds kRequestBound{5};

// Whether the request being served on this thread ran past kRequestBound; for the error
// handler, which then answers 408 with cutOffMessage().
bool requestCutOff();
std::string cutOffMessage();

// A plain HTTP server, or an HTTPS one when both PEM files are given; is_valid() tells
// whether the certificate and key could be used.
std::unique_ptr<httplib::Server> makeBoundedServer(const std::string& tlsCert,
                                                   const std::string& tlsKey);

}  // namespace vornleads::sandbox
