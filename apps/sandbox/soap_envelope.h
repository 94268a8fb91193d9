// The SOAP 1.1 RPC/encoded envelopes of the leads service: reading a call and writing its
// reply or a fault. Element prefixes are ignored when reading; nothing outside the document
// is ever loaded (no external entities, DOCTYPE skipped).
#pragma once

#include <stdexcept>
#include <string>

namespace vornleads::sandbox {

inline constexpr const char* kServiceNamespace = "urn:VornLeadsVWIntf-IVornLeadsVW";

struct SoapCall {
  std::string operation;   // local name of the body's element, else taken from the SOAPAction
  std::string parametros;  // text of the "Parametros" element (empty when it is missing)
};

// Thrown for a request that is not a SOAP envelope; what() says why.
class NotSoapError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Reads a call from the request body and its SOAPAction header ("urn:...#Operation", quoted
// or not). Throws NotSoapError when the body is not XML, has no Envelope/Body, or names no
// operation either way.
SoapCall readSoapCall(const std::string& body, const std::string& soapAction);

// The reply envelope: <NS1:{operation}Response> holding <return xsi:type="xsd:string"> with
// the text escaped as XML requires.
std::string writeSoapReply(const std::string& operation, const std::string& text);

// A SOAP fault envelope with faultcode "SOAP-ENV:Server" and the given faultstring.
std::string writeSoapFault(const std::string& faultstring);

}  // namespace vornleads::sandbox
