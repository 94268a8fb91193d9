// GET /health and GET /metrics of `vornleads serve`, put together from what the runs recorded
// (ServeMetrics) and what the database says at the time of the request.
//
// /health answers 200 when the last intake cycle and the last resend pass ended as expected
// (or none has ended yet) with no lead or row failing, the database answers and the logs are
// written; 503 otherwise, with every reason (a failed lead or row named by its lead, the log
// failure in force). Its
// body is a small JSON object:
//   {"status": "ok" | "failing", "reasons": [...], "database": "ok" | the error,
//    "unsent_updates": N, "intake": {"ended": "...Z", "seconds": S, "failure": "..."},
//    "resend": {...}}
// "unsent_updates" only when the database answered, "intake"/"resend" once one ended,
// "failure" only when that one failed.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "serve_metrics.h"
#include "status_server.h"
#include "vornleads/db/sql_connection.h"

namespace vornleads::cli {

// The journal as the status pages see it: the rows the next resend pass would send (the
// selection of `updates --unsent`), or why the database did not answer.
struct JournalProbe {
  std::optional<size_t> unsentRows;
  std::string error;  // passwords masked; empty when the database answered
};

// Opens a connection of its own to `db` and counts; never throws. The connection waits at
// most 5 s for the database and for locks (less when `options` say so). The status pages run
// it through a DatabaseProbe, which bounds how long a scrape waits for it.
JournalProbe probeJournal(const std::string& db, const ConnectionOptions& options);

StatusAnswer healthAnswer(const ServeMetrics& metrics, const JournalProbe& journal);
StatusAnswer metricsAnswer(const ServeMetrics& metrics, const JournalProbe& journal);

}  // namespace vornleads::cli
