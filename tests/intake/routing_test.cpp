// The routing lookups: their SQL, as sent, and their failure messages.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/recording_connection.h"
#include "vornleads/error.h"
#include "vornleads/intake/leads_vw_metodos.h"

namespace vornleads::test {
namespace {

SqlRowSet rows(std::vector<std::string> columns, std::vector<std::vector<SqlValue>> values) {
  SqlRowSet set;
  set.columns = std::move(columns);
  set.rows = std::move(values);
  return set;
}

class RoutingTest : public ::testing::Test {
 protected:
  RoutingTest() : connection_("Firebird"), worker_(aplicacao_, connection_) {
    lead_.leadID = 4711;
    lead_.empresa = 2;
    lead_.revenda = 3;
    lead_.usuarioCorreio = 12;
  }

  // The message of the VornError the call raises.
  template <typename Call>
  std::string failure(Call call) {
    try {
      call();
    } catch (const VornError& error) {
      return error.what();
    }
    return "(no error)";
  }

  static constexpr char kCAC[] =
      "SELECT USUARIOS_NOTIF_CONTATO_VEI,        ORIGEM_TRAFEGO_LEADVW   FROM CAC_PARAMETRO  "
      "WHERE EMPRESA = 2   AND REVENDA = 3";
  static constexpr char kCPF[] =
      "SELECT CPF   FROM FAT_VENDEDOR  WHERE EMPRESA = 2   AND REVENDA = 3   AND USUARIO = 12";
  static constexpr char kVeiculos[] =
      "select TIPO_CONTATO,        SUB_TIPO_CONTATO,        DEPARTAMENTO   from VEI_PARAMETRO  "
      "where EMPRESA = 2   and REVENDA = 3";

  void parametrosCAC(SqlValue usuarios, SqlValue origem) {
    connection_.respond(kCAC, rows({"USUARIOS_NOTIF_CONTATO_VEI", "ORIGEM_TRAFEGO_LEADVW"},
                                   {{std::move(usuarios), std::move(origem)}}));
  }

  void veiculos(SqlValue tipo, SqlValue subTipo, SqlValue departamento) {
    connection_.respond(kVeiculos,
                        rows({"TIPO_CONTATO", "SUB_TIPO_CONTATO", "DEPARTAMENTO"},
                             {{std::move(tipo), std::move(subTipo), std::move(departamento)}}));
  }

