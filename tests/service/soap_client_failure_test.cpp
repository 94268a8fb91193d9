// How the SOAP client reports a call that brought no result: every message names the
// operation, the endpoint and the cause.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <string>
#include <thread>

#include "support/soap_test_server.h"
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

TEST(SoapClientFailure, ConnectionRefusedDroppedAndUnknownHost) {
  const auto refusing = test::refusingUrl();
  EXPECT_EQ(failureOf(refusing), failing(refusing) + "conexão recusada");

  test::DroppingServer dropping;
  EXPECT_EQ(failureOf(dropping.url()),
            failing(dropping.url()) + "a conexão foi encerrada antes da resposta completa");

  EXPECT_EQ(failureOf("http://nonexistent.invalid:8080/soap"),
            failing("http://nonexistent.invalid:8080/soap") + "servidor não encontrado");
}

TEST(SoapClientFailure, TheReceiveTimeOutBoundsEachWaitNotTheWholeReply) {
  SoapTestServer server;
  server.answer(200, test::soapReply("BuscaLeads", "{}"));
  server.holdAnswers();
  auto started = std::chrono::steady_clock::now();
  EXPECT_EQ(failureOf(server.url(), 300),
            failing(server.url()) + "sem resposta do serviço em 300 ms");
  const auto waited = std::chrono::steady_clock::now() - started;
  EXPECT_GE(waited, std::chrono::milliseconds(290));
  EXPECT_LT(waited, std::chrono::seconds(5));
  EXPECT_EQ(server.requestCount(), 1);
  server.release();

  // A reply that keeps coming in small pieces takes far longer in all than the time-out, and
  // still arrives whole.
  const std::string reply = test::soapReply("BuscaLeads", "{\"lento\":true}");
  server.answer([reply](const httplib::Request&, httplib::Response& response) {
    response.set_chunked_content_provider(
        "text/xml; charset=utf-8", [reply](size_t offset, httplib::DataSink& sink) {
          if (offset >= reply.size()) {
            sink.done();
            return true;
          }
          std::this_thread::sleep_for(std::chrono::milliseconds(100));
          return sink.write(reply.data() + offset, std::min<size_t>(reply.size() - offset, 40));
        });
  });
  auto client = std::make_shared<SoapHttpClient>();
  client->setReceiveTimeoutMs(300);
  started = std::chrono::steady_clock::now();
  EXPECT_EQ(GetIVornLeadsVW(false, server.url(), client)->BuscaLeads("{}"), "{\"lento\":true}");
  EXPECT_GT(std::chrono::steady_clock::now() - started, std::chrono::milliseconds(900));
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
