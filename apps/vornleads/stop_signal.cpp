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
volatile std::sig_atomic_t hangup = 0;
int wakeRead = -1;
int wakeWrite = -1;
struct sigaction previousInt {};
struct sigaction previousTerm {};
struct sigaction previousHup {};

// A full pipe already holds a wake-up; nothing more to do.
void wake() {
  const char byte = 1;
  [[maybe_unused]] const ssize_t written = write(wakeWrite, &byte, 1);
}

extern "C" void onStopSignal(int signal) {
  const int savedErrno = errno;
  if (stopSignal == 0) {
    stopSignal = signal;
    wake();
  }
  errno = savedErrno;
}

extern "C" void onHangup(int) {
  const int savedErrno = errno;
  hangup = 1;
  wake();
  errno = savedErrno;
}

void installHandler(int signal, void (*handler)(int), struct sigaction& previous) {
  struct sigaction action {};
  action.sa_handler = handler;
  sigemptyset(&action.sa_mask);
  // Restarted system calls keep a database or HTTP exchange in hand going to its end.
  action.sa_flags = SA_RESTART;
  sigaction(signal, &action, &previous);
}

// Empties the pipe of wake-ups already seen (the flags say what they were for).
void drain() {
  char bytes[64];
  while (read(wakeRead, bytes, sizeof bytes) > 0) {
  }
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
  hangup = 0;
  installHandler(SIGINT, onStopSignal, previousInt);
  installHandler(SIGTERM, onStopSignal, previousTerm);
}

StopSignal::~StopSignal() {
  sigaction(SIGINT, &previousInt, nullptr);
  sigaction(SIGTERM, &previousTerm, nullptr);
  if (hangupWatched_) sigaction(SIGHUP, &previousHup, nullptr);
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

void StopSignal::sleep(int milliseconds) { wait(milliseconds, false); }

void StopSignal::watchHangup() {
  if (hangupWatched_) return;
  installHandler(SIGHUP, onHangup, previousHup);
  hangupWatched_ = true;
}

bool StopSignal::hangupPending() const { return hangup != 0; }

bool StopSignal::takeHangup() {
  if (hangup == 0) return false;
  hangup = 0;
  return true;
}

void StopSignal::sleepOrHangup(int milliseconds) { wait(milliseconds, true); }

void StopSignal::wait(int milliseconds, bool hangupEnds) {
  using Clock = std::chrono::steady_clock;
  const auto end = Clock::now() + std::chrono::milliseconds(milliseconds);
  // The flags are set before their byte is written: a byte drained here was either seen in a
  // flag already or is seen at the next turn.
  while (!stopRequested() && !(hangupEnds && hangupPending())) {
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
    if (left <= 0) return;
    pollfd wakeUp{wakeRead, POLLIN, 0};
    const int ready = poll(&wakeUp, 1, static_cast<int>(left));
    if (ready > 0 && !stopRequested() && !(hangupEnds && hangupPending())) drain();
    if (ready < 0 && errno != EINTR) {
      throw std::system_error(errno, std::generic_category(), "waiting for the stop signal");
    }
  }
}

}  // namespace vornleads::cli
