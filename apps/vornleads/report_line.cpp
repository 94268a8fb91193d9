#include "report_line.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <iostream>
#include <utility>

#include "summaries.h"
#include "vornleads/text/clock.h"
#include "vornleads/text/datetime.h"

namespace vornleads::cli {

std::string reportText(const std::string& message, bool journal, ReportPriority priority) {
  std::string text = message;
  while (!text.empty() && (text.back() == '\r' || text.back() == '\n')) text.pop_back();
  std::string line =
      journal ? "<" + std::to_string(static_cast<int>(priority)) + ">"
              : FormatDateTime("yyyy-mm-dd hh:nn:ss", Now()) + " ";
  return line + oneLine(text);
}

bool standardErrorIsJournal() {
  const char* stream = std::getenv("JOURNAL_STREAM");
  struct stat status {};
  if (stream == nullptr || fstat(STDERR_FILENO, &status) != 0) return false;
  return std::string(stream) == std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino);
}

namespace {

std::function<void(const std::string&)>& observerOfReports() {
  static std::function<void(const std::string&)> observer;
  return observer;
}

}  // namespace

void reportLine(const std::string& text, ReportPriority priority) {
  static const bool journal = standardErrorIsJournal();
  std::cerr << reportText(text, journal, priority) << std::endl;
  if (observerOfReports()) observerOfReports()(text);
}

void observeReports(std::function<void(const std::string& text)> observer) {
  observerOfReports() = std::move(observer);
}

}  // namespace vornleads::cli
