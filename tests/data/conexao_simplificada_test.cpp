// TConexaoSimplificada on a real database: the rules for missing rows and nulls.
#include "vornleads/data/conexao_simplificada.h"

#include <gtest/gtest.h>

#include <memory>

#include "support/firebird_db.h"
#include "support/recording_connection.h"
#include "vornleads/error.h"

namespace vornleads {
namespace {

class TConexaoSimplificadaTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { db_ = std::make_unique<test::TestDatabase>(true); }
  static void TearDownTestSuite() { db_.reset(); }
  void SetUp() override {
    connection_ = db_->connect();
    conexao_ = std::make_unique<TConexaoSimplificada>(*connection_);
  }
  static std::unique_ptr<test::TestDatabase> db_;
  std::unique_ptr<SqlConnection> connection_;
  std::unique_ptr<TConexaoSimplificada> conexao_;
};

std::unique_ptr<test::TestDatabase> TConexaoSimplificadaTest::db_;

TEST_F(TConexaoSimplificadaTest, IntegerIsMinusOneWithoutARowAndZeroForNull) {
  EXPECT_EQ(-1,
            conexao_->executaSQLInteger("SELECT VENDEDOR FROM FAT_VENDEDOR WHERE USUARIO = 404"));
  EXPECT_EQ(0, conexao_->executaSQLInteger(
                   "Select MAX(SEQUENCIA)   from CAC_ATUALIZACOES_LEADVW  where ID_LEAD_VW = 1"));
  EXPECT_EQ(12,
            conexao_->executaSQLInteger("SELECT VENDEDOR FROM FAT_VENDEDOR WHERE USUARIO = 12"));
  // Text holding a number converts; other text does not.
  EXPECT_EQ(1234,
            conexao_->executaSQLInteger("SELECT NUMERO_DN FROM VWB_PARAMETRO WHERE EMPRESA = 1"));
  EXPECT_THROW(conexao_->executaSQLInteger("SELECT NOME FROM FAT_VENDEDOR WHERE USUARIO = 12"),
               ConversionError);
}

TEST_F(TConexaoSimplificadaTest, StringIsEmptyWithoutARowAndForNull) {
  EXPECT_EQ("", conexao_->executaSQLString("SELECT CPF FROM FAT_VENDEDOR WHERE USUARIO = 404"));
  EXPECT_EQ("", conexao_->executaSQLString("SELECT URL_VORN_DMS FROM GER_REVENDA WHERE 1 = 0"));
  EXPECT_EQ("", conexao_->executaSQLString("SELECT CAST(NULL AS VARCHAR(10)) FROM GER_DBVERSAO"));
  EXPECT_EQ("Vorn Veículos",
            conexao_->executaSQLString(
                "SELECT NOME_FANTASIA   FROM GER_REVENDA  WHERE EMPRESA = 1    AND EMPRESA = 1 "));
  EXPECT_EQ("7", conexao_->executaSQLString(
                     "SELECT ORIGEM_TRAFEGO_LEADVW FROM CAC_PARAMETRO WHERE EMPRESA = 1"));
}

TEST_F(TConexaoSimplificadaTest, DmlIsTrueWhenRowsChangedOrTheStatementHasNoRows) {
  EXPECT_TRUE(conexao_->executaDML("UPDATE GER_USUARIO SET NOME = NOME WHERE USUARIO = 15"));
  EXPECT_FALSE(conexao_->executaDML("UPDATE GER_USUARIO SET NOME = NOME WHERE USUARIO = 404"));
  EXPECT_TRUE(conexao_->executaDML("CREATE TABLE SEM_LINHAS (A INTEGER)"));
  EXPECT_THROW(conexao_->executaDML("UPDATE NENHUMA SET A = 1"), DatabaseError);
}

TEST_F(TConexaoSimplificadaTest, TransactionsAndDialect) {
  EXPECT_EQ("INTERBASE", conexao_->banco());
  EXPECT_EQ(connection_.get(), &conexao_->retornaSQLConnection());
  conexao_->iniciaTransacao();
  EXPECT_THROW(conexao_->iniciaTransacao(), VornError);
  conexao_->executaDML("DELETE FROM VEI_MODELO WHERE DES_MODELO = 'GOL'");
  EXPECT_EQ("",
            conexao_->executaSQLString("SELECT MODELO FROM VEI_MODELO WHERE DES_MODELO = 'GOL'"));
  conexao_->rollbackTransacao();
  EXPECT_EQ("1001",
            conexao_->executaSQLString("SELECT MODELO FROM VEI_MODELO WHERE DES_MODELO = 'GOL'"));
  EXPECT_THROW(conexao_->comitaTransacao(), VornError);
}

TEST(TConexaoSimplificadaDialect, NamesTheOtherDatabases) {
  test::RecordingConnection sqlServer("MSSQL");
  test::RecordingConnection oracle("ORACLE");
  EXPECT_EQ("SQLSERVER", TConexaoSimplificada(sqlServer).banco());
  EXPECT_EQ("ORACLE", TConexaoSimplificada(oracle).banco());
}

TEST(TConexaoSimplificadaDialect, DatasetsWithoutATableCannotBeEdited) {
  test::RecordingConnection oracle("ORACLE");
  oracle.respond("SELECT", test::singleValue("A", SqlValue::integer(1)));
  TConexaoSimplificada conexao(oracle);
  auto dataset = conexao.RetornaDataset("SELECT A FROM T");
  EXPECT_FALSE(dataset->editable());
  EXPECT_THROW(dataset->Edit(), VornError);
}

}  // namespace
}  // namespace vornleads
