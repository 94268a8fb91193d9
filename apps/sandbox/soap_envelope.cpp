#include "soap_envelope.h"

#include <pugixml.hpp>
#include <sstream>

#include "service/soap_xml.h"
#include "text/xml_charset.h"

namespace vornleads::sandbox {
namespace {

// An envelope with the namespaces of the service's replies and an empty body.
pugi::xml_node startEnvelope(pugi::xml_document& document) {
  auto declaration = document.append_child(pugi::node_declaration);
  declaration.append_attribute("version") = "1.0";
  declaration.append_attribute("encoding") = "utf-8";
  auto envelope = document.append_child("SOAP-ENV:Envelope");
  envelope.append_attribute("xmlns:SOAP-ENV") = soap::kEnvelopeNamespace;
  envelope.append_attribute("xmlns:xsd") = "http://www.w3.org/2001/XMLSchema";
  envelope.append_attribute("xmlns:xsi") = "http://www.w3.org/2001/XMLSchema-instance";
  envelope.append_attribute("xmlns:SOAP-ENC") = soap::kEncodingNamespace;
  return envelope.append_child("SOAP-ENV:Body");
}

std::string written(const pugi::xml_document& document) {
  std::ostringstream out;
  document.save(out, "", pugi::format_raw, pugi::encoding_utf8);
  return out.str();
}

std::string unquoted(std::string action) {
  if (action.size() >= 2 && action.front() == '"' && action.back() == '"') {
    action = action.substr(1, action.size() - 2);
  }
  return action;
}

std::string labelled(const xml::EncodingLabel& label) {
  const char* where = label.source == xml::LabelSource::ByteOrderMark ? "byte-order mark"
                      : label.source == xml::LabelSource::ContentType ? "Content-Type"
                                                                      : "XML declaration";
  return "\"" + label.name + "\" (" + where + ")";
}

// The document as UTF-8 in the encoding the request declares.
std::string decodedRequest(const std::string& body, const std::string& contentType) {
  try {
    return xml::decodeDocument(body, contentType);
  } catch (const xml::CharsetError& error) {
    switch (error.kind()) {
      case xml::CharsetError::Kind::Unsupported:
        throw NotSoapError("the request's encoding \"" + error.encoding() + "\" is not supported");
      case xml::CharsetError::Kind::Contradiction:
        throw NotSoapError("the request's encoding labels disagree: " + labelled(error.first()) +
                           " and " + labelled(error.second()));
      case xml::CharsetError::Kind::InvalidBytes:
        break;
    }
    throw NotSoapError("the request is not valid " + error.encoding() +
                       ": invalid bytes at offset " + std::to_string(error.offset()));
  }
}

}  // namespace

SoapCall readSoapCall(const std::string& body, const std::string& contentType,
                      const std::string& soapAction) {
  pugi::xml_document document;
  const auto parsed = soap::parseUtf8(document, decodedRequest(body, contentType));
  if (!parsed.result) {
    throw NotSoapError(std::string("the request is not XML: ") + parsed.result.description() +
                       " at offset " + std::to_string(parsed.result.offset));
  }
  if (parsed.hasDoctype) throw NotSoapError("the request carries a DOCTYPE, which is refused");
  if (!parsed.badReference.empty()) {
    throw NotSoapError("the request refers to " + parsed.badReference +
                       ", which is no XML character");
  }
  const auto envelope = document.document_element();
  if (soap::localName(envelope) != "Envelope" ||
      soap::namespaceOf(envelope) != soap::kEnvelopeNamespace) {
    throw NotSoapError("the request is not a SOAP 1.1 envelope (root element <" +
                       std::string(envelope.name()) + "> in namespace \"" +
                       soap::namespaceOf(envelope) + "\")");
  }
  const auto soapBody = soap::childNamed(envelope, "Body");
  if (!soapBody) throw NotSoapError("the SOAP envelope has no Body");
  const auto operation = soap::bodyEntry(soapBody);
  if (!operation) throw NotSoapError("the SOAP request names no operation");

  SoapCall call;
  call.operation = soap::localName(operation);
  const std::string nameSpace = soap::namespaceOf(operation);
  if (nameSpace != kServiceNamespace) {
    throw NotSoapError("operation \"" + call.operation + "\" is in namespace \"" + nameSpace +
                       "\", not " + kServiceNamespace);
  }
  const std::string action = unquoted(soapAction);
  if (!action.empty() && action != std::string(kServiceNamespace) + "#" + call.operation) {
    throw NotSoapError("SOAPAction \"" + action + "\" does not name the operation of the body, " +
                       kServiceNamespace + "#" + call.operation);
  }
  auto parametros = soap::childNamed(operation, "Parametros");
  if (!parametros) parametros = soap::firstElement(operation);
  if (parametros) {
    const auto value = soap::dereference(parametros, soapBody);
    if (!value) {
      throw NotSoapError("Parametros refers to \"" +
                         std::string(parametros.attribute("href").value()) +
                         "\", which is not in the request");
    }
    const std::string found = soap::nonStringContent(value);
    if (!found.empty()) throw NotSoapError("Parametros is not a string (found " + found + ")");
    call.parametros = soap::textOf(value);
  }
  return call;
}

std::string writeSoapReply(const std::string& operation, const std::string& text) {
  pugi::xml_document document;
  auto body = startEnvelope(document);
  body.append_attribute("SOAP-ENV:encodingStyle") = soap::kEncodingNamespace;
  auto response = body.append_child(("NS1:" + operation + "Response").c_str());
  response.append_attribute("xmlns:NS1") = kServiceNamespace;
  auto result = response.append_child("return");
  result.append_attribute("xsi:type") = "xsd:string";
  result.append_child(pugi::node_pcdata).set_value(text.c_str());
  return written(document);
}

std::string writeSoapFault(const std::string& faultstring) {
  pugi::xml_document document;
  auto fault = startEnvelope(document).append_child("SOAP-ENV:Fault");
  fault.append_child("faultcode").append_child(pugi::node_pcdata).set_value("SOAP-ENV:Server");
  fault.append_child("faultstring").append_child(pugi::node_pcdata).set_value(faultstring.c_str());
  return written(document);
}

}  // namespace vornleads::sandbox
