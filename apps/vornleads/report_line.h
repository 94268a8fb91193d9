// The report lines of `vornleads serve` on standard error: one line per report (line breaks of
// the text become " / "), after a time stamp of its own; or, when standard error is the
// journal (JOURNAL_STREAM names its device and inode, as systemd sets it), after a syslog
// priority and no time stamp, so that `journalctl -p err` shows just the failures:
//   <3> a run that failed ("intake failed at step 05: ...", "resend failed ...")
//   <4> a run that ended with leads failed, updates rejected or still unsent, or cut short by
//       a stop; a log file that could not be deleted
//   <6> every other line
// The caller says which: the text is not read for it.
#pragma once

#include <functional>
#include <string>

namespace vornleads::cli {

enum class ReportPriority { Failure = 3, Warning = 4, Notice = 6 };

// The line as written: "<3>..." for the journal, "yyyy-mm-dd hh:nn:ss ..." otherwise.
std::string reportText(const std::string& text, bool journal, ReportPriority priority);

// True when standard error is the journal.
bool standardErrorIsJournal();

void reportLine(const std::string& text, ReportPriority priority = ReportPriority::Notice);

// Every later report's text (as given to reportLine) also goes to `observer` (serve passes the
// run reports on to systemd); an empty one ends that. Reports come from one thread at a time.
void observeReports(std::function<void(const std::string& text)> observer);

}  // namespace vornleads::cli
