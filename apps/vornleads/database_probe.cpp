#include "database_probe.h"

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <utility>

namespace vornleads::cli {
namespace {

std::string durationText(std::chrono::milliseconds wait) {
  return wait.count() % 1000 == 0 ? std::to_string(wait.count() / 1000) + " s"
                                  : std::to_string(wait.count()) + " ms";
}

}  // namespace

struct DatabaseProbe::State {
  Look look;
  std::chrono::milliseconds patience;
  std::mutex mutex;
  std::condition_variable changed;
  std::string db;
  ConnectionOptions options;
  bool requested = false;
  bool running = false;
  bool stopping = false;
  uint64_t results = 0;  // probes ended so far
  JournalProbe last;
};

DatabaseProbe::DatabaseProbe(Look look, std::chrono::milliseconds patience)
    : state_(std::make_shared<State>()) {
  state_->look = std::move(look);
  state_->patience = patience;
  // The thread holds the state itself: it may outlive this object in a probe that hangs.
  thread_ = std::thread([state = state_] {
    std::unique_lock<std::mutex> lock(state->mutex);
    for (;;) {
      state->changed.wait(lock, [&] { return state->requested || state->stopping; });
      if (state->stopping) return;
      state->requested = false;
      state->running = true;
      const std::string db = state->db;
      const ConnectionOptions options = state->options;
      lock.unlock();
      JournalProbe result = state->look(db, options);
      lock.lock();
      state->last = std::move(result);
      ++state->results;
      state->running = false;
      state->changed.notify_all();
    }
  });
}

DatabaseProbe::~DatabaseProbe() {
  std::unique_lock<std::mutex> lock(state_->mutex);
  state_->stopping = true;
  state_->changed.notify_all();
  const bool hanging = state_->running;
  lock.unlock();
  if (hanging) {
    thread_.detach();
  } else {
    thread_.join();
  }
}

void DatabaseProbe::setTarget(const std::string& db, const ConnectionOptions& options) {
  const std::lock_guard<std::mutex> lock(state_->mutex);
  state_->db = db;
  state_->options = options;
}

JournalProbe DatabaseProbe::answer() {
  std::unique_lock<std::mutex> lock(state_->mutex);
  const uint64_t before = state_->results;
  if (!state_->running) {
    state_->requested = true;
    state_->changed.notify_all();
  }
  if (state_->changed.wait_for(lock, state_->patience, [&] { return state_->results > before; })) {
    return state_->last;
  }
  JournalProbe none;
  none.error = "no answer in " + durationText(state_->patience);
  return none;
}

bool DatabaseProbe::busy() const {
  const std::lock_guard<std::mutex> lock(state_->mutex);
  return state_->running || state_->requested;
}

}  // namespace vornleads::cli
