#include "support/sandbox_process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <thread>
#include <utility>

#include <httplib.h>

extern char** environ;

namespace vornleads::test {
namespace {

constexpr const char* kLinePrefix = "listening on ";

int statusOf(int waitStatus) {
  if (WIFEXITED(waitStatus)) return WEXITSTATUS(waitStatus);
  if (WIFSIGNALED(waitStatus)) return 128 + WTERMSIG(waitStatus);
  return -1;
}

// Spawn file actions that are destroyed on every path out of the constructor.
class FileActions {
 public:
  FileActions() { posix_spawn_file_actions_init(&actions_); }
  ~FileActions() { posix_spawn_file_actions_destroy(&actions_); }
  FileActions(const FileActions&) = delete;
  FileActions& operator=(const FileActions&) = delete;
  posix_spawn_file_actions_t* get() { return &actions_; }

 private:
  posix_spawn_file_actions_t actions_;
};

}  // namespace

SandboxProcess::Pipe::Pipe() {
  if (pipe2(fds_, O_CLOEXEC) != 0) {
    throw std::runtime_error(std::string("pipe for the sandbox failed: ") + std::strerror(errno));
  }
}

SandboxProcess::Pipe::~Pipe() {
  for (int fd : fds_) {
    if (fd >= 0) close(fd);
  }
}

void SandboxProcess::Pipe::closeWriteEnd() {
  if (fds_[1] >= 0) close(fds_[1]);
  fds_[1] = -1;
}

SandboxProcess::SandboxProcess(const std::filesystem::path& leadsFile,
                               std::chrono::milliseconds startTimeout,
                               std::optional<SandboxTls> tls)
    : tls_(std::move(tls)) {
  const std::string program = (binDir() / "vornleads-sandbox").string();
  const std::string logPath = (dir_.path() / "stderr.log").string();
  std::vector<std::string> args = {program, "--bind", "127.0.0.1", "--port", "0"};
  if (!leadsFile.empty()) {
    args.push_back("--leads");
    args.push_back(leadsFile.string());
  }
  if (tls_) {
    args.insert(args.end(), {"--tls-cert", tls_->cert.string(), "--tls-key", tls_->key.string()});
  }
  std::vector<char*> argv;
  for (auto& arg : args) argv.push_back(arg.data());
  argv.push_back(nullptr);

  FileActions actions;
  posix_spawn_file_actions_adddup2(actions.get(), stdout_.writeEnd(), STDOUT_FILENO);
  posix_spawn_file_actions_addopen(actions.get(), STDERR_FILENO, logPath.c_str(),
                                   O_WRONLY | O_CREAT | O_TRUNC, 0644);
  const int failed =
      posix_spawn(&pid_, program.c_str(), actions.get(), nullptr, argv.data(), environ);
  if (failed != 0) {
    pid_ = -1;
    throw std::runtime_error("cannot start " + program + ": " + std::strerror(failed));
  }
  stdout_.closeWriteEnd();
  try {
    waitForStartLine(startTimeout);
  } catch (...) {
    stop(std::chrono::seconds(2));
    throw;
  }
}

SandboxProcess::~SandboxProcess() { stop(); }

void SandboxProcess::waitForStartLine(std::chrono::milliseconds timeout) {
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  std::string line;
  while (line.find('\n') == std::string::npos) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline - std::chrono::steady_clock::now());
    pollfd ready{stdout_.readEnd(), POLLIN, 0};
    if (left.count() <= 0 || poll(&ready, 1, static_cast<int>(left.count())) == 0) {
      throw std::runtime_error("the sandbox did not report its address in time; its log:\n" +
                               log());
    }
    char buffer[256];
    const ssize_t got = read(stdout_.readEnd(), buffer, sizeof buffer);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) {
      throw std::runtime_error("the sandbox ended before it listened; its log:\n" + log());
    }
    line.append(buffer, static_cast<size_t>(got));
  }
  line.erase(line.find('\n'));
  const auto path = line.find("/VornLeadsVW/");
  if (line.rfind(kLinePrefix, 0) != 0 || path == std::string::npos) {
    throw std::runtime_error("unexpected start-up line from the sandbox: " + line);
  }
  url_ = line.substr(std::strlen(kLinePrefix));
  baseUrl_ = line.substr(std::strlen(kLinePrefix), path - std::strlen(kLinePrefix));
  port_ = std::stoi(baseUrl_.substr(baseUrl_.rfind(':') + 1));
}

int SandboxProcess::stop(std::chrono::milliseconds grace) {
  if (pid_ < 0) return exitStatus_;
  kill(pid_, SIGTERM);
  const auto deadline = std::chrono::steady_clock::now() + grace;
  int waitStatus = 0;
  pid_t reaped = 0;
  while ((reaped = waitpid(pid_, &waitStatus, WNOHANG)) == 0 &&
         std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  if (reaped == 0) {
    kill(pid_, SIGKILL);
    reaped = waitpid(pid_, &waitStatus, 0);
  }
  exitStatus_ = reaped == pid_ ? statusOf(waitStatus) : -1;
  pid_ = -1;
  return exitStatus_;
}

std::string SandboxProcess::log() const {
  const auto path = dir_.path() / "stderr.log";
  return std::filesystem::exists(path) ? readFile(path) : std::string();
}

SandboxProcess::Json SandboxProcess::call(const std::string& method, const std::string& path,
                                          const Json* body) const {
  httplib::Client client(baseUrl_);
  if (tls_) client.set_ca_cert_path(tls_->caFile.string());
  client.set_connection_timeout(std::chrono::seconds(5));
  client.set_read_timeout(std::chrono::seconds(30));
  const auto result =
      method == "GET"
          ? client.Get(path.c_str())
          : client.Post(path.c_str(), body ? body->dump() : std::string("{}"), "application/json");
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

void SandboxProcess::addLeads(const Json& leads) { call("POST", "/sandbox/leads", &leads); }
SandboxProcess::Json SandboxProcess::leads() const {
  return call("GET", "/sandbox/leads", nullptr);
}
SandboxProcess::Json SandboxProcess::updates() const {
  return call("GET", "/sandbox/updates", nullptr);
}
void SandboxProcess::fault(const Json& fault) { call("POST", "/sandbox/faults", &fault); }
SandboxProcess::Json SandboxProcess::faults() const {
  return call("GET", "/sandbox/faults", nullptr);
}
void SandboxProcess::reset() { call("POST", "/sandbox/reset", nullptr); }

}  // namespace vornleads::test
