// How the SOAP client reports a call that brought no result: every message names the
// operation, the endpoint and the cause.
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>

#include "service/soap_test_server.h"
#include "vornleads/service/ivornleadsvw.h"

namespace vornleads {
namespace {

using test::SoapTestServer;

// The message of the error BuscaLeads raises at url, or a note that it raised none.
std::string failureOf(const std::string& url, int receiveTimeoutMs = 0) {
  auto client = std::make_shared<SoapHttpClient>();
  client->setReceiveTimeoutMs(receiveTimeoutMs);
  try {
    GetIVornLeadsVW(false, url, client)->BuscaLeads("{\"DN\":[1]}");
  } catch (const SoapFault& fault) {
    return "fault " + fault.faultCode() + ": " + fault.what();
  } catch (const VornError& error) {
    return error.what();
  }
  return "no error";
}

std::string failing(const std::string& url) {
  return "Falha ao chamar a operação BuscaLeads em " + url + ": ";
}

TEST(SoapClientFailure, RepliesThatAreNotSoap) {
  SoapTestServer server;
  server.answer(200, "{\"Status\":{\"Codigo\":0}}");
  EXPECT_EQ(failureOf(server.url()), failing(server.url()) + "a resposta não é um XML válido");

  server.answer(200, "");
  EXPECT_EQ(failureOf(server.url()), failing(server.url()) + "a resposta está vazia");

  server.answer(200, "<html><body>Service Unavailable</body></html>");
  EXPECT_EQ(failureOf(server.url()), failing(server.url()) + "a resposta não é um envelope SOAP");

  // The right local name in another namespace is not an envelope either.
  server.answer(200,
                "<x:Envelope xmlns:x=\"urn:other\"><x:Body><r><v>1</v></r></x:Body></x:Envelope>");
  EXPECT_EQ(failureOf(server.url()), failing(server.url()) + "a resposta não é um envelope SOAP");

  server.answer(200,
                "<S:Envelope xmlns:S=\"http://schemas.xmlsoap.org/soap/envelope/\"><S:Body>"
                "<BuscaLeadsResponse/></S:Body></S:Envelope>");
  EXPECT_EQ(failureOf(server.url()),
            failing(server.url()) + "a resposta SOAP não traz o resultado da operação");
}

TEST(SoapClientFailure, DoctypeIsRefusedAndEntitiesAreNeverExpanded) {
  SoapTestServer server;
  server.answer(
      200,
      "<?xml version=\"1.0\"?><!DOCTYPE S:Envelope [<!ENTITY x SYSTEM \"file:///etc/passwd\">]>"
      "<S:Envelope xmlns:S=\"http://schemas.xmlsoap.org/soap/envelope/\"><S:Body>"
      "<r><v>&x;</v></r></S:Body></S:Envelope>");
  EXPECT_EQ(failureOf(server.url()),
            failing(server.url()) + "a resposta traz uma declaração DOCTYPE, que não é aceita");
}

TEST(SoapClientFailure, FaultsCarryTheirOwnText) {
  SoapTestServer server;
  const std::string fault =
      "<SOAP-ENV:Envelope xmlns:SOAP-ENV=\"http://schemas.xmlsoap.org/soap/envelope/\">"
      "<SOAP-ENV:Body><SOAP-ENV:Fault><faultcode>SOAP-ENV:Server</faultcode>"
      "<faultstring>Access violation at address 0042 &amp; more</faultstring>"
      "</SOAP-ENV:Fault></SOAP-ENV:Body></SOAP-ENV:Envelope>";
  server.answer(500, fault);
  EXPECT_EQ(failureOf(server.url()),
            "fault SOAP-ENV:Server: Access violation at address 0042 & more");

  server.answer(500,
                "<SOAP-ENV:Envelope xmlns:SOAP-ENV=\"http://schemas.xmlsoap.org/soap/envelope/\">"
                "<SOAP-ENV:Body><SOAP-ENV:Fault><faultcode>SOAP-ENV:Server</faultcode>"
                "</SOAP-ENV:Fault></SOAP-ENV:Body></SOAP-ENV:Envelope>");
  EXPECT_EQ(failureOf(server.url()), "fault SOAP-ENV:Server: " + failing(server.url()) +
                                         "falha SOAP sem descrição (SOAP-ENV:Server)");
}

TEST(SoapClientFailure, HttpErrorsWithoutAFault) {
  SoapTestServer server;
  server.answer(500, "Internal Server Error");
  EXPECT_EQ(failureOf(server.url()), failing(server.url()) + "o servidor respondeu HTTP 500");

  // A well-formed reply with 500 but no fault is still an HTTP error.
  server.answer(500, test::soapReply("BuscaLeads", "{}"));
  EXPECT_EQ(failureOf(server.url()), failing(server.url()) + "o servidor respondeu HTTP 500");

  // A 404 is an error even when its body looks like a result.
  server.answer(404, test::soapReply("BuscaLeads", "{}"));
  EXPECT_EQ(failureOf(server.url()), failing(server.url()) + "o servidor respondeu HTTP 404");
}

TEST(SoapClientFailure, ConnectionRefusedDroppedAndUnknownHost) {
  const auto refusing = test::refusingUrl();
  EXPECT_EQ(failureOf(refusing), failing(refusing) + "conexão recusada");

  test::DroppingServer dropping;
  EXPECT_EQ(failureOf(dropping.url()),
            failing(dropping.url()) + "a conexão foi encerrada antes da resposta completa");

  EXPECT_EQ(failureOf("http://nonexistent.invalid:8080/soap"),
            failing("http://nonexistent.invalid:8080/soap") + "servidor não encontrado");
}

TEST(SoapClientFailure, SlowReplyPastTheReceiveTimeOut) {
  SoapTestServer server;
  server.answer(200, test::soapReply("BuscaLeads", "{}"));
  server.holdAnswers();

  const auto started = std::chrono::steady_clock::now();
  EXPECT_EQ(failureOf(server.url(), 300),
            failing(server.url()) + "sem resposta do serviço em 300 ms");
  const auto waited = std::chrono::steady_clock::now() - started;
  EXPECT_GE(waited, std::chrono::milliseconds(290));
  EXPECT_LT(waited, std::chrono::seconds(5));
  EXPECT_EQ(server.requestCount(), 1);
}

TEST(SoapClientFailure, CredentialsInTheAddressStayOutOfMessages) {
  const auto refusing = test::refusingUrl();  // http://127.0.0.1:PORT/soap/IVornLeadsVW
  const auto withUser = "http://operador:s3gr3d0@" + refusing.substr(7);
  const auto message = failureOf(withUser);
  EXPECT_EQ(message, failing(refusing) + "conexão recusada");
  EXPECT_EQ(message.find("s3gr3d0"), std::string::npos);

  EXPECT_EQ(enderecoSemCredenciais("https://u:p@host:1/a@b?c=@"), "https://host:1/a@b?c=@");
  EXPECT_EQ(enderecoSemCredenciais("http://host/a@b"), "http://host/a@b");
  EXPECT_EQ(enderecoSemCredenciais("u:p@host/x"), "host/x");
  EXPECT_EQ(enderecoSemCredenciais(""), "");
}

TEST(SoapClientFailure, NoAddressAtAll) {
  SoapHttpClient client;
  try {
    client.invoke("IVornLeadsVWDLL", "BuscaLeads", "{}");
    FAIL() << "a client without URL must not call";
  } catch (const VornError& error) {
    EXPECT_STREQ(error.what(),
                 "Falha ao chamar a operação BuscaLeads: nenhum endereço do serviço foi definido");
  }
}

}  // namespace
}  // namespace vornleads
