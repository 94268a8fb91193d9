#include "serve_metrics.h"

#include <cstdio>
#include <sstream>

#include "service_numbers.h"
#include "vornleads/package/log_failures.h"

namespace vornleads::cli {
namespace {

// Prometheus reads Go floats: a plain decimal, trailing zeros dropped.
std::string number(double value) {
  char text[48];
  std::snprintf(text, sizeof text, "%.6f", value);
  std::string shown = text;
  shown.erase(shown.find_last_not_of('0') + 1);
  if (shown.back() == '.') shown.pop_back();
  return shown;
}

double unixSeconds(std::chrono::system_clock::time_point at) {
  return std::chrono::duration<double>(at.time_since_epoch()).count();
}

class Exposition {
 public:
  void family(const char* name, const char* type, const char* help) {
    out_ << "# HELP " << name << " " << help << "\n# TYPE " << name << " " << type << "\n";
  }
  void sample(const std::string& name, const std::string& labels, double value) {
    out_ << name << (labels.empty() ? "" : "{" + labels + "}") << " " << number(value) << "\n";
  }
  std::string text() const { return out_.str(); }

 private:
  std::ostringstream out_;
};

void lastRun(Exposition& out, const char* run, const char* what, const std::optional<RunEnd>& end) {
  const std::string prefix = std::string("vornleads_") + run;
  const std::string at = prefix + "_timestamp_seconds";
  const std::string took = prefix + "_duration_seconds";
  out.family(at.c_str(), "gauge",
             ("When " + std::string(what) + " ended, in seconds since the Unix epoch.").c_str());
  if (end) out.sample(at, "", unixSeconds(end->at));
  out.family(took.c_str(), "gauge", ("How long " + std::string(what) + " took.").c_str());
  if (end) out.sample(took, "", end->seconds);
}

}  // namespace

void ServeMetrics::intakeCycle(double seconds, const std::string& failure,
                               const std::vector<std::string>& problems) {
  std::lock_guard<std::mutex> lock(mutex_);
  ++intakeCycles_[failure.empty() ? 0 : 1];
  lastIntake_ = RunEnd{std::chrono::system_clock::now(), seconds, failure, problems};
}

void ServeMetrics::intakeLeads(const TotaisIntake& run) {
  std::lock_guard<std::mutex> lock(mutex_);
  intake_ += run;
}

void ServeMetrics::resendPass(const ResendSummary& s, double seconds, const std::string& failure,
                              const std::vector<std::string>& problems) {
  std::lock_guard<std::mutex> lock(mutex_);
  resend_.rowsRead += s.rowsRead;
  resend_.sent += s.sent;
  resend_.rejected += s.rejected;
  resend_.unsent += s.unsent;
  ++resendPasses_[failure.empty() ? 0 : 1];
  lastResend_ = RunEnd{std::chrono::system_clock::now(), seconds, failure, problems};
}

void ServeMetrics::serviceCall(int32_t service, double seconds) {
  std::lock_guard<std::mutex> lock(mutex_);
  Histogram& histogram = calls_[serviceName(service)];
  for (size_t i = 0; i < kBuckets.size(); ++i) {
    if (seconds <= kBuckets[i]) ++histogram.buckets[i];
  }
  ++histogram.count;
  histogram.sum += seconds;
}

std::optional<RunEnd> ServeMetrics::lastIntake() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return lastIntake_;
}

std::optional<RunEnd> ServeMetrics::lastResend() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return lastResend_;
}

