#include "db/firebird_status.h"

namespace vornleads {

std::string firebirdStatusMessage(const ISC_STATUS* status) {
  std::string message;
  char buffer[1024];
  const ISC_STATUS* vector = status;
  while (fb_interpret(buffer, sizeof buffer, &vector) > 0) {
    if (!message.empty()) message += "\n";
    message += buffer;
  }
  return message.empty() ? "unknown Firebird error" : message;
}

}  // namespace vornleads
