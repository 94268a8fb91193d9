// Reading back the entries of a dated log file (see <vornleads/package/log_file.h> for how they
// are written): the text between separator lines of 152 '=', oldest first, each entry's lines
// joined by "\n" and its trailing empty lines dropped. A missing file has no entries; a file
// that exists but cannot be read raises VornError naming it.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace vornleads::cli {

std::vector<std::string> readLogEntries(const std::filesystem::path& file);

// The time of day of an entry's stamp ("dd-mm-yy HH:nn:ss.zzz" on its first line) as
// "HH:nn:ss.zzz", for ordering the entries of one day; "" when the first line has no stamp.
std::string entryTimeOfDay(const std::string& entry);

// An entry taken apart: the workers' "Requisição: " and "Resposta:" blocks, or the facade's
// "Função: " line, its text and its "Situação/Erro:" block (text as request, situation as
// response). An entry of neither layout is all request.
struct LogEntryParts {
  std::string function;  // the facade's only
  std::string request;
  std::string response;
};
LogEntryParts splitLogEntry(const std::string& entry);

// True when the entry names lead `id` as an IdLead member of its JSON ("IdLead":"4711",
// "IdLead":4711), in a request or a reply.
bool entryNamesLead(const std::string& entry, int64_t id);

}  // namespace vornleads::cli
