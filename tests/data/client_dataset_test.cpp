// TClientDataSet: browsing, and edits and appends posted back as one UPDATE or INSERT on the
// caller's connection and transaction.
#include "vornleads/data/client_dataset.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "support/firebird_db.h"
#include "support/recording_connection.h"
#include "vornleads/data/conexao_simplificada.h"
#include "vornleads/error.h"
#include "vornleads/text/datetime.h"

namespace vornleads {
namespace {

using test::RecordingConnection;
using Statements = std::vector<std::string>;

SqlRowSet journalRows() {
  SqlRowSet rows;
  rows.columns = {"ID_LEAD_VW",  "SEQUENCIA",      "ENVIOU",
                  "CODIGO_ERRO", "DESCRICAO_ERRO", "DTA_ATUALIZACAO"};
  rows.rows = {{SqlValue::integer(555), SqlValue::integer(2), SqlValue::text("N"),
                SqlValue::integer(297), SqlValue::text("Atualização em processo de envio"),
                SqlValue()}};
  return rows;
}

TEST(TClientDataSet, PostedEditIsOneUpdateOfTheChangedColumnsKeyedByTheOriginalKey) {
  RecordingConnection oracle("ORACLE");
  oracle.setPrimaryKey("CAC_ATUALIZACOES_LEADVW", {"ID_LEAD_VW", "SEQUENCIA"});
  oracle.setAffectedRows(1);
  TClientDataSet dataset(journalRows(), oracle, "CAC_ATUALIZACOES_LEADVW");

  dataset.Edit();
  dataset.SetField("ENVIOU", SqlValue::text("S"));
  dataset.SetField("CODIGO_ERRO", SqlValue());
  dataset.SetField("DESCRICAO_ERRO", SqlValue::text("d'Ávila"));
  dataset.SetField("SEQUENCIA", SqlValue::integer(3));
  dataset.SetField("ID_LEAD_VW", SqlValue::integer(555));  // unchanged: not written
  dataset.SetField("DTA_ATUALIZACAO",
                   SqlValue::dateTime(EncodeDateTime({2024, 3, 5, 14, 7, 9, 0})));
  dataset.Post();

  EXPECT_EQ(
      (Statements{
          "UPDATE CAC_ATUALIZACOES_LEADVW SET SEQUENCIA = 3, ENVIOU = 'S', CODIGO_ERRO = NULL, "
          "DESCRICAO_ERRO = 'd''Ávila', DTA_ATUALIZACAO = TO_DATE('05/03/2024 14:07:09',"
          "'dd/mm/yyyy HH24:MI:SS') WHERE ID_LEAD_VW = 555 AND SEQUENCIA = 2"}),
      oracle.statements());
  EXPECT_EQ(TClientDataSet::State::Browse, dataset.state());
  EXPECT_EQ(SqlValue::text("S"), dataset.FieldByName("enviou"));
  EXPECT_EQ(SqlValue::integer(3), dataset.FieldByName("SEQUENCIA"));
}

TEST(TClientDataSet, PostedAppendIsOneInsertOfTheFieldsSet) {
  RecordingConnection sqlServer("MSSQL");
  TClientDataSet dataset(SqlRowSet{journalRows().columns, {}}, sqlServer,
                         "CAC_ATUALIZACOES_LEADVW");
  EXPECT_TRUE(dataset.IsEmpty());
  dataset.Append();
  dataset.SetField("ID_LEAD_VW", SqlValue::integer(555));
  dataset.SetField("SEQUENCIA", SqlValue::integer(1));
  dataset.SetField("DTA_ATUALIZACAO",
                   SqlValue::dateTime(EncodeDateTime({2024, 3, 5, 14, 7, 9, 0})));
  dataset.SetField("CODIGO_ERRO", SqlValue::real(297));
  dataset.Post();
  EXPECT_EQ(
      (Statements{
          "INSERT INTO CAC_ATUALIZACOES_LEADVW (ID_LEAD_VW, SEQUENCIA, CODIGO_ERRO, "
          "DTA_ATUALIZACAO) VALUES (555, 1, 297.0, CAST('05-03-2024 14:07:09' AS DATETIME))"}),
      sqlServer.statements());
  EXPECT_EQ(1, dataset.RecordCount());
  EXPECT_EQ(SqlValue::integer(555), dataset.FieldByName("ID_LEAD_VW"));
  EXPECT_TRUE(dataset.FieldByName("ENVIOU").isNull());
}

TEST(TClientDataSet, NothingChangedMeansNoStatement) {
  RecordingConnection firebird("Firebird");
  firebird.setPrimaryKey("CAC_ATUALIZACOES_LEADVW", {"ID_LEAD_VW", "SEQUENCIA"});
  TClientDataSet dataset(journalRows(), firebird, "CAC_ATUALIZACOES_LEADVW");
  dataset.Edit();
  dataset.SetField("ENVIOU", SqlValue::text("N"));
  dataset.Post();
  EXPECT_TRUE(firebird.statements().empty());
}

TEST(TClientDataSet, UpdatesNeedAKeyAndARowToUpdate) {
  RecordingConnection firebird("Firebird");
  TClientDataSet withoutKey(journalRows(), firebird, "CAC_ATUALIZACOES_LEADVW");
  withoutKey.Edit();
  withoutKey.SetField("ENVIOU", SqlValue::text("S"));
  EXPECT_THROW(withoutKey.Post(), VornError);
  EXPECT_EQ(TClientDataSet::State::Edit, withoutKey.state());

  firebird.setPrimaryKey("CAC_ATUALIZACOES_LEADVW", {"ID_LEAD_VW", "USUARIO"});
  TClientDataSet keyNotSelected(journalRows(), firebird, "CAC_ATUALIZACOES_LEADVW");
  keyNotSelected.Edit();
  keyNotSelected.SetField("ENVIOU", SqlValue::text("S"));
  EXPECT_THROW(keyNotSelected.Post(), VornError);

  firebird.setPrimaryKey("CAC_ATUALIZACOES_LEADVW", {"ID_LEAD_VW", "SEQUENCIA"});
  firebird.setAffectedRows(0);
  TClientDataSet gone(journalRows(), firebird, "CAC_ATUALIZACOES_LEADVW");
  gone.Edit();
  gone.SetField("ENVIOU", SqlValue::text("S"));
  try {
    gone.Post();
    FAIL() << "an update of no row was accepted";
  } catch (const VornError& error) {
    EXPECT_STREQ("Record not found or changed by another user", error.what());
  }
}

TEST(TClientDataSet, BrowsingAndReadOnlyDatasets) {
  SqlRowSet rows;
  rows.columns = {"N"};
  rows.rows = {{SqlValue::integer(1)}, {SqlValue::integer(2)}};
  TClientDataSet dataset(rows);
  EXPECT_FALSE(dataset.Eof());
  EXPECT_EQ(2, dataset.RecordCount());
  dataset.Next();
  EXPECT_EQ(SqlValue::integer(2), dataset.FieldByName("N"));
  dataset.Next();
  EXPECT_TRUE(dataset.Eof());
  EXPECT_EQ(SqlValue::integer(2), dataset.FieldByName("N"));  // stays on the last row
  dataset.First();
  EXPECT_EQ(SqlValue::integer(1), dataset.FieldByName("N"));
  try {
    dataset.FieldByName("X");
    FAIL();
  } catch (const VornError& error) {
    EXPECT_STREQ("Field 'X' not found", error.what());
  }
  EXPECT_THROW(dataset.Edit(), VornError);
  EXPECT_THROW(dataset.Append(), VornError);
  try {
    dataset.SetField("N", SqlValue::integer(3));
    FAIL();
  } catch (const VornError& error) {
    EXPECT_STREQ("Dataset not in edit or insert mode", error.what());
  }

  TClientDataSet empty(SqlRowSet{{"USUARIOS_NOTIF_CONTATO_VEI"}, {}});
  EXPECT_TRUE(empty.IsEmpty());
  EXPECT_TRUE(empty.Eof());
  EXPECT_TRUE(empty.FieldByName("USUARIOS_NOTIF_CONTATO_VEI").isNull());
  EXPECT_THROW(empty.FieldByName("OUTRO"), VornError);
}

TEST(TClientDataSet, CancelDropsPendingChanges) {
  RecordingConnection firebird("Firebird");
  TClientDataSet dataset(journalRows(), firebird, "CAC_ATUALIZACOES_LEADVW");
  dataset.Edit();
  dataset.SetField("ENVIOU", SqlValue::text("S"));
  dataset.Cancel();
  EXPECT_EQ(SqlValue::text("N"), dataset.FieldByName("ENVIOU"));
  dataset.Append();
  EXPECT_EQ(2, dataset.RecordCount());
  dataset.Cancel();
  EXPECT_EQ(1, dataset.RecordCount());
  EXPECT_EQ(SqlValue::integer(555), dataset.FieldByName("ID_LEAD_VW"));
  EXPECT_TRUE(firebird.statements().empty());
}

class TClientDataSetOnFirebird : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { db_ = std::make_unique<test::TestDatabase>(true); }
  static void TearDownTestSuite() { db_.reset(); }
  static std::unique_ptr<test::TestDatabase> db_;
};

std::unique_ptr<test::TestDatabase> TClientDataSetOnFirebird::db_;

TEST_F(TClientDataSetOnFirebird, EditAndAppendJoinTheCallersTransaction) {
  auto connection = db_->connect();
  auto observer = db_->connect();
  TConexaoSimplificada conexao(*connection);
  TConexaoSimplificada outra(*observer);

  conexao.iniciaTransacao();
  auto journal = conexao.RetornaDataset(
      "SELECT *   FROM CAC_ATUALIZACOES_LEADVW  WHERE ID_LEAD_VW = 777   AND SEQUENCIA = -1",
      "CAC_ATUALIZACOES_LEADVW");
  journal->Append();
  journal->SetField("ID_LEAD_VW", SqlValue::integer(777));
  journal->SetField("SEQUENCIA", SqlValue::integer(1));
  journal->SetField("DESCRICAO_ERRO", SqlValue::text("Atualização em processo de envio"));
  journal->SetField("DTA_ATUALIZACAO",
                    SqlValue::dateTime(EncodeDateTime({2024, 3, 5, 14, 7, 9, 0})));
  journal->Post();
  journal->Edit();
  journal->SetField("ENVIOU", SqlValue::text("S"));
  journal->Post();

  auto parametro = conexao.RetornaDataset(
      "SELECT * FROM CAC_PARAMETRO WHERE EMPRESA = 1 AND REVENDA = 1", "CAC_PARAMETRO");
  parametro->Edit();
  parametro->SetField("USUARIOS_NOTIF_CONTATO_VEI", SqlValue::text("15"));
  parametro->Post();

  EXPECT_EQ("S", conexao.executaSQLString(
                     "SELECT ENVIOU FROM CAC_ATUALIZACOES_LEADVW WHERE ID_LEAD_VW = 777"));
  EXPECT_EQ("05/03/2024 14:07:09",
            conexao.executaSQLString(
                "SELECT DTA_ATUALIZACAO FROM CAC_ATUALIZACOES_LEADVW WHERE ID_LEAD_VW = 777"));
  EXPECT_EQ(-1, outra.executaSQLInteger(
                    "SELECT SEQUENCIA FROM CAC_ATUALIZACOES_LEADVW WHERE ID_LEAD_VW = 777"));
  conexao.rollbackTransacao();

  EXPECT_EQ(-1, conexao.executaSQLInteger(
                    "SELECT SEQUENCIA FROM CAC_ATUALIZACOES_LEADVW WHERE ID_LEAD_VW = 777"));
  EXPECT_EQ("12,15", outra.executaSQLString("SELECT USUARIOS_NOTIF_CONTATO_VEI FROM CAC_PARAMETRO "
                                            "WHERE EMPRESA = 1 AND REVENDA = 1"));

  // The same edit, committed, is what the other connection sees.
  conexao.iniciaTransacao();
  auto again =
      conexao.RetornaDataset("SELECT * FROM CAC_PARAMETRO WHERE EMPRESA = 1", "CAC_PARAMETRO");
  again->Edit();
  again->SetField("ORIGEM_TRAFEGO_LEADVW", SqlValue::integer(8));
  again->Post();
  conexao.comitaTransacao();
  EXPECT_EQ(8, outra.executaSQLInteger(
                   "SELECT ORIGEM_TRAFEGO_LEADVW FROM CAC_PARAMETRO WHERE EMPRESA = 1"));
}

TEST_F(TClientDataSetOnFirebird, EditOfAnEmptyDatasetInserts) {
  auto connection = db_->connect();
  TConexaoSimplificada conexao(*connection);
  auto dataset =
      conexao.RetornaDataset("SELECT * FROM GER_USUARIO WHERE USUARIO = 99", "GER_USUARIO");
  dataset->Edit();
  EXPECT_EQ(TClientDataSet::State::Insert, dataset->state());
  dataset->SetField("USUARIO", SqlValue::integer(99));
  dataset->SetField("NOME", SqlValue::text("JOSÉ D'ÁVILA"));
  dataset->Post();
  EXPECT_EQ("JOSÉ D'ÁVILA",
            conexao.executaSQLString("SELECT NOME FROM GER_USUARIO WHERE USUARIO = 99"));
}

TEST_F(TClientDataSetOnFirebird, ARefusedPostKeepsTheRowBeingEdited) {
  auto connection = db_->connect();
  TConexaoSimplificada conexao(*connection);
  auto dataset =
      conexao.RetornaDataset("SELECT * FROM GER_USUARIO WHERE USUARIO = 12", "GER_USUARIO");
  dataset->Edit();
  dataset->SetField("LOGIN", SqlValue::text(std::string(61, 'x')));  // LOGIN is VARCHAR(60)
  EXPECT_THROW(dataset->Post(), DatabaseError);
  EXPECT_EQ(TClientDataSet::State::Edit, dataset->state());
  dataset->SetField("LOGIN", SqlValue::text("CARLOS2"));
  dataset->Post();
  EXPECT_EQ("CARLOS2",
            conexao.executaSQLString("SELECT LOGIN FROM GER_USUARIO WHERE USUARIO = 12"));
}

}  // namespace
}  // namespace vornleads
