#include "terminal_progress.h"

#include <unistd.h>

#include <iostream>
#include <utility>

namespace vornleads::cli {

TerminalProgress::TerminalProgress(std::string label, const StopSignal* stop)
    : label_(std::move(label)), stop_(stop), terminal_(isatty(STDERR_FILENO) == 1) {}

void TerminalProgress::progress(int n, int total, const std::string& id) {
  if (!terminal_) return;
  // Carriage return and "erase line": the next report takes this one's place.
  std::cerr << "\r\033[K" << label_ << " " << n << " of " << total << ", " << id << std::flush;
  shown_ = true;
}

void TerminalProgress::phase(const std::string& items) {
  label_ = label_.substr(0, label_.find(": ") + 2) + items;
}

void TerminalProgress::clear() {
  if (!shown_) return;
  std::cerr << "\r\033[K" << std::flush;
  shown_ = false;
}

}  // namespace vornleads::cli
