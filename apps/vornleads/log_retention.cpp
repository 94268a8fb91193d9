#include "log_retention.h"

#include <cctype>
#include <cmath>
#include <optional>

#include "report_line.h"
#include "vornleads/package/host_directory.h"
#include "vornleads/package/log_file.h"
#include "vornleads/text/datetime.h"

namespace vornleads::cli {

namespace {

// The day of a dated log file's name (prefix + "yyyy_mm_dd.txt"); none for any other name.
std::optional<TDateTime> logFileDay(const std::string& name) {
  for (const char* prefix : {kLogFachada, kLogBuscaLeads, kLogEnvioLeads}) {
    const std::string start = prefix;
    if (name.size() != start.size() + 14 || name.rfind(start, 0) != 0 ||
        name.compare(name.size() - 4, 4, ".txt") != 0) {
      continue;
    }
    const std::string date = name.substr(start.size(), 10);
    for (size_t i = 0; i < date.size(); ++i) {
      const bool separator = i == 4 || i == 7;
      if (separator ? date[i] != '_' : !std::isdigit(static_cast<unsigned char>(date[i]))) {
        return std::nullopt;
      }
    }
    try {
      return EncodeDate(std::stoi(date.substr(0, 4)), std::stoi(date.substr(5, 2)),
                        std::stoi(date.substr(8, 2)));
    } catch (const std::exception&) {
      return std::nullopt;  // not a date (2026_02_30): not a file the logs wrote
    }
  }
  return std::nullopt;
}

}  // namespace

std::vector<std::filesystem::path> expiredLogFiles(const std::filesystem::path& directory,
                                                   TDateTime today, int keepDays) {
  std::vector<std::filesystem::path> expired;
  if (keepDays <= 0) return expired;
  const double firstKept = std::floor(today) - keepDays;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(directory, error)) {
    const std::optional<TDateTime> day = logFileDay(entry.path().filename().string());
    if (day && *day < firstKept && entry.is_regular_file(error)) expired.push_back(entry.path());
  }
  return expired;
}

void LogRetention::atCycleStart() {
  const TDateTime now = clock_->now();
  const int day = static_cast<int>(std::floor(now));
  if (keepDays_ <= 0 || day == lastDay_) return;
  lastDay_ = day;
  std::filesystem::path directory;
  try {
    directory = hostDirectory();
  } catch (const std::exception& error) {
    reportLine(std::string("logs: no host directory to clean: ") + error.what());
    return;
  }
  int deleted = 0;
  for (const auto& file : expiredLogFiles(directory, now, keepDays_)) {
    std::error_code error;
    if (std::filesystem::remove(file, error)) {
      ++deleted;
    } else if (error) {
      reportLine("logs: cannot delete " + file.string() + ": " + error.message(),
                 ReportPriority::Warning);
    }
  }
  if (deleted > 0) {
    reportLine("logs: deleted " + std::to_string(deleted) + " log files older than " +
               std::to_string(keepDays_) + " days");
  }
}

}  // namespace vornleads::cli
