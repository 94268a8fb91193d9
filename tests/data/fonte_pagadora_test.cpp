// VW AutoService switch and paying sources on a real embedded Firebird database.
#include "vornleads/data/fonte_pagadora.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "support/firebird_db.h"
#include "vornleads/error.h"

namespace vornleads {
namespace {

using test::TestDatabase;

class FontePagadora : public ::testing::Test {
 protected:
  // Categories: 1 ordinary (source 4), 2 fleet without a source, 3 insurer (source 7),
  // 4 fleet with source 8. Service types of 1.1: 10 (source 2), 11 (no source).
  // Customer 900 is an insurance company of category 3 (source 7 via its category).
  static void SetUpTestSuite() {
    db_ = std::make_unique<TestDatabase>(false);
    auto c = db_->connect();
    for (const char* sql : {
             "insert into FAT_CATEGORIA_CLIENTE (CATEGORIA, INDICA_SEGURADORA, FROTISTA, "
             "FONTE_PAGADORA_AUTOSERVICE) values (1, 'N', 'N', 4)",
             "insert into FAT_CATEGORIA_CLIENTE (CATEGORIA, INDICA_SEGURADORA, FROTISTA, "
             "FONTE_PAGADORA_AUTOSERVICE) values (2, 'N', 'S', 0)",
             "insert into FAT_CATEGORIA_CLIENTE (CATEGORIA, INDICA_SEGURADORA, FROTISTA, "
             "FONTE_PAGADORA_AUTOSERVICE) values (3, 'S', 'N', 7)",
             "insert into FAT_CATEGORIA_CLIENTE (CATEGORIA, INDICA_SEGURADORA, FROTISTA, "
             "FONTE_PAGADORA_AUTOSERVICE) values (4, NULL, 'S', 8)",
             "insert into OFI_TIPO_SERVICO (EMPRESA, REVENDA, TIPO_SERVICO, "
             "FONTE_PAGADORA_AUTOSERVICE) values (1, 1, 10, 2)",
             "insert into OFI_TIPO_SERVICO (EMPRESA, REVENDA, TIPO_SERVICO) values (1, 1, 11)",
             "insert into FAT_CLIENTE (CLIENTE, CATEGORIA) values (900, 3)",
             "insert into VWB_PARAMETRO (EMPRESA, REVENDA, API_AUTOSERVICE_ATIVA) "
             "values (1, 1, 'S')",
             "insert into VWB_PARAMETRO (EMPRESA, REVENDA, API_AUTOSERVICE_ATIVA) "
             "values (1, 2, 'N')",
         }) {
      c->execute(sql);
    }
  }
  static void TearDownTestSuite() { db_.reset(); }

  void SetUp() override {
    connection_ = db_->connect();
    connection_->beginTransaction();
  }
  void TearDown() override {
    if (connection_->inTransaction()) connection_->rollback();
  }

  // A contact of customer `cliente` (category `categoria`) with its service order and
  // attendance; `seguradora` 0 means no insurer.
  void ordem(int32_t contato, int32_t categoria, int32_t seguradora) {
    const std::string n = std::to_string(contato);
    connection_->execute("insert into FAT_CLIENTE (CLIENTE, CATEGORIA) values (" + n + ", " +
                         std::to_string(categoria) + ")");
    connection_->execute(
        "insert into CAC_CONTATO (EMPRESA, REVENDA, CONTATO, CLIENTE) values "
        "(1, 1, " +
        n + ", " + n + ")");
    connection_->execute(
        "insert into OFI_ORDEM_SERVICO (EMPRESA, REVENDA, NRO_OS, CONTATO) "
        "values (1, 1, " +
        n + ", " + n + ")");
    connection_->execute(
        "insert into OFI_ATENDIMENTO (EMPRESA, REVENDA, CONTATO, SEGURADORA) "
        "values (1, 1, " +
        n + ", " + (seguradora ? std::to_string(seguradora) : "NULL") + ")");
  }
  void solicitacao(int32_t contato, int32_t numero, int32_t tipo, const std::string& letra) {
    connection_->execute(
        "insert into OFI_SOLICITACAO (EMPRESA, REVENDA, CONTATO, SOLICITACAO, TIPO_SERVICO, "
        "TIPO_SERVICO_OS) values (1, 1, " +
        std::to_string(contato) + ", " + std::to_string(numero) + ", " + std::to_string(tipo) +
        ", '" + letra + "')");
  }
  // EXT|INT|GAR|REV of the contact's order, "-" for NULL.
  std::string fontes(int32_t contato) {
    SqlRowSet row = connection_->query(
        "select FONTE_PAGADORA_EXT, FONTE_PAGADORA_INT, FONTE_PAGADORA_GAR, FONTE_PAGADORA_REV "
        "from OFI_ORDEM_SERVICO where CONTATO = " +
        std::to_string(contato));
    std::string text;
    for (const auto& value : row.rows.at(0)) {
      text += (text.empty() ? "" : "|") + (value.isNull() ? "-" : value.asString());
    }
    return text;
  }

