// Waiting, with a limit, for an embedded Firebird lock directory that another process holds.
//
// The engine serialises the set-up of its shared tables with an exclusive flock on the
// directory's fb_init, and keeps a shared flock on each table file while it uses it (exclusive
// only for a moment, under fb_init, to learn whether it is the first user). It waits for those
// locks without limit and retries through signals, so a process that holds one and never lets
// go (stopped, hung, or not an engine at all) would hold every attachment, and the stop
// signals, for as long as it stays.
#pragma once

#include <string>

namespace vornleads {

// Returns once fb_init and every table file (fb*) of directory can be locked shared, which
// is what the engine's next attachment needs; the locks taken to find out are released at
// once. Nothing to wait for when fb_init does not exist yet. Raises DatabaseError
// "Cannot open DATABASE: the lock directory DIRECTORY is held by another process (FILE
// stayed locked for N s)" past waitSeconds, and "Cannot open DATABASE: cannot use the lock
// directory DIRECTORY: REASON" when fb_init cannot be opened.
void waitForFirebirdLockFiles(const std::string& directory, const std::string& database,
                              int waitSeconds);

}  // namespace vornleads
