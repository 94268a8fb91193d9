// Shared access to embedded Firebird databases.
//
// Embedded Firebird 3 runs as "Super" by default, which locks a database file to the first
// process that opens it: a second intake, the resend pass started by the host's scheduler or
// an operator's isql-fb would be refused while one of them works. SuperClassic lets several
// processes share the file through Firebird's lock manager. The mode is read from the
// firebird.conf of the root named by the FIREBIRD environment variable when the client
// library starts, so useSharedEmbeddedFirebird() must run before the first attachment.
#pragma once

#include <string>

namespace vornleads {

// Unless FIREBIRD is already set (the host's or the operator's own choice wins), points it at
// a private root that links the installed Firebird's plugins, messages and character sets and
// whose firebird.conf selects SuperClassic: privateFirebirdRoot(the temporary directory).
// Idempotent and safe when several processes prepare the root at once. Does nothing where the
// installed Firebird is not found (the client library's defaults then apply).
void useSharedEmbeddedFirebird();

// parent/vornleads-firebird-<uid>, created with mode 0700 when missing, if it is a directory
// (not a link) of this user that nobody else can write to; otherwise a fresh directory
// parent/vornleads-firebird-<uid>-XXXXXX of this process. "" when neither can be made.
std::string privateFirebirdRoot(const std::string& parent);

// Whether path is a directory, not a symbolic link, owned by this process's effective user and
// not writable by anyone else; a group- or world-readable one is narrowed to 0700 on the way.
bool isPrivateDirectory(const std::string& path);

}  // namespace vornleads
