#include "log_entries.h"

#include <cctype>
#include <fstream>
#include <iterator>
#include <utility>

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

LogEntryParts splitLogEntry(const std::string& entry) {
  LogEntryParts parts;
  const size_t firstBreak = entry.find('\n');
  // A closing "\n" makes an empty last block look like any other.
  const std::string body =
      (firstBreak == std::string::npos ? "" : entry.substr(firstBreak + 1)) + "\n";
  for (const auto& [opening, closing] :
       {std::pair<std::string, std::string>{"Requisição: \n", "\n\nResposta:\n"},
        {"Função: ", "\n\nSituação/Erro:\n"}}) {
    if (body.rfind(opening, 0) != 0) continue;
    const size_t close = body.find(closing, opening.size());
    if (close == std::string::npos) break;
    parts.request = body.substr(opening.size(), close - opening.size());
    parts.response = body.substr(close + closing.size());
    if (!parts.response.empty()) parts.response.pop_back();
    if (opening[0] == 'F') {
      const size_t lineEnd = parts.request.find('\n');
      parts.function = parts.request.substr(0, lineEnd);
      parts.request = lineEnd == std::string::npos ? "" : parts.request.substr(lineEnd + 1);
    }
    return parts;
  }
  parts.request = entryTimeOfDay(entry).empty() ? entry : body.substr(0, body.size() - 1);
  return parts;
}

bool entryNamesLead(const std::string& entry, int64_t id) {
  const std::string number = std::to_string(id);
  for (size_t at = entry.find("\"IdLead\""); at != std::string::npos;
       at = entry.find("\"IdLead\"", at + 1)) {
    size_t i = at + 8;
    while (i < entry.size() && (entry[i] == ' ' || entry[i] == ':' || entry[i] == '"')) ++i;
    if (entry.compare(i, number.size(), number) != 0) continue;
    const size_t end = i + number.size();
    if (end == entry.size() || !std::isdigit(static_cast<unsigned char>(entry[end]))) return true;
  }
  return false;
}

}  // namespace vornleads::cli
