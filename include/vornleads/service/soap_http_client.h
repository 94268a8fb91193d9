// The SOAP HTTP client object: the endpoint, the service-description settings and the
// receive time-out of one remote interface binding, and the call of one operation over it.
//
// invoke() returns the operation's string result. It raises SoapFault when the service
// answered with a SOAP fault (what() is the fault's own text, as the service wrote it) and
// VornError for everything else that keeps a result from arriving (connection refused,
// time-out, a refused server certificate, HTTP error, a reply too large, a reply that is not
// SOAP or cannot be read in its encoding or coding, a result that is not a string or refers to
// no element); those messages name the
// operation, the endpoint without any user or password it may carry, and the cause, e.g.
//   Falha ao chamar a operação BuscaLeads em http://host:8080/soap: conexão recusada
// Objects are shared through std::shared_ptr: whoever holds a reference keeps it alive, so a
// client handed to GetIVornLeadsVW is never freed under its owner. One thread at a time.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "vornleads/error.h"
#include "vornleads/service/http_transport.h"

namespace vornleads {

// The service answered with a SOAP fault.
class SoapFault : public VornError {
 public:
  SoapFault(const std::string& faultString, const std::string& faultCode)
      : VornError(faultString), faultCode_(faultCode) {}
  const std::string& faultCode() const { return faultCode_; }

 private:
  std::string faultCode_;
};

class SoapHttpClient {
 public:
  // A client on the libcurl transport.
  SoapHttpClient();
  // A client on the given transport (tests put a fake one here); never null.
  explicit SoapHttpClient(std::shared_ptr<HttpTransport> transport);

  SoapHttpClient(const SoapHttpClient&) = delete;
  SoapHttpClient& operator=(const SoapHttpClient&) = delete;

  const std::string& url() const { return url_; }
  void setUrl(const std::string& url) { url_ = url; }

  // Service-description mode. This edition records these settings but cannot resolve an
  // endpoint from a description document: calls need url().
  const std::string& wsdlLocation() const { return wsdlLocation_; }
  void setWsdlLocation(const std::string& location) { wsdlLocation_ = location; }
  const std::string& service() const { return service_; }
  void setService(const std::string& service) { service_ = service; }
  const std::string& port() const { return port_; }
  void setPort(const std::string& port) { port_ = port; }

  // HTTP receive time-out in milliseconds: the longest wait for the next bytes of the reply,
  // not a bound on the whole exchange; 0 (the default) waits without limit.
  int receiveTimeoutMs() const { return receiveTimeoutMs_; }
  void setReceiveTimeoutMs(int milliseconds) { receiveTimeoutMs_ = milliseconds; }

  // The largest reply kept, in bytes after decompression; a larger one fails the call. The
  // default is VORNLEADS_MAX_REPLY_BYTES when it holds a positive number, else
  // kDefaultMaxReplyBytes: the library edition's facades take it from there.
  std::size_t maxReplyBytes() const { return maxReplyBytes_; }
  void setMaxReplyBytes(std::size_t bytes) { maxReplyBytes_ = bytes; }

  // Calls one operation of a registered interface (see invocation_registry.h) with its single
  // string parameter "Parametros" and returns the result text.
  std::string invoke(const std::string& interfaceName, const std::string& operation,
                     const std::string& parametros);

 private:
  std::shared_ptr<HttpTransport> transport_;
  std::string url_;
  std::string wsdlLocation_;
  std::string service_;
  std::string port_;
  int receiveTimeoutMs_ = 0;
  std::size_t maxReplyBytes_;
};

// The address as it may appear in a message: "user:password@" removed from the authority.
std::string enderecoSemCredenciais(const std::string& url);

}  // namespace vornleads
