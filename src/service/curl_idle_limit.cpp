#include "service/curl_idle_limit.h"

#include <chrono>
#include <memory>
#include <new>

namespace vornleads {
namespace {

using Clock = std::chrono::steady_clock;

class IdleWatch {
 public:
  explicit IdleWatch(int limitMs) : limit_(limitMs), last_(Clock::now()) {}

  bool expired() const { return Clock::now() - last_ > limit_; }

  // CURLOPT_XFERINFOFUNCTION: notes every change of the byte counts.
  static int onProgress(void* self, curl_off_t, curl_off_t received, curl_off_t, curl_off_t sent) {
    auto& watch = *static_cast<IdleWatch*>(self);
    if (received != watch.received_ || sent != watch.sent_) {
      watch.received_ = received;
      watch.sent_ = sent;
      watch.last_ = Clock::now();
    }
    return 0;
  }

  // CURLOPT_HEADERFUNCTION: header lines are bytes of the reply too.
  static size_t onHeader(char*, size_t size, size_t count, void* self) {
    static_cast<IdleWatch*>(self)->last_ = Clock::now();
    return size * count;
  }

 private:
  std::chrono::milliseconds limit_;
  Clock::time_point last_;
  curl_off_t received_ = 0;
  curl_off_t sent_ = 0;
};

// The easy handle's membership of a multi handle, ended on every way out.
class Attached {
 public:
  Attached(CURLM* multi, CURL* handle) : multi_(multi), handle_(handle) {
    if (curl_multi_add_handle(multi_, handle_) != CURLM_OK) throw std::bad_alloc();
  }
  ~Attached() { curl_multi_remove_handle(multi_, handle_); }
  Attached(const Attached&) = delete;
  Attached& operator=(const Attached&) = delete;

 private:
  CURLM* multi_;
  CURL* handle_;
};

}  // namespace

CURLcode performWithIdleLimit(CURL* handle, int receiveTimeoutMs) {
  if (receiveTimeoutMs <= 0) return curl_easy_perform(handle);
  IdleWatch watch(receiveTimeoutMs);
  curl_easy_setopt(handle, CURLOPT_NOPROGRESS, 0L);
  curl_easy_setopt(handle, CURLOPT_XFERINFOFUNCTION, &IdleWatch::onProgress);
  curl_easy_setopt(handle, CURLOPT_XFERINFODATA, &watch);
  curl_easy_setopt(handle, CURLOPT_HEADERFUNCTION, &IdleWatch::onHeader);
  curl_easy_setopt(handle, CURLOPT_HEADERDATA, &watch);

  // The multi interface lets this loop look at the watch as often as it likes; the easy one
  // calls back about once a second when nothing moves, too coarse for a time-out in ms.
  const std::unique_ptr<CURLM, decltype(&curl_multi_cleanup)> multi(curl_multi_init(),
                                                                    &curl_multi_cleanup);
  if (!multi) throw std::bad_alloc();
  const Attached attached(multi.get(), handle);
  constexpr int kLookEveryMs = 20;
  for (int running = 1;;) {
    const CURLMcode step = curl_multi_perform(multi.get(), &running);
    if (step == CURLM_OUT_OF_MEMORY) throw std::bad_alloc();
    if (step != CURLM_OK) return CURLE_FAILED_INIT;
    if (running == 0) break;
    if (watch.expired()) return CURLE_OPERATION_TIMEDOUT;
    curl_multi_poll(multi.get(), nullptr, 0, kLookEveryMs, nullptr);
  }
  int left = 0;
  while (const CURLMsg* message = curl_multi_info_read(multi.get(), &left)) {
    if (message->msg == CURLMSG_DONE && message->easy_handle == handle) {
      return message->data.result;
    }
  }
  return CURLE_GOT_NOTHING;
}

}  // namespace vornleads
