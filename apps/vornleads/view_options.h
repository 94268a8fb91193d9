// Options shared by the read-only views.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

#include "vornleads/types.h"

namespace vornleads::cli {

// "YYYY-MM-DD" as the start of that day; ConversionError for anything else, impossible dates
// (2026-13-45, 2026-02-30) included.
TDateTime parseIsoDate(const std::string& text);

// The check of a date option: a usage error naming the expected form.
CLI::Validator isoDate();

}  // namespace vornleads::cli
