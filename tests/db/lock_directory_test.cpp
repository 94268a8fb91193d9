// The embedded engine's lock directory and private configuration: one lock directory per
// database file whoever opens it, refusals that say why, no wait without limit on a held
// directory, and no configuration root that someone else made first.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "db/firebird_lock_directory.h"
#include "db/firebird_shared_mode.h"
#include "support/child_process.h"
#include "support/firebird_db.h"
#include "support/firebird_suite.h"
#include "vornleads/db/schema.h"
#include "vornleads/db/sql_connection.h"
#include "vornleads/error.h"

namespace vornleads {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using test::ChildProcess;
using test::TempDir;

constexpr char kOpenVariable[] = "VORNLEADS_TEST_OPEN";

// The directory of the lock table this process's engine has mapped, "" when none.
std::string mappedLockDirectory() {
  std::ifstream maps("/proc/self/maps");
  for (std::string line; std::getline(maps, line);) {
    const auto at = line.find("/fb_lock_");
    const auto start = line.find('/');
    if (at != std::string::npos) return line.substr(start, at - start);
  }
  return "";
}

// Run in a process of its own by the tests below: for each entry of VORNLEADS_TEST_OPEN
// (separated by "|"), "create:PATH" creates a database and opens it, PATH opens one; prints per
// entry "> " and the lock directory its engine uses while the connection is open, or the error.
TEST(LockDirectoryChild, OpensWhatItIsTold) {
  const char* entries = std::getenv(kOpenVariable);
  if (entries == nullptr) GTEST_SKIP() << "started by the lock directory tests";
  std::istringstream list(entries);
  for (std::string entry; std::getline(list, entry, '|');) {
    try {
      if (entry.rfind("create:", 0) == 0) {
        entry = entry.substr(7);
        CreateDatabase(entry, false);
      }
      const auto connection = OpenConnection(entry);
      connection->query("SELECT 1 FROM RDB$DATABASE");
      std::cout << "> uses " << mappedLockDirectory() << std::endl;
    } catch (const DatabaseError& error) {
      std::cout << "> " << error.what() << std::endl;
    }
  }
}

// What a process started with `prefix` (runuser or env(1) and their arguments) prints for
// `entries`: its "> " lines, without the prefix.
std::string opened(std::vector<std::string> prefix, const std::string& entries) {
  if (prefix.empty() || prefix[0][0] != '/') prefix.insert(prefix.begin(), "/usr/bin/env");
  for (const std::string& arg :
       {std::string(kOpenVariable) + "=" + entries, fs::read_symlink("/proc/self/exe").string(),
        std::string("--gtest_filter=LockDirectoryChild.*")})
    prefix.push_back(arg);
  ChildProcess child(prefix);
  EXPECT_EQ(0, child.wait(90s)) << child.err();
  std::istringstream out(child.out());
  std::string lines;
  for (std::string line; std::getline(out, line);)
    if (line.rfind("> ", 0) == 0) lines += line.substr(2) + "\n";
  return lines;
}

TEST(LockDirectory, EveryNameOfOneFileGivesTheDirectoryBesideIt) {
  TempDir dir;
  fs::create_directory(dir / "real");
  std::ofstream(dir / "real" / "dms.fdb").put('x');
  fs::create_directory_symlink(dir / "real", dir / "link");
  fs::create_symlink(dir / "real" / "dms.fdb", dir / "alias.fdb");
  const std::string expected = (dir / "real" / "firebird-lock").string();
  for (const std::string& name :
       {(dir / "real" / "dms.fdb").string(), (dir / "link" / "dms.fdb").string(),
        (dir / "real" / "." / ".." / "real" / "dms.fdb").string(), (dir / "alias.fdb").string(),
        (dir / "real" / "not-yet.fdb").string()})
    EXPECT_EQ(expected, firebirdLockDirectoryFor(name)) << name;
  EXPECT_EQ("/var/lib/vornleads/firebird-lock",
            firebirdLockDirectoryFor("/var/lib/vornleads/dms.fdb"));
}

// Processes that open one file meet in its lock directory, whatever name, working directory or
// inherited environment they have; one that would need another directory says so.
TEST(LockDirectory, ProcessesOpeningOneFileMeetInItsDirectoryOrAreRefused) {
  TempDir dir;
  fs::create_directory(dir / "db");
  fs::create_directory_symlink(dir / "db", dir / "link");
  const std::string file = (dir / "db" / "dms.fdb").string(), other = (dir / "other.fdb").string(),
                    lock = (dir / "db" / "firebird-lock").string();
  // Created by another process: this one keeps the suite's lock directory.
  ASSERT_EQ("uses " + lock + "\n", opened({}, "create:" + file));
  struct Case {
    std::vector<std::string> environment;
    std::string paths, expected;
  };
  const std::string used = "uses " + lock + "\n";
  const std::vector<Case> cases = {
      {{"-u", "FIREBIRD_LOCK"}, file, used},
      {{"-C", (dir / "db").string()}, "dms.fdb", used},
      {{}, (dir / "link" / "dms.fdb").string(), used},
      {{"FIREBIRD_LOCK=" + lock}, "firebird:" + file, used},
      // Left by a parent process of this program that opened another database.
      {{"FIREBIRD_LOCK=/tmp", "VORNLEADS_FIREBIRD_LOCK_PID=1"}, file, used},
      {{"-u", "VORNLEADS_FIREBIRD_LOCK_PID", "FIREBIRD_LOCK=/tmp/firebird"},
       file,
       "Cannot open " + file + ": its lock directory is " + lock +
           ", but FIREBIRD_LOCK names /tmp/firebird; unset FIREBIRD_LOCK or set it to " + lock +
           "\n"},
      {{"-u", "FIREBIRD_LOCK"},
       file + "|create:" + other,
       used + "Cannot open " + other + ": its lock directory is " + dir.path().string() +
           "/firebird-lock, but this process already uses " + lock +
           " for another database; open it from a process of its own\n"}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.paths);
    EXPECT_EQ(c.expected, opened(c.environment, c.paths));
  }
}

