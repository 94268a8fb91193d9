#include "db/firebird_lock_directory.h"

#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include "db/firebird_lock_wait.h"
#include "vornleads/error.h"

namespace vornleads {
namespace {

namespace fs = std::filesystem;

constexpr const char* kLockVariable = "FIREBIRD_LOCK";
// The process that set FIREBIRD_LOCK to a database's lock directory. A value inherited from
// another process of this program (a parent that opened another database) is not an operator's
// choice and gives way; one of this process is the directory its engine already uses.
constexpr const char* kChooserVariable = "VORNLEADS_FIREBIRD_LOCK_PID";
constexpr const char* kEngineAccount = "firebird";

std::string resolved(const fs::path& path) {
  std::error_code error;
  fs::path absolute = fs::absolute(path, error);
  if (error) absolute = path;
  const fs::path canonical = fs::weakly_canonical(absolute, error);
  fs::path result = (error ? absolute : canonical).lexically_normal();
  std::string text = result.string();
  while (text.size() > 1 && text.back() == '/') text.pop_back();
  return text;
}

struct Account {
  uid_t uid = 0;
  gid_t gid = 0;
  std::string name;
};

std::optional<Account> account(const char* name, uid_t uid) {
  passwd entry{};
  passwd* found = nullptr;
  std::vector<char> buffer(16384);
  const int failed = name != nullptr
                         ? getpwnam_r(name, &entry, buffer.data(), buffer.size(), &found)
                         : getpwuid_r(uid, &entry, buffer.data(), buffer.size(), &found);
  if (failed != 0 || found == nullptr) return std::nullopt;
  return Account{entry.pw_uid, entry.pw_gid, entry.pw_name};
}

std::optional<gid_t> groupId(const char* name) {
  group entry{};
  group* found = nullptr;
  std::vector<char> buffer(16384);
  if (getgrnam_r(name, &entry, buffer.data(), buffer.size(), &found) != 0 || found == nullptr)
    return std::nullopt;
  return entry.gr_gid;
}

bool memberOf(const Account& user, gid_t group) {
  int count = 64;
  std::vector<gid_t> groups(count);
  if (getgrouplist(user.name.c_str(), user.gid, groups.data(), &count) < 0) {
    groups.resize(count);
    if (getgrouplist(user.name.c_str(), user.gid, groups.data(), &count) < 0) return false;
  }
  groups.resize(count);
  return std::find(groups.begin(), groups.end(), group) != groups.end();
}

// Whether owner can use the lock files that root's engine leaves: the engine gives them (mode
// 0660) to the account "firebird" where it exists, and otherwise they keep the directory's
// group, which is the database file's.
bool canUseFilesOfRoot(const Account& owner) {
  const std::optional<Account> engine = account(kEngineAccount, 0);
  if (!engine || owner.uid == engine->uid) return true;
  return memberOf(owner, groupId(kEngineAccount).value_or(engine->gid));
}

[[noreturn]] void refuse(const std::string& database, const std::string& why) {
  throw DatabaseError("Cannot open " + database + ": " + why, "");
}

// Creates the directory (setgid, group and, for root, owner of the database file) or checks
// the one that is there.
void prepareDirectory(const std::string& directory, const std::string& database) {
  const std::string unusable = "cannot use the lock directory " + directory + ": ";
  struct stat file {};
  if (stat(database.c_str(), &file) != 0 &&
      stat(fs::path(directory).parent_path().c_str(), &file) != 0) {
    refuse(database, unusable + std::strerror(errno));
  }
  const bool root = geteuid() == 0;
  if (root && file.st_uid != 0) {
    const std::optional<Account> owner = account(nullptr, file.st_uid);
    if (!owner || !canUseFilesOfRoot(*owner)) {
      const std::string name = owner ? owner->name : std::to_string(file.st_uid);
      refuse(database, "run this as " + name + ", its owner (sudo -u " + name +
                           " ...): the lock files root would leave in " + directory +
                           " shut that user out");
    }
  }
  if (mkdir(directory.c_str(), 0770) == 0) {
    // Root gives the directory to the file's owner and group. Anyone else who is not in the
    // file's group keeps the directory in a group of their own: the engine then works for
    // this user, and the next user of another group is told the directory cannot be used.
    if (chown(directory.c_str(), root ? file.st_uid : static_cast<uid_t>(-1), file.st_gid) != 0 &&
        root) {
      refuse(database, unusable + std::strerror(errno));
    }
    if (chmod(directory.c_str(), 02770) != 0) refuse(database, unusable + std::strerror(errno));
  } else if (errno != EEXIST) {
    refuse(database, unusable + std::strerror(errno));
  }
  struct stat status {};
  if (lstat(directory.c_str(), &status) != 0) refuse(database, unusable + std::strerror(errno));
  if (!S_ISDIR(status.st_mode)) refuse(database, unusable + "not a directory");
  if (access(directory.c_str(), R_OK | W_OK | X_OK) != 0)
    refuse(database, unusable + std::strerror(errno));
}

// Refuses a directory other than the one this process's engine uses or will use.
void checkInForce(const std::string& directory, const std::string& database) {
  const char* current = std::getenv(kLockVariable);
  if (current == nullptr || *current == '\0' || resolved(current) == directory) return;
  const char* chooser = std::getenv(kChooserVariable);
  if (chooser == nullptr) {
    refuse(database, "its lock directory is " + directory + ", but FIREBIRD_LOCK names " + current +
                         "; unset FIREBIRD_LOCK or set it to " + directory);
  }
  if (std::to_string(getpid()) == chooser) {
    refuse(database, "its lock directory is " + directory + ", but this process already uses " +
                         current + " for another database; open it from a process of its own");
  }
}

}  // namespace

std::string firebirdLockDirectoryFor(const std::string& databasePath) {
  return (fs::path(resolved(databasePath)).parent_path() / "firebird-lock").string();
}

void useFirebirdLockDirectoryFor(const std::string& databasePath, int waitSeconds) {
  const std::string directory = firebirdLockDirectoryFor(databasePath);
  // One choice at a time: two threads opening different databases first must not both pass.
  // The wait itself runs unlocked, so that one wedged directory does not hold up the check of
  // another thread's database.
  static std::mutex choosing;
  {
    const std::lock_guard<std::mutex> lock(choosing);
    checkInForce(directory, databasePath);
    prepareDirectory(directory, databasePath);
  }
  waitForFirebirdLockFiles(directory, databasePath, waitSeconds);
  const std::lock_guard<std::mutex> lock(choosing);
  checkInForce(directory, databasePath);
  const std::string pid = std::to_string(getpid());
  const char* current = std::getenv(kLockVariable);
  const char* chooser = std::getenv(kChooserVariable);
  // Set once: the engine may be reading the environment from another thread.
  if (current == nullptr || current != directory) setenv(kLockVariable, directory.c_str(), 1);
  if (chooser == nullptr || chooser != pid) setenv(kChooserVariable, pid.c_str(), 1);
}

}  // namespace vornleads
