// IVornLeadsVWDLL: the remote leads service, seven operations that each take one JSON text
// (UTF-8) and return one JSON text, and GetIVornLeadsVW, which binds it to an endpoint through a
// SOAP HTTP client.
//
// An operation returns the service's reply unchanged (the JSON is opaque here). Transport
// failures, HTTP errors, replies that are not SOAP and SOAP faults are raised to the caller as
// VornError (a fault as SoapFault, see soap_http_client.h); nothing is caught here.
// The interface registers with the invocation registry when the program starts.
#pragma once

#include <memory>
#include <string>

#include "vornleads/service/soap_http_client.h"

namespace vornleads {

class IVornLeadsVWDLL {
 public:
  virtual ~IVornLeadsVWDLL() = default;

  // In slot order.
  virtual std::string BuscaHistLeads(const std::string& Parametros) = 0;
  virtual std::string BuscaNovosLeads(const std::string& Parametros) = 0;
  virtual std::string AtualizaLeads(const std::string& Parametros) = 0;
  virtual std::string BuscaLeads(const std::string& Parametros) = 0;
  virtual std::string BuscaLeadsData(const std::string& Parametros) = 0;
  virtual std::string BuscaLeadsStatus(const std::string& Parametros) = 0;
  virtual std::string CarregaUltimaCargaInicial(const std::string& Parametros) = 0;
};

// The registration of IVornLeadsVWDLL with the invocation registry.
extern const char* const kIVornLeadsVWInterface;   // "IVornLeadsVWDLL", the registry key
extern const char* const kIVornLeadsVWNamespace;   // "urn:VornLeadsVWIntf-IVornLeadsVW"
extern const char* const kIVornLeadsVWSoapAction;  // namespace + "#%operationName%"

// Endpoints used when GetIVornLeadsVW gets an empty address.
extern const char* const kIVornLeadsVWDefaultURL;   // http://localhost:5656/soap/IVornLeadsVW
extern const char* const kIVornLeadsVWDefaultWSDL;  // a build-machine file, not usable at run time
extern const char* const kIVornLeadsVWService;      // "IVornLeadsVWservice"
extern const char* const kIVornLeadsVWPort;         // "IVornLeadsVWPort"

// Binds the interface. An empty Addr takes the WSDL default when UseWSDL is set, else the URL
// default. The given HTTPRIO is used (a fresh client on the libcurl transport when null): in
// WSDL mode its WSDL location becomes Addr with the service and port names above, otherwise
// its URL becomes Addr. The result shares the client; the caller's own reference stays valid.
// The result is null when the interface is not registered; the client is still configured,
// a given one stays with its owner and one created here is released.
std::shared_ptr<IVornLeadsVWDLL> GetIVornLeadsVW(bool UseWSDL = false, const std::string& Addr = "",
                                                 std::shared_ptr<SoapHttpClient> HTTPRIO = nullptr);

// Registers IVornLeadsVWDLL (again); the program's start-up does this once by itself.
void RegisterIVornLeadsVW();

}  // namespace vornleads
