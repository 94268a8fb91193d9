// ChildProcess: args[0] run beside the test, its standard output and error written to files that
// out() and err() read while it runs; the destructor kills (SIGKILL) and reaps it.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "support/paths.h"

namespace vornleads::test {

class ChildProcess {
 public:
  explicit ChildProcess(std::vector<std::string> args);
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  std::string out() const { return readFile(dir_ / "out"); }
  std::string err() const { return readFile(dir_ / "err"); }
  // Polls `done` every 50 ms until it holds (true) or the time-out passes (false).
  static bool waitUntil(const std::function<bool()>& done, std::chrono::milliseconds timeout);
  void signal(int number) const;
  // The exit status, 128 + the signal that ended it, or -1 when it still runs after the
  // time-out (it is then killed).
  int wait(std::chrono::milliseconds timeout);

 private:
  TempDir dir_{"vornleads-child"};
  pid_t pid_ = -1;
};

// Runs args[0] to its end with a pseudo-terminal as standard input, output and error; returns
// what it wrote there (the terminal turns "\n" into "\r\n") and its exit status in `status`.
std::string runOnTerminal(std::vector<std::string> args, int& status);

}  // namespace vornleads::test
