// What every transaction on one open Firebird attachment shares: how a transaction starts, so
// that no row lock is waited for without limit, and a watchdog that gives the attachment up when
// the server stops answering.
//
// Transactions start with snapshot isolation and wait for a row another transaction holds at
// most the given number of seconds; past it the statement fails (lockWaitMessage says so).
//
// Watchdog (server attachments only): a call on the attachment that has had no answer after
// lock-timeout + connect-timeout seconds (a server that hangs, a network gone silent) makes the
// watchdog abort the attachment: its network connection is closed at once, the waiting call
// returns with an error, and every later call on the attachment fails at once, so that rolling
// back and closing cannot hang either. The caller then gets noAnswerMessage. Embedded
// attachments have no server to wait for; their row locks are bounded all the same.
#pragma once

#include <ibase.h>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <string>
#include <thread>

#include "vornleads/db/sql_connection.h"
#include "vornleads/error.h"

namespace vornleads {

class FirebirdAttachment {
 public:
  // handle: the attachment, opened and closed by its owner, which outlives this object.
  // watched: whether calls are bounded by the watchdog (a server attachment).
  FirebirdAttachment(isc_db_handle* handle, const ConnectionOptions& options, bool watched);
  ~FirebirdAttachment();
  FirebirdAttachment(const FirebirdAttachment&) = delete;
  FirebirdAttachment& operator=(const FirebirdAttachment&) = delete;

  isc_db_handle* handle() const { return handle_; }
  int lockTimeoutSeconds() const { return options_.lockTimeoutSeconds; }

  // Starts a transaction into *transaction (which must be 0) that waits at most lockSeconds
  // for a row lock. DatabaseError (statement sql) when the database refuses.
  void startTransaction(isc_tr_handle* transaction, int lockSeconds, const std::string& sql);
  // Rolls *transaction back when one is open and leaves it 0 in any case: when the rollback
  // cannot reach the server, the attachment is aborted (the server drops the transaction with
  // the connection) and the handle forgotten, so nothing later can commit it. Never throws.
  void dropTransaction(isc_tr_handle* transaction) noexcept;
  // Closes the attachment's network connection at once (a server attachment only).
  void abort() noexcept;
  // Whether the watchdog gave the attachment up.
  bool cutShort() const;
  // Whether it is given up or a call found its network connection broken.
  bool lost() const;

  // One call on the attachment (a statement, a commit): the watchdog's bound runs while it
  // lives. Nested calls share the outermost one's bound. attachment may be null (no
  // Firebird): nothing is bounded then.
  class Call {
   public:
    explicit Call(FirebirdAttachment* attachment);
    ~Call();
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    // The error for this call's failure with the database's message and status vector:
    // noAnswerMessage after the watchdog, lockWaitMessage after a lock conflict that came
    // when lockSeconds were nearly up (a conflict at once is a plain error), else the message.
    // A status that says the network connection broke marks the attachment lost().
    DatabaseError failure(const std::string& message, const ISC_STATUS* status, size_t size,
                          const std::string& sql, int lockSeconds) const;

   private:
    FirebirdAttachment* attachment_;
    std::chrono::steady_clock::time_point start_;
  };

 private:
  void arm();
  void disarm();
  void watch();
  int answerSeconds() const { return options_.lockTimeoutSeconds + options_.connectTimeoutSeconds; }

  isc_db_handle* handle_;
  ConnectionOptions options_;
  bool watched_;
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::thread watchdog_;  // started with the first call
  int depth_ = 0;
  std::chrono::steady_clock::time_point deadline_;
  bool cutShort_ = false;
  bool lost_ = false;
  bool stopping_ = false;
};

}  // namespace vornleads
