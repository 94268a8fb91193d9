// FixedClock: a Clock that answers the date-time it was given last.
#pragma once

#include "vornleads/text/clock.h"

namespace vornleads::test {

class FixedClock : public Clock {
 public:
  explicit FixedClock(TDateTime now) : now_(now) {}
  TDateTime now() const override { return now_; }
  void set(TDateTime now) { now_ = now; }

 private:
  TDateTime now_;
};

}  // namespace vornleads::test
