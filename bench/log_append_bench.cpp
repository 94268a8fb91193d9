// Cost of one log entry as the day's file grows: the appending writer against the reference
// model that loads and rewrites the whole file for every entry.
//
//   log_append_bench [ENTRIES]     (default 10000)
//
// Prints the mean time per entry over the first and the last 1000 entries of each writer.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <random>
#include <string>
#include <system_error>
#include <vector>

#include "bench_support.h"
#include "package/log_rewrite_model.h"
#include "vornleads/package/host_directory.h"
#include "vornleads/package/log_file.h"
#include "vornleads/text/datetime.h"

namespace {

using vornleads::TDateTime;
using Clock = std::chrono::steady_clock;

class FixedClock : public vornleads::Clock {
 public:
  TDateTime now() const override { return vornleads::EncodeDateTime({2024, 3, 5, 10, 0, 0, 0}); }
};

using bench_support::ScratchDir;

std::string contentOf(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// Mean microseconds per entry over [from, to) of the timings.
double meanMicros(const std::vector<double>& micros, size_t from, size_t to) {
  double sum = 0;
  for (size_t i = from; i < to; ++i) sum += micros[i];
  return sum / static_cast<double>(to - from);
}

std::vector<double> timeEntries(int entries, const std::function<void(const std::string&)>& add) {
  std::vector<double> micros;
  micros.reserve(entries);
  for (int i = 0; i < entries; ++i) {
    const std::string entry = vornleads::exchangeLogEntry(
        FixedClock().now(), R"({"DNs":"4711","Status":"0","Nome":""})",
        R"({"Status":{"Codigo":0,"Descricao":"Ok","Versao":"1.0"},"Leads":[{"IdLead":")" +
            std::to_string(i) + R"(","Nome":"Cliente","Mensagem":"linha 1\nlinha 2"}]})");
    const auto start = Clock::now();
    add(entry);
    micros.push_back(std::chrono::duration<double, std::micro>(Clock::now() - start).count());
  }
  return micros;
}

void report(const char* name, const std::vector<double>& micros, uintmax_t fileSize) {
  const size_t n = micros.size();
  const size_t block = std::min<size_t>(1000, n);
  std::printf("%-16s first %zu: %9.1f us/entry   last %zu: %9.1f us/entry   file %ju bytes\n", name,
              block, meanMicros(micros, 0, block), block, meanMicros(micros, n - block, n),
              fileSize);
}

}  // namespace

int main(int argc, char** argv) {
  const int entries = argc > 1 ? std::atoi(argv[1]) : 10000;
  if (entries < 1) {
    std::fprintf(stderr, "usage: %s [ENTRIES]\n", argv[0]);
    return 2;
  }
  ScratchDir scratch("vornleads-log-bench");
  std::filesystem::create_directories(scratch.path() / "append");
  std::filesystem::create_directories(scratch.path() / "rewrite");
  vornleads::setHostDirectory(scratch.path() / "append");

  const vornleads::LogFile log(vornleads::kLogBuscaLeads, std::make_shared<FixedClock>());
  const auto appendFile = log.pathFor(FixedClock().now());
  const auto rewriteFile = scratch.path() / "rewrite" / appendFile.filename();

  const auto appended = timeEntries(entries, [&](const std::string& e) { log.append(e); });
  const auto rewritten = timeEntries(entries, [&](const std::string& e) {
    vornleads::test::rewriteLogModel(rewriteFile, vornleads::logSeparator(), e);
  });

  std::printf("%d entries\n", entries);
  report("append", appended, std::filesystem::file_size(appendFile));
  report("whole rewrite", rewritten, std::filesystem::file_size(rewriteFile));
  const bool same = contentOf(appendFile) == contentOf(rewriteFile);
  std::printf("files %s\n", same ? "identical" : "DIFFER");
  return same ? 0 : 1;
}