  TAplicacaoLibrary aplicacao_;
  RecordingConnection connection_;
  TLeadsVWMetodosClass worker_;
  TContatoLeadVW lead_;
};

TEST_F(RoutingTest, ConstructorTakesTheDatabaseKindFromTheConnection) {
  EXPECT_EQ(aplicacao_.banco, "INTERBASE");
  EXPECT_EQ(worker_.sPbPasso(), "00");
  EXPECT_EQ(worker_.qtdErros(), 0);
  EXPECT_FALSE(worker_.erroInclusao());
  ASSERT_TRUE(worker_.listaDN().has_value());
  EXPECT_TRUE(worker_.listaDN()->empty());
  EXPECT_TRUE(connection_.statements().empty());

  TAplicacaoLibrary host;
  host.banco = "ORACLE";
  TLeadsVWMetodosClass kept(host, connection_);
  EXPECT_EQ(host.banco, "ORACLE");
}

TEST_F(RoutingTest, DealerNumberIsLookedUpPaddedToFiveDigits) {
  const std::string sql =
      "SELECT EMPRESA,        REVENDA   FROM VWB_PARAMETRO  WHERE NUMERO_DN = '00777'";
  EXPECT_EQ(failure([&] { worker_.buscaEmpresaRevendaLead(777, lead_); }),
            "Não foi possível incluir o lead 4711\r\nDN 777 não encontrado no banco de dados");
  connection_.respond(sql,
                      rows({"EMPRESA", "REVENDA"}, {{SqlValue::integer(5), SqlValue::integer(6)}}));
  worker_.buscaEmpresaRevendaLead(777, lead_);
  EXPECT_EQ(lead_.empresa, 5);
  EXPECT_EQ(lead_.revenda, 6);
  EXPECT_EQ(connection_.statements(), (std::vector<std::string>{sql, sql}));
}

TEST_F(RoutingTest, CrmParametersTakeTheFirstNotifiedUserAndCheckTheCpfTwice) {
  for (const char* usuarios : {"12,15", "12", " 12,x"}) {
    SCOPED_TRACE(usuarios);
    connection_.clearStatements();
    parametrosCAC(SqlValue::text(usuarios), SqlValue::integer(7));
    connection_.respond(kCPF, singleValue("CPF", SqlValue::text("22233344405")));
    connection_.respond(kCPF, singleValue("CPF", SqlValue::text("22233344405")));
    lead_.usuarioCorreio = 0;
    worker_.buscaParametrosCAC(lead_);
    EXPECT_EQ(lead_.usuarioCorreio, 12);
    EXPECT_EQ(lead_.origemTrafego, 7);
    EXPECT_EQ(connection_.statements(), (std::vector<std::string>{kCAC, kCPF, kCPF}));
  }
}

TEST_F(RoutingTest, CrmParameterMessagesNameTheMissingParameter) {
  const std::string usuario =
      "Não foi possível incluir o lead 4711\r\nParâmetro [Usuário destino do correio] não "
      "definido nos parâmetros de CRM da empresa/revenda 2.3";
  const std::string origem =
      "Não foi possível incluir o lead 4711\r\nParâmetro [Origem de tráfego para Leads VW] não "
      "definido nos parâmetros de CRM da empresa/revenda 2.3";
  // No row at all reads as an empty parameter.
  connection_.respond(kCAC, rows({"USUARIOS_NOTIF_CONTATO_VEI", "ORIGEM_TRAFEGO_LEADVW"}, {}));
  EXPECT_EQ(failure([&] { worker_.buscaParametrosCAC(lead_); }), usuario);
  parametrosCAC(SqlValue::text(""), SqlValue::integer(7));
  EXPECT_EQ(failure([&] { worker_.buscaParametrosCAC(lead_); }), usuario);
  parametrosCAC(SqlValue(), SqlValue());
  EXPECT_EQ(failure([&] { worker_.buscaParametrosCAC(lead_); }), usuario);
  parametrosCAC(SqlValue::text("12"), SqlValue());
  EXPECT_EQ(failure([&] { worker_.buscaParametrosCAC(lead_); }), origem);
  parametrosCAC(SqlValue::text("doze,15"), SqlValue::integer(7));
  EXPECT_THROW(worker_.buscaParametrosCAC(lead_), ConversionError);
}

TEST_F(RoutingTest, SellerWithoutCpfFailsTheLead) {
  const std::string message =
      "Não foi possível incluir o lead 4711\r\nCPF para o vendedor do usuário 12 não cadastrado "
      "na empresa/revenda 2.3";
  parametrosCAC(SqlValue::text("12,15"), SqlValue::integer(7));
  connection_.respond(kCPF, singleValue("CPF", SqlValue::text("0")));
  connection_.respond(kCPF, singleValue("CPF", SqlValue::text("0")));
  EXPECT_EQ(failure([&] { worker_.buscaParametrosCAC(lead_); }), message);

  // An empty CPF is refused at the first reading.
  connection_.clearStatements();
  parametrosCAC(SqlValue::text("12,15"), SqlValue::integer(7));
  EXPECT_EQ(failure([&] { worker_.buscaParametrosCAC(lead_); }), message);
  EXPECT_EQ(connection_.statements(), (std::vector<std::string>{kCAC, kCPF}));
}

TEST_F(RoutingTest, VehicleParametersNameTheFirstMissingOne) {
  const std::string head = "Não foi possível incluir o lead 4711\r\nParâmetro [";
  const std::string tail = "] não definido nos parâmetros de veículo da empresa/revenda 2.3";
  veiculos(SqlValue(), SqlValue::integer(2), SqlValue());
  EXPECT_EQ(failure([&] { worker_.buscaParametrosVeiculos(lead_); }),
            head + "Tipo de Contato" + tail);
  veiculos(SqlValue::integer(1), SqlValue::text(""), SqlValue::integer(3));
  EXPECT_EQ(failure([&] { worker_.buscaParametrosVeiculos(lead_); }),
            head + "Subtipo de contato" + tail);
  veiculos(SqlValue::integer(1), SqlValue::integer(2), SqlValue());
  EXPECT_EQ(failure([&] { worker_.buscaParametrosVeiculos(lead_); }), head + "Departamento" + tail);
  veiculos(SqlValue::integer(1), SqlValue::integer(2), SqlValue::integer(3));
  worker_.buscaParametrosVeiculos(lead_);
  EXPECT_EQ(lead_.tipoContato, 1);
  EXPECT_EQ(lead_.subTipoContato, 2);
  EXPECT_EQ(lead_.departamento, 3);
  EXPECT_EQ(connection_.statements(), std::vector<std::string>(4, kVeiculos));
}

TEST_F(RoutingTest, ContactFormAndAdministratorSeller) {
  const std::string forma =
      "SELECT FORMA_CONTATO   FROM CAC_FORMA_CONTATO  WHERE EMPRESA = 2   AND TIPO_FORMA_CONTATO = "
      "1";
  const std::string vendedor =
      "SELECT VENDEDOR   FROM FAT_VENDEDOR  WHERE EMPRESA = 2   AND REVENDA = 3   AND USUARIO = 0";
  EXPECT_EQ(
      failure([&] { worker_.buscaFormaContatoWeb(lead_); }),
      "Não foi possível incluir o lead 4711\r\nNão existe forma de contato do tipo E-mail não "
      "cadastrada na empresa 2");
  EXPECT_EQ(failure([&] { worker_.buscaVendedorAdministrador(lead_); }),
            "Não foi possível incluir o lead 4711\r\nVendedor para o usuário 0 não cadastrado na "
            "empresa/revenda 2.3");
  connection_.respond(forma, singleValue("FORMA_CONTATO", SqlValue::integer(4)));
  connection_.respond(vendedor, singleValue("VENDEDOR", SqlValue::integer(0)));
  worker_.buscaFormaContatoWeb(lead_);
  worker_.buscaVendedorAdministrador(lead_);
  EXPECT_EQ(lead_.formaContato, 4);
  EXPECT_EQ(lead_.vendedorInclusao, 0);
  EXPECT_EQ(connection_.statements(), (std::vector<std::string>{forma, vendedor, forma, vendedor}));
}

TEST_F(RoutingTest, ModelCodeQuotesTheDescriptionAndIsEmptyWhenUnknown) {
  const std::string sql =
      "SELECT MODELO   FROM VEI_MODELO  WHERE DES_MODELO = 'GOL D''ÁGUA'   AND EMPRESA = 2";
  EXPECT_EQ(worker_.buscaCodigoModelo(2, "GOL D'ÁGUA"), "");
  connection_.respond(sql, singleValue("MODELO", SqlValue::text("1001")));
  EXPECT_EQ(worker_.buscaCodigoModelo(2, "GOL D'ÁGUA"), "1001");
  EXPECT_EQ(connection_.statements(), (std::vector<std::string>{sql, sql}));
}

TEST_F(RoutingTest, FieldIsEmptyWhenNullOrBlankText) {
  EXPECT_TRUE(TLeadsVWMetodosClass::campoNuloOuVazio(SqlValue()));
  EXPECT_TRUE(TLeadsVWMetodosClass::campoNuloOuVazio(SqlValue::text("")));
  EXPECT_FALSE(TLeadsVWMetodosClass::campoNuloOuVazio(SqlValue::text(" ")));
  EXPECT_FALSE(TLeadsVWMetodosClass::campoNuloOuVazio(SqlValue::integer(0)));
}

}  // namespace
}  // namespace vornleads::test
