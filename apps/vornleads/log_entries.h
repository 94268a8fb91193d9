// Reading back the entries of a dated log file (see <vornleads/package/log_file.h> for how they
// are written): the text between separator lines of 152 '=', oldest first, each entry's lines
// joined by "\n" and its trailing empty lines dropped. A missing file has no entries; a file
// that exists but cannot be read raises VornError naming it.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace vornleads::cli {

std::vector<std::string> readLogEntries(const std::filesystem::path& file);

// The time of day of an entry's stamp ("dd-mm-yy HH:nn:ss.zzz" on its first line) as
// "HH:nn:ss.zzz", for ordering the entries of one day; "" when the first line has no stamp.
std::string entryTimeOfDay(const std::string& entry);

}  // namespace vornleads::cli
