#include "stop_signal.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <stdexcept>
#include <system_error>

namespace vornleads::cli {
namespace {

// What the handler may touch: plain flags and a descriptor, set before it is installed.
volatile std::sig_atomic_t stopSignal = 0;
int wakeRead = -1;
int wakeWrite = -1;
struct sigaction previousInt {};
struct sigaction previousTerm {};

extern "C" void onStopSignal(int signal) {
  const int savedErrno = errno;
  if (stopSignal == 0) {
    stopSignal = signal;
    const char byte = 1;
    // A full pipe already holds a wake-up; nothing more to do.
    [[maybe_unused]] const ssize_t written = write(wakeWrite, &byte, 1);
  }
  errno = savedErrno;
}

}  // namespace

StopSignal::StopSignal() {
  if (wakeRead != -1) throw std::logic_error("only one StopSignal may exist at a time");
  int fds[2];
  if (pipe2(fds, O_CLOEXEC | O_NONBLOCK) != 0) {
    throw std::system_error(errno, std::generic_category(), "pipe for the stop signal");
  }
  wakeRead = fds[0];
  wakeWrite = fds[1];
  stopSignal = 0;
  struct sigaction action {};
  action.sa_handler = onStopSignal;
  sigemptyset(&action.sa_mask);
  // Restarted system calls keep a database or HTTP exchange in hand going to its end.
  action.sa_flags = SA_RESTART;
  sigaction(SIGINT, &action, &previousInt);
  sigaction(SIGTERM, &action, &previousTerm);
}

StopSignal::~StopSignal() {
  sigaction(SIGINT, &previousInt, nullptr);
  sigaction(SIGTERM, &previousTerm, nullptr);
  close(wakeRead);
  close(wakeWrite);
  wakeRead = wakeWrite = -1;
}

bool StopSignal::stopRequested() const { return stopSignal != 0; }

std::string StopSignal::signalName() const {
  switch (stopSignal) {
    case 0:
      return "";
    case SIGINT:
      return "SIGINT";
    case SIGTERM:
      return "SIGTERM";
    default:
      return "signal " + std::to_string(stopSignal);
  }
}

void StopSignal::sleep(int milliseconds) {
  using Clock = std::chrono::steady_clock;
  const auto end = Clock::now() + std::chrono::milliseconds(milliseconds);
  // The wake-up byte stays in the pipe, so every later sleep returns at once as well.
  while (!stopRequested()) {
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
    if (left <= 0) return;
    pollfd wake{wakeRead, POLLIN, 0};
    const int ready = poll(&wake, 1, static_cast<int>(left));
    if (ready > 0) return;
    if (ready < 0 && errno != EINTR) {
      throw std::system_error(errno, std::generic_category(), "waiting for the stop signal");
    }
  }
}

}  // namespace vornleads::cli
