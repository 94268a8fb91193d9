#include "serve_health.h"

#include <algorithm>
#include <ctime>
#include <exception>
#include <memory>
#include <nlohmann/json.hpp>

#include "vornleads/data/conexao_simplificada.h"
#include "vornleads/db/password_mask.h"
#include "vornleads/db/sql_connection.h"
#include "vornleads/feedback/unsent_selection.h"
#include "vornleads/package/log_failures.h"

namespace vornleads::cli {
namespace {

using Json = nlohmann::ordered_json;

std::string utcText(std::chrono::system_clock::time_point at) {
  const std::time_t seconds = std::chrono::system_clock::to_time_t(at);
  std::tm utc{};
  gmtime_r(&seconds, &utc);
  char text[32];
  std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &utc);
  return text;
}

// The run's part of the body; adds its failure, if any, to the reasons.
Json runPart(const char* run, const std::optional<RunEnd>& end, Json& reasons) {
  Json part = Json::object();
  if (!end) return part;
  part["ended"] = utcText(end->at);
  part["seconds"] = end->seconds;
  if (!end->failure.empty()) {
    part["failure"] = end->failure;
    reasons.push_back(std::string(run) + ": " + end->failure);
  }
  // The leads or rows that failed, each naming its lead.
  for (const std::string& problem : end->problems)
    reasons.push_back(std::string(run) + ": " + problem);
  return part;
}

}  // namespace

JournalProbe probeJournal(const std::string& db, const ConnectionOptions& options) {
  constexpr int kProbeSeconds = 5;
  ConnectionOptions brief = options;
  brief.connectTimeoutSeconds = std::min(brief.connectTimeoutSeconds, kProbeSeconds);
  brief.lockTimeoutSeconds = std::min(brief.lockTimeoutSeconds, kProbeSeconds);
  JournalProbe probe;
  try {
    const std::unique_ptr<SqlConnection> connection = OpenConnection(db, brief);
    TConexaoSimplificada conexao(*connection);
    probe.unsentRows = unsentUpdates(conexao).size();
  } catch (const std::exception& error) {
    probe.error = maskPassword(error.what());
    if (probe.error.empty()) probe.error = "the database did not answer";
  }
  return probe;
}

StatusAnswer healthAnswer(const ServeMetrics& metrics, const JournalProbe& journal) {
  Json reasons = Json::array();
  if (!journal.unsentRows) reasons.push_back("database: " + journal.error);
  Json body;
  body["status"] = "ok";
  body["reasons"] = Json::array();
  body["database"] = journal.unsentRows ? "ok" : journal.error;
  if (journal.unsentRows) body["unsent_updates"] = *journal.unsentRows;
  body["intake"] = runPart("intake", metrics.lastIntake(), reasons);
  body["resend"] = runPart("resend", metrics.lastResend(), reasons);
  // A log that cannot be written changes no outcome, but the operator must hear of it.
  if (const auto logFailure = currentLogWriteFailure()) reasons.push_back("log: " + *logFailure);
  if (!reasons.empty()) {
    body["status"] = "failing";
    body["reasons"] = reasons;
  }
  return {reasons.empty() ? 200 : 503, "application/json",
          body.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n"};
}

StatusAnswer metricsAnswer(const ServeMetrics& metrics, const JournalProbe& journal) {
  return {200, "text/plain; version=0.0.4; charset=utf-8", metrics.metrics(journal.unsentRows)};
}

}  // namespace vornleads::cli
