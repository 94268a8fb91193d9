// The proxy an HTTP exchange goes through, chosen from the environment the way HTTP clients
// on this system choose it, so that a failure can name the proxy rather than the endpoint.
//
// http:// URLs use http_proxy (never HTTP_PROXY, which a CGI environment may set from a
// request header), https:// URLs https_proxy or HTTPS_PROXY; either falls back to all_proxy or
// ALL_PROXY. no_proxy (or NO_PROXY) lists the hosts reached directly: "*" for all, names that
// match the host or a domain it is in (a leading dot is optional), IPv4 addresses or networks
// ("10.0.0.0/8") and IPv6 addresses.
#pragma once

#include <string>

namespace vornleads {

// The proxy URL for this URL, or empty when it is reached directly.
std::string proxyFor(const std::string& url);

// Whether the no_proxy list names the host (a name, an IPv4 or a bracketed IPv6 address).
bool bypassesProxy(const std::string& host, const std::string& noProxy);

}  // namespace vornleads
