// The host directory: where the log files go and beside which VornLeadsVW.dll lies.
//
// hostDirectory() answers, in this order: the directory a host set with setHostDirectory();
// else the environment variable VORNLEADS_HOME when it is set and not empty (read at every
// call); else the directory of the running executable (/proc/self/exe). Raises VornError only
// when none of these can be determined. setHostDirectory() with an empty path withdraws the
// host's setting. Safe to call from several threads.
#pragma once

#include <filesystem>

namespace vornleads {

std::filesystem::path hostDirectory();
void setHostDirectory(const std::filesystem::path& directory);

}  // namespace vornleads
