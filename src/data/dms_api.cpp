#include "vornleads/data/dms_api.h"

#include <curl/curl.h>

#include <iterator>
#include <memory>
#include <mutex>
#include <new>

#include "vornleads/error.h"

namespace vornleads {

namespace {

using EasyHandle = std::unique_ptr<CURL, decltype(&curl_easy_cleanup)>;
using HeaderList = std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)>;

constexpr size_t kTrechoCorpo = 300;

std::mutex& timeoutsMutex() {
  static std::mutex mutex;
  return mutex;
}

DmsApiTimeouts& currentTimeouts() {
  static DmsApiTimeouts timeouts;
  return timeouts;
}

// curl_global_init is not thread-safe: a function-local static runs it once, before the
// first handle exists.
void iniciaCurl() {
  static const CURLcode iniciado = curl_global_init(CURL_GLOBAL_DEFAULT);
  if (iniciado != CURLE_OK) {
    throw VornError(std::string("Não foi possível iniciar a biblioteca HTTP: ") +
                    curl_easy_strerror(iniciado));
  }
}

size_t acrescenta(char* data, size_t size, size_t count, void* target) {
  try {
    static_cast<std::string*>(target)->append(data, size * count);
    return size * count;
  } catch (const std::bad_alloc&) {
    return 0;  // curl stops with CURLE_WRITE_ERROR; no exception may cross into C
  }
}

std::string juntaEndereco(const std::string& url, const std::string& recurso) {
  if (recurso.empty()) return url;
  std::string base = url;
  while (!base.empty() && base.back() == '/') base.pop_back();
  size_t inicio = recurso.find_first_not_of('/');
  return base + "/" + (inicio == std::string::npos ? std::string() : recurso.substr(inicio));
}

std::string falhaCurl(CURLcode code, const char* detalhe, const std::string& endereco,
                      const DmsApiTimeouts& timeouts) {
  const std::string prefixo = "Requisição à API do VornDMS (" + endereco + "): ";
  switch (code) {
    case CURLE_COULDNT_CONNECT:
      return prefixo + "conexão recusada";
    case CURLE_COULDNT_RESOLVE_HOST:
      return prefixo + "servidor não encontrado";
    case CURLE_OPERATION_TIMEDOUT:
      return prefixo + "tempo esgotado (conexão " + std::to_string(timeouts.conexaoMs) +
             " ms, total " + std::to_string(timeouts.totalMs) + " ms)";
    default:
      return prefixo + (detalhe && *detalhe ? detalhe : curl_easy_strerror(code));
  }
}

}  // namespace

DmsApiTimeouts dmsApiTimeouts() {
  std::lock_guard<std::mutex> lock(timeoutsMutex());
  return currentTimeouts();
}

void setDmsApiTimeouts(DmsApiTimeouts timeouts) {
  std::lock_guard<std::mutex> lock(timeoutsMutex());
  currentTimeouts() = timeouts;
}

std::string RequisicaoVornDMSUtils(const std::string& url, const std::string& metodo,
                                   const std::string& recurso, const std::string& corpoJson,
                                   const std::string& login, const std::string& senha,
                                   int32_t usuario, std::istream* corpo) {
  if (url.empty()) throw VornError("Endereço da API do VornDMS não informado");
  const std::string endereco = juntaEndereco(url, recurso);
  const DmsApiTimeouts timeouts = dmsApiTimeouts();

  std::string dados = corpoJson;
  std::string tipo = "Content-Type: application/json; charset=utf-8";
  if (corpo) {
    dados.assign(std::istreambuf_iterator<char>(*corpo), std::istreambuf_iterator<char>());
    tipo = "Content-Type: application/octet-stream";
  }
  const std::string verbo = !metodo.empty() ? metodo : (dados.empty() ? "GET" : "POST");

  iniciaCurl();
  EasyHandle curl(curl_easy_init(), &curl_easy_cleanup);
  if (!curl) throw std::bad_alloc();
  HeaderList cabecalhos(nullptr, &curl_slist_free_all);
  auto cabecalho = [&cabecalhos](const std::string& linha) {
    curl_slist* maior = curl_slist_append(cabecalhos.get(), linha.c_str());
    if (!maior) throw std::bad_alloc();
    cabecalhos.release();  // curl_slist_append returned the same list, one entry longer
    cabecalhos.reset(maior);
  };
  cabecalho("Accept: application/json");
  cabecalho("X-VornDMS-Usuario: " + std::to_string(usuario));
  cabecalho("Expect:");
  if (!dados.empty()) cabecalho(tipo);

  std::string resposta;
  char erro[CURL_ERROR_SIZE] = "";
  CURL* h = curl.get();
  curl_easy_setopt(h, CURLOPT_URL, endereco.c_str());
  curl_easy_setopt(h, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(h, CURLOPT_ERRORBUFFER, erro);
  curl_easy_setopt(h, CURLOPT_CONNECTTIMEOUT_MS, timeouts.conexaoMs);
  curl_easy_setopt(h, CURLOPT_TIMEOUT_MS, timeouts.totalMs);
  curl_easy_setopt(h, CURLOPT_WRITEFUNCTION, &acrescenta);
  curl_easy_setopt(h, CURLOPT_WRITEDATA, &resposta);
  curl_easy_setopt(h, CURLOPT_CUSTOMREQUEST, verbo.c_str());
  // A bodiless POST, PUT or PATCH still says "Content-Length: 0"; some servers wait for it.
  if (!dados.empty() || verbo == "POST" || verbo == "PUT" || verbo == "PATCH") {
    curl_easy_setopt(h, CURLOPT_POSTFIELDS, dados.data());
    curl_easy_setopt(h, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(dados.size()));
  }
  if (!login.empty()) {
    curl_easy_setopt(h, CURLOPT_HTTPAUTH, CURLAUTH_BASIC);
    curl_easy_setopt(h, CURLOPT_USERNAME, login.c_str());
    curl_easy_setopt(h, CURLOPT_PASSWORD, senha.c_str());
  }
  curl_easy_setopt(h, CURLOPT_HTTPHEADER, cabecalhos.get());

  const CURLcode code = curl_easy_perform(h);
  if (code != CURLE_OK) throw VornError(falhaCurl(code, erro, endereco, timeouts));

  long status = 0;
  curl_easy_getinfo(h, CURLINFO_RESPONSE_CODE, &status);
  if (status >= 400) {
    std::string trecho = resposta.substr(0, kTrechoCorpo);
    if (resposta.size() > kTrechoCorpo) trecho += "...";
    throw VornError("Requisição à API do VornDMS (" + endereco + "): " + verbo +
                    " respondido com HTTP " + std::to_string(status) + "\r\n" + trecho);
  }
  return resposta;
}

}  // namespace vornleads
