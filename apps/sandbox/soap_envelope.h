// The SOAP 1.1 RPC/encoded envelopes of the leads service: reading a call and writing its
// reply or a fault. A call is read as strictly as the hosted service reads it: in the
// encoding its byte-order mark, Content-Type and XML declaration give (as the client reads
// replies), a SOAP 1.1 envelope, an operation element in the service's namespace, a SOAPAction
// that names that operation, a string Parametros, a multi-reference followed. Element
// prefixes are the writer's choice; nothing outside the document is ever loaded (a DOCTYPE is
// refused).
#pragma once

#include <stdexcept>
#include <string>

namespace vornleads::sandbox {

inline constexpr const char* kServiceNamespace = "urn:VornLeadsVWIntf-IVornLeadsVW";

struct SoapCall {
  std::string operation;   // local name of the body's call element
  std::string parametros;  // text of the "Parametros" element (empty when it is missing)
};

// Thrown for a request that is not a call of the service; what() says why.
class NotSoapError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Reads a call from the request body, its Content-Type and its SOAPAction header
// ("urn:VornLeadsVWIntf-IVornLeadsVW#Operation", quoted or not; an empty or missing one
// leaves the operation to the body). Throws NotSoapError when the body cannot be decoded, is
// not XML, is not a SOAP 1.1 envelope, names no operation or one outside the service's
// namespace, when the SOAPAction names another operation, when Parametros is not a string or
// refers to an element that is not there.
SoapCall readSoapCall(const std::string& body, const std::string& contentType,
                      const std::string& soapAction);

// The reply envelope: <NS1:{operation}Response> holding <return xsi:type="xsd:string"> with
// the text escaped as XML requires.
std::string writeSoapReply(const std::string& operation, const std::string& text);

// A SOAP fault envelope with faultcode "SOAP-ENV:Server" and the given faultstring.
std::string writeSoapFault(const std::string& faultstring);

}  // namespace vornleads::sandbox
