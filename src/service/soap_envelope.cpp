#include "service/soap_envelope.h"

#include <pugixml.hpp>
#include <sstream>

#include "service/soap_xml.h"
#include "text/xml_charset.h"

namespace vornleads::soap {

std::string buildRequest(const std::string& nameSpace, const std::string& operation,
                         const std::string& parametros) {
  pugi::xml_document document;
  auto envelope = document.append_child("SOAP-ENV:Envelope");
  envelope.append_attribute("xmlns:SOAP-ENV") = kEnvelopeNamespace;
  envelope.append_attribute("xmlns:xsd") = "http://www.w3.org/2001/XMLSchema";
  envelope.append_attribute("xmlns:xsi") = "http://www.w3.org/2001/XMLSchema-instance";
  envelope.append_attribute("xmlns:SOAP-ENC") = kEncodingNamespace;
  auto body = envelope.append_child("SOAP-ENV:Body");
  body.append_attribute("SOAP-ENV:encodingStyle") = kEncodingNamespace;
  auto call = body.append_child(("NS1:" + operation).c_str());
  call.append_attribute("xmlns:NS1") = nameSpace.c_str();
  auto parameter = call.append_child("Parametros");
  parameter.append_attribute("xsi:type") = "xsd:string";
  if (!parametros.empty()) parameter.append_child(pugi::node_pcdata).set_value(parametros.c_str());

  std::ostringstream out;
  out << "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";
  document.save(out, "",
                pugi::format_raw | pugi::format_no_declaration | pugi::format_no_empty_element_tags,
                pugi::encoding_utf8);
  return out.str();
}

Reply parseReply(const std::string& body, const std::string& contentType) {
  if (body.empty()) throw MalformedReply("a resposta está vazia");
  std::string text;
  try {
    text = xml::decodeDocument(body, contentType);
  } catch (const xml::CharsetError& error) {
    throw MalformedReply(std::string("a resposta não pôde ser lida: ") + error.what());
  }
  pugi::xml_document document;
  const auto parsed = parseUtf8(document, text);
  if (!parsed.result) throw MalformedReply("a resposta não é um XML válido");
  if (parsed.hasDoctype) {
    throw MalformedReply("a resposta traz uma declaração DOCTYPE, que não é aceita");
  }
  if (!parsed.badReference.empty()) {
    throw MalformedReply("a resposta traz a referência " + parsed.badReference +
                         ", que não é um caractere admitido pelo XML");
  }

  const auto envelope = document.document_element();
  const auto soapBody = childNamed(envelope, "Body");
  if (localName(envelope) != "Envelope" || namespaceOf(envelope) != kEnvelopeNamespace ||
      !soapBody) {
    throw MalformedReply("a resposta não é um envelope SOAP");
  }

  const auto response = bodyEntry(soapBody);
  Reply reply;
  if (response && localName(response) == "Fault" && namespaceOf(response) == kEnvelopeNamespace) {
    reply.fault = true;
    reply.faultCode = textOf(childNamed(response, "faultcode"));
    reply.faultString = textOf(childNamed(response, "faultstring"));
    return reply;
  }
  const auto accessor = firstElement(response);
  if (!accessor) throw MalformedReply("a resposta SOAP não traz o resultado da operação");
  const auto result = dereference(accessor, soapBody);
  if (!result) {
    throw MalformedReply("o resultado da resposta SOAP remete a \"" +
                         std::string(accessor.attribute("href").value()) +
                         "\", que não leva a um elemento da resposta");
  }
  const std::string found = nonStringContent(result);
  if (!found.empty()) {
    throw MalformedReply("o resultado não é um texto (tipo encontrado: " + found + ")");
  }
  reply.result = textOf(result);
  return reply;
}

}  // namespace vornleads::soap
