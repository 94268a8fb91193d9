// DatabaseProbe: the status pages' look at the database, bounded in time whatever the
// database does (away, refusing, or hanging with connections accepted and nothing answered).
//
// One probe runs at a time, on a thread of the object's own, each on a connection of its own.
// answer() starts a probe unless one is under way, and waits at most `patience` for a result
// that is newer than the call: a probe still under way after that answers "no answer in 1 s"
// (for a patience of 1 s) as the database's error. Scrapes that come while a probe hangs do
// not start another behind it: they wait for that one (each at most `patience`), and take its
// result when it comes. Safe to call from any thread.
//
// The destructor stops the thread; a thread still in a probe is left to end on its own (it
// owns what it uses), and busy() tells the caller so.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>

#include "serve_health.h"
#include "vornleads/db/sql_connection.h"

namespace vornleads::cli {

class DatabaseProbe {
 public:
  // One look at the database; must not throw (probeJournal()).
  using Look = std::function<JournalProbe(const std::string& db, const ConnectionOptions&)>;

  DatabaseProbe(Look look, std::chrono::milliseconds patience);
  ~DatabaseProbe();
  DatabaseProbe(const DatabaseProbe&) = delete;
  DatabaseProbe& operator=(const DatabaseProbe&) = delete;

  // The database the next probe looks at.
  void setTarget(const std::string& db, const ConnectionOptions& options);
  JournalProbe answer();
  // True while a probe is under way.
  bool busy() const;

 private:
  struct State;
  std::shared_ptr<State> state_;
  std::thread thread_;
};

}  // namespace vornleads::cli
