// The contact writers on a real embedded Firebird database: rows written and read back.
#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>

#include "support/firebird_db.h"
#include "vornleads/clock.h"
#include "vornleads/data/novo_contato.h"
#include "vornleads/error.h"
#include "vornleads/text/datetime.h"

namespace vornleads {
namespace {

using test::TestDatabase;

class NovoContatoFirebird : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    db_ = std::make_unique<TestDatabase>(false);
    auto setup = db_->connect();
    setup->execute("insert into GER_DBVERSAO (VERSAO) values ('1.0')");
    setup->execute(
        "insert into FAT_CLIENTE (CLIENTE, NOME, DDD_TELEFONE, TELEFONE, DDD_CELULAR, CELULAR) "
        "values (500, 'ANA', 11, 33334444, 21, 999998888)");
    setup->execute(
        "insert into FAT_CLIENTE (CLIENTE, NOME, DDD_TELEFONE, TELEFONE, DDD_CELULAR, CELULAR) "
        "values (501, 'BETO', 0, 123456789, 0, 12345678)");
  }
  static void TearDownTestSuite() { db_.reset(); }

  void SetUp() override {
    connection_ = db_->connect();
    connection_->beginTransaction();
  }
  void TearDown() override {
    if (connection_->inTransaction()) connection_->rollback();
  }

  SqlRowSet contato(int32_t empresa, int32_t revenda, int32_t numero) {
    return connection_->query(
        "select * from CAC_CONTATO where EMPRESA = " + std::to_string(empresa) +
        " and REVENDA = " + std::to_string(revenda) + " and CONTATO = " + std::to_string(numero));
  }
  int64_t contatos() {
    return connection_->query("select count(*) QTD from CAC_CONTATO").value(0, "QTD").asInteger();
  }

  static std::unique_ptr<TestDatabase> db_;
  std::unique_ptr<SqlConnection> connection_;
  const TDateTime data_ = EncodeDateTime({2024, 3, 5, 14, 7, 9, 0});
};

std::unique_ptr<TestDatabase> NovoContatoFirebird::db_;

TEST_F(NovoContatoFirebird, FullFormWritesEveryColumnAndGuardsTheTelephones) {
  const int32_t numero =
      Geral::NovoContato(*connection_, "A", "", "P", "V", 3, 4, 5, 6, 7, 500, 8, 9, 1, 1, data_);
  ASSERT_EQ(1, numero);
  SqlRowSet row = contato(1, 1, numero);
  ASSERT_EQ(1u, row.rows.size());
  EXPECT_DOUBLE_EQ(data_, row.value(0, "DTA_CONTATO").asDateTime());
  EXPECT_EQ("A", row.value(0, "SITUACAO").asString());
  EXPECT_TRUE(row.value(0, "DES_CONTATO").isNull());  // an empty text is NULL
  EXPECT_EQ("P", row.value(0, "ATIVO_PASSIVO").asString());
  EXPECT_EQ(3, row.value(0, "DEPARTAMENTO").asInteger());
  EXPECT_EQ(4, row.value(0, "TIPO_CONTATO").asInteger());
  EXPECT_EQ(5, row.value(0, "SUB_TIPO_CONTATO").asInteger());
  EXPECT_EQ(6, row.value(0, "USUARIO_ABRIU").asInteger());
  EXPECT_EQ(7, row.value(0, "USUARIO_ENCAMINHADO_ORIGINAL").asInteger());
  EXPECT_EQ(7, row.value(0, "USUARIO_ENCAMINHADO").asInteger());
  EXPECT_EQ(500, row.value(0, "CLIENTE").asInteger());
  EXPECT_EQ(8, row.value(0, "FORMA_CONTATO").asInteger());
  EXPECT_EQ(9, row.value(0, "ORIGEM_TRAFEGO").asInteger());
  EXPECT_TRUE(row.value(0, "TIPO_TRAFEGO").isNull());
  EXPECT_EQ("V", row.value(0, "ORIGEM").asString());
  EXPECT_EQ(11, row.value(0, "DDD_1").asInteger());
  EXPECT_EQ(33334444, row.value(0, "TELEFONE_1").asInteger());
  EXPECT_EQ(1, row.value(0, "MELHOR_TELEFONE").asInteger());
  EXPECT_EQ(21, row.value(0, "DDD_2").asInteger());
  EXPECT_TRUE(row.value(0, "TELEFONE_2").isNull());  // nine digits are not copied
  for (const char* nulo : {"CONTATO_ORIGEM", "MES_AGENDAMENTO", "ANO_AGENDAMENTO", "CAMPANHA",
                           "CODIGO_LEAD_NA_RENAULT", "STATUS_LEADS", "NUMERO_DN", "PRE_VENDA"}) {
    EXPECT_TRUE(row.value(0, nulo).isNull()) << nulo;
  }
  // The contact counter moved on inside the caller's transaction.
  EXPECT_EQ(2, Geral::NovoContato(*connection_, "A", "X", "P", "V", 0, 0, 0, 0, 0, 500, 0, 0, 1, 1,
                                  data_));
}