// Another user's file: that user opens it through the same directory; root, whose lock files
// the engine gives to the account "firebird", is sent to that user when it is not in that group.
TEST(LockDirectory, AnotherUsersFileIsOpenedAsThatUser) {
  TempDir dir;
  fs::permissions(dir.path(), fs::perms::owner_all | fs::perms::others_exec);
  fs::create_directory(dir / "db");
  const std::string file = (dir / "db" / "dms.fdb").string(),
                    lock = (dir / "db" / "firebird-lock").string();
  ASSERT_EQ("uses " + lock + "\n", opened({"-u", "FIREBIRD_LOCK"}, "create:" + file));
  fs::remove_all(lock);
  for (const std::string& path : {(dir / "db").string(), file})
    ASSERT_EQ(0, chown(path.c_str(), 65534, 65534)) << path;
  const bool nobodyIsInFirebird =
      test::commandOutput("id -nG nobody").find("firebird") != std::string::npos;
  if (!nobodyIsInFirebird && test::commandOutput("getent passwd firebird || true") != "") {
    EXPECT_EQ("Cannot open " + file +
                  ": run this as nobody, its owner (sudo -u nobody ...): the "
                  "lock files root would leave in " +
                  lock + " shut that user out\n",
              opened({"-u", "FIREBIRD_LOCK"}, file));
  }
  EXPECT_EQ("uses " + lock + "\n", opened({"/usr/sbin/runuser", "-u", "nobody", "--",
                                           "/usr/bin/env", "-u", "FIREBIRD", "-u", "FIREBIRD_LOCK"},
                                          file));
  struct stat status {};
  ASSERT_EQ(0, stat(lock.c_str(), &status));
  EXPECT_EQ(65534u, status.st_uid);
  EXPECT_EQ(65534u, status.st_gid);
  EXPECT_EQ(02770u, status.st_mode & 07777);
}

TEST(PrivateFirebirdRoot, IsNeverADirectoryOthersCouldHaveMade) {
  const std::string usual = "vornleads-firebird-" + std::to_string(geteuid());
  struct Case {
    std::string what, plant;  // a shell command that makes "$D" in the parent directory
    bool kept;                // the usual name is used
  };
  const std::vector<Case> cases = {
      {"nothing there", "true", true},
      {"ours, readable by others", "mkdir -m 0755 \"$D\"", true},
      {"ours, writable by the group", "mkdir -m 0770 \"$D\"", false},
      {"nobody's", "mkdir -m 0700 \"$D\" && chown 65534:65534 \"$D\"", false},
      {"a link to ours", "mkdir \"$D-target\" && ln -s \"$PWD/$D-target\" \"$D\"", false},
      {"a file", "echo x > \"$D\"", false}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    TempDir parent;
    test::commandOutput("cd '" + parent.path().string() + "' && D=" + usual + " && " + c.plant);
    const std::string root = privateFirebirdRoot(parent.path().string());
    EXPECT_EQ(c.kept, root == (parent / usual).string()) << root;
    EXPECT_EQ(0u, root.rfind((parent / usual).string(), 0)) << root;
    struct stat status {};
    ASSERT_EQ(0, lstat(root.c_str(), &status));
    EXPECT_TRUE(S_ISDIR(status.st_mode));
    EXPECT_EQ(geteuid(), status.st_uid);
    EXPECT_EQ(0700u, status.st_mode & 07777);
  }
}

// A lock file that another process holds and never lets go ends the opening within the
// connect time-out, with the directory named, instead of queueing the engine behind it.
TEST(LockDirectory, AHeldLockDirectoryEndsWithinTheConnectTimeout) {
  test::TestDatabase db(false);
  const std::string lock = firebirdLockDirectoryFor(db.path().string());
  for (const std::string name : {"fb_init", "fb_lock_0000wedged"}) {
    SCOPED_TRACE(name);
    // The shell becomes the sleep that holds the lock, so that killing it lets the lock go.
    ChildProcess holder(
        {"/bin/sh", "-c", "exec 9>>" + lock + "/" + name + " && flock -x 9 && exec sleep 60"});
    ASSERT_TRUE(ChildProcess::waitUntil(
        [&] {
          return test::commandOutput("flock -n -s " + lock + "/" + name + " true || echo held") ==
                 "held\n";
        },
        5s));
    const auto start = std::chrono::steady_clock::now();
    ConnectionOptions options;
    options.connectTimeoutSeconds = 2;
    const std::string error = test::outcome([&] { OpenConnection(db.uri(), options); });
    const auto waited = std::chrono::steady_clock::now() - start;
    EXPECT_EQ("Cannot open " + db.path().string() + ": the lock directory " + lock +
                  " is held by another process (" + lock + "/" + name + " stayed locked for 2 s)",
              error);
    EXPECT_GE(waited, 2s);
    EXPECT_LT(waited, 4s);
    holder.signal(SIGKILL);
    holder.wait(5s);
    if (name != "fb_init") fs::remove(lock + "/" + name);
  }
  EXPECT_EQ(1, test::count(*db.connect(), "SELECT COUNT(*) FROM RDB$DATABASE"));
}

}  // namespace
}  // namespace vornleads
