#include "db/firebird_lock_wait.h"

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <thread>
#include <vector>

#include "text/file_descriptor.h"
#include "vornleads/error.h"

namespace vornleads {
namespace {

namespace fs = std::filesystem;

// Whether file can be locked shared; false only when another process holds it exclusively
// (any other failure is the engine's to report).
bool sharedLockFree(const FileDescriptor& file) {
  return flock(file.get(), LOCK_SH | LOCK_NB) == 0 || (errno != EWOULDBLOCK && errno != EINTR);
}

// The first of the directory's lock files that another process holds exclusively, "" when
// none is.
std::string heldLockFile(const std::string& directory, const std::string& database) {
  const std::string init = directory + "/fb_init";
  const FileDescriptor guard(open(init.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
  if (!guard.valid()) {
    if (errno == ENOENT) return "";  // the engine's first attachment makes it
    throw DatabaseError("Cannot open " + database + ": cannot use the lock directory " + directory +
                            ": " + init + ": " + std::strerror(errno),
                        "");
  }
  if (!sharedLockFree(guard)) return init;
  // Holding fb_init shared keeps every engine out of the moment in which it locks a table
  // file exclusively by right; an exclusive lock found now is one that stays.
  std::error_code error;
  std::vector<fs::path> tables;
  for (const auto& entry : fs::directory_iterator(directory, error)) {
    const std::string name = entry.path().filename().string();
    if (name.rfind("fb", 0) == 0 && name != "fb_init" && name != "fb_rename_guard")
      tables.push_back(entry.path());
  }
  for (const fs::path& table : tables) {
    const FileDescriptor file(open(table.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
    // Gone since it was listed, or a file of another database this user has no part in: the
    // engine does not need it for this one.
    if (!file.valid()) continue;
    if (!sharedLockFree(file)) return table.string();
  }
  return "";
}

}  // namespace

void waitForFirebirdLockFiles(const std::string& directory, const std::string& database,
                              int waitSeconds) {
  const auto start = std::chrono::steady_clock::now();
  const auto deadline = start + std::chrono::seconds(waitSeconds);
  for (;;) {
    const std::string held = heldLockFile(directory, database);
    if (held.empty()) return;
    if (std::chrono::steady_clock::now() >= deadline) {
      throw DatabaseError("Cannot open " + database + ": the lock directory " + directory +
                              " is held by another process (" + held + " stayed locked for " +
                              std::to_string(waitSeconds) + " s)",
                          "");
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(25));
  }
}

}  // namespace vornleads
