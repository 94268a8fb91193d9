// The library edition as a host loads it, once per test program (the library reads both places
// at its first call): a host directory holding VornLeadsVW.dll (VORNLEADS_HOME), a sandbox
// behind it (VORNLEADS_ENDPOINT) and the library loaded from that directory.
#pragma once

#include <filesystem>

#include "support/sandbox_process.h"
#include "vornleads/package/leads_library.h"

namespace vornleads::test {

SandboxProcess& sandbox();
TIntegraLeadsVW bridge();
const std::filesystem::path& home();

}  // namespace vornleads::test
