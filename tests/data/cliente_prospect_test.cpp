// The prospect writer on a real embedded Firebird database.
#include "vornleads/data/cliente_prospect.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "support/firebird_db.h"
#include "vornleads/text/datetime.h"

namespace vornleads {
namespace {

using test::TestDatabase;

class ClienteProspect : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { db_ = std::make_unique<TestDatabase>(false); }
  static void TearDownTestSuite() { db_.reset(); }
  void SetUp() override {
    connection_ = db_->connect();
    connection_->beginTransaction();
  }
  void TearDown() override {
    if (connection_->inTransaction()) connection_->rollback();
  }

  static std::unique_ptr<TestDatabase> db_;
  std::unique_ptr<SqlConnection> connection_;
  const TDateTime data_ = EncodeDateTime({2024, 3, 5, 14, 7, 9, 0});
};

std::unique_ptr<TestDatabase> ClienteProspect::db_;

TEST_F(ClienteProspect, WritesTheLeadAsAProspectWithQuotesIntact) {
  connection_->execute("insert into GER_NUMERADOR values (1,1,'CLIENTE','FAT_CLIENTE',700)");
  const std::string nome = "JOANA D'ARC'); DELETE FROM FAT_CLIENTE; --";
  const std::string email = "o'hara@example.com";
  // The intake's call: four zeros, seven empty texts and -1.
  const int32_t codigo = GravaClienteProspect(*connection_, data_, 1, 1, 12, 11, 987654321, 0, 0, 0,
                                              0, nome, "", "", "", "", "", "", "", email, -1);
  ASSERT_EQ(700, codigo) << Dados::MensagemErroException;
  EXPECT_EQ("", Dados::MensagemErroException);

  SqlRowSet row = connection_->query("select * from FAT_CLIENTE where CLIENTE = 700");
  ASSERT_EQ(1u, row.rows.size());
  EXPECT_EQ(nome, row.value(0, "NOME").asString());
  EXPECT_EQ(email, row.value(0, "E_MAIL_CASA").asString());
  EXPECT_EQ("S", row.value(0, "PROSPECT").asString());
  EXPECT_DOUBLE_EQ(data_, row.value(0, "DTA_CADASTRO").asDateTime());
  EXPECT_EQ(1, row.value(0, "EMPRESA_CADASTRO").asInteger());
  EXPECT_EQ(1, row.value(0, "REVENDA_CADASTRO").asInteger());
  EXPECT_EQ(12, row.value(0, "VENDEDOR").asInteger());
  EXPECT_EQ(11, row.value(0, "DDD_TELEFONE").asInteger());
  EXPECT_EQ(987654321, row.value(0, "TELEFONE").asInteger());
  for (const char* nulo : {"CATEGORIA", "ENDERECO", "CEP", "DDD_CELULAR", "CELULAR",
                           "DDD_COMERCIAL", "TELEFONE_COMERCIAL"}) {
    EXPECT_TRUE(row.value(0, nulo).isNull()) << nulo;
  }
  EXPECT_EQ(1,
            connection_->query("select count(*) QTD from FAT_CLIENTE").value(0, "QTD").asInteger());
}

TEST_F(ClienteProspect, EveryPositionLandsInItsColumn) {
  const int32_t codigo = GravaClienteProspect(
      *connection_, data_, 2, 3, 4, 11, 33334444, 21, 999998888, 31, 32323232, "ANA", "RUA A", "10",
      "AP 1", "CENTRO", "SAO PAULO", "SP", "01000-000", "ana@example.com", 5);
  ASSERT_EQ(1, codigo) << Dados::MensagemErroException;
  SqlRowSet row = connection_->query("select * from FAT_CLIENTE where CLIENTE = 1");
  EXPECT_EQ(21, row.value(0, "DDD_CELULAR").asInteger());
  EXPECT_EQ(999998888, row.value(0, "CELULAR").asInteger());
  EXPECT_EQ(31, row.value(0, "DDD_COMERCIAL").asInteger());
  EXPECT_EQ(32323232, row.value(0, "TELEFONE_COMERCIAL").asInteger());
  EXPECT_EQ("RUA A|10|AP 1|CENTRO|SAO PAULO|SP|01000-000",
            row.value(0, "ENDERECO").asString() + "|" + row.value(0, "NUMERO_ENDERECO").asString() +
                "|" + row.value(0, "COMPLEMENTO").asString() + "|" +
                row.value(0, "BAIRRO").asString() + "|" + row.value(0, "CIDADE").asString() + "|" +
                row.value(0, "UF").asString() + "|" + row.value(0, "CEP").asString());
  EXPECT_EQ(5, row.value(0, "CATEGORIA").asInteger());
}

TEST_F(ClienteProspect, FailureReturnsZeroWithTheDatabaseMessage) {
  const std::string longo(200, 'X');  // NOME holds 150 characters
  EXPECT_EQ(0, GravaClienteProspect(*connection_, data_, 1, 1, 12, 11, 987654321, 0, 0, 0, 0, longo,
                                    "", "", "", "", "", "", "", "a@b.c", -1));
  EXPECT_NE(std::string::npos, Dados::MensagemErroException.find("string right truncation"))
      << Dados::MensagemErroException;
  EXPECT_EQ(std::string::npos, Dados::MensagemErroException.find("INSERT"))
      << "the reason is the database's message, not the statement";
  EXPECT_EQ(0,
            connection_->query("select count(*) QTD from FAT_CLIENTE").value(0, "QTD").asInteger());

  // A later success clears the reason.
  EXPECT_EQ(2, GravaClienteProspect(*connection_, data_, 1, 1, 12, 0, 0, 0, 0, 0, 0, "B", "", "",
                                    "", "", "", "", "", "", -1));
  EXPECT_EQ("", Dados::MensagemErroException);
}

}  // namespace
}  // namespace vornleads
