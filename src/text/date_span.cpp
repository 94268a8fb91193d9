#include "text/day_count.h"
#include "vornleads/text/datetime.h"

namespace vornleads {
namespace {

// The average month of the host's month spans: 30.4375 days, in whole milliseconds.
constexpr int64_t kMsPerApproximateMonth = 2629800000;

// Both ends are taken to the millisecond first, so that float error in the day count can
// never cost a whole day (or month) at an exact boundary.
int64_t spanMilliseconds(TDateTime now, TDateTime then) {
  const int64_t span = daycount::linearMilliseconds(now) - daycount::linearMilliseconds(then);
  return span < 0 ? -span : span;
}

}  // namespace

int DaysBetween(TDateTime now, TDateTime then) {
  return static_cast<int>(spanMilliseconds(now, then) / daycount::kMsPerDay);
}

int MonthsBetween(TDateTime now, TDateTime then) {
  return static_cast<int>(spanMilliseconds(now, then) / kMsPerApproximateMonth);
}

}  // namespace vornleads
