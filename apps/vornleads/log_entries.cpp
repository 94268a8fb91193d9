#include "log_entries.h"

#include <fstream>
#include <iterator>

#include "vornleads/error.h"
#include "vornleads/package/log_file.h"

namespace vornleads::cli {
namespace {

void close(std::string& entry, std::vector<std::string>& entries) {
  while (!entry.empty() && entry.back() == '\n') entry.pop_back();
  entries.push_back(entry);
  entry.clear();
}

}  // namespace

std::vector<std::string> readLogEntries(const std::filesystem::path& file) {
  std::error_code missing;
  if (!std::filesystem::exists(file, missing)) return {};
  std::ifstream in(file, std::ios::binary);
  if (!in) throw VornError("Cannot read the log file " + file.string());
  const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());

  std::vector<std::string> entries;
  std::string entry;
  bool inEntry = false;
  size_t start = 0;
  while (start < text.size()) {
    // A line ends at CR LF, CR or LF.
    size_t end = text.find_first_of("\r\n", start);
    if (end == std::string::npos) end = text.size();
    const std::string line = text.substr(start, end - start);
    start = end + 1;
    if (end < text.size() && text[end] == '\r' && start < text.size() && text[start] == '\n') {
      ++start;
    }
    if (line == logSeparator()) {
      if (inEntry) close(entry, entries);
      inEntry = true;
      continue;
    }
    // Text before the first separator belongs to no entry of this layout; keep it as one.
    inEntry = true;
    entry += line + "\n";
  }
  if (inEntry) close(entry, entries);
  return entries;
}

std::string entryTimeOfDay(const std::string& entry) {
  // "dd-mm-yy HH:nn:ss.zzz"
  if (entry.size() < 21 || entry[2] != '-' || entry[5] != '-' || entry[8] != ' ') return "";
  return entry.substr(9, 12);
}

}  // namespace vornleads::cli
