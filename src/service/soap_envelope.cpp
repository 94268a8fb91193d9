#include "service/soap_envelope.h"

#include <cstring>
#include <pugixml.hpp>
#include <sstream>

namespace vornleads::soap {

const char* const kEnvelopeNamespace = "http://schemas.xmlsoap.org/soap/envelope/";

namespace {

const char* const kEncodingNamespace = "http://schemas.xmlsoap.org/soap/encoding/";

std::string localName(pugi::xml_node node) {
  const char* name = node.name();
  const char* colon = std::strchr(name, ':');
  return colon ? colon + 1 : name;
}

// The namespace URI bound to the element's prefix, looked up through the element and its
// ancestors as XML namespaces require.
std::string namespaceOf(pugi::xml_node node) {
  const std::string name = node.name();
  const auto colon = name.find(':');
  const std::string attribute =
      colon == std::string::npos ? "xmlns" : "xmlns:" + name.substr(0, colon);
  for (auto scope = node; scope && scope.type() == pugi::node_element; scope = scope.parent()) {
    if (auto declaration = scope.attribute(attribute.c_str())) return declaration.value();
  }
  return "";
}

pugi::xml_node firstElement(pugi::xml_node parent) {
  for (auto child : parent.children()) {
    if (child.type() == pugi::node_element) return child;
  }
  return {};
}

pugi::xml_node childNamed(pugi::xml_node parent, const std::string& local) {
  for (auto child : parent.children()) {
    if (child.type() == pugi::node_element && localName(child) == local) return child;
  }
  return {};
}

// All character data directly inside the element; a result may arrive split into text and
// CDATA sections.
std::string textOf(pugi::xml_node element) {
  std::string text;
  for (auto child : element.children()) {
    if (child.type() == pugi::node_pcdata || child.type() == pugi::node_cdata)
      text += child.value();
  }
  return text;
}

}  // namespace

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

Reply parseReply(const std::string& body) {
  if (body.empty()) throw MalformedReply("a resposta está vazia");
  pugi::xml_document document;
  const auto parsed =
      document.load_buffer(body.data(), body.size(), pugi::parse_default | pugi::parse_doctype);
  if (!parsed) throw MalformedReply("a resposta não é um XML válido");
  for (auto node : document.children()) {
    if (node.type() == pugi::node_doctype) {
      throw MalformedReply("a resposta traz uma declaração DOCTYPE, que não é aceita");
    }
  }

  const auto envelope = document.document_element();
  const auto soapBody = childNamed(envelope, "Body");
  if (localName(envelope) != "Envelope" || namespaceOf(envelope) != kEnvelopeNamespace ||
      !soapBody) {
    throw MalformedReply("a resposta não é um envelope SOAP");
  }

  const auto response = firstElement(soapBody);
  Reply reply;
  if (response && localName(response) == "Fault" && namespaceOf(response) == kEnvelopeNamespace) {
    reply.fault = true;
    reply.faultCode = textOf(childNamed(response, "faultcode"));
    reply.faultString = textOf(childNamed(response, "faultstring"));
    return reply;
  }
  const auto result = firstElement(response);
  if (!result) throw MalformedReply("a resposta SOAP não traz o resultado da operação");
  reply.result = textOf(result);
  return reply;
}

}  // namespace vornleads::soap
