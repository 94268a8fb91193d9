// The reader of the leads service's SOAP replies, over whatever bytes an HTTP reply carries.
// Only the project's own errors (MalformedReply) may come out of it.
#include "fuzz_input.h"
#include "service/soap_envelope.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  try {
    vornleads::soap::parseReply(vornleads::fuzz::asText(data, size));
  } catch (const vornleads::VornError&) {
  }
  return 0;
}
