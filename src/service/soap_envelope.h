// The SOAP 1.1 RPC/encoded messages of the leads service: the request envelope of one
// operation with its single string parameter, and the reading of a reply envelope.
#pragma once

#include <string>

#include "vornleads/error.h"

namespace vornleads::soap {

// The request body, byte for byte: an XML declaration line, then the envelope on one line with
// <NS1:operation xmlns:NS1="nameSpace"><Parametros xsi:type="xsd:string">...</Parametros>.
// The parameter text is escaped as XML requires (&, <, >); it is UTF-8 and goes out as is.
std::string buildRequest(const std::string& nameSpace, const std::string& operation,
                         const std::string& parametros);

struct Reply {
  bool fault = false;
  std::string result;       // the operation's string result, when not a fault
  std::string faultCode;    // when a fault
  std::string faultString;  // when a fault
};

// The body is not a SOAP reply. what() is the cause in the operator's words.
class MalformedReply : public VornError {
 public:
  using VornError::VornError;
};

// Reads a reply: the text of the first child element of the response element (whatever their
// names or prefixes; a multi-reference is followed to the Body element it names), or the
// faultcode and faultstring of a Fault. The result must be a string: nil, an array, a
// structure or any xsi:type but a string type is refused naming the type found. The body is
// decoded as its byte-order mark, Content-Type and declaration say (text/xml_charset.h);
// bytes invalid in that encoding, and labels that contradict each other, are refused, never
// guessed or replaced. A document type declaration is refused, and no entity other than XML's own is
// ever expanded.
Reply parseReply(const std::string& body, const std::string& contentType);

}  // namespace vornleads::soap
