#include "view_options.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cctype>
#include <cstdlib>

#include "vornleads/error.h"
#include "vornleads/text/datetime.h"

namespace vornleads::cli {
namespace {

constexpr size_t kPipeWidth = 100;

size_t columnsVariable() {
  const char* columns = std::getenv("COLUMNS");
  if (columns == nullptr) return 0;
  char* end = nullptr;
  const long value = std::strtol(columns, &end, 10);
  return end != columns && *end == '\0' && value > 0 && value < 100000 ? static_cast<size_t>(value)
                                                                        : 0;
}

}  // namespace

void addViewOptions(CLI::App& command, ViewOptions& options, bool rows) {
  command.add_flag("--json", options.json, "JSON instead of a table (never cut)");
  command.add_flag("--wide", options.wide,
                   "texts whole: no cut with … to the terminal's width (100 columns when the "
                   "output is no terminal, COLUMNS when set)");
  if (!rows) return;
  command.add_option("--limit", options.limit, "only the N newest rows, newest first")
      ->check(CLI::PositiveNumber);
  command.add_option("--since", options.since, "only rows dated on or after this day")
      ->check(isoDate());
}

size_t tableWidth(const ViewOptions& options) {
  if (options.wide || options.json) return 0;
  if (isatty(STDOUT_FILENO) == 1) {
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
  }
  const size_t columns = columnsVariable();
  return columns > 0 ? columns : kPipeWidth;
}

TDateTime parseIsoDate(const std::string& text) {
  bool shape = text.size() == 10 && text[4] == '-' && text[7] == '-';
  for (size_t i = 0; shape && i < text.size(); ++i) {
    if (i != 4 && i != 7) shape = std::isdigit(static_cast<unsigned char>(text[i])) != 0;
  }
  if (!shape) throw ConversionError("\"" + text + "\" is not a date of the form YYYY-MM-DD");
  try {
    return EncodeDate(std::stoi(text.substr(0, 4)), std::stoi(text.substr(5, 2)),
                      std::stoi(text.substr(8, 2)));
  } catch (const ConversionError&) {
    throw ConversionError("\"" + text + "\" is not a date of the form YYYY-MM-DD");
  }
}

CLI::Validator isoDate() {
  return CLI::Validator(
      [](std::string& text) -> std::string {
        try {
          parseIsoDate(text);
          return "";
        } catch (const ConversionError& error) {
          return error.what();
        }
      },
      "YYYY-MM-DD");
}

}  // namespace vornleads::cli
