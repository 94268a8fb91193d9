// vornleads log [--day YYYY-MM-DD] [--kind intake|updates|facade]: the entries of a day's log
// files in the host directory (today's by default; every kind unless --kind names one), newest
// last, one block per entry headed by its kind. A day without a log file is no error: a note
// says so on standard error.
#include <algorithm>
#include <iostream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "command.h"
#include "log_entries.h"
#include "view_options.h"
#include "vornleads/clock.h"
#include "vornleads/package/log_file.h"

namespace vornleads::cli {
namespace {

struct LogOptions {
  std::string day;
  std::string kind;
};

struct LogKind {
  const char* name;
  const char* prefix;
};

constexpr LogKind kKinds[] = {
    {"intake", kLogBuscaLeads}, {"updates", kLogEnvioLeads}, {"facade", kLogFachada}};

const RegisterCommand registration(62, [](CLI::App& app, CommandContext& /*context*/) {
  auto options = std::make_shared<LogOptions>();
  CLI::App* command = app.add_subcommand("log", "the entries of a day's log files");
  command->add_option("--day", options->day, "the day (default: today)")->check(isoDate());
  command->add_option("--kind", options->kind, "only this log")
      ->check(CLI::IsMember({"intake", "updates", "facade"}));
  command->callback([options] {
    const TDateTime day = options->day.empty() ? Now() : parseIsoDate(options->day);
    // (time of day, kind, entry), ordered by time; one kind's entries keep their file order.
    std::vector<std::pair<std::string, std::pair<std::string, std::string>>> blocks;
    std::vector<std::string> files;
    for (const LogKind& kind : kKinds) {
      if (!options->kind.empty() && options->kind != kind.name) continue;
      const auto path = LogFile(kind.prefix).pathFor(day);
      files.push_back(path.string());
      for (std::string& entry : readLogEntries(path)) {
        blocks.push_back({entryTimeOfDay(entry), {kind.name, std::move(entry)}});
      }
    }
    std::stable_sort(blocks.begin(), blocks.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    for (size_t i = 0; i < blocks.size(); ++i) {
      if (i > 0) std::cout << "\n";
      std::cout << "--- " << blocks[i].second.first << "\n" << blocks[i].second.second << "\n";
    }
    if (blocks.empty()) {
      std::cerr << "vornleads: no log entries in";
      for (const std::string& file : files) std::cerr << " " << file;
      std::cerr << "\n";
    }
  });
});

}  // namespace
}  // namespace vornleads::cli
