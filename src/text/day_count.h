// Date-times as whole milliseconds, shared by decoding, formatting and day spans.
//
// A TDateTime maps to a signed millisecond count M: the day (since 1899-12-30) is M / kMsPerDay
// rounded toward zero and the time of day is |M| % kMsPerDay. This keeps the host's reading of
// negative values, where -1.25 is 1899-12-29 06:00 (the fraction is always a time of day).
#pragma once

#include <cstdint>

#include "vornleads/text/datetime.h"

namespace vornleads::daycount {

constexpr int64_t kMsPerDay = 86400000;

enum class Rounding {
  Nearest,  // to the nearest millisecond
  Down,     // the time of day cut below the millisecond, float error of exact values allowed for
};

// Raises ConversionError for values outside the years 1..9999 (NaN and infinities included).
int64_t toMilliseconds(TDateTime value, Rounding rounding);

DateTimeParts partsFromMilliseconds(int64_t milliseconds);

// A count that grows steadily with time, also across 1899-12-30 (unlike toMilliseconds,
// whose negative values run backwards within a day). Differences give true spans.
int64_t linearMilliseconds(TDateTime value);

}  // namespace vornleads::daycount
