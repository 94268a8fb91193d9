#include "support/child_process.h"

#include <fcntl.h>
#include <pty.h>
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
namespace {

std::vector<char*> argvOf(std::vector<std::string>& args) {
  std::vector<char*> argv;
  for (auto& arg : args) argv.push_back(arg.data());
  argv.push_back(nullptr);
  return argv;
}

}  // namespace

ChildProcess::ChildProcess(std::vector<std::string> args) {
  std::vector<char*> argv = argvOf(args);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  const std::string out = (dir_ / "out").string();
  const std::string err = (dir_ / "err").string();
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, out.c_str(),
                                   O_WRONLY | O_CREAT | O_TRUNC, 0644);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, err.c_str(),
                                   O_WRONLY | O_CREAT | O_TRUNC, 0644);
  const int failed = posix_spawn(&pid_, argv[0], &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (failed != 0) {
    pid_ = -1;
    throw std::runtime_error("cannot start " + args[0] + ": " + std::strerror(failed));
  }
}

ChildProcess::~ChildProcess() {
  if (pid_ > 0) {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
  }
}

bool ChildProcess::waitUntil(const std::function<bool()>& done, std::chrono::milliseconds timeout) {
  const auto end = std::chrono::steady_clock::now() + timeout;
  while (!done()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  return true;
}

void ChildProcess::signal(int number) const {
  if (pid_ > 0) kill(pid_, number);
}

int ChildProcess::wait(std::chrono::milliseconds timeout) {
  if (pid_ <= 0) return -1;
  int status = 0;
  const bool ended = waitUntil([&] { return waitpid(pid_, &status, WNOHANG) == pid_; }, timeout);
  if (!ended) kill(pid_, SIGKILL), waitpid(pid_, nullptr, 0);
  pid_ = -1;
  return !ended ? -1 : WIFEXITED(status) ? WEXITSTATUS(status)
                     : WIFSIGNALED(status) ? 128 + WTERMSIG(status) : -1;
}

std::string runOnTerminal(std::vector<std::string> args, int& status) {
  std::vector<char*> argv = argvOf(args);
  int terminal = -1;
  const pid_t pid = forkpty(&terminal, nullptr, nullptr, nullptr);
  if (pid < 0) throw std::runtime_error(std::string("forkpty: ") + std::strerror(errno));
  if (pid == 0) {
    execv(argv[0], argv.data());
    _exit(127);
  }
  std::string output;
  char buffer[4096];
  // The read fails (EIO) once the child has closed its side of the terminal.
  for (ssize_t n; (n = read(terminal, buffer, sizeof buffer)) > 0;) output.append(buffer, n);
  close(terminal);
  int raw = 0;
  waitpid(pid, &raw, 0);
  status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
  return output;
}

}  // namespace vornleads::test
