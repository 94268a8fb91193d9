// Adding one entry to a log file without rewriting it (internal). See
// <vornleads/package/log_file.h> for the form of the file this keeps.
#pragma once

#include <filesystem>
#include <string>

namespace vornleads {

// Adds separator and entry, each followed by CR LF, to file, first bringing the text after the
// file's last separator line (the previous entry) into saved form. Raises VornError naming the
// file when it cannot be written.
void appendLogEntry(const std::filesystem::path& file, const std::string& separator,
                    const std::string& entry);

}  // namespace vornleads
