// Binding the leads-service interface to an endpoint, and its registration.
#include "vornleads/service/ivornleadsvw.h"

#include <gtest/gtest.h>

#include <memory>

#include "support/soap_test_server.h"
#include "vornleads/service/invocation_registry.h"

namespace vornleads {
namespace {

TEST(IVornLeadsVWRegistration, RegisteredAtStartUpWithNamespaceAndAction) {
  const auto registration = invRegistry().find("IVornLeadsVWDLL");
  ASSERT_TRUE(registration.has_value());
  EXPECT_EQ(registration->nameSpace, "urn:VornLeadsVWIntf-IVornLeadsVW");
  EXPECT_EQ(registration->soapAction, "urn:VornLeadsVWIntf-IVornLeadsVW#%operationName%");
  EXPECT_EQ(registration->wsdlEncoding, "");
  EXPECT_EQ(registration->documentation, "");
  EXPECT_EQ(registration->externalName, "");
  EXPECT_EQ(InvRegistry::soapActionOf(*registration, "AtualizaLeads"),
            "urn:VornLeadsVWIntf-IVornLeadsVW#AtualizaLeads");

  InvokableRegistration twice{"X", "urn:x", "", "", "", "%operationName%/%operationName%"};
  EXPECT_EQ(InvRegistry::soapActionOf(twice, "Op"), "Op/Op");
  EXPECT_FALSE(invRegistry().find("IOutraInterface").has_value());
}

TEST(GetIVornLeadsVW, EmptyAddressTakesTheDefaults) {
  auto client = std::make_shared<SoapHttpClient>();
  ASSERT_NE(GetIVornLeadsVW(false, "", client), nullptr);
  EXPECT_EQ(client->url(), "http://localhost:5656/soap/IVornLeadsVW");
  EXPECT_EQ(client->wsdlLocation(), "");

  auto described = std::make_shared<SoapHttpClient>();
  ASSERT_NE(GetIVornLeadsVW(true, "", described), nullptr);
  EXPECT_EQ(described->url(), "");
  EXPECT_EQ(described->wsdlLocation(), kIVornLeadsVWDefaultWSDL);
  EXPECT_EQ(described->service(), "IVornLeadsVWservice");
  EXPECT_EQ(described->port(), "IVornLeadsVWPort");

  // The description document is not read in this edition: the call says so instead of
  // guessing an endpoint.
  try {
    GetIVornLeadsVW(true, "http://h/IVornLeadsVW.wsdl", described)->BuscaLeads("{}");
    FAIL() << "WSDL mode has no URL to call";
  } catch (const VornError& error) {
    EXPECT_STREQ(error.what(),
                 "Falha ao chamar a operação BuscaLeads: nenhum endereço do serviço foi definido "
                 "(o endereço não é obtido da descrição WSDL nesta edição)");
  }
  EXPECT_EQ(described->wsdlLocation(), "http://h/IVornLeadsVW.wsdl");
}

TEST(GetIVornLeadsVW, TheCallersClientOutlivesTheInterface) {
  test::SoapTestServer server;
  server.answer(200, test::soapReply("BuscaLeads", "{\"n\":1}"));
  auto client = std::make_shared<SoapHttpClient>();
  client->setReceiveTimeoutMs(5000);
  {
    auto service = GetIVornLeadsVW(false, server.url(), client);
    EXPECT_EQ(client->url(), server.url());
    EXPECT_EQ(service->BuscaLeads("{}"), "{\"n\":1}");
  }
  // The interface is gone; the client is the caller's and still works with its settings.
  EXPECT_EQ(client.use_count(), 1);
  EXPECT_EQ(client->receiveTimeoutMs(), 5000);
  EXPECT_EQ(client->invoke("IVornLeadsVWDLL", "BuscaLeads", "{}"), "{\"n\":1}");
  EXPECT_EQ(server.requestCount(), 2);
}

TEST(GetIVornLeadsVW, UnregisteredInterfaceGivesNothingAndLeavesTheClient) {
  auto client = std::make_shared<SoapHttpClient>();
  invRegistry().UnRegisterInterface("IVornLeadsVWDLL");
  const auto service = GetIVornLeadsVW(false, "http://127.0.0.1:1/x", client);
  std::string failure;
  try {
    client->invoke("IVornLeadsVWDLL", "BuscaLeads", "{}");
  } catch (const VornError& error) {
    failure = error.what();
  }
  RegisterIVornLeadsVW();

  EXPECT_EQ(service, nullptr);
  EXPECT_EQ(client.use_count(), 1);
  EXPECT_EQ(client->url(), "http://127.0.0.1:1/x");
  EXPECT_EQ(
      failure,
      "Falha ao chamar a operação BuscaLeads: a interface IVornLeadsVWDLL não está registrada");
  EXPECT_NE(GetIVornLeadsVW(false, "", client), nullptr);
}

}  // namespace
}  // namespace vornleads
