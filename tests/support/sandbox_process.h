// SandboxProcess: a vornleads-sandbox (the stand-in of the hosted leads service) running as a
// child process of the test, on a free loopback port, for end-to-end tests over real SOAP.
//
// Construction starts binDir()/"vornleads-sandbox" --bind 127.0.0.1 --port 0 [--leads FILE]
// [--tls-cert PEM --tls-key PEM] and waits (up to the start time-out) for its "listening on URL"
// line; it throws std::runtime_error, with the sandbox's standard error attached, when the program
// cannot be started or exits or stays silent instead. The destructor stops it (SIGTERM, then
// SIGKILL after a grace period) and reaps it. Not copyable; one object owns one process.
//
// The helpers talk to the sandbox's test routes over HTTP and throw std::runtime_error when the
// sandbox answers anything but HTTP 200 (the message carries its status and body):
//   addLeads   POST /sandbox/leads   lead items (array, or {"Leads": [...]}) in the layout of
//                                    the fetch replies; IdLead text or number; missing members
//                                    default to "" or 0; a known IdLead replaces that lead
//   leads      GET  /sandbox/leads   every stored lead: its item members, then "confirmed"
//                                    (status -1 received), "status" (last other status received,
//                                    null before any) and "added" ("dd/mm/yyyy hh:nn:ss")
//   updates    GET  /sandbox/updates every AtualizaLeads request received, parsed, in arrival
//                                    order (faulted calls included: they did reach the service)
//   fault      POST /sandbox/faults  {"operation": name or "*", "mode": "reject" | "http500" |
//                                    "soapfault" | "malformed" | "delay" | "drop", "codigo"
//                                    (default 999), "descricao" (default "Falha simulada"),
//                                    "ms", "count" (default 1)}, or an array of them
//   faults     GET  /sandbox/faults  the faults still queued, with the counts left
//   reset      POST /sandbox/reset   back to the start-up leads, none confirmed, no updates,
//                                    no faults
//
// Service behaviour in short: BuscaLeadsStatus answers the requested dealers' leads (dealer
// numbers compared as integers) not yet confirmed; AtualizaLeads with Status -1 confirms a
// lead, other statuses are recorded; an unknown IdLead gets Status.Codigo 201, a missing Cpf
// 203, bad Parametros JSON 200. A fault uses one count per call of its operation; a faulted
// call never changes the leads.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "support/paths.h"

namespace vornleads::test {

// The files of a sandbox that serves HTTPS: its certificate and key, and the authority the
// test routes are checked against.
struct SandboxTls {
  std::filesystem::path cert;
  std::filesystem::path key;
  std::filesystem::path caFile;
};

class SandboxProcess {
 public:
  using Json = nlohmann::ordered_json;

  // Starts the sandbox, with the leads of `leadsFile` when it is not empty, over HTTPS when
  // `tls` is given.
  explicit SandboxProcess(const std::filesystem::path& leadsFile = {},
                          std::chrono::milliseconds startTimeout = std::chrono::seconds(30),
                          std::optional<SandboxTls> tls = std::nullopt);
  ~SandboxProcess();
  SandboxProcess(const SandboxProcess&) = delete;
  SandboxProcess& operator=(const SandboxProcess&) = delete;

  // The SOAP endpoint: http://127.0.0.1:PORT/VornLeadsVW/VornISAPILeadsVW.dll/soap/VornLeadsVW
  // (https under TLS).
  const std::string& url() const { return url_; }
  // http://127.0.0.1:PORT, the root of the test routes (https under TLS).
  const std::string& baseUrl() const { return baseUrl_; }
  int port() const { return port_; }
  pid_t pid() const { return pid_; }

  void addLeads(const Json& leads);
  Json leads() const;
  Json updates() const;
  void fault(const Json& fault);
  // The faults still queued, with the counts left.
  Json faults() const;
  void reset();

  // Everything the sandbox wrote on standard error so far (one line per call).
  std::string log() const;

  // Sends SIGTERM and waits for the process. Returns its exit status, or 128 + the signal
  // number when it was killed (SIGKILL follows when it is not gone within `grace`). A second
  // call returns the first result.
  int stop(std::chrono::milliseconds grace = std::chrono::seconds(10));

 private:
  // The read end of the child's standard output, closed with the object.
  class Pipe {
   public:
    Pipe();
    ~Pipe();
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;
    int readEnd() const { return fds_[0]; }
    int writeEnd() const { return fds_[1]; }
    void closeWriteEnd();

   private:
    int fds_[2] = {-1, -1};
  };

  void waitForStartLine(std::chrono::milliseconds timeout);
  Json call(const std::string& method, const std::string& path, const Json* body) const;

  TempDir dir_{"vornleads-sandbox"};
  std::optional<SandboxTls> tls_;
  Pipe stdout_;
  pid_t pid_ = -1;
  int exitStatus_ = -1;
  int port_ = 0;
  std::string url_;
  std::string baseUrl_;
};

}  // namespace vornleads::test
