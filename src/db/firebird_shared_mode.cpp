#include "db/firebird_shared_mode.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <string>
#include <system_error>
#include <vector>

#include "text/file_descriptor.h"

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

}  // namespace

bool isPrivateDirectory(const std::string& path) {
  // Opened without following a last-component link, and checked on what was opened: a link
  // or a directory swapped in between a check and a use cannot pass.
  const FileDescriptor fd(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  if (!fd.valid()) return false;
  struct stat status {};
  bool own = fstat(fd.get(), &status) == 0 && S_ISDIR(status.st_mode) &&
             status.st_uid == geteuid() && (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
  // A root of our own that earlier versions left readable by others is closed; nobody else
  // could have written into it.
  if (own && (status.st_mode & 077) != 0) own = fchmod(fd.get(), 0700) == 0;
  return own;
}

std::string privateFirebirdRoot(const std::string& parent) {
  const std::string usual = parent + "/vornleads-firebird-" + std::to_string(geteuid());
  // EEXIST is fine here: whatever is there must pass the check below.
  (void)mkdir(usual.c_str(), 0700);
  if (isPrivateDirectory(usual)) return usual;
  // Someone else made that name first (or a link sits there): a fresh directory of this
  // process instead, never theirs.
  std::vector<char> pattern(usual.begin(), usual.end());
  for (char ch : std::string("-XXXXXX")) pattern.push_back(ch);
  pattern.push_back('\0');
  if (mkdtemp(pattern.data()) == nullptr) return "";
  return pattern.data();
}

namespace {

void prepare() {
  const char* chosen = std::getenv("FIREBIRD");
  if (chosen != nullptr && *chosen != '\0') return;
  const fs::path installed = VORNLEADS_FIREBIRD_ROOT;
  std::error_code error;
  if (!fs::exists(installed / "plugins", error)) return;

  const std::string name = privateFirebirdRoot(fs::temp_directory_path(error).string());
  if (name.empty()) return;  // without a root of our own the library's defaults still work
  const fs::path root = name;
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
