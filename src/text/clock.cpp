#include "vornleads/text/clock.h"

#include <chrono>
#include <ctime>
#include <thread>

#include "vornleads/text/datetime.h"

namespace vornleads {
namespace {

class SystemClock : public Clock {
 public:
  TDateTime now() const override {
    using namespace std::chrono;
    const auto point = system_clock::now();
    const std::time_t seconds = system_clock::to_time_t(point);
    const int millis = static_cast<int>(
        duration_cast<milliseconds>(point.time_since_epoch()).count() % 1000);
    std::tm local{};
    localtime_r(&seconds, &local);
    // A leap second (tm_sec 60) has no TDateTime of its own.
    const int second = local.tm_sec > 59 ? 59 : local.tm_sec;
    return EncodeDateTime({local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour,
                           local.tm_min, second, millis});
  }
};

class SystemPause : public Pause {
 public:
  void sleep(int milliseconds) override {
    if (milliseconds > 0) std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
  }
};

}  // namespace

std::shared_ptr<Clock> systemClock() {
  static const auto clock = std::make_shared<SystemClock>();
  return clock;
}

std::shared_ptr<Pause> systemPause() {
  static const auto pause = std::make_shared<SystemPause>();
  return pause;
}

TDateTime Now() { return systemClock()->now(); }

}  // namespace vornleads
