// Requests to the DMS's own web API over loopback to an HTTP server on an ephemeral port, with
// addresses and users from a real embedded Firebird database.
#include "vornleads/data/dms_api.h"

#include <gtest/gtest.h>
#include <httplib.h>

#include <chrono>
#include <sstream>
#include <string>
#include <thread>

#include "fixture.h"
#include "vornleads/data/dm_geral.h"

namespace vornleads {
namespace {

// A loopback HTTP server running on its own thread for the life of the object.
class ServidorApi {
 public:
  ServidorApi() {
    porta_ = server_.bind_to_any_port("127.0.0.1");
    thread_ = std::thread([this] { server_.listen_after_bind(); });
    // stop() before the accept loop has started would be lost and join() would never return.
    while (!server_.is_running()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  ~ServidorApi() {
    server_.stop();
    thread_.join();
  }
  httplib::Server& server() { return server_; }
  std::string base() const { return "http://127.0.0.1:" + std::to_string(porta_); }

 private:
  httplib::Server server_;
  int porta_ = 0;
  std::thread thread_;
};

std::string invertida(const std::string& text) { return std::string(text.rbegin(), text.rend()); }

TEST(DmsApi, RequestCarriesTheDealershipAddressAndTheUsersCredentials) {
  ServidorApi api;
  httplib::Request recebida;
  api.server().Post("/VornDMS/api/VornDMS/clientes/10",
                    [&](const httplib::Request& req, httplib::Response& res) {
                      recebida = req;
                      res.set_content("{\"ok\":true}", "application/json");
                    });
  test::TestDatabase db(false);
  auto connection = db.connect();
  connection->execute("insert into GER_REVENDA (EMPRESA, REVENDA, URL_VORN_DMS) values (1, 2, '" +
                      api.base() + "/VornDMSPrincipal/api/VornDMSPrincipal')");
  connection->execute(
      "insert into GER_USUARIO (USUARIO, LOGIN, SENHA) values (12, 'joao', '321aterces')");
  EXPECT_EQ("abc", DeCript("abc"));  // until the host installs its cipher
  setDeCript(invertida);             // stored passwords are kept reversed in this test
  TdmGeral dm(*connection);
  EXPECT_EQ(api.base() + "/VornDMS/api/VornDMS", dm.ObterUrlApiVornDMS(1, 2));
  EXPECT_EQ("", dm.ObterUrlApiVornDMS(1, 1));
  EXPECT_EQ("{\"ok\":true}",
            dm.RequisicaoVornDMS("POST", "/clientes/10", "{\"nome\":\"ANA\"}", 1, 2, 12));
  EXPECT_EQ("{\"nome\":\"ANA\"}", recebida.body);
  EXPECT_EQ("application/json; charset=utf-8", recebida.get_header_value("Content-Type"));
  EXPECT_EQ("12", recebida.get_header_value("X-VornDMS-Usuario"));
  // Basic joao:secreta123, the stored password deciphered.
  EXPECT_EQ("Basic am9hbzpzZWNyZXRhMTIz", recebida.get_header_value("Authorization"));
  EXPECT_EQ("", dm.ObterLogin(404)->FieldByName("LOGIN").asString());
  EXPECT_EQ("Endereço da API do VornDMS não informado",
            test::outcome([&] { dm.RequisicaoVornDMS("GET", "x", "", 9, 9, 404); }));
  setDeCript(nullptr);
  EXPECT_EQ("abc", DeCript("abc"));
}

TEST(DmsApi, BodiesErrorsTimeOutsAndRefusedConnections) {
  ServidorApi api;
  std::string corpo, tipo;
  api.server().Put("/arquivo", [&](const httplib::Request& req, httplib::Response& res) {
    corpo = req.body;
    tipo = req.get_header_value("Content-Type");
    res.status = 204;
  });
  api.server().Delete("/arquivo", [](const httplib::Request& req, httplib::Response& res) {
    res.set_content(req.has_header("Authorization") ? "auth" : "anon", "text/plain");
  });
  api.server().Get("/api/estoque", [](const httplib::Request&, httplib::Response& res) {
    res.status = 500;
    res.set_content("falha interna " + std::string(400, 'x'), "text/plain");
  });
  api.server().Get("/lento", [](const httplib::Request&, httplib::Response& res) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1500));
    res.set_content("tarde", "text/plain");
  });
  std::istringstream stream(std::string("PDF\0bin", 7));
  EXPECT_EQ(
      "", RequisicaoVornDMSUtils(api.base(), "PUT", "arquivo", "{\"x\":1}", "u", "p", 1, &stream));
  EXPECT_EQ(std::string("PDF\0bin", 7), corpo);
  EXPECT_EQ("application/octet-stream", tipo);
  // Without a login nothing is authenticated.
  EXPECT_EQ("anon", RequisicaoVornDMSUtils(api.base() + "//", "DELETE", "/arquivo", "", "", "", 1,
                                           nullptr));
  const std::string prefixo = "Requisição à API do VornDMS (" + api.base();
  EXPECT_EQ(prefixo + "/api/estoque): GET respondido com HTTP 500\r\nfalha interna " +
                std::string(300 - 14, 'x') + "...",
            test::outcome([&] {
              RequisicaoVornDMSUtils(api.base() + "/api/", "GET", "estoque", "", "joao", "s", 12,
                                     nullptr);
            }));
  setDmsApiTimeouts({1000, 300});
  const auto inicio = std::chrono::steady_clock::now();
  EXPECT_EQ(prefixo + "/lento): tempo esgotado (conexão 1000 ms, total 300 ms)", test::outcome([&] {
              RequisicaoVornDMSUtils(api.base(), "GET", "lento", "", "", "", 1, nullptr);
            }));
  EXPECT_LT(std::chrono::steady_clock::now() - inicio, std::chrono::milliseconds(1200));
  setDmsApiTimeouts({});
  std::string fechado;
  {
    ServidorApi encerrado;
    fechado = encerrado.base();
  }
  EXPECT_EQ("Requisição à API do VornDMS (" + fechado + "): conexão recusada", test::outcome([&] {
              RequisicaoVornDMSUtils(fechado, "GET", "", "", "", "", 1, nullptr);
            }));
}

}  // namespace
}  // namespace vornleads