TEST_F(NovoContatoFirebird, FullFormLongLandlineAndMissingCustomer) {
  int32_t numero = Geral::NovoContato(*connection_, "A", "Desc", "P", "V", 1, 1, 1, 1, 1, 501, 1, 1,
                                      2, 1, data_);
  SqlRowSet row = contato(2, 1, numero);
  EXPECT_TRUE(row.value(0, "DDD_1").isNull());
  EXPECT_TRUE(row.value(0, "TELEFONE_1").isNull());  // nine-digit landline
  EXPECT_EQ(1, row.value(0, "MELHOR_TELEFONE").asInteger());
  EXPECT_TRUE(row.value(0, "DDD_2").isNull());
  EXPECT_EQ(12345678, row.value(0, "TELEFONE_2").asInteger());

  numero = Geral::NovoContato(*connection_, "A", "Desc", "P", "V", 1, 1, 1, 1, 1, 999, 1, 1, 2, 1,
                              data_);
  row = contato(2, 1, numero);
  ASSERT_EQ(1u, row.rows.size());
  for (const char* nulo : {"DDD_1", "TELEFONE_1", "MELHOR_TELEFONE", "DDD_2", "TELEFONE_2"}) {
    EXPECT_TRUE(row.value(0, nulo).isNull()) << nulo;
  }
}

TEST_F(NovoContatoFirebird, FullFormFailuresReachTheCaller) {
  const int64_t antes = contatos();
  EXPECT_THROW(
      Geral::NovoContato(*connection_, "A", "", "P", "V", 1, 1, 1, 1, 1, 500, 1, 1, 3, 1, 0.0),
      ConversionError);
  // A contact already holding the next number: the INSERT is refused.
  connection_->execute("insert into CAC_CONTATO (EMPRESA, REVENDA, CONTATO) values (3, 1, 2)");
  EXPECT_THROW(
      Geral::NovoContato(*connection_, "A", "", "P", "V", 1, 1, 1, 1, 1, 500, 1, 1, 3, 1, data_),
      DatabaseError);
  EXPECT_EQ(antes + 1, contatos());
}

TEST_F(NovoContatoFirebird, FullFormKeepsTheDayOfItsLastMillisecond) {
  const TDateTime ultimo = EncodeDate(2024, 12, 31) + 86399999.6 / 86400000.0;
  const int32_t numero =
      Geral::NovoContato(*connection_, "A", "", "P", "V", 1, 1, 1, 1, 1, 500, 1, 1, 5, 1, ultimo);
  EXPECT_DOUBLE_EQ(EncodeDateTime({2024, 12, 31, 23, 59, 59, 0}),
                   contato(5, 1, numero).value(0, "DTA_CONTATO").asDateTime());
}

