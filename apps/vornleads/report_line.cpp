#include "report_line.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cctype>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <utility>

#include "summaries.h"
#include "vornleads/text/clock.h"
#include "vornleads/text/datetime.h"

namespace vornleads::cli {

namespace {

// "intake failed ...", "resend failed: ...": a run's name, then " failed".
bool runFailed(const std::string& text) {
  const size_t space = text.find(' ');
  if (space == std::string::npos || space == 0) return false;
  for (size_t i = 0; i < space; ++i) {
    if (!std::islower(static_cast<unsigned char>(text[i]))) return false;
  }
  return text.compare(space, 7, " failed") == 0 &&
         (space + 7 == text.size() || !std::isalnum(static_cast<unsigned char>(text[space + 7])));
}

// A count above zero of leads failed, updates rejected or left unsent ("2 failed").
bool countOfTrouble(const std::string& text) {
  for (size_t i = 0; i < text.size(); ++i) {
    if (!std::isdigit(static_cast<unsigned char>(text[i])) ||
        (i > 0 && std::isalnum(static_cast<unsigned char>(text[i - 1])))) {
      continue;
    }
    size_t end = i;
    bool nonZero = false;
    for (; end < text.size() && std::isdigit(static_cast<unsigned char>(text[end])); ++end) {
      nonZero = nonZero || text[end] != '0';
    }
    for (const char* what : {" failed", " rejected", " still unsent"}) {
      if (nonZero && text.compare(end, std::strlen(what), what) == 0) return true;
    }
    i = end;
  }
  return false;
}

}  // namespace

ReportPriority reportPriority(const std::string& text) {
  if (runFailed(text)) return ReportPriority::Failure;
  if (countOfTrouble(text) || text.find(", stopped by ") != std::string::npos ||
      text.rfind("logs: cannot ", 0) == 0) {
    return ReportPriority::Warning;
  }
  return ReportPriority::Notice;
}

std::string reportText(const std::string& message, bool journal) {
  std::string text = message;
  while (!text.empty() && (text.back() == '\r' || text.back() == '\n')) text.pop_back();
  std::string line =
      journal ? "<" + std::to_string(static_cast<int>(reportPriority(text))) + ">"
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

void reportLine(const std::string& text) {
  static const bool journal = standardErrorIsJournal();
  std::cerr << reportText(text, journal) << std::endl;
  if (observerOfReports()) observerOfReports()(text);
}

void observeReports(std::function<void(const std::string& text)> observer) {
  observerOfReports() = std::move(observer);
}

}  // namespace vornleads::cli
