#include "data/firebird_shared_mode.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <string>
#include <system_error>

namespace vornleads {
namespace {

namespace fs = std::filesystem;

constexpr const char* kConfiguration = "ServerMode = SuperClassic\nUdfAccess = None\n";

bool holdsConfiguration(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  std::string content((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  return content == kConfiguration;
}

// Writes through a file of this process's own and renames it into place, so that a process
// starting at the same moment never reads half a configuration.
void writeConfiguration(const fs::path& root) {
  const fs::path target = root / "firebird.conf";
  if (holdsConfiguration(target)) return;
  const fs::path scratch = root / ("firebird.conf." + std::to_string(getpid()));
  {
    std::ofstream out(scratch, std::ios::binary | std::ios::trunc);
    out << kConfiguration;
  }
  std::error_code error;
  fs::rename(scratch, target, error);
  if (error) fs::remove(scratch, error);
}

void prepare() {
  const char* chosen = std::getenv("FIREBIRD");
  if (chosen != nullptr && *chosen != '\0') return;
  const fs::path installed = VORNLEADS_FIREBIRD_ROOT;
  std::error_code error;
  if (!fs::exists(installed / "plugins", error)) return;

  const fs::path root = fs::temp_directory_path() / ("vornleads-firebird-" + std::to_string(getuid()));
  fs::create_directories(root, error);
  if (error) return;  // without a root of our own the library's defaults still work
  for (const char* entry :
       {"plugins", "intl", "UDF", "firebird.msg", "plugins.conf", "lib", "include"}) {
    if (fs::exists(installed / entry, error) && !fs::exists(root / entry, error)) {
      // A process preparing the same root at the same moment may win the race; its link is
      // the same as ours.
      fs::create_symlink(installed / entry, root / entry, error);
    }
  }
  writeConfiguration(root);
  if (holdsConfiguration(root / "firebird.conf")) setenv("FIREBIRD", root.c_str(), 1);
}

}  // namespace

void useSharedEmbeddedFirebird() {
  static std::once_flag once;
  std::call_once(once, prepare);
}

}  // namespace vornleads