  static std::unique_ptr<TestDatabase> db_;
  std::unique_ptr<SqlConnection> connection_;
};

std::unique_ptr<TestDatabase> FontePagadora::db_;

TEST_F(FontePagadora, AutoServiceSwitch) {
  EXPECT_TRUE(Retorna_AutoService_Ativo(*connection_, 1, 1));
  EXPECT_FALSE(Retorna_AutoService_Ativo(*connection_, 1, 2));
  EXPECT_FALSE(Retorna_AutoService_Ativo(*connection_, 1, 3));  // no row
  connection_->execute(
      "insert into VWB_PARAMETRO (EMPRESA, REVENDA, API_AUTOSERVICE_ATIVA) "
      "values (1, 4, NULL)");
  EXPECT_FALSE(Retorna_AutoService_Ativo(*connection_, 1, 4));
}

TEST_F(FontePagadora, FleetCustomerWithoutCategorySourceFallsToServiceType) {
  ordem(101, 2, 0);
  solicitacao(101, 1, 10, "E");
  solicitacao(101, 2, 11, "I");  // no type source either: the category's 0
  const std::string ultima = GravaFontePagadoraVW(*connection_, 1, 1, 101);
  EXPECT_TRUE(ultima == "2" || ultima == "0") << ultima;
  EXPECT_EQ("2|0|-|-", fontes(101));
}

TEST_F(FontePagadora, InsurerOfTheAttendanceComesBeforeTheServiceType) {
  ordem(102, 2, 900);
  solicitacao(102, 1, 10, "G");
  EXPECT_EQ("7", GravaFontePagadoraVW(*connection_, 1, 1, 102));
  EXPECT_EQ("-|-|7|-", fontes(102));
}

TEST_F(FontePagadora, InsurerOrFleetCategoryWithASourceWins) {
  ordem(103, 4, 900);  // fleet with source 8 beats the insurer's 7 and the type's 2
  solicitacao(103, 1, 10, "R");
  EXPECT_EQ("8", GravaFontePagadoraVW(*connection_, 1, 1, 103));
  ordem(104, 1, 0);  // an ordinary category with a source does not win over the type
  solicitacao(104, 1, 10, "E");
  solicitacao(104, 2, 11, "I");
  GravaFontePagadoraVW(*connection_, 1, 1, 104);
  EXPECT_EQ("-|-|-|8", fontes(103));
  EXPECT_EQ("2|4|-|-", fontes(104));
}

TEST_F(FontePagadora, LastRequestOfATypeWins) {
  ordem(105, 1, 0);
  solicitacao(105, 1, 10, "E");
  solicitacao(105, 2, 11, "E");
  const std::string ultima = GravaFontePagadoraVW(*connection_, 1, 1, 105);
  EXPECT_TRUE(ultima == "2" || ultima == "4") << ultima;
  EXPECT_EQ(ultima + "|-|-|-", fontes(105));
}

TEST_F(FontePagadora, NoRequestsWriteNothing) {
  ordem(106, 3, 0);
  EXPECT_EQ("0", GravaFontePagadoraVW(*connection_, 1, 1, 106));
  EXPECT_EQ("-|-|-|-", fontes(106));
}

TEST_F(FontePagadora, UnknownTypeLetterMakesTheUpdateFail) {
  ordem(107, 1, 0);
  solicitacao(107, 1, 10, "X");
  EXPECT_THROW(GravaFontePagadoraVW(*connection_, 1, 1, 107), DatabaseError);
}

}  // namespace
}  // namespace vornleads
