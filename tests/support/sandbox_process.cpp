#include "support/sandbox_process.h"

#include <httplib.h>
#include <signal.h>

#include <stdexcept>

namespace vornleads::test {
namespace {

std::vector<std::string> sandboxArguments(const std::filesystem::path& leadsFile,
                                          const std::optional<SandboxTls>& tls) {
  std::vector<std::string> args = {(binDir() / "vornleads-sandbox").string(), "--bind", "127.0.0.1",
                                   "--port", "0"};
  if (!leadsFile.empty()) args.insert(args.end(), {"--leads", leadsFile.string()});
  if (tls) args.insert(args.end(), {"--tls-cert", tls->cert.string(), "--tls-key", tls->key.string()});
  return args;
}

}  // namespace

SandboxProcess::SandboxProcess(const std::filesystem::path& leadsFile,
                               std::chrono::milliseconds startTimeout,
                               std::optional<SandboxTls> tls)
    : tls_(std::move(tls)), process_(sandboxArguments(leadsFile, tls_)) {
  // The start-up line: "listening on URL/VornLeadsVW/...\n".
  std::string line;
  ChildProcess::waitUntil([&] { return (line = process_.out()).find('\n') != std::string::npos; },
                          startTimeout);
  const std::string prefix = "listening on ";
  const size_t path = line.find("/VornLeadsVW/");
  if (line.rfind(prefix, 0) != 0 || path == std::string::npos || line.back() != '\n') {
    stop(std::chrono::seconds(2));
    throw std::runtime_error("the sandbox did not report its address: \"" + line +
                             "\"; its log:\n" + log());
  }
  url_ = line.substr(prefix.size(), line.size() - 1 - prefix.size());
  baseUrl_ = line.substr(prefix.size(), path - prefix.size());
  port_ = std::stoi(baseUrl_.substr(baseUrl_.rfind(':') + 1));
}

int SandboxProcess::stop(std::chrono::milliseconds grace) {
  if (!exitStatus_) {
    process_.signal(SIGTERM);
    exitStatus_ = process_.wait(grace);
  }
  return *exitStatus_;
}

SandboxProcess::Json SandboxProcess::call(const std::string& method, const std::string& path,
                                          const Json* body) const {
  httplib::Client client(baseUrl_);
  if (tls_) client.set_ca_cert_path(tls_->caFile.string());
  client.set_connection_timeout(std::chrono::seconds(5));
  client.set_read_timeout(std::chrono::seconds(30));
  const auto result =
      method == "GET" ? client.Get(path.c_str())
                      : client.Post(path.c_str(), body ? body->dump() : "{}", "application/json");
  if (!result) {
    throw std::runtime_error(method + " " + path +
                             " to the sandbox failed: " + httplib::to_string(result.error()));
  }
  if (result->status != 200) {
    throw std::runtime_error(method + " " + path + " answered " + std::to_string(result->status) +
                             ": " + result->body);
  }
  return Json::parse(result->body);
}

}  // namespace vornleads::test
