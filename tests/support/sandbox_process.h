// SandboxProcess: bin/vornleads-sandbox, the stand-in of the hosted leads service, run as a
// child of the test on a free loopback port (--bind 127.0.0.1 --port 0 [--leads FILE]
// [--tls-cert PEM --tls-key PEM]). Construction waits for its "listening on URL" line and
// throws std::runtime_error, with the sandbox's standard error, when it does not come; the
// destructor stops it (SIGTERM, SIGKILL after a grace period). Not copyable.
//
// The helpers use the sandbox's test routes and throw std::runtime_error (status and body) on
// any answer but HTTP 200:
//   addLeads  POST /sandbox/leads    lead items as the fetches serve them (array or
//                                    {"Leads": [...]}); missing members "" or 0; a known
//                                    IdLead replaces that lead
//   leads     GET  /sandbox/leads    every lead: its members, "confirmed" (status -1
//                                    received), "status" (last other status, null before any),
//                                    "added" ("dd/mm/yyyy hh:nn:ss")
//   updates   GET  /sandbox/updates  every AtualizaLeads request, parsed, in arrival order
//                                    (faulted calls included)
//   fault     POST /sandbox/faults   {"operation": name or "*", "mode": "reject" | "http500" |
//                                    "soapfault" | "malformed" | "delay" | "drop", "codigo"
//                                    (999), "descricao" ("Falha simulada"), "ms", "count" (1)},
//                                    or an array of them; one count per call; a faulted call
//                                    never changes the leads
//   faults    GET  /sandbox/faults   the faults still queued, with the counts left
//   reset     POST /sandbox/reset    the start-up leads, none confirmed, no updates or faults
//
// BuscaLeadsStatus answers the requested dealers' (numbers compared as integers) unconfirmed
// leads; AtualizaLeads with Status -1 confirms, other statuses are recorded; an unknown IdLead
// is answered Status.Codigo 201, a missing Cpf 203, bad Parametros JSON 200.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "support/paths.h"

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
  pid_t pid() const { return pid_; }

  void addLeads(const Json& leads) { call("POST", "/sandbox/leads", &leads); }
  Json leads() const { return call("GET", "/sandbox/leads", nullptr); }
  Json updates() const { return call("GET", "/sandbox/updates", nullptr); }
  void fault(const Json& fault) { call("POST", "/sandbox/faults", &fault); }
  Json faults() const { return call("GET", "/sandbox/faults", nullptr); }
  void reset() { call("POST", "/sandbox/reset", nullptr); }

  // What the sandbox wrote on standard error so far (a line per call).
  std::string log() const;
  // SIGTERM, then SIGKILL when it is not gone within `grace`; the exit status, or 128 + the
  // signal that ended it. A second call returns the first result.
  int stop(std::chrono::milliseconds grace = std::chrono::seconds(10));

 private:
  Json call(const std::string& method, const std::string& path, const Json* body) const;

  TempDir dir_{"vornleads-sandbox"};
  std::optional<SandboxTls> tls_;
  pid_t pid_ = -1;
  int exitStatus_ = -1;
  int port_ = 0;
  std::string url_;
  std::string baseUrl_;
};

}  // namespace vornleads::test
