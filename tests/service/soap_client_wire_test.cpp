// What the SOAP client puts on the wire and what it makes of a well-formed reply.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "support/soap_test_server.h"
#include "vornleads/service/ivornleadsvw.h"

namespace vornleads {
namespace {

using test::SoapTestServer;

std::shared_ptr<IVornLeadsVWDLL> bound(const SoapTestServer& server) {
  return GetIVornLeadsVW(false, server.url(), std::make_shared<SoapHttpClient>());
}

TEST(SoapClientWire, RequestEnvelopeAndHeadersAreExact) {
  SoapTestServer server;
  server.answer(200, test::soapReply("BuscaLeadsStatus", "{\"ok\":1}"));

  EXPECT_EQ(bound(server)->BuscaLeadsStatus("{\"DN\":[\"123\"],\"Status\":1}"), "{\"ok\":1}");

  const auto request = server.lastRequest();
  EXPECT_EQ(request.path, "/soap/IVornLeadsVW");
  EXPECT_EQ(request.body,
            "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
            "<SOAP-ENV:Envelope xmlns:SOAP-ENV=\"http://schemas.xmlsoap.org/soap/envelope/\" "
            "xmlns:xsd=\"http://www.w3.org/2001/XMLSchema\" "
            "xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" "
            "xmlns:SOAP-ENC=\"http://schemas.xmlsoap.org/soap/encoding/\">"
            "<SOAP-ENV:Body SOAP-ENV:encodingStyle=\"http://schemas.xmlsoap.org/soap/encoding/\">"
            "<NS1:BuscaLeadsStatus xmlns:NS1=\"urn:VornLeadsVWIntf-IVornLeadsVW\">"
            "<Parametros xsi:type=\"xsd:string\">{\"DN\":[\"123\"],\"Status\":1}</Parametros>"
            "</NS1:BuscaLeadsStatus></SOAP-ENV:Body></SOAP-ENV:Envelope>");
  ASSERT_EQ(request.headers.count("SOAPAction"), 1u);
  EXPECT_EQ(request.headers.find("SOAPAction")->second,
            "\"urn:VornLeadsVWIntf-IVornLeadsVW#BuscaLeadsStatus\"");
  EXPECT_EQ(request.headers.find("Content-Type")->second, "text/xml; charset=utf-8");
  EXPECT_EQ(request.headers.count("Expect"), 0u);
}

TEST(SoapClientWire, EachOperationCarriesItsOwnNameAndAction) {
  SoapTestServer server;
  server.answer([](const httplib::Request& request, httplib::Response& response) {
    response.set_content(test::soapReply("X", request.get_header_value("SOAPAction")), "text/xml");
  });
  auto service = bound(server);
  const std::string action = "\"urn:VornLeadsVWIntf-IVornLeadsVW#";
  EXPECT_EQ(service->BuscaHistLeads("a"), action + "BuscaHistLeads\"");
  EXPECT_EQ(service->BuscaNovosLeads("a"), action + "BuscaNovosLeads\"");
  EXPECT_EQ(service->AtualizaLeads("a"), action + "AtualizaLeads\"");
  EXPECT_EQ(service->BuscaLeads("a"), action + "BuscaLeads\"");
  EXPECT_EQ(service->BuscaLeadsData("a"), action + "BuscaLeadsData\"");
  EXPECT_EQ(service->BuscaLeadsStatus("a"), action + "BuscaLeadsStatus\"");
  EXPECT_EQ(service->CarregaUltimaCargaInicial("a"), action + "CarregaUltimaCargaInicial\"");
  EXPECT_NE(server.lastRequest().body.find("<NS1:CarregaUltimaCargaInicial xmlns:NS1="),
            std::string::npos);
}

TEST(SoapClientWire, MarkupNonAsciiAndEmptyTextRoundTrip) {
  SoapTestServer server;
  server.answer([](const httplib::Request& request, httplib::Response& response) {
    response.set_content(test::soapReply("BuscaLeads", test::parametrosOf(request.body)),
                         "text/xml");
  });
  const std::string json =
      "{\"Nome\":\"João & Conceição <Ltda> \\\"ME\\\" 'x'\",\"Obs\":\"a]]>b\\r\\nç€😀\"}";

  EXPECT_EQ(bound(server)->BuscaLeads(json), json);
  EXPECT_NE(server.lastRequest().body.find(
                "<Parametros xsi:type=\"xsd:string\">{\"Nome\":\"João &amp; Conceição "
                "&lt;Ltda&gt; \\\"ME\\\" 'x'\",\"Obs\":\"a]]&gt;b\\r\\nç€😀\"}</Parametros>"),
            std::string::npos);
  // An empty request is an empty parameter, not a missing one.
  EXPECT_EQ(bound(server)->BuscaLeads(""), "");
  EXPECT_NE(server.lastRequest().body.find("<Parametros xsi:type=\"xsd:string\"></Parametros>"),
            std::string::npos);
}

TEST(SoapClientWire, SeveralMegabytesGoAndComeBackWhole) {
  SoapTestServer server;
  server.answer([](const httplib::Request& request, httplib::Response& response) {
    response.set_content(test::soapReply("AtualizaLeads", test::parametrosOf(request.body)),
                         "text/xml");
  });
  std::string json = "{\"Itens\":[";
  for (int item = 0; json.size() < 6 * 1024 * 1024; ++item) {
    json += (item ? ",\"" : "\"") + std::to_string(item) + " <&> ação\"";
  }
  json += "]}";

  const auto reply = bound(server)->AtualizaLeads(json);
  EXPECT_EQ(reply.size(), json.size());
  EXPECT_TRUE(reply == json);  // not EXPECT_EQ: a failure would print megabytes
}

}  // namespace
}  // namespace vornleads
