// Reading SOAP 1.1 envelopes with pugixml, the way both ends of the leads service read them:
// element names compared by local name and namespace (prefixes are the writer's choice), text
// gathered across character data and CDATA, and SOAP-encoded multi-references followed.
// Shared by the service client and the sandbox.
#pragma once

#include <pugixml.hpp>
#include <string>

namespace vornleads::soap {

extern const char* const kEnvelopeNamespace;  // http://schemas.xmlsoap.org/soap/envelope/
extern const char* const kEncodingNamespace;  // http://schemas.xmlsoap.org/soap/encoding/

std::string localName(pugi::xml_node node);
// The namespace URI bound to the element's prefix (or the default namespace), looked up
// through the element and its ancestors; empty when none is bound.
std::string namespaceOf(pugi::xml_node node);
pugi::xml_node firstElement(pugi::xml_node parent);
pugi::xml_node childNamed(pugi::xml_node parent, const std::string& local);
// All character data directly inside the element, text and CDATA sections together.
std::string textOf(pugi::xml_node element);

// What an element that should hold a string holds instead, as the document writes it: the
// value of an xsi:type that is no string type ("xsd:base64Binary", "SOAP-ENC:Array"),
// "xsi:nil=\"true\"", "SOAP-ENC:arrayType=..." for an array without a type, or "<child>" for an
// element with element content. Empty when the element holds a string: no type, or xsd:string
// or SOAP-ENC:string (a prefix bound to nothing is taken for the schema's own).
std::string nonStringContent(pugi::xml_node element);

// Parses a document already decoded to UTF-8 (see text/xml_charset.h). A document type
// declaration is reported through hasDoctype and never processed: no entity other than XML's
// own is ever expanded. A character reference to what XML admits as no character (&#0;,
// &#xD800;, &#x110000;), which the parser would turn into a cut or broken text, is reported
// through badReference.
struct ParsedXml {
  pugi::xml_parse_result result;
  bool hasDoctype = false;
  std::string badReference;  // the first such reference as written, or empty
};
ParsedXml parseUtf8(pugi::xml_document& document, const std::string& utf8);

// The Body entry that carries the call or its response: the first element of the Body that
// is not an independent multi-reference element (those carry an id attribute), else the
// first element.
pugi::xml_node bodyEntry(pugi::xml_node body);

// The element whose value an accessor stands for: the accessor itself, or, when it has
// href="#id", the element of the Body with that id (followed again if it refers on).
// An empty node when the reference leads to no element, or round in a circle.
pugi::xml_node dereference(pugi::xml_node accessor, pugi::xml_node body);

}  // namespace vornleads::soap
