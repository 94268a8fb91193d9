#include <curl/curl.h>

#include <cstdlib>
#include <memory>
#include <new>

#include "service/curl_idle_limit.h"
#include "service/proxy_choice.h"
#include "vornleads/service/http_transport.h"
#include "vornleads/service/soap_http_client.h"

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

// The reply body as it arrives (decoded when compressed), never past the limit.
struct BoundedBody {
  std::string& body;
  std::size_t limit;
  bool exceeded = false;

  static size_t append(char* data, size_t size, size_t count, void* self) {
    auto& sink = *static_cast<BoundedBody*>(self);
    const size_t length = size * count;
    if (length > sink.limit - sink.body.size()) {
      sink.exceeded = true;
      return 0;  // makes curl stop with CURLE_WRITE_ERROR: nothing more is read
    }
    try {
      sink.body.append(data, length);
      return length;
    } catch (const std::bad_alloc&) {
      return 0;  // no exception may cross into C
    }
  }
};

// VORNLEADS_CA_FILE, when set, names the PEM file of the only authorities to trust.
const char* authorityFile() {
  const char* file = std::getenv("VORNLEADS_CA_FILE");
  return file != nullptr && *file != '\0' ? file : nullptr;
}

std::string detailOf(CURLcode code, const char* detail) {
  return detail && *detail ? detail : curl_easy_strerror(code);
}

// The Content-Encoding of the reply, or empty.
std::string contentEncoding(CURL* handle) {
  curl_header* header = nullptr;
  if (curl_easy_header(handle, "Content-Encoding", 0, CURLH_HEADER, -1, &header) != CURLHE_OK) {
    return "";
  }
  return header->value;
}

struct Exchange {
  CURL* handle;
  const char* detail;  // curl's error buffer
  int receiveTimeoutMs;
  std::string proxy;  // the proxy in use, without credentials; empty when none
  const BoundedBody& body;
};

TransportError failure(CURLcode code, const Exchange& exchange) {
  using Kind = TransportError::Kind;
  const std::string detail = detailOf(code, exchange.detail);
  if (exchange.body.exceeded || code == CURLE_FILESIZE_EXCEEDED) {
    return {Kind::ReplyTooLarge, "a resposta passou do limite de " +
                                     std::to_string(exchange.body.limit) +
                                     " bytes (max-reply-bytes)"};
  }
  if (!exchange.proxy.empty()) {
    switch (code) {
      case CURLE_COULDNT_RESOLVE_PROXY:
        return {Kind::ProxyFailed, "o proxy " + exchange.proxy + " não foi encontrado"};
      case CURLE_COULDNT_CONNECT:
        return {Kind::ProxyFailed, "o proxy " + exchange.proxy + " recusou a conexão"};
      case CURLE_PROXY:
        return {Kind::ProxyFailed, "falha no proxy " + exchange.proxy + ": " + detail};
      default:
        break;
    }
  }
  switch (code) {
    case CURLE_PEER_FAILED_VERIFICATION:
      return {Kind::CertificateRefused, "o certificado do servidor foi recusado: " + detail};
    case CURLE_SSL_CACERT_BADFILE:
      return {Kind::CertificateRefused,
              "o certificado do servidor foi recusado: as autoridades confiáveis não puderam ser "
              "lidas (" +
                  detail + ")"};
    case CURLE_SSL_CONNECT_ERROR:
      return {Kind::Other, "falha na negociação TLS: " + detail};
    case CURLE_COULDNT_CONNECT:
      return {Kind::ConnectionRefused, "conexão recusada"};
    case CURLE_COULDNT_RESOLVE_HOST:
      return {Kind::HostNotFound, "servidor não encontrado"};
    case CURLE_OPERATION_TIMEDOUT:
      return {Kind::TimedOut,
              "sem resposta do serviço em " + std::to_string(exchange.receiveTimeoutMs) + " ms"};
    case CURLE_BAD_CONTENT_ENCODING:
      return {Kind::UnreadableCoding, "a resposta veio com a codificação de conteúdo \"" +
                                          contentEncoding(exchange.handle) +
                                          "\", que não pôde ser lida (" + detail + ")"};
    case CURLE_GOT_NOTHING:
    case CURLE_RECV_ERROR:
    case CURLE_SEND_ERROR:
    case CURLE_PARTIAL_FILE:
      return {Kind::ConnectionDropped, "a conexão foi encerrada antes da resposta completa"};
    case CURLE_URL_MALFORMAT:
    case CURLE_UNSUPPORTED_PROTOCOL:
      return {Kind::InvalidAddress, "endereço inválido"};
    default:
      return {Kind::Other, "erro de comunicação: " + detail};
  }
}

class CurlHttpTransport : public HttpTransport {
 public:
  HttpResponse post(const std::string& url, const std::vector<std::string>& headers,
                    const std::string& body, int receiveTimeoutMs,
                    std::size_t maxReplyBytes) override {
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
    BoundedBody reply{response.body, maxReplyBytes};
    char errorBuffer[CURL_ERROR_SIZE] = "";
    // The proxy is chosen here and handed to curl, so that a failure knows whether it was the
    // proxy that failed; curl then looks at no_proxy no more.
    const std::string proxy = proxyFor(url);
    CURL* handle = curl.get();
    curl_easy_setopt(handle, CURLOPT_URL, url.c_str());
    curl_easy_setopt(handle, CURLOPT_PROXY, proxy.c_str());
    curl_easy_setopt(handle, CURLOPT_NOPROXY, "");
    curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(handle, CURLOPT_POST, 1L);
    curl_easy_setopt(handle, CURLOPT_POSTFIELDS, body.data());
    curl_easy_setopt(handle, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
    curl_easy_setopt(handle, CURLOPT_HTTPHEADER, headerList.get());
    // Without Accept-Encoding a server may send any coding; with it, libcurl decodes these.
    curl_easy_setopt(handle, CURLOPT_ACCEPT_ENCODING, "gzip, deflate");
    curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, &BoundedBody::append);
    curl_easy_setopt(handle, CURLOPT_WRITEDATA, &reply);
    // A declared length past the limit is refused before the body is read.
    curl_easy_setopt(handle, CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(maxReplyBytes));
    curl_easy_setopt(handle, CURLOPT_ERRORBUFFER, errorBuffer);
    // Verification is what libcurl does by default; it is spelt out because nothing here may
    // ever turn it off.
    curl_easy_setopt(handle, CURLOPT_SSL_VERIFYPEER, 1L);
    curl_easy_setopt(handle, CURLOPT_SSL_VERIFYHOST, 2L);
    if (const char* file = authorityFile()) {
      curl_easy_setopt(handle, CURLOPT_CAINFO, file);
      // Otherwise the system's certificate directory would still be searched beside the file.
      curl_easy_setopt(handle, CURLOPT_CAPATH, nullptr);
    }

    const CURLcode result = performWithIdleLimit(handle, receiveTimeoutMs);
    if (result != CURLE_OK) {
      throw failure(result, {handle, errorBuffer, receiveTimeoutMs,
                             proxy.empty() ? "" : enderecoSemCredenciais(proxy), reply});
    }
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
