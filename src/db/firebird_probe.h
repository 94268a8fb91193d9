// Whether a Firebird server answers at all, within a bound.
//
// SOCI attaches without a time limit of its own, and a server that accepts connections but
// answers nothing (hung, stopped) would hold that attachment for minutes. A short attachment
// of our own, made with the client library's connect time-out, finds such a server first.
#pragma once

#include "db/connection_uri.h"

namespace vornleads {

// Attaches to target.server and detaches again. DatabaseError "Cannot open <description>: the
// database did not answer in <seconds> s" when the attachment ran out of time; any other
// failure (refused login, no such database, nobody listening) is left to the attachment that
// follows, which reports it in its own words. Nothing to do for a target without a server.
void checkServerAnswers(const ConnectionTarget& target, int seconds);

}  // namespace vornleads
