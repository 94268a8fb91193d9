// The HTTP edge of the leads-service client: one POST, answered with a status and a body.
//
// post() returns whatever HTTP status the server sent (the caller decides what a 404 or a 500
// means). It throws TransportError when no whole HTTP answer arrived: connection refused,
// host or proxy not found, receive time-out, connection dropped, malformed address, a server
// certificate that was refused, a reply past the size limit or in a coding not read here.
// The transport keeps
// no state between calls, so one object may serve many clients on one thread at a time.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "vornleads/error.h"

namespace vornleads {

struct HttpResponse {
  long status = 0;
  std::string contentType;  // the Content-Type header as sent, empty when there was none
  std::string body;         // decoded when it came compressed
};

// The largest reply body kept by default (64 MiB), after decompression.
inline constexpr std::size_t kDefaultMaxReplyBytes = std::size_t{64} << 20;

// No HTTP answer was received. what() is the cause in the operator's words ("conexão
// recusada"); the SOAP client puts the operation and the endpoint in front of it.
class TransportError : public VornError {
 public:
  enum class Kind {
    ConnectionRefused,
    HostNotFound,
    TimedOut,
    ConnectionDropped,
    InvalidAddress,
    CertificateRefused,
    ProxyFailed,
    ReplyTooLarge,
    UnreadableCoding,
    Other
  };

  TransportError(Kind kind, const std::string& cause) : VornError(cause), kind_(kind) {}
  Kind kind() const { return kind_; }

 private:
  Kind kind_;
};

class HttpTransport {
 public:
  virtual ~HttpTransport() = default;

  // Sends body to url with the given header lines ("Name: value"). receiveTimeoutMs is the
  // longest wait for the next bytes of the exchange: a reply that keeps arriving is never cut,
  // however long it takes in all; 0 or less waits without limit. A body that grows past
  // maxReplyBytes is cut there and the call fails with ReplyTooLarge, so memory stays bounded
  // however much a peer sends. The transport asks for gzip or deflate and decodes them; a
  // coding it cannot decode is UnreadableCoding, naming it. The connect time-out keeps the
  // HTTP library's default.
  //
  // Proxies come from the environment (http_proxy, https_proxy, all_proxy, no_proxy); a proxy
  // that cannot be found or reached is ProxyFailed, naming the proxy.
  //
  // https:// servers are verified, always: the certificate must chain to the system's trusted
  // authorities, or, when VORNLEADS_CA_FILE names a PEM file, to the authorities of that file
  // alone, and must name the host of the URL. A refusal is TransportError CertificateRefused,
  // whose message says that the certificate was refused and why.
  virtual HttpResponse post(const std::string& url, const std::vector<std::string>& headers,
                            const std::string& body, int receiveTimeoutMs,
                            std::size_t maxReplyBytes) = 0;
};

// The libcurl transport: one easy handle per call, no signals (safe on worker threads).
std::shared_ptr<HttpTransport> makeCurlHttpTransport();

}  // namespace vornleads
