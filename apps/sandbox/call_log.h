// One line per event on standard error, whole lines even when several threads log at once.
// Callers never pass secrets (CPFs, passwords, request texts).
#pragma once

#include <string>

namespace vornleads::sandbox {

void logLine(const std::string& line);

}  // namespace vornleads::sandbox
