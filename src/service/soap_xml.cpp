#include "service/soap_xml.h"

#include <cstring>

namespace vornleads::soap {

const char* const kEnvelopeNamespace = "http://schemas.xmlsoap.org/soap/envelope/";
const char* const kEncodingNamespace = "http://schemas.xmlsoap.org/soap/encoding/";

namespace {

pugi::xml_node elementWithId(pugi::xml_node body, const std::string& id) {
  return body.find_node([&id](pugi::xml_node node) {
    return node.type() == pugi::node_element && id == node.attribute("id").value();
  });
}

}  // namespace

std::string localName(pugi::xml_node node) {
  const char* name = node.name();
  const char* colon = std::strchr(name, ':');
  return colon ? colon + 1 : name;
}

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

std::string textOf(pugi::xml_node element) {
  std::string text;
  for (auto child : element.children()) {
    if (child.type() == pugi::node_pcdata || child.type() == pugi::node_cdata)
      text += child.value();
  }
  return text;
}

ParsedXml parseUtf8(pugi::xml_document& document, const std::string& utf8) {
  ParsedXml parsed;
  parsed.result = document.load_buffer(
      utf8.data(), utf8.size(), pugi::parse_default | pugi::parse_doctype, pugi::encoding_utf8);
  for (auto node : document.children()) {
    if (node.type() == pugi::node_doctype) parsed.hasDoctype = true;
  }
  return parsed;
}

pugi::xml_node bodyEntry(pugi::xml_node body) {
  for (auto child : body.children()) {
    if (child.type() == pugi::node_element && !child.attribute("id")) return child;
  }
  // A writer that marks every entry with an id still puts the call or response first.
  return firstElement(body);
}

pugi::xml_node dereference(pugi::xml_node accessor, pugi::xml_node body) {
  // Writers refer to a value in one step; a chain longer than this is taken for a circle.
  constexpr int kLongestChain = 16;
  auto node = accessor;
  for (int step = 0; step <= kLongestChain && node; ++step) {
    const std::string href = node.attribute("href").value();
    if (href.empty()) return node;
    if (href[0] != '#') return {};
    node = elementWithId(body, href.substr(1));
  }
  return {};
}

}  // namespace vornleads::soap
