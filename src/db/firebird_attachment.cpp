#include "db/firebird_attachment.h"

#include <algorithm>

#include "db/firebird_failure.h"
#include "db/firebird_status.h"

namespace vornleads {

FirebirdAttachment::FirebirdAttachment(isc_db_handle* handle, const ConnectionOptions& options,
                                       bool watched)
    : handle_(handle), options_(options), watched_(watched) {}

FirebirdAttachment::~FirebirdAttachment() {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    stopping_ = true;
  }
  changed_.notify_all();
  if (watchdog_.joinable()) watchdog_.join();
}

void FirebirdAttachment::startTransaction(isc_tr_handle* transaction, int lockSeconds,
                                          const std::string& sql) {
  const auto timeout = static_cast<unsigned>(std::max(1, lockSeconds));
  const char parameters[] = {isc_tpb_version3,
                             isc_tpb_write,
                             isc_tpb_concurrency,
                             isc_tpb_wait,
                             isc_tpb_lock_timeout,
                             4,
                             static_cast<char>(timeout & 0xFF),
                             static_cast<char>((timeout >> 8) & 0xFF),
                             static_cast<char>((timeout >> 16) & 0xFF),
                             static_cast<char>((timeout >> 24) & 0xFF)};
  ISC_STATUS_ARRAY status;
  if (isc_start_transaction(status, transaction, 1, handle_,
                            static_cast<unsigned short>(sizeof parameters), parameters) != 0) {
    const Call call(this);
    throw call.failure(firebirdStatusMessage(status), status, ISC_STATUS_LENGTH, sql, lockSeconds);
  }
}

void FirebirdAttachment::dropTransaction(isc_tr_handle* transaction) noexcept {
  if (*transaction == 0) return;
  ISC_STATUS_ARRAY status;
  if (isc_rollback_transaction(status, transaction) == 0) return;
  abort();
  if (isc_rollback_transaction(status, transaction) != 0) *transaction = 0;
}

void FirebirdAttachment::abort() noexcept {
  if (!watched_) return;
  ISC_STATUS_ARRAY status;
  // An attachment already gone answers with an error; there is nothing left to close then.
  fb_cancel_operation(status, handle_, fb_cancel_abort);
}

bool FirebirdAttachment::cutShort() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return cutShort_;
}

bool FirebirdAttachment::lost() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return cutShort_ || lost_;
}

void FirebirdAttachment::arm() {
  std::lock_guard<std::mutex> lock(mutex_);
  if (depth_++ > 0) return;
  deadline_ = std::chrono::steady_clock::now() + std::chrono::seconds(answerSeconds());
  if (!watchdog_.joinable()) watchdog_ = std::thread([this] { watch(); });
  changed_.notify_all();
}

void FirebirdAttachment::disarm() {
  std::lock_guard<std::mutex> lock(mutex_);
  --depth_;
}

void FirebirdAttachment::watch() {
  std::unique_lock<std::mutex> lock(mutex_);
  while (!stopping_) {
    if (depth_ == 0 || cutShort_) {
      changed_.wait(lock);
    } else if (changed_.wait_until(lock, deadline_) == std::cv_status::timeout && depth_ > 0 &&
               std::chrono::steady_clock::now() >= deadline_) {
      // Under the lock, so that the call cannot end and another begin before this is done.
      cutShort_ = true;
      abort();
    }
  }
}

FirebirdAttachment::Call::Call(FirebirdAttachment* attachment)
    : attachment_(attachment), start_(std::chrono::steady_clock::now()) {
  if (attachment_ != nullptr && attachment_->watched_) attachment_->arm();
}

FirebirdAttachment::Call::~Call() {
  if (attachment_ != nullptr && attachment_->watched_) attachment_->disarm();
}

DatabaseError FirebirdAttachment::Call::failure(const std::string& message,
                                                const ISC_STATUS* status, size_t size,
                                                const std::string& sql, int lockSeconds) const {
  if (attachment_ != nullptr && status != nullptr && isConnectionLost(status, size)) {
    std::lock_guard<std::mutex> lock(attachment_->mutex_);
    attachment_->lost_ = true;
  }
  if (attachment_ != nullptr && attachment_->cutShort())
    return DatabaseError(noAnswerMessage(attachment_->answerSeconds(), message), sql);
  // The lock manager counts its time-out in whole seconds, so the wait ends up to a second
  // early; a conflict reported sooner than that came at once (a committed row, a deadlock).
  const auto waited = std::chrono::steady_clock::now() - start_;
  const auto nearlyUp = std::chrono::milliseconds(std::max(lockSeconds * 1000 - 1000, 250));
  if (status != nullptr && isLockConflict(status, size) && waited >= nearlyUp)
    return DatabaseError(lockWaitMessage(lockSeconds, lockedTable(sql, message), message), sql);
  return DatabaseError(message, sql);
}

}  // namespace vornleads