std::string ServeMetrics::metrics(std::optional<size_t> unsentRows) const {
  std::lock_guard<std::mutex> lock(mutex_);
  Exposition out;
  out.family("vornleads_intake_leads_read_total", "counter",
             "Leads in the leads service's replies to the intake, each lead once per run.");
  out.sample("vornleads_intake_leads_read_total", "", intake_.leadsLidos);
  out.family("vornleads_intake_leads_total", "counter",
             "Leads handled by the intake, each once per run, by outcome: created (a new CRM "
             "contact), linked (to a contact already scheduled), revised, closed, failed (rolled "
             "back in every cycle of the run).");
  const std::pair<const char*, int32_t> outcomes[] = {{"created", intake_.contatosCriados},
                                                      {"linked", intake_.vinculados},
                                                      {"revised", intake_.revisados},
                                                      {"closed", intake_.encerrados},
                                                      {"failed", intake_.falhas}};
  for (const auto& [outcome, count] : outcomes) {
    out.sample("vornleads_intake_leads_total", std::string("outcome=\"") + outcome + "\"", count);
  }
  out.family("vornleads_intake_lead_failed_attempts_total", "counter",
             "Per-lead failures of the intake, one per lead and cycle.");
  out.sample("vornleads_intake_lead_failed_attempts_total", "", intake_.tentativasFalhas);
  out.family("vornleads_intake_receipts_confirmed_total", "counter",
             "Lead receipts the leads service accepted.");
  out.sample("vornleads_intake_receipts_confirmed_total", "", intake_.confirmados);
  out.family("vornleads_resend_updates_total", "counter",
             "Journal rows handled by the resend pass, by outcome: sent (accepted by the leads "
             "service), rejected (refused by it), unsent (not delivered: transport failure, "
             "service fault, local answer; left for the next pass).");
  out.sample("vornleads_resend_updates_total", "outcome=\"sent\"", resend_.sent);
  out.sample("vornleads_resend_updates_total", "outcome=\"rejected\"", resend_.rejected);
  out.sample("vornleads_resend_updates_total", "outcome=\"unsent\"", resend_.unsent);
  out.family("vornleads_intake_cycles_total", "counter",
             "Intake cycles, by outcome: completed or failed.");
  out.sample("vornleads_intake_cycles_total", "outcome=\"completed\"", intakeCycles_[0]);
  out.sample("vornleads_intake_cycles_total", "outcome=\"failed\"", intakeCycles_[1]);
  out.family("vornleads_resend_passes_total", "counter",
             "Resend passes, by outcome: completed or failed.");
  out.sample("vornleads_resend_passes_total", "outcome=\"completed\"", resendPasses_[0]);
  out.sample("vornleads_resend_passes_total", "outcome=\"failed\"", resendPasses_[1]);
  out.family("vornleads_log_write_failures_total", "counter",
             "Log entries that could not be written (the work went on without them).");
  out.sample("vornleads_log_write_failures_total", "", static_cast<double>(logWriteFailureCount()));
  lastRun(out, "intake_last_cycle", "the last intake cycle", lastIntake_);
  lastRun(out, "resend_last_pass", "the last resend pass", lastResend_);
  out.family("vornleads_database_up", "gauge", "1 when the database answered this scrape.");
  out.sample("vornleads_database_up", "", unsentRows ? 1 : 0);
  out.family("vornleads_journal_unsent_rows", "gauge",
             "Journal rows the next resend pass would send, read from the database.");
  if (unsentRows) out.sample("vornleads_journal_unsent_rows", "", static_cast<double>(*unsentRows));
  const char* histogram = "vornleads_service_request_duration_seconds";
  out.family(histogram, "histogram", "How long the leads service took to answer, by operation.");
  for (const auto& [operation, h] : calls_) {
    const std::string label = "operation=\"" + operation + "\"";
    for (size_t i = 0; i < kBuckets.size(); ++i) {
      out.sample(std::string(histogram) + "_bucket", label + ",le=\"" + number(kBuckets[i]) + "\"",
                 static_cast<double>(h.buckets[i]));
    }
    out.sample(std::string(histogram) + "_bucket", label + ",le=\"+Inf\"",
               static_cast<double>(h.count));
    out.sample(std::string(histogram) + "_sum", label, h.sum);
    out.sample(std::string(histogram) + "_count", label, static_cast<double>(h.count));
  }
  return out.text();
}

}  // namespace vornleads::cli
