// vornleads serve as a child process against the test's own sandbox and database, shared by the
// tests of its schedule and signals and those of its status server.
#pragma once

#include "apps/cli.h"

namespace vornleads::test {

class CliServeTest : public CliTest {
 protected:
  // With `status`, serve starts a status server on a free port and port_ is where.
  std::unique_ptr<ChildProcess> serve(const std::string& intakeEvery,
                                      const std::string& resendEvery, bool status = false) {
    std::vector<std::string> args{"serve",     "--intake-every", intakeEvery, "--resend-every",
                                  resendEvery, "--retry-delay",  "0"};
    if (status) args.insert(args.end(), {"--status-port", "0"});
    auto process = start(args);
    const std::string mark = "status on http://127.0.0.1:";
    if (status && logged(*process, mark))
      port_ = std::atoi(process->err().c_str() + process->err().find(mark) + mark.size());
    return process;
  }
  static bool waitFor(const std::function<bool()>& done) {
    return ChildProcess::waitUntil(done, std::chrono::seconds(60));
  }
  static bool logged(ChildProcess& process, const std::string& text, size_t times = 1) {
    return waitFor([&] { return occurrences(process.err(), text) >= times; });
  }
  // 501 is known to the sandbox by its number only (its intake fails, its receipt is confirmed,
  // its update is sent); 603 fails in every cycle, so a worker repeats its cycle five times and
  // ends with the restart message.
  void addWork() {
    addLeadContact(10, 501);
    addUnsentRow(501, 1, 10);
    sandbox_.addLeads(
        {leadItem(601), leadItem(602), leadItem(603, {{"DataIntencao", "32/01/2025"}})});
  }
  int port_ = 0;
};

}  // namespace vornleads::test
