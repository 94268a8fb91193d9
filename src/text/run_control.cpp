#include "vornleads/text/run_control.h"

namespace vornleads {
namespace {

class UnattendedRun : public RunControl {
 public:
  bool stopRequested() const override { return false; }
  void progress(int, int, const std::string&) override {}
};

}  // namespace

std::shared_ptr<RunControl> unattendedRun() {
  static const auto run = std::make_shared<UnattendedRun>();
  return run;
}

}  // namespace vornleads
