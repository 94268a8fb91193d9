#include "vornleads/service/soap_http_client.h"

#include <cstdlib>
#include <limits>
#include <utility>

#include "service/soap_envelope.h"
#include "vornleads/service/invocation_registry.h"

namespace vornleads {

std::string enderecoSemCredenciais(const std::string& url) {
  const auto scheme = url.find("://");
  const auto authorityStart = scheme == std::string::npos ? 0 : scheme + 3;
  const auto authorityEnd = url.find_first_of("/?#", authorityStart);
  const auto at = url.rfind('@', authorityEnd == std::string::npos ? url.size() : authorityEnd);
  if (at == std::string::npos || at < authorityStart) return url;
  return url.substr(0, authorityStart) + url.substr(at + 1);
}

namespace {

std::size_t maxReplyBytesFromEnvironment() {
  const char* text = std::getenv("VORNLEADS_MAX_REPLY_BYTES");
  if (text == nullptr || *text == '\0') return kDefaultMaxReplyBytes;
  char* end = nullptr;
  const unsigned long long bytes = std::strtoull(text, &end, 10);
  const bool valid = *end == '\0' && bytes > 0 && text[0] != '-' &&
                     bytes <= std::numeric_limits<std::size_t>::max();
  return valid ? static_cast<std::size_t>(bytes) : kDefaultMaxReplyBytes;
}

}  // namespace

SoapHttpClient::SoapHttpClient() : SoapHttpClient(makeCurlHttpTransport()) {}

SoapHttpClient::SoapHttpClient(std::shared_ptr<HttpTransport> transport)
    : transport_(std::move(transport)), maxReplyBytes_(maxReplyBytesFromEnvironment()) {}

std::string SoapHttpClient::invoke(const std::string& interfaceName, const std::string& operation,
                                   const std::string& parametros) {
  const std::string failing = "Falha ao chamar a operação " + operation;
  const auto registration = invRegistry().find(interfaceName);
  if (!registration) {
    throw VornError(failing + ": a interface " + interfaceName + " não está registrada");
  }
  if (url_.empty()) {
    throw VornError(failing + ": nenhum endereço do serviço foi definido" +
                    (wsdlLocation_.empty() ? ""
                                           : " (o endereço não é obtido da descrição WSDL "
                                             "nesta edição)"));
  }
  const std::string prefix = failing + " em " + enderecoSemCredenciais(url_) + ": ";

  const std::vector<std::string> headers = {
      "SOAPAction: \"" + InvRegistry::soapActionOf(*registration, operation) + "\"",
      "Content-Type: text/xml; charset=utf-8"};
  HttpResponse response;
  try {
    response = transport_->post(url_, headers,
                                soap::buildRequest(registration->nameSpace, operation, parametros),
                                receiveTimeoutMs_, maxReplyBytes_);
  } catch (const TransportError& error) {
    throw VornError(prefix + error.what());
  }

  const std::string httpError = "o servidor respondeu HTTP " + std::to_string(response.status);
  // A fault travels with HTTP 500; any other status other than 200 carries no result.
  if (response.status != 200 && response.status != 500) throw VornError(prefix + httpError);
  soap::Reply reply;
  try {
    reply = soap::parseReply(response.body, response.contentType);
  } catch (const soap::MalformedReply& error) {
    throw VornError(prefix + (response.status == 500 ? httpError : error.what()));
  }
  if (reply.fault) {
    if (reply.faultString.empty()) {
      throw SoapFault(prefix + "falha SOAP sem descrição (" + reply.faultCode + ")",
                      reply.faultCode);
    }
    throw SoapFault(reply.faultString, reply.faultCode);
  }
  if (response.status != 200) throw VornError(prefix + httpError);
  return reply.result;
}

}  // namespace vornleads
