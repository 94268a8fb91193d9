// The text of a Firebird client call's status vector, as fb_interpret gives it line by line.
#pragma once

#include <ibase.h>

#include <string>

namespace vornleads {

// "unknown Firebird error" when the vector holds no message.
std::string firebirdStatusMessage(const ISC_STATUS* status);

}  // namespace vornleads
