// A deliberately small SOAP caller for the sandbox tests: it writes the envelope by hand, in
// the form the integration's client sends, so that the sandbox is checked against the wire
// form itself rather than against another part of this project.
#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <pugixml.hpp>
#include <string>

#include <httplib.h>
#include "support/sandbox_process.h"

namespace vornleads::test {

struct SoapExchange {
  bool transportFailed = false;  // no complete HTTP reply came back
  int status = 0;
  std::string contentType;
  std::string body;
};

// Escapes text for XML character data.
inline std::string xmlText(const std::string& text) {
  std::string escaped;
  for (char c : text) {
    switch (c) {
      case '&':
        escaped += "&amp;";
        break;
      case '<':
        escaped += "&lt;";
        break;
      case '>':
        escaped += "&gt;";
        break;
      default:
        escaped += c;
    }
  }
  return escaped;
}

inline std::string soapEnvelope(const std::string& operation, const std::string& parametros) {
  return "<?xml version=\"1.0\" encoding=\"utf-8\"?>"
         "<SOAP-ENV:Envelope xmlns:SOAP-ENV=\"http://schemas.xmlsoap.org/soap/envelope/\" "
         "xmlns:xsd=\"http://www.w3.org/2001/XMLSchema\" "
         "xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" "
         "xmlns:SOAP-ENC=\"http://schemas.xmlsoap.org/soap/encoding/\">"
         "<SOAP-ENV:Body SOAP-ENV:encodingStyle=\"http://schemas.xmlsoap.org/soap/encoding/\">"
         "<NS1:" +
         operation +
         " xmlns:NS1=\"urn:VornLeadsVWIntf-IVornLeadsVW\">"
         "<Parametros xsi:type=\"xsd:string\">" +
         xmlText(parametros) +
         "</Parametros>"
         "</NS1:" +
         operation + "></SOAP-ENV:Body></SOAP-ENV:Envelope>";
}

// POSTs a raw body to the SOAP endpoint with the given SOAPAction header and Content-Type.
inline SoapExchange postRaw(const SandboxProcess& sandbox, const std::string& soapAction,
                            const std::string& contentType, const std::string& body) {
  httplib::Client client(sandbox.baseUrl());
  client.set_read_timeout(std::chrono::seconds(30));
  const httplib::Headers headers = {{"SOAPAction", soapAction}};
  const std::string path = sandbox.url().substr(sandbox.baseUrl().size());
  const auto result = client.Post(path.c_str(), headers, body, contentType.c_str());
  SoapExchange exchange;
  if (!result) {
    exchange.transportFailed = true;
    return exchange;
  }
  exchange.status = result->status;
  exchange.contentType = result->get_header_value("Content-Type");
  exchange.body = result->body;
  return exchange;
}

// POSTs a UTF-8 body to the SOAP endpoint with the SOAPAction of `action`.
inline SoapExchange postSoap(const SandboxProcess& sandbox, const std::string& action,
                             const std::string& body) {
  return postRaw(sandbox, "\"urn:VornLeadsVWIntf-IVornLeadsVW#" + action + "\"",
                 "text/xml; charset=utf-8", body);
}

inline SoapExchange callSoap(const SandboxProcess& sandbox, const std::string& operation,
                             const std::string& parametros) {
  return postSoap(sandbox, operation, soapEnvelope(operation, parametros));
}

// The text of the reply's <return> element, or of <faultstring> for a fault; absent when the
// body is not XML.
inline std::optional<std::string> soapResult(const std::string& body) {
  pugi::xml_document document;
  if (!document.load_buffer(body.data(), body.size())) return std::nullopt;
  for (const char* query : {"//return", "//faultstring"}) {
    if (const auto node = document.select_node(query)) return node.node().text().get();
  }
  return std::string();
}

// The reply JSON of a successful call, as compact text; fails the test otherwise.
inline std::string replyOf(const SandboxProcess& sandbox, const std::string& operation,
                           const std::string& parametros) {
  const SoapExchange exchange = callSoap(sandbox, operation, parametros);
  EXPECT_FALSE(exchange.transportFailed);
  EXPECT_EQ(200, exchange.status) << exchange.body;
  return soapResult(exchange.body).value_or("<not XML>");
}

}  // namespace vornleads::test
