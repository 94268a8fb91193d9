// The reader of the leads service's SOAP replies, over whatever bytes an HTTP reply carries,
// under each Content-Type the client meets: the encoding may come from the header, the XML
// declaration, a byte-order mark or nowhere. Only the project's own errors may come out of it.
#include <string>

#include "fuzz_input.h"
#include "service/soap_envelope.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const char* const kContentTypes[] = {
      "text/xml; charset=utf-8", "text/xml", "text/xml; charset=windows-1252",
      "text/xml; charset=\"UTF-16\"", "application/soap+xml; charset=iso-8859-1", ""};
  const std::string body = vornleads::fuzz::asText(data, size);
  for (const char* contentType : kContentTypes) {
    try {
      vornleads::soap::parseReply(body, contentType);
    } catch (const vornleads::VornError&) {
    }
  }
  return 0;
}
