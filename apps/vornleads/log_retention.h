// How long `vornleads serve` keeps the dated log files (log-keep-days): at the first intake
// cycle of each calendar day it deletes, in the host directory, the files of the three logs
// (logVornLeadsVWDLL_, logBuscaLeadsVW_, logErroLeadsVW_ + "yyyy_mm_dd.txt", exactly) whose
// day lies more than keepDays days before today; keepDays 0 keeps everything. No other file
// is touched. A file that cannot be deleted is reported and left; nothing stops the service.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "vornleads/text/clock.h"

namespace vornleads::cli {

// The files of `directory` that are dated log files older than keepDays days before `today`.
std::vector<std::filesystem::path> expiredLogFiles(const std::filesystem::path& directory,
                                                   TDateTime today, int keepDays);

class LogRetention {
 public:
  explicit LogRetention(int keepDays, std::shared_ptr<Clock> clock = systemClock())
      : keepDays_(keepDays), clock_(std::move(clock)) {}

  // Deletes the expired files once a day (the first call of each day); reports what it did.
  void atCycleStart();
  // A new log-keep-days (a reloaded configuration), in force from the next day's first cycle.
  void setKeepDays(int keepDays) { keepDays_ = keepDays; }

 private:
  int keepDays_;
  std::shared_ptr<Clock> clock_;
  int lastDay_ = -1;
};

}  // namespace vornleads::cli
