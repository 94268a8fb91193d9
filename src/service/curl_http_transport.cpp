#include <curl/curl.h>

#include <cstdlib>
#include <memory>
#include <new>

#include "service/curl_idle_limit.h"
#include "vornleads/service/http_transport.h"

namespace vornleads {
namespace {

using EasyHandle = std::unique_ptr<CURL, decltype(&curl_easy_cleanup)>;
using HeaderList = std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)>;

// curl_global_init is not thread-safe; a function-local static runs it exactly once, before
// the first handle exists. It is never undone: other users in the process may rely on it.
void ensureCurlInitialised() {
  static const CURLcode initialised = curl_global_init(CURL_GLOBAL_DEFAULT);
  if (initialised != CURLE_OK) {
    throw TransportError(
        TransportError::Kind::Other,
        std::string("a biblioteca HTTP não pôde ser iniciada: ") + curl_easy_strerror(initialised));
  }
}

size_t appendBody(char* data, size_t size, size_t count, void* target) {
  try {
    static_cast<std::string*>(target)->append(data, size * count);
    return size * count;
  } catch (const std::bad_alloc&) {
    return 0;  // makes curl stop with CURLE_WRITE_ERROR; no exception may cross into C
  }
}

// VORNLEADS_CA_FILE, when set, names the PEM file of the authorities to trust instead of the
// system's.
const char* authorityFile() {
  const char* file = std::getenv("VORNLEADS_CA_FILE");
  return file != nullptr && *file != '\0' ? file : nullptr;
}

std::string detailOf(CURLcode code, const char* detail) {
  return detail && *detail ? detail : curl_easy_strerror(code);
}

TransportError failure(CURLcode code, const char* detail, int receiveTimeoutMs) {
  using Kind = TransportError::Kind;
  switch (code) {
    case CURLE_PEER_FAILED_VERIFICATION:
      return {Kind::CertificateRefused,
              "o certificado do servidor foi recusado: " + detailOf(code, detail)};
    case CURLE_SSL_CACERT_BADFILE:
      return {Kind::CertificateRefused,
              "o certificado do servidor foi recusado: as autoridades confiáveis não puderam ser "
              "lidas (" +
                  detailOf(code, detail) + ")"};
    case CURLE_SSL_CONNECT_ERROR:
      return {Kind::Other, "falha na negociação TLS: " + detailOf(code, detail)};
    case CURLE_COULDNT_CONNECT:
      return {Kind::ConnectionRefused, "conexão recusada"};
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_RESOLVE_PROXY:
      return {Kind::HostNotFound, "servidor não encontrado"};
    case CURLE_OPERATION_TIMEDOUT:
      return {Kind::TimedOut,
              "sem resposta do serviço em " + std::to_string(receiveTimeoutMs) + " ms"};
    case CURLE_GOT_NOTHING:
    case CURLE_RECV_ERROR:
    case CURLE_SEND_ERROR:
    case CURLE_PARTIAL_FILE:
      return {Kind::ConnectionDropped, "a conexão foi encerrada antes da resposta completa"};
    case CURLE_URL_MALFORMAT:
    case CURLE_UNSUPPORTED_PROTOCOL:
      return {Kind::InvalidAddress, "endereço inválido"};
    default:
      return {Kind::Other, "erro de comunicação: " + detailOf(code, detail)};
  }
}

class CurlHttpTransport : public HttpTransport {
 public:
  HttpResponse post(const std::string& url, const std::vector<std::string>& headers,
                    const std::string& body, int receiveTimeoutMs) override {
    ensureCurlInitialised();
    EasyHandle curl(curl_easy_init(), &curl_easy_cleanup);
    if (!curl) throw std::bad_alloc();

    HeaderList headerList(nullptr, &curl_slist_free_all);
    auto addHeader = [&headerList](const std::string& line) {
      curl_slist* extended = curl_slist_append(headerList.get(), line.c_str());
      if (!extended) throw std::bad_alloc();
      headerList.release();  // curl_slist_append returned the same list, now one longer
      headerList.reset(extended);
    };
    for (const auto& header : headers) addHeader(header);
    // Large bodies would otherwise wait for a "100 Continue" the server need not send.
    addHeader("Expect:");

    HttpResponse response;
    char errorBuffer[CURL_ERROR_SIZE] = "";
    CURL* handle = curl.get();
    curl_easy_setopt(handle, CURLOPT_URL, url.c_str());
    curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(handle, CURLOPT_POST, 1L);
    curl_easy_setopt(handle, CURLOPT_POSTFIELDS, body.data());
    curl_easy_setopt(handle, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
    curl_easy_setopt(handle, CURLOPT_HTTPHEADER, headerList.get());
    curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, &appendBody);
    curl_easy_setopt(handle, CURLOPT_WRITEDATA, &response.body);
    curl_easy_setopt(handle, CURLOPT_ERRORBUFFER, errorBuffer);
    // Verification is what libcurl does by default; it is spelt out because nothing here may
    // ever turn it off.
    curl_easy_setopt(handle, CURLOPT_SSL_VERIFYPEER, 1L);
    curl_easy_setopt(handle, CURLOPT_SSL_VERIFYHOST, 2L);
    if (const char* file = authorityFile()) curl_easy_setopt(handle, CURLOPT_CAINFO, file);

    const CURLcode result = performWithIdleLimit(handle, receiveTimeoutMs);
    if (result != CURLE_OK) throw failure(result, errorBuffer, receiveTimeoutMs);
    curl_easy_getinfo(handle, CURLINFO_RESPONSE_CODE, &response.status);
    const char* contentType = nullptr;
    curl_easy_getinfo(handle, CURLINFO_CONTENT_TYPE, &contentType);
    if (contentType != nullptr) response.contentType = contentType;
    return response;
  }
};

}  // namespace

std::shared_ptr<HttpTransport> makeCurlHttpTransport() {
  return std::make_shared<CurlHttpTransport>();
}

}  // namespace vornleads
