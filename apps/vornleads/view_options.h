// Options shared by the read-only views (leads, updates, log): --json, --wide, --limit,
// --since, and the width a table is cut to.
#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>

#include "vornleads/types.h"

namespace vornleads::cli {

struct ViewOptions {
  bool json = false;
  bool wide = false;           // no cut: every text whole, however long the lines get
  std::optional<size_t> limit;  // only the N newest rows, newest first
  std::string since;           // "YYYY-MM-DD": only rows dated on or after that day
};

// Adds --json and --wide, and --limit and --since when `rows` (leads and updates; the log has
// its own selection).
void addViewOptions(CLI::App& command, ViewOptions& options, bool rows);

// The columns a table may take: 0 (no limit) with --wide or --json; else the terminal's width
// when standard output is one (TIOCGWINSZ, else COLUMNS); else COLUMNS when set; else 100.
size_t tableWidth(const ViewOptions& options);

// "YYYY-MM-DD" as the start of that day; ConversionError for anything else, impossible dates
// (2026-13-45, 2026-02-30) included.
TDateTime parseIsoDate(const std::string& text);

// The check of a date option: a usage error naming the expected form.
CLI::Validator isoDate();

}  // namespace vornleads::cli