TEST_F(NovoContatoFirebird, FullFormWritesNothingWhenNoNumberIsDrawn) {
  // Committed first: the number is drawn outside the caller's transaction.
  connection_->rollback();
  connection_->execute("insert into GER_NUMERADOR values (4,1,'CONTATO','CAC_CONTATO',0)");
  connection_->beginTransaction();
  const int64_t antes = contatos();
  EXPECT_EQ(0, Geral::NovoContato(*connection_, "A", "", "P", "V", 1, 1, 1, 1, 1, 500, 1, 1, 4, 1,
                                  data_));
  EXPECT_EQ(antes, contatos());
}

TEST_F(NovoContatoFirebird, ShortFormUsesTheServerClockAndWiderTelephoneLimits) {
  const TDateTime antes = Dados::DataHora(*connection_);
  EXPECT_LT(std::fabs(antes - Now()), 1.0 / 24);  // same clock, whatever the zone offset
  std::string sql;
  const int32_t numero = Dados::NovoContato(*connection_, data_, "A", "", "P", "B", 5, 1, 3, 4, 5,
                                            6, 7, 501, 8, 9, 0, sql);
  SqlRowSet row = contato(5, 1, numero);
  ASSERT_EQ(1u, row.rows.size());
  EXPECT_NE(std::string::npos, sql.find("'A', '', 'P', 3, 4, 5, 6, 7, 7, 501, 8, 9, 'B', null, "
                                        "123456789, 1, null, 12345678, null)"))
      << sql;
  EXPECT_EQ("", row.value(0, "DES_CONTATO").asString());
  EXPECT_FALSE(row.value(0, "DES_CONTATO").isNull());
  EXPECT_EQ(123456789, row.value(0, "TELEFONE_1").asInteger());
  EXPECT_TRUE(row.value(0, "TIPO_TRAFEGO").isNull());
  // Whole seconds of the server's clock, not the date passed in.
  const TDateTime escrita = row.value(0, "DTA_CONTATO").asDateTime();
  EXPECT_GE(escrita, antes - 1.0 / 86400);
  EXPECT_LT(escrita - antes, 1.0 / 1440);

  const int32_t outro = Dados::NovoContato(*connection_, data_, "A", "D", "P", "B", 5, 1, 0, 0, 0,
                                           0, 0, 500, 0, 0, 2);
  row = contato(5, 1, outro);
  EXPECT_EQ(numero + 1, outro);
  EXPECT_EQ(33334444, row.value(0, "TELEFONE_1").asInteger());
  EXPECT_EQ(999998888, row.value(0, "TELEFONE_2").asInteger());  // kept by the short form
  EXPECT_EQ(2, row.value(0, "TIPO_TRAFEGO").asInteger());
}

TEST_F(NovoContatoFirebird, ShortFormReportsTheDatabaseErrorWithItsStatement) {
  connection_->execute("insert into CAC_CONTATO (EMPRESA, REVENDA, CONTATO) values (6, 1, 1)");
  std::string sql;
  try {
    Dados::NovoContato(*connection_, data_, "A", "", "P", "B", 6, 1, 0, 0, 0, 0, 0, 500, 0, 0, 0,
                       sql);
    FAIL() << "a duplicate contact must be refused";
  } catch (const DatabaseError&) {
    FAIL() << "the short form reports its own text";
  } catch (const VornError& error) {
    const std::string message = error.what();
    EXPECT_EQ(0u, message.rfind("Erro NovoContato: ", 0)) << message;
    EXPECT_NE(std::string::npos, message.find("PRIMARY or UNIQUE KEY")) << message;
    ASSERT_FALSE(sql.empty());
    EXPECT_EQ(" [" + sql + "]", message.substr(message.size() - sql.size() - 3));
  }
}

}  // namespace
}  // namespace vornleads
