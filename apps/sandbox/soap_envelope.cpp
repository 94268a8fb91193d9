#include "soap_envelope.h"

#include <cstring>
#include <pugixml.hpp>
#include <sstream>

namespace vornleads::sandbox {
namespace {

const char* localName(const pugi::xml_node& node) {
  const char* name = node.name();
  const char* colon = std::strrchr(name, ':');
  return colon ? colon + 1 : name;
}

pugi::xml_node childNamed(const pugi::xml_node& parent, const char* local) {
  for (auto child = parent.first_child(); child; child = child.next_sibling()) {
    if (child.type() == pugi::node_element && std::strcmp(localName(child), local) == 0) {
      return child;
    }
  }
  return {};
}

pugi::xml_node firstElement(const pugi::xml_node& parent) {
  for (auto child = parent.first_child(); child; child = child.next_sibling()) {
    if (child.type() == pugi::node_element) return child;
  }
  return {};
}

// The text may come in several pieces (character data beside CDATA sections).
std::string textOf(const pugi::xml_node& element) {
  std::string text;
  for (auto child = element.first_child(); child; child = child.next_sibling()) {
    if (child.type() == pugi::node_pcdata || child.type() == pugi::node_cdata) {
      text += child.value();
    }
  }
  return text;
}

std::string operationOfAction(std::string action) {
  if (action.size() >= 2 && action.front() == '"' && action.back() == '"') {
    action = action.substr(1, action.size() - 2);
  }
  const auto hash = action.rfind('#');
  return hash == std::string::npos ? std::string() : action.substr(hash + 1);
}

// An envelope with the namespaces of the service's replies and an empty body.
pugi::xml_node startEnvelope(pugi::xml_document& document) {
  auto declaration = document.append_child(pugi::node_declaration);
  declaration.append_attribute("version") = "1.0";
  declaration.append_attribute("encoding") = "utf-8";
  auto envelope = document.append_child("SOAP-ENV:Envelope");
  envelope.append_attribute("xmlns:SOAP-ENV") = "http://schemas.xmlsoap.org/soap/envelope/";
  envelope.append_attribute("xmlns:xsd") = "http://www.w3.org/2001/XMLSchema";
  envelope.append_attribute("xmlns:xsi") = "http://www.w3.org/2001/XMLSchema-instance";
  envelope.append_attribute("xmlns:SOAP-ENC") = "http://schemas.xmlsoap.org/soap/encoding/";
  return envelope.append_child("SOAP-ENV:Body");
}

std::string written(const pugi::xml_document& document) {
  std::ostringstream out;
  document.save(out, "", pugi::format_raw, pugi::encoding_utf8);
  return out.str();
}

}  // namespace

SoapCall readSoapCall(const std::string& body, const std::string& soapAction) {
  pugi::xml_document document;
  const auto parsed =
      document.load_buffer(body.data(), body.size(), pugi::parse_default, pugi::encoding_utf8);
  if (!parsed) {
    throw NotSoapError(std::string("the request is not XML: ") + parsed.description() +
                       " at offset " + std::to_string(parsed.offset));
  }
  const auto envelope = firstElement(document);
  if (std::strcmp(localName(envelope), "Envelope") != 0) {
    throw NotSoapError("the request is not a SOAP envelope (root element <" +
                       std::string(envelope.name()) + ">)");
  }
  const auto soapBody = childNamed(envelope, "Body");
  if (!soapBody) throw NotSoapError("the SOAP envelope has no Body");

  SoapCall call;
  const auto operation = firstElement(soapBody);
  call.operation = operation ? localName(operation) : operationOfAction(soapAction);
  if (call.operation.empty()) throw NotSoapError("the SOAP request names no operation");
  if (operation) {
    auto parametros = childNamed(operation, "Parametros");
    if (!parametros) parametros = firstElement(operation);
    if (parametros) call.parametros = textOf(parametros);
  }
  return call;
}

std::string writeSoapReply(const std::string& operation, const std::string& text) {
  pugi::xml_document document;
  auto body = startEnvelope(document);
  body.append_attribute("SOAP-ENV:encodingStyle") = "http://schemas.xmlsoap.org/soap/encoding/";
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
