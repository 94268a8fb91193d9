// The lock directory of an embedded Firebird database.
//
// The embedded engine keeps the lock table, the event and monitoring tables of every database
// it opens in one directory, named by FIREBIRD_LOCK (default /tmp/firebird) and read once per
// process, at the first attachment. Processes that open one file through different lock
// directories do not see each other's locks: pages written by one and cached by the other go
// unnoticed and the file is corrupted. So the lock directory is not the operator's to choose
// per command: it is derived from the database file, the same for every user and process,
// and a process that would need another one than it already has is refused.
//
// Permissions, as the engine makes them: it creates its files in the directory with mode 0660
// and, running as root, gives them to the account "firebird" (user and group) when that
// exists; as anyone else it tries to give them to the group "firebird" and otherwise leaves
// the directory's group. The directory is made setgid with the database file's group (and, by
// root, the file's owner), so that what one user leaves there the others sharing the file can
// use. Root is refused a database of another user who could not use the files root's engine
// would leave behind.
#pragma once

#include <string>

namespace vornleads {

// "firebird-lock" in the directory that holds databasePath (links and relative parts resolved,
// so every name of one file gives one directory). /var/lib/vornleads/dms.fdb gives
// /var/lib/vornleads/firebird-lock.
std::string firebirdLockDirectoryFor(const std::string& databasePath);

// Prepares this process for an embedded attachment to databasePath: sets FIREBIRD_LOCK to its
// lock directory (creating the directory as described above) and waits, at most waitSeconds,
// until no other process holds the directory's lock files, so that the attachment does not
// queue behind a process that never lets them go. Call before every embedded attachment.
//
// Raises DatabaseError, naming the database and the directory, when
// - FIREBIRD_LOCK, set by the operator or the host, names another directory;
// - this process already uses another database's lock directory (the engine keeps the first);
// - the directory cannot be created or used by this user, or root would shut the file's owner
//   out of it;
// - its lock files stayed held past waitSeconds.
void useFirebirdLockDirectoryFor(const std::string& databasePath, int waitSeconds);

}  // namespace vornleads
