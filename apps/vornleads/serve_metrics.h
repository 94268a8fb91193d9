// What `vornleads serve` has done since it started, for GET /metrics and GET /health: the
// intake's and the resend pass's counts, how the last cycle and pass ended, and how long the
// leads service took to answer. The run thread records, the status server's threads read;
// every member function is safe to call from any thread.
//
// The exposition follows Prometheus' text format 0.0.4 (see metrics() for the names).
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "vornleads/feedback/atualiza_leads_nao_enviados.h"
#include "vornleads/intake/leads_vw_metodos.h"

namespace vornleads::cli {

// How the last intake cycle or resend pass ended.
struct RunEnd {
  std::chrono::system_clock::time_point at;
  double seconds = 0;   // how long it took
  std::string failure;  // empty when it ended as expected
  // The leads or rows of the cycle or pass that failed, each on one line naming its lead (at
  // most kProblemLines, the last saying how many more there were).
  std::vector<std::string> problems;
};

// How many problem lines a RunEnd keeps.
inline constexpr size_t kProblemLines = 5;

class ServeMetrics {
 public:
  // One intake cycle ended; `failure` says why it ended otherwise than expected, empty when it
  // did not; `problems` name the leads that failed in it.
  void intakeCycle(double seconds, const std::string& failure,
                   const std::vector<std::string>& problems = {});
  // One intake run (a top-level buscarLeads and its repeated cycles) ended: its leads, each
  // counted once, and its failed attempts.
  void intakeLeads(const TotaisIntake& run);
  // One resend pass ended, likewise.
  void resendPass(const ResendSummary& summary, double seconds, const std::string& failure,
                  const std::vector<std::string>& problems = {});
  // One call of the leads service (pCodigoServico) took `seconds`, answered or not.
  void serviceCall(int32_t service, double seconds);

  std::optional<RunEnd> lastIntake() const;
  std::optional<RunEnd> lastResend() const;

  // The exposition; unsentRows: the journal rows the next resend pass would send, none when
  // the database did not answer (vornleads_database_up then says 0).
  std::string metrics(std::optional<size_t> unsentRows) const;

  // Upper bounds of the answer-time histogram's buckets, in seconds (+Inf comes on top).
  static constexpr std::array<double, 12> kBuckets = {0.05, 0.1, 0.25, 0.5, 1,   2.5,
                                                      5,    10,  30,   60,  120, 180};

 private:
  struct Histogram {
    std::array<uint64_t, kBuckets.size()> buckets{};  // cumulative counts
    uint64_t count = 0;
    double sum = 0;
  };

  mutable std::mutex mutex_;
  TotaisIntake intake_;
  ResendSummary resend_;
  uint64_t intakeCycles_[2] = {0, 0};  // completed, failed
  uint64_t resendPasses_[2] = {0, 0};
  std::optional<RunEnd> lastIntake_;
  std::optional<RunEnd> lastResend_;
  std::map<std::string, Histogram> calls_;  // by operation
};

}  // namespace vornleads::cli
