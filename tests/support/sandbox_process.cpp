#include "support/sandbox_process.h"

#include <httplib.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <thread>

extern char** environ;

namespace vornleads::test {

SandboxProcess::SandboxProcess(const std::filesystem::path& leadsFile,
                               std::chrono::milliseconds startTimeout,
                               std::optional<SandboxTls> tls)
    : tls_(std::move(tls)) {
  std::vector<std::string> args = {(binDir() / "vornleads-sandbox").string(), "--bind", "127.0.0.1",
                                   "--port", "0"};
  if (!leadsFile.empty()) args.insert(args.end(), {"--leads", leadsFile.string()});
  if (tls_)
    args.insert(args.end(), {"--tls-cert", tls_->cert.string(), "--tls-key", tls_->key.string()});
  std::vector<char*> argv;
  for (auto& arg : args) argv.push_back(arg.data());
  argv.push_back(nullptr);

  int out[2];
  if (pipe2(out, O_CLOEXEC) != 0) throw std::runtime_error("pipe for the sandbox failed");
  const std::string logPath = (dir_ / "stderr.log").string();
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, logPath.c_str(),
                                   O_WRONLY | O_CREAT | O_TRUNC, 0644);
  const int failed = posix_spawn(&pid_, argv[0], &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(out[1]);
  if (failed != 0) {
    close(out[0]);
    pid_ = -1;
    throw std::runtime_error("cannot start " + args[0] + ": " + std::strerror(failed));
  }

  // The start-up line: "listening on URL\n".
  const auto deadline = std::chrono::steady_clock::now() + startTimeout;
  std::string line, problem;
  while (problem.empty() && line.find('\n') == std::string::npos) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline - std::chrono::steady_clock::now());
    pollfd ready{out[0], POLLIN, 0};
    char buffer[256];
    ssize_t got = 0;
    if (left.count() <= 0 || poll(&ready, 1, static_cast<int>(left.count())) == 0) {
      problem = "the sandbox did not report its address in time";
    } else if ((got = read(out[0], buffer, sizeof buffer)) > 0) {
      line.append(buffer, static_cast<size_t>(got));
    } else if (got == 0 || errno != EINTR) {
      problem = "the sandbox ended before it listened";
    }
  }
  close(out[0]);
  const std::string prefix = "listening on ";
  const size_t path = line.find("/VornLeadsVW/");
  if (problem.empty() && (line.rfind(prefix, 0) != 0 || path == std::string::npos))
    problem = "unexpected start-up line from the sandbox: " + line;
  if (!problem.empty()) {
    stop(std::chrono::seconds(2));
    throw std::runtime_error(problem + "; its log:\n" + log());
  }
  url_ = line.substr(prefix.size(), line.find('\n') - prefix.size());
  baseUrl_ = line.substr(prefix.size(), path - prefix.size());
  port_ = std::stoi(baseUrl_.substr(baseUrl_.rfind(':') + 1));
}

int SandboxProcess::stop(std::chrono::milliseconds grace) {
  if (pid_ < 0) return exitStatus_;
  kill(pid_, SIGTERM);
  const auto deadline = std::chrono::steady_clock::now() + grace;
  int status = 0;
  pid_t reaped = 0;
  while ((reaped = waitpid(pid_, &status, WNOHANG)) == 0 &&
         std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  if (reaped == 0) {
    kill(pid_, SIGKILL);
    reaped = waitpid(pid_, &status, 0);
  }
  exitStatus_ = reaped != pid_        ? -1
                : WIFEXITED(status)   ? WEXITSTATUS(status)
                : WIFSIGNALED(status) ? 128 + WTERMSIG(status)
                                      : -1;
  pid_ = -1;
  return exitStatus_;
}

std::string SandboxProcess::log() const {
  const auto path = dir_ / "stderr.log";
  return std::filesystem::exists(path) ? readFile(path) : std::string();
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
