#include "service/proxy_choice.h"

#include <arpa/inet.h>

#include <cstdint>
#include <cstdlib>

#include "text/ascii_case.h"

namespace vornleads {
namespace {

std::string environment(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr ? value : "";
}

bool ipv4(const std::string& text, std::uint32_t& address) {
  in_addr parsed{};
  if (inet_pton(AF_INET, text.c_str(), &parsed) != 1) return false;
  address = ntohl(parsed.s_addr);
  return true;
}

// One no_proxy entry against the host.
bool entryMatches(const std::string& host, std::string entry) {
  std::uint32_t hostAddress = 0;
  if (ipv4(host, hostAddress)) {
    const auto slash = entry.find('/');
    std::uint32_t network = 0;
    if (!ipv4(entry.substr(0, slash), network)) return false;
    if (slash == std::string::npos) return network == hostAddress;
    const int bits = std::atoi(entry.c_str() + slash + 1);
    if (bits <= 0) return bits == 0;
    const std::uint32_t mask = bits >= 32 ? ~0u : ~0u << (32 - bits);
    return (network & mask) == (hostAddress & mask);
  }
  if (!entry.empty() && entry.front() == '[' && entry.back() == ']') {
    entry = entry.substr(1, entry.size() - 2);
  }
  if (!entry.empty() && entry.front() == '.') entry.erase(0, 1);
  if (entry.empty()) return false;
  return host == entry || (host.size() > entry.size() &&
                           host.compare(host.size() - entry.size(), entry.size(), entry) == 0 &&
                           host[host.size() - entry.size() - 1] == '.');
}

// The host of a URL, lower case, without brackets, port or a trailing dot.
std::string hostOf(const std::string& url) {
  const auto scheme = url.find("://");
  auto start = scheme == std::string::npos ? 0 : scheme + 3;
  const auto end = url.find_first_of("/?#", start);
  std::string authority = url.substr(start, end == std::string::npos ? end : end - start);
  const auto at = authority.rfind('@');
  if (at != std::string::npos) authority.erase(0, at + 1);
  std::string host;
  if (!authority.empty() && authority.front() == '[') {
    host = authority.substr(1, authority.find(']') - 1);
  } else {
    host = authority.substr(0, authority.find(':'));
  }
  if (!host.empty() && host.back() == '.') host.pop_back();
  return asciiLower(host);
}

}  // namespace

bool bypassesProxy(const std::string& host, const std::string& noProxy) {
  const std::string name = asciiLower(host);
  for (std::size_t at = 0; at < noProxy.size();) {
    const auto end = noProxy.find_first_of(", \t", at);
    const std::string entry = asciiLower(noProxy.substr(at, end - at));
    if (entry == "*" || (!entry.empty() && entryMatches(name, entry))) return true;
    if (end == std::string::npos) break;
    at = end + 1;
  }
  return false;
}

std::string proxyFor(const std::string& url) {
  const std::string scheme = asciiLower(url.substr(0, url.find("://")));
  std::string proxy;
  if (scheme == "http") {
    proxy = environment("http_proxy");
  } else if (scheme == "https") {
    proxy = environment("https_proxy");
    if (proxy.empty()) proxy = environment("HTTPS_PROXY");
  }
  if (proxy.empty()) proxy = environment("all_proxy");
  if (proxy.empty()) proxy = environment("ALL_PROXY");
  if (proxy.empty()) return "";
  std::string noProxy = environment("no_proxy");
  if (noProxy.empty()) noProxy = environment("NO_PROXY");
  return bypassesProxy(hostOf(url), noProxy) ? "" : proxy;
}

}  // namespace vornleads
