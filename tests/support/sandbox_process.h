// SandboxProcess: bin/vornleads-sandbox, the stand-in of the hosted leads service, as a child
// of the test on a free loopback port, optionally with a leads file and over HTTPS. The
// constructor waits for its "listening on URL" line (std::runtime_error with its log when it
// does not come); the destructor stops it. The helpers use the sandbox's test routes
// (/sandbox/leads, updates, faults, reset; apps/sandbox/test_routes.cpp) and throw
// std::runtime_error on any answer but HTTP 200. Faults: {"operation": name or "*", "mode":
// "reject" | "http500" | "soapfault" | "malformed" | "delay" | "drop", "codigo" (999),
// "descricao" ("Falha simulada"), "ms", "count" (1)}, or an array of them.
#pragma once

#include <chrono>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "support/child_process.h"

namespace vornleads::test {

// The certificate and key a sandbox serves HTTPS with, and the authority its routes are
// checked against.
struct SandboxTls {
  std::filesystem::path cert;
  std::filesystem::path key;
  std::filesystem::path caFile;
};

class SandboxProcess {
 public:
  using Json = nlohmann::ordered_json;

  explicit SandboxProcess(const std::filesystem::path& leadsFile = {},
                          std::chrono::milliseconds startTimeout = std::chrono::seconds(30),
                          std::optional<SandboxTls> tls = std::nullopt);
  ~SandboxProcess() { stop(); }
  SandboxProcess(const SandboxProcess&) = delete;
  SandboxProcess& operator=(const SandboxProcess&) = delete;

  // http(s)://127.0.0.1:PORT/VornLeadsVW/VornISAPILeadsVW.dll/soap/VornLeadsVW
  const std::string& url() const { return url_; }
  // http(s)://127.0.0.1:PORT, the root of the test routes.
  const std::string& baseUrl() const { return baseUrl_; }
  int port() const { return port_; }

  void addLeads(const Json& leads) { call("POST", "/sandbox/leads", &leads); }
  Json leads() const { return call("GET", "/sandbox/leads", nullptr); }
  Json updates() const { return call("GET", "/sandbox/updates", nullptr); }
  void fault(const Json& fault) { call("POST", "/sandbox/faults", &fault); }
  Json faults() const { return call("GET", "/sandbox/faults", nullptr); }
  void reset() { call("POST", "/sandbox/reset", nullptr); }

  // What the sandbox wrote on standard error so far (a line per call).
  std::string log() const { return process_.err(); }
  // SIGTERM, then SIGKILL when it is not gone within `grace`: the exit status, 128 + the signal
  // that ended it, or -1 when it had to be killed. A second call returns the first result.
  int stop(std::chrono::milliseconds grace = std::chrono::seconds(10));

 private:
  Json call(const std::string& method, const std::string& path, const Json* body) const;

  std::optional<SandboxTls> tls_;
  ChildProcess process_;
  std::optional<int> exitStatus_;
  int port_ = 0;
  std::string url_, baseUrl_;
};

}  // namespace vornleads::test
