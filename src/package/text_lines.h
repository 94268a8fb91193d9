// Text files as lists of lines, the way the log and configuration files are loaded and saved
// (internal).
#pragma once

#include <string>
#include <vector>

namespace vornleads {

// A line ends at CR, LF or CR LF; a final line break does not open another, empty line.
std::vector<std::string> splitLines(const std::string& text);

// The text as it is saved after loading it as lines: every line followed by CR LF. Bare CRs
// and LFs become CR LF, and text that does not end in a line break gets one.
std::string savedForm(const std::string& text);

}  // namespace vornleads
