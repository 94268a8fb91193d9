// Requests to the DMS's own web API, end to end: addresses and users from a real embedded
// Firebird database, the request over loopback to an HTTP server on an ephemeral port.
#include "vornleads/data/dms_api.h"

#include <gtest/gtest.h>
#include <httplib.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <sstream>
#include <string>
#include <thread>

#include "support/firebird_db.h"
#include "vornleads/data/dm_geral.h"
#include "vornleads/error.h"

namespace vornleads {
namespace {

using test::TestDatabase;

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

class DmsApi : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { db_ = std::make_unique<TestDatabase>(false); }
  static void TearDownTestSuite() { db_.reset(); }
  void SetUp() override {
    connection_ = db_->connect();
    connection_->beginTransaction();
    setDeCript(invertida);  // stored passwords are kept reversed in these tests
  }
  void TearDown() override {
    connection_->rollback();
    setDeCript(nullptr);
    setDmsApiTimeouts({});
  }

  static std::unique_ptr<TestDatabase> db_;
  std::unique_ptr<SqlConnection> connection_;
};

std::unique_ptr<TestDatabase> DmsApi::db_;

TEST_F(DmsApi, RequestCarriesTheDealershipAddressAndTheUsersCredentials) {
  ServidorApi api;
  httplib::Request recebida;
  api.server().Post("/VornDMS/api/VornDMS/clientes/10",
                    [&](const httplib::Request& req, httplib::Response& res) {
                      recebida = req;
                      res.set_content("{\"ok\":true}", "application/json");
                    });
  connection_->execute("insert into GER_REVENDA (EMPRESA, REVENDA, URL_VORN_DMS) values (1, 2, '" +
                       api.base() + "/VornDMSPrincipal/api/VornDMSPrincipal')");
  connection_->execute(
      "insert into GER_USUARIO (USUARIO, LOGIN, SENHA) values (12, 'joao', '321aterces')");

  TdmGeral dm(*connection_);
  EXPECT_EQ(api.base() + "/VornDMS/api/VornDMS", dm.ObterUrlApiVornDMS(1, 2));
  EXPECT_EQ("{\"ok\":true}",
            dm.RequisicaoVornDMS("POST", "/clientes/10", "{\"nome\":\"ANA\"}", 1, 2, 12));
  EXPECT_EQ("POST", recebida.method);
  EXPECT_EQ("{\"nome\":\"ANA\"}", recebida.body);
  EXPECT_EQ("application/json; charset=utf-8", recebida.get_header_value("Content-Type"));
  EXPECT_EQ("12", recebida.get_header_value("X-VornDMS-Usuario"));
  // Basic joao:secreta123, the stored password deciphered.
  EXPECT_EQ("Basic am9hbzpzZWNyZXRhMTIz", recebida.get_header_value("Authorization"));
}

TEST_F(DmsApi, UnknownUserOrDealershipGiveEmptyCredentialsAndAddress) {
  TdmGeral dm(*connection_);
  EXPECT_EQ("", dm.ObterUrlApiVornDMS(9, 9));
  auto login = dm.ObterLogin(404);
  EXPECT_EQ("", login->FieldByName("LOGIN").asString());
  EXPECT_EQ("", login->FieldByName("SENHA").asString());
  try {
    dm.RequisicaoVornDMS("GET", "x", "", 9, 9, 404);
    FAIL() << "a request without an address must fail";
  } catch (const VornError& error) {
    EXPECT_STREQ("Endereço da API do VornDMS não informado", error.what());
  }
}

TEST_F(DmsApi, ServerErrorCarriesStatusAndBodyButNeverThePassword) {
  ServidorApi api;
  api.server().Get("/api/estoque", [](const httplib::Request&, httplib::Response& res) {
    res.status = 500;
    res.set_content("falha interna " + std::string(400, 'x'), "text/plain");
  });
  try {
    RequisicaoVornDMSUtils(api.base() + "/api/", "GET", "estoque", "", "joao", "secreta123", 12,
                           nullptr);
    FAIL() << "HTTP 500 must raise";
  } catch (const VornError& error) {
    EXPECT_EQ("Requisição à API do VornDMS (" + api.base() +
                  "/api/estoque): GET respondido com HTTP 500\r\nfalha interna " +
                  std::string(300 - 14, 'x') + "...",
              std::string(error.what()));
  }
}

TEST_F(DmsApi, StreamBodyAndBodilessRequests) {
  ServidorApi api;
  std::string corpo;
  std::string tipo;
  api.server().Put("/arquivo", [&](const httplib::Request& req, httplib::Response& res) {
    corpo = req.body;
    tipo = req.get_header_value("Content-Type");
    res.status = 204;
  });
  api.server().Delete("/arquivo", [](const httplib::Request& req, httplib::Response& res) {
    res.set_content(req.has_header("Authorization") ? "auth" : "anon", "text/plain");
  });
  std::istringstream stream(std::string("PDF\0bin", 7));
  EXPECT_EQ("", RequisicaoVornDMSUtils(api.base(), "PUT", "arquivo", "{\"ignorado\":1}", "u", "p",
                                       1, &stream));
  EXPECT_EQ(std::string("PDF\0bin", 7), corpo);
  EXPECT_EQ("application/octet-stream", tipo);
  // Without a login nothing is authenticated.
  EXPECT_EQ("anon",
            RequisicaoVornDMSUtils(api.base() + "/", "DELETE", "/arquivo", "", "", "", 1, nullptr));
}

TEST_F(DmsApi, TimeOutAndRefusedConnection) {
  ServidorApi api;
  api.server().Get("/lento", [](const httplib::Request&, httplib::Response& res) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1500));
    res.set_content("tarde", "text/plain");
  });
  setDmsApiTimeouts({1000, 300});
  const auto inicio = std::chrono::steady_clock::now();
  try {
    RequisicaoVornDMSUtils(api.base(), "GET", "lento", "", "joao", "secreta123", 1, nullptr);
    FAIL() << "the slow answer must time out";
  } catch (const VornError& error) {
    EXPECT_EQ("Requisição à API do VornDMS (" + api.base() +
                  "/lento): tempo esgotado (conexão 1000 ms, total 300 ms)",
              std::string(error.what()));
  }
  EXPECT_LT(std::chrono::steady_clock::now() - inicio, std::chrono::milliseconds(1200));

  std::string fechado;
  {
    ServidorApi encerrado;
    fechado = encerrado.base();
  }
  try {
    RequisicaoVornDMSUtils(fechado, "GET", "", "", "joao", "secreta123", 1, nullptr);
    FAIL() << "nobody listens there any more";
  } catch (const VornError& error) {
    EXPECT_EQ("Requisição à API do VornDMS (" + fechado + "): conexão recusada",
              std::string(error.what()));
  }
}

TEST(DeCriptDefault, IdentityUntilTheHostInstallsItsCipher) {
  EXPECT_EQ("abc", DeCript("abc"));
  setDeCript(invertida);
  EXPECT_EQ("cba", DeCript("abc"));
  setDeCript(nullptr);
  EXPECT_EQ("abc", DeCript("abc"));
}

}  // namespace
}  // namespace vornleads
