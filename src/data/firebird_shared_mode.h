// Shared access to embedded Firebird databases.
//
// Embedded Firebird 3 runs as "Super" by default, which locks a database file to the first
// process that opens it: a second intake, the resend pass started by the host's scheduler or
// an operator's isql-fb would be refused while one of them works. SuperClassic lets several
// processes share the file through Firebird's lock manager. The mode is read from the
// firebird.conf of the root named by the FIREBIRD environment variable when the client
// library starts, so useSharedEmbeddedFirebird() must run before the first attachment.
#pragma once

namespace vornleads {

// Unless FIREBIRD is already set (the host's or the operator's own choice wins), points it at
// a private root, /tmp/vornleads-firebird-<uid>, that links the installed Firebird's plugins,
// messages and character sets and whose firebird.conf selects SuperClassic. Idempotent and
// safe when several processes prepare the root at once. Does nothing where the installed
// Firebird is not found (the client library's defaults then apply).
void useSharedEmbeddedFirebird();

}  // namespace vornleads
