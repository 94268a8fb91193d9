#include "service/soap_xml.h"

#include <cstring>
#include <utility>

namespace vornleads::soap {

const char* const kEnvelopeNamespace = "http://schemas.xmlsoap.org/soap/envelope/";
const char* const kEncodingNamespace = "http://schemas.xmlsoap.org/soap/encoding/";

namespace {

bool isXmlChar(unsigned long c) {
  return c == 0x9 || c == 0xA || c == 0xD || (c >= 0x20 && c <= 0xD7FF) ||
         (c >= 0xE000 && c <= 0xFFFD) || (c >= 0x10000 && c <= 0x10FFFF);
}

// The reference "&#...;" that starts at `at`, when it names no XML character; else empty.
std::string badReferenceAt(const std::string& text, std::size_t at) {
  const auto end = text.find(';', at);
  if (end == std::string::npos) return "";  // not a reference at all: the parser judges it
  const bool hex = text.compare(at, 3, "&#x") == 0;
  const std::size_t first = at + (hex ? 3 : 2);
  unsigned long value = 0;
  bool named = end > first;
  for (std::size_t i = first; named && i < end; ++i) {
    const char c = text[i];
    const int digit = c >= '0' && c <= '9'          ? c - '0'
                      : hex && c >= 'a' && c <= 'f' ? c - 'a' + 10
                      : hex && c >= 'A' && c <= 'F' ? c - 'A' + 10
                                                    : -1;
    value = value * (hex ? 16 : 10) + static_cast<unsigned long>(digit);
    named = digit >= 0 && value <= 0x10FFFF;
  }
  return named && isXmlChar(value) ? "" : text.substr(at, end - at + 1);
}

// The first bad character reference of the document, outside CDATA sections and comments.
std::string firstBadReference(const std::string& text) {
  for (std::size_t at = text.find_first_of("<&"); at != std::string::npos;
       at = text.find_first_of("<&", at + 1)) {
    for (const auto& [open, close] : {std::pair{"<![CDATA[", "]]>"}, std::pair{"<!--", "-->"}}) {
      if (text.compare(at, std::strlen(open), open) == 0) {
        at = text.find(close, at);
        if (at == std::string::npos) return "";
      }
    }
    if (text.compare(at, 2, "&#") == 0) {
      std::string bad = badReferenceAt(text, at);
      if (!bad.empty()) return bad;
    }
  }
  return "";
}

// The namespace URI bound to a prefix ("" for the default namespace) in the element's scope.
std::string namespaceOfPrefix(pugi::xml_node element, const std::string& prefix) {
  const std::string attribute = prefix.empty() ? "xmlns" : "xmlns:" + prefix;
  for (auto scope = element; scope && scope.type() == pugi::node_element; scope = scope.parent()) {
    if (auto declaration = scope.attribute(attribute.c_str())) return declaration.value();
  }
  return "";
}

std::string prefixOf(const std::string& qualifiedName) {
  const auto colon = qualifiedName.find(':');
  return colon == std::string::npos ? "" : qualifiedName.substr(0, colon);
}

std::string localOf(const std::string& qualifiedName) {
  return qualifiedName.substr(qualifiedName.find(':') + 1);
}

bool isSchemaNamespace(const std::string& uri, const char* suffix) {
  for (const char* year : {"2001", "1999", "2000/10"}) {
    if (uri == std::string("http://www.w3.org/") + year + "/XMLSchema" + suffix) return true;
  }
  return false;
}

// The attribute of the element with this local name in the given namespace; a prefix bound to
// nothing counts as that namespace when it is the conventional one.
pugi::xml_attribute attributeIn(pugi::xml_node element, const std::string& local,
                                bool (*inNamespace)(const std::string&),
                                const char* conventionalPrefix) {
  for (auto attribute : element.attributes()) {
    const std::string name = attribute.name();
    const std::string prefix = prefixOf(name);
    if (prefix.empty() || localOf(name) != local) continue;
    const std::string uri = namespaceOfPrefix(element, prefix);
    if (inNamespace(uri) || (uri.empty() && prefix == conventionalPrefix)) return attribute;
  }
  return {};
}

bool isSchemaInstance(const std::string& uri) { return isSchemaNamespace(uri, "-instance"); }
bool isEncoding(const std::string& uri) { return uri == kEncodingNamespace; }

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
  return namespaceOfPrefix(node, prefixOf(node.name()));
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

std::string nonStringContent(pugi::xml_node element) {
  const auto nil = attributeIn(element, "nil", isSchemaInstance, "xsi");
  if (nil && (std::strcmp(nil.value(), "true") == 0 || std::strcmp(nil.value(), "1") == 0)) {
    return std::string(nil.name()) + "=\"" + nil.value() + "\"";
  }
  if (const auto type = attributeIn(element, "type", isSchemaInstance, "xsi")) {
    const std::string written = type.value();
    const std::string uri = namespaceOfPrefix(element, prefixOf(written));
    const bool stringType = localOf(written) == "string" &&
                            (uri.empty() || isSchemaNamespace(uri, "") || isEncoding(uri));
    return stringType ? "" : written;
  }
  if (const auto arrayType = attributeIn(element, "arrayType", isEncoding, "SOAP-ENC")) {
    return std::string(arrayType.name()) + "=\"" + arrayType.value() + "\"";
  }
  if (const auto child = firstElement(element)) return "<" + std::string(child.name()) + ">";
  return "";
}

ParsedXml parseUtf8(pugi::xml_document& document, const std::string& utf8) {
  ParsedXml parsed;
  parsed.result = document.load_buffer(
      utf8.data(), utf8.size(), pugi::parse_default | pugi::parse_doctype, pugi::encoding_utf8);
  for (auto node : document.children()) {
    if (node.type() == pugi::node_doctype) parsed.hasDoctype = true;
  }
  if (parsed.result) parsed.badReference = firstBadReference(utf8);
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
