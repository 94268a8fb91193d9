// The clock and the pause: the two edges through which time reaches the workers.
// Tests substitute both; the system defaults read the local clock and sleep the thread.
#pragma once

#include <memory>

#include "vornleads/types.h"

namespace vornleads {

class Clock {
 public:
  virtual ~Clock() = default;
  // The current local date-time.
  virtual TDateTime now() const = 0;
};

class Pause {
 public:
  virtual ~Pause() = default;
  // Blocks the calling thread for the given number of milliseconds.
  virtual void sleep(int milliseconds) = 0;
};

// Process-wide defaults; never null.
std::shared_ptr<Clock> systemClock();
std::shared_ptr<Pause> systemPause();

// The current local date-time from the system clock.
TDateTime Now();

}  // namespace vornleads
