// What the benchmark programs share: a scratch directory and the sandbox they measure against.
#pragma once

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <random>
#include <stdexcept>
#include <string>
#include <system_error>

namespace bench_support {

// A fresh directory under the temporary directory, removed with everything in it.
class ScratchDir {
 public:
  explicit ScratchDir(const std::string& prefix) {
    std::random_device seed;
    path_ = std::filesystem::temp_directory_path() /
            (prefix + "-" + std::to_string(std::mt19937_64(seed())() % 1000000000));
    std::filesystem::create_directories(path_);
  }
  ~ScratchDir() {
    std::error_code ignored;  // leftovers in /tmp are harmless
    std::filesystem::remove_all(path_, ignored);
  }
  ScratchDir(const ScratchDir&) = delete;
  ScratchDir& operator=(const ScratchDir&) = delete;
  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

// vornleads-sandbox on a free loopback port with the leads of a file, stopped with the object.
// Its one line per call on standard error goes to /dev/null: it would drown the figures.
class Sandbox {
 public:
  Sandbox(const std::filesystem::path& program, const std::filesystem::path& leadsFile) {
    int fds[2];
    if (pipe(fds) != 0) throw std::runtime_error("pipe failed");
    pid_ = fork();
    if (pid_ == 0) {
      dup2(fds[1], STDOUT_FILENO);
      const int quiet = open("/dev/null", O_WRONLY);
      if (quiet >= 0) dup2(quiet, STDERR_FILENO);
      close(fds[0]);
      close(fds[1]);
      execl(program.c_str(), program.c_str(), "--bind", "127.0.0.1", "--port", "0", "--leads",
            leadsFile.c_str(), static_cast<char*>(nullptr));
      _exit(127);
    }
    close(fds[1]);
    std::string line;
    char ch = 0;
    while (read(fds[0], &ch, 1) == 1 && ch != '\n') line += ch;
    close(fds[0]);
    const std::string prefix = "listening on ";
    if (line.rfind(prefix, 0) != 0) throw std::runtime_error("sandbox did not start: " + line);
    url_ = line.substr(prefix.size());
  }
  ~Sandbox() {
    if (pid_ > 0) {
      kill(pid_, SIGTERM);
      waitpid(pid_, nullptr, 0);
    }
  }
  Sandbox(const Sandbox&) = delete;
  Sandbox& operator=(const Sandbox&) = delete;
  const std::string& url() const { return url_; }

 private:
  pid_t pid_ = -1;
  std::string url_;
};

}  // namespace bench_support
