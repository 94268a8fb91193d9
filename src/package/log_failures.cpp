#include "vornleads/package/log_failures.h"

#include <mutex>
#include <utility>

namespace vornleads {
namespace {

struct Registry {
  std::mutex mutex;
  uint64_t failures = 0;
  std::optional<std::string> current;
  std::function<void(const std::string&)> listener;
};

Registry& registry() {
  static Registry instance;
  return instance;
}

}  // namespace

void recordLogWriteFailure(const std::string& message) {
  Registry& r = registry();
  std::function<void(const std::string&)> listener;
  {
    const std::lock_guard<std::mutex> lock(r.mutex);
    ++r.failures;
    r.current = message;
    listener = r.listener;
  }
  if (listener) listener(message);
}

void recordLogWriteSuccess() {
  Registry& r = registry();
  const std::lock_guard<std::mutex> lock(r.mutex);
  r.current.reset();
}

uint64_t logWriteFailureCount() {
  Registry& r = registry();
  const std::lock_guard<std::mutex> lock(r.mutex);
  return r.failures;
}

std::optional<std::string> currentLogWriteFailure() {
  Registry& r = registry();
  const std::lock_guard<std::mutex> lock(r.mutex);
  return r.current;
}

void setLogWriteFailureListener(std::function<void(const std::string&)> listener) {
  Registry& r = registry();
  const std::lock_guard<std::mutex> lock(r.mutex);
  r.listener = std::move(listener);
}

}  // namespace vornleads
