// The prospect writer on a real embedded Firebird database.
#include "vornleads/data/cliente_prospect.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "support/firebird_db.h"
#include "vornleads/text/datetime.h"

namespace vornleads {
namespace {

using test::TestDatabase;

// Each test has a database of its own: customer codes are drawn and committed apart from the
// caller's transaction, which the tests open as a lead would.
class ClienteProspect : public ::testing::Test {
 protected:
  void SetUp() override {
    connection_ = db_.connect();
    connection_->beginTransaction();
  }
  void TearDown() override {
    if (connection_->inTransaction()) connection_->rollback();
  }
  // The intake's call for company/branch: four zeros, seven empty texts and -1.
  int32_t prospect(int32_t empresa, int32_t revenda) {
    return GravaClienteProspect(*connection_, data_, empresa, revenda, 12, 11, 987654321, 0, 0, 0,
                                0, "ANA", "", "", "", "", "", "", "", "a@b.c", -1);
  }

  TestDatabase db_{false};
  std::unique_ptr<SqlConnection> connection_;
  const TDateTime data_ = EncodeDateTime({2024, 3, 5, 14, 7, 9, 0});
};

TEST_F(ClienteProspect, WritesTheLeadAsAProspectWithQuotesIntact) {
  // Committed first: the code is drawn outside the caller's transaction.
  connection_->rollback();
  connection_->execute("insert into GER_NUMERADOR values (0,0,'CLIENTE','FAT_CLIENTE',700)");
  connection_->beginTransaction();
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

// One series for the whole DMS, always above the customers it already holds, whichever state
// the counter is found in. Two companies register a prospect each, then a lead rolls back.
TEST(ClienteProspectSeries, CodesAreUniqueAcrossCompaniesAndAboveEveryExistingCustomer) {
  struct Estado {
    const char* descricao;
    std::vector<std::string> sql;
    int32_t primeiro;
  };
  const Estado estados[] = {
      {"empty DMS", {}, 1},
      {"customers numbered elsewhere, no counter",
       {"insert into FAT_CLIENTE (CLIENTE) values (3)",
        "insert into FAT_CLIENTE (CLIENTE) values (500)"},
       501},
      {"counter behind the table",
       {"insert into GER_NUMERADOR values (0,0,'CLIENTE','FAT_CLIENTE',10)",
        "insert into FAT_CLIENTE (CLIENTE) values (40)"},
       41},
      {"counter null",
       {"insert into GER_NUMERADOR values (0,0,'CLIENTE','FAT_CLIENTE',null)",
        "insert into FAT_CLIENTE (CLIENTE) values (7)"},
       8},
      {"per-branch counter of an older version",
       {"insert into GER_NUMERADOR values (1,1,'CLIENTE','FAT_CLIENTE',5)",
        "insert into FAT_CLIENTE (CLIENTE) values (9)"},
       10},
      {"counter ahead of the table",
       {"insert into GER_NUMERADOR values (0,0,'CLIENTE','FAT_CLIENTE',100)",
        "insert into FAT_CLIENTE (CLIENTE) values (9)"},
       100},
  };
  const TDateTime data = EncodeDateTime({2024, 3, 5, 14, 7, 9, 0});
  for (const Estado& estado : estados) {
    SCOPED_TRACE(estado.descricao);
    TestDatabase db(false);
    auto connection = db.connect();
    for (const std::string& sql : estado.sql) connection->execute(sql);
    auto grava = [&](int32_t empresa) {
      return GravaClienteProspect(*connection, data, empresa, 1, 12, 0, 0, 0, 0, 0, 0, "ANA", "",
                                  "", "", "", "", "", "", "", -1);
    };
    connection->beginTransaction();
    EXPECT_EQ(estado.primeiro, grava(1)) << Dados::MensagemErroException;
    EXPECT_EQ(estado.primeiro + 1, grava(2)) << Dados::MensagemErroException;
    connection->commit();
    // A lead rolled back after its draw leaves a gap: the code is never handed out again.
    connection->beginTransaction();
    EXPECT_EQ(estado.primeiro + 2, grava(1));
    connection->rollback();
    EXPECT_EQ(estado.primeiro + 3, grava(2));
  }
}

TEST_F(ClienteProspect, CounterThatIsNotANumberFailsNamingIt) {
  connection_->rollback();
  connection_->execute("alter table GER_NUMERADOR alter column PROXIMO_NUMERO type varchar(20)");
  connection_->execute("insert into GER_NUMERADOR values (0,0,'CLIENTE','FAT_CLIENTE','abc')");
  connection_->beginTransaction();
  EXPECT_EQ(0, prospect(1, 1));
  EXPECT_NE(std::string::npos, Dados::MensagemErroException.find(
                                   "Erro no numerador de clientes (GER_NUMERADOR EMPRESA 0, "
                                   "REVENDA 0, NUMERADOR 'CLIENTE', TABELA 'FAT_CLIENTE'): "))
      << Dados::MensagemErroException;
  EXPECT_EQ(0,
            connection_->query("select count(*) QTD from FAT_CLIENTE").value(0, "QTD").asInteger());
}

}  // namespace
}  // namespace vornleads
