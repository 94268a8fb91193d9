#include "call_log.h"

#include <cstdio>
#include <mutex>

namespace vornleads::sandbox {

void logLine(const std::string& line) {
  static std::mutex mutex;
  std::lock_guard<std::mutex> lock(mutex);
  std::fprintf(stderr, "%s\n", line.c_str());
  std::fflush(stderr);
}

}  // namespace vornleads::sandbox
