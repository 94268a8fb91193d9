// Creation of an empty embedded Firebird database file through the client library. Both calls
// attach through the file's lock directory (data/firebird_lock_directory.h) and raise its
// DatabaseError when that cannot be used.
#pragma once

#include <string>

namespace vornleads {

// Creates the file at path (user SYSDBA, default character set UTF8, page size 8192) and
// detaches. Raises DatabaseError with the database's message when Firebird refuses.
void createFirebirdDatabaseFile(const std::string& path);

// Switches the database's forced writes (a write-through of every commit) on or off. Off
// makes a burst of commits (creating the schema, tests) many times faster, at the price of
// durability if the machine fails; production databases keep them on.
void setFirebirdForcedWrites(const std::string& path, bool on);

}  // namespace vornleads
