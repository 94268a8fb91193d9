#include "vornleads/service/ivornleadsvw.h"

#include <utility>

#include "vornleads/service/invocation_registry.h"

namespace vornleads {

const char* const kIVornLeadsVWInterface = "IVornLeadsVWDLL";
const char* const kIVornLeadsVWNamespace = "urn:VornLeadsVWIntf-IVornLeadsVW";
const char* const kIVornLeadsVWSoapAction = "urn:VornLeadsVWIntf-IVornLeadsVW#%operationName%";
const char* const kIVornLeadsVWDefaultURL = "http://localhost:5656/soap/IVornLeadsVW";
const char* const kIVornLeadsVWDefaultWSDL = "file:///build/vornleads/wsdl/IVornLeadsVW.wsdl";
const char* const kIVornLeadsVWService = "IVornLeadsVWservice";
const char* const kIVornLeadsVWPort = "IVornLeadsVWPort";

namespace {

// The interface as seen through one SOAP client: every operation is one remote call.
class IVornLeadsVWProxy : public IVornLeadsVWDLL {
 public:
  explicit IVornLeadsVWProxy(std::shared_ptr<SoapHttpClient> client) : client_(std::move(client)) {}

  std::string BuscaHistLeads(const std::string& Parametros) override {
    return call("BuscaHistLeads", Parametros);
  }
  std::string BuscaNovosLeads(const std::string& Parametros) override {
    return call("BuscaNovosLeads", Parametros);
  }
  std::string AtualizaLeads(const std::string& Parametros) override {
    return call("AtualizaLeads", Parametros);
  }
  std::string BuscaLeads(const std::string& Parametros) override {
    return call("BuscaLeads", Parametros);
  }
  std::string BuscaLeadsData(const std::string& Parametros) override {
    return call("BuscaLeadsData", Parametros);
  }
  std::string BuscaLeadsStatus(const std::string& Parametros) override {
    return call("BuscaLeadsStatus", Parametros);
  }
  std::string CarregaUltimaCargaInicial(const std::string& Parametros) override {
    return call("CarregaUltimaCargaInicial", Parametros);
  }

 private:
  std::string call(const char* operation, const std::string& parametros) {
    return client_->invoke(kIVornLeadsVWInterface, operation, parametros);
  }

  std::shared_ptr<SoapHttpClient> client_;
};

// Start-up registration; the object file is always linked in with GetIVornLeadsVW.
const bool registeredAtStartUp = (RegisterIVornLeadsVW(), true);

}  // namespace

void RegisterIVornLeadsVW() {
  InvokableRegistration registration;
  registration.interfaceName = kIVornLeadsVWInterface;
  registration.nameSpace = kIVornLeadsVWNamespace;
  registration.soapAction = kIVornLeadsVWSoapAction;
  invRegistry().RegisterInterface(std::move(registration));
}

std::shared_ptr<IVornLeadsVWDLL> GetIVornLeadsVW(bool UseWSDL, const std::string& Addr,
                                                 std::shared_ptr<SoapHttpClient> HTTPRIO) {
  std::string addr = Addr;
  if (addr.empty()) addr = UseWSDL ? kIVornLeadsVWDefaultWSDL : kIVornLeadsVWDefaultURL;
  auto client = HTTPRIO ? std::move(HTTPRIO) : std::make_shared<SoapHttpClient>();

  std::shared_ptr<IVornLeadsVWDLL> result;
  if (invRegistry().find(kIVornLeadsVWInterface))
    result = std::make_shared<IVornLeadsVWProxy>(client);
  if (UseWSDL) {
    client->setWsdlLocation(addr);
    client->setService(kIVornLeadsVWService);
    client->setPort(kIVornLeadsVWPort);
  } else {
    client->setUrl(addr);
  }
  return result;
}

}  // namespace vornleads
