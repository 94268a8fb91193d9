// vornleads log [--day YYYY-MM-DD] [--kind intake|updates|facade] [--lead ID] [--json]
// [--wide]: the entries of a day's log files in the host directory (today's by default; every
// kind unless --kind names one; with --lead only those naming that lead), newest last, one
// block per entry headed by its kind, each line cut to the table width unless --wide. With
// --json, one JSON object a line per entry: time, kind, request, response (and the facade's
// function). A day without a log file is no error: a note says so on standard error.
#include <algorithm>
#include <iostream>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "command.h"
#include "log_entries.h"
#include "view_options.h"
#include "view_table.h"
#include "vornleads/package/log_file.h"
#include "vornleads/text/clock.h"
#include "vornleads/text/datetime.h"

namespace vornleads::cli {
namespace {

struct LogOptions {
  std::string day;
  std::string kind;
  std::optional<int64_t> lead;
  ViewOptions view;
};

struct LogKind {
  const char* name;
  const char* prefix;
};

constexpr LogKind kKinds[] = {
    {"intake", kLogBuscaLeads}, {"updates", kLogEnvioLeads}, {"facade", kLogFachada}};

struct Block {
  std::string time;  // "HH:nn:ss.zzz", "" without a stamp
  const char* kind;
  std::string entry;
};

void printJson(const Block& block, const std::string& day) {
  const LogEntryParts parts = splitLogEntry(block.entry);
  nlohmann::ordered_json object;
  object["time"] = nullptr;
  if (!block.time.empty()) object["time"] = day + "T" + block.time;
  object["kind"] = block.kind;
  if (!parts.function.empty()) object["function"] = parts.function;
  object["request"] = parts.request;
  object["response"] = parts.response;
  // Invalid UTF-8 in a log (a CP1252 host) is shown replaced rather than ending the view.
  std::cout << object.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace)
            << "\n";
}

void printText(const Block& block, size_t width) {
  std::cout << "--- " << block.kind << "\n";
  std::istringstream lines(block.entry);
  for (std::string line; std::getline(lines, line);) {
    std::cout << (width > 0 ? cutToWidth(line, width) : line) << "\n";
  }
}

const RegisterCommand registration(62, [](CLI::App& app, CommandContext& /*context*/) {
  auto options = std::make_shared<LogOptions>();
  CLI::App* command = app.add_subcommand("log", "the entries of a day's log files");
  command->add_option("--day", options->day, "the day (default: today)")->check(isoDate());
  command->add_option("--kind", options->kind, "only this log")
      ->check(CLI::IsMember({"intake", "updates", "facade"}));
  command->add_option("--lead", options->lead, "only the entries naming this VW lead");
  addViewOptions(*command, options->view, false);
  command->callback([options] {
    const TDateTime day = options->day.empty() ? Now() : parseIsoDate(options->day);
    std::vector<Block> blocks;
    std::vector<std::string> files;
    for (const LogKind& kind : kKinds) {
      if (!options->kind.empty() && options->kind != kind.name) continue;
      const auto path = LogFile(kind.prefix).pathFor(day);
      files.push_back(path.string());
      for (std::string& entry : readLogEntries(path)) {
        if (options->lead && !entryNamesLead(entry, *options->lead)) continue;
        blocks.push_back({entryTimeOfDay(entry), kind.name, std::move(entry)});
      }
    }
    // Ordered by time; one kind's entries keep their file order.
    std::stable_sort(blocks.begin(), blocks.end(),
                     [](const Block& a, const Block& b) { return a.time < b.time; });
    const std::string isoDay = FormatDateTime("yyyy-mm-dd", day);
    const size_t width = tableWidth(options->view);
    for (size_t i = 0; i < blocks.size(); ++i) {
      if (options->view.json) {
        printJson(blocks[i], isoDay);
        continue;
      }
      if (i > 0) std::cout << "\n";
      printText(blocks[i], width);
    }
    if (blocks.empty()) {
      std::cerr << "vornleads: no log entries" << (options->lead ? " naming that lead" : "")
                << " in";
      for (const std::string& file : files) std::cerr << " " << file;
      std::cerr << "\n";
    }
  });
});

}  // namespace
}  // namespace vornleads::cli
