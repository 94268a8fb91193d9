// TClientDataSet (edits and appends posted as one UPDATE or INSERT on the caller's connection
// and transaction) and TConexaoSimplificada's rules for missing rows and nulls.
#include "vornleads/data/client_dataset.h"

#include <gtest/gtest.h>

#include <string>

#include "fixture.h"
#include "vornleads/data/conexao_simplificada.h"

namespace vornleads {
namespace {

using test::RecordingConnection;
using test::Statements;

const char* const kJournal = "CAC_ATUALIZACOES_LEADVW";

SqlRowSet journalRows() {
  return {
      {"ID_LEAD_VW", "SEQUENCIA", "ENVIOU", "CODIGO_ERRO", "DESCRICAO_ERRO", "DTA_ATUALIZACAO"},
      {{SqlValue::integer(555), SqlValue::integer(2), SqlValue::text("N"), SqlValue::integer(297),
        SqlValue::text("Atualização em processo de envio"), SqlValue()}}};
}

TEST(TClientDataSet, PostedEditIsOneUpdateOfTheChangedColumnsKeyedByTheOriginalKey) {
  RecordingConnection oracle("ORACLE");
  oracle.setPrimaryKey(kJournal, {"ID_LEAD_VW", "SEQUENCIA", "DTA_ATUALIZACAO"});
  oracle.setAffectedRows(1);
  TClientDataSet dataset(journalRows(), oracle, kJournal);
  dataset.Edit();
  dataset.SetField("ENVIOU", SqlValue::text("S"));
  dataset.SetField("CODIGO_ERRO", SqlValue());
  dataset.SetField("DESCRICAO_ERRO", SqlValue::text("d'Ávila"));
  dataset.SetField("SEQUENCIA", SqlValue::integer(3));
  dataset.SetField("ID_LEAD_VW", SqlValue::integer(555));  // unchanged: not written
  dataset.SetField("DTA_ATUALIZACAO", SqlValue::dateTime(test::leadDate()));
  dataset.Post();
  EXPECT_EQ((Statements{"UPDATE CAC_ATUALIZACOES_LEADVW SET SEQUENCIA = 3, ENVIOU = 'S', "
                        "CODIGO_ERRO = NULL, DESCRICAO_ERRO = 'd''Ávila', DTA_ATUALIZACAO = "
                        "TO_DATE('05/03/2024 14:07:09','dd/mm/yyyy HH24:MI:SS') WHERE ID_LEAD_VW = "
                        "555 AND SEQUENCIA = 2 AND DTA_ATUALIZACAO IS NULL"}),
            oracle.statements());
  EXPECT_EQ(TClientDataSet::State::Browse, dataset.state());
  EXPECT_EQ(SqlValue::text("S"), dataset.FieldByName("enviou"));

  // Nothing changed: no statement.
  oracle.clearStatements();
  dataset.Edit();
  dataset.SetField("ENVIOU", SqlValue::text("S"));
  dataset.Post();
  EXPECT_TRUE(oracle.statements().empty());
}

TEST(TClientDataSet, PostedAppendIsOneInsertOfTheFieldsSet) {
  RecordingConnection sqlServer("MSSQL");
  TClientDataSet dataset(SqlRowSet{journalRows().columns, {}}, sqlServer, kJournal);
  EXPECT_TRUE(dataset.IsEmpty());
  dataset.Append();
  dataset.SetField("ID_LEAD_VW", SqlValue::integer(555));
  dataset.SetField("SEQUENCIA", SqlValue::integer(1));
  dataset.SetField("DTA_ATUALIZACAO", SqlValue::dateTime(test::leadDate()));
  dataset.SetField("CODIGO_ERRO", SqlValue::real(297));
  dataset.Post();
  dataset.Append();
  dataset.Post();
  EXPECT_EQ((Statements{"INSERT INTO CAC_ATUALIZACOES_LEADVW (ID_LEAD_VW, SEQUENCIA, CODIGO_ERRO, "
                        "DTA_ATUALIZACAO) VALUES (555, 1, 297.0, CAST('05-03-2024 14:07:09' AS "
                        "DATETIME))",
                        "INSERT INTO CAC_ATUALIZACOES_LEADVW DEFAULT VALUES"}),
            sqlServer.statements());
  EXPECT_EQ(2, dataset.RecordCount());
  dataset.First();
  EXPECT_EQ(SqlValue::integer(555), dataset.FieldByName("ID_LEAD_VW"));
  EXPECT_TRUE(dataset.FieldByName("ENVIOU").isNull());
}

TEST(TClientDataSet, UpdatesNeedAKeyAndARowToUpdate) {
  struct Caso {
    Statements key;
    int64_t affected;
    std::string message;
  };
  const Caso casos[] = {
      {{}, 1, "Table CAC_ATUALIZACOES_LEADVW has no primary key: its rows cannot be updated"},
      {{"ID_LEAD_VW", "USUARIO"},
       1,
       "The dataset of CAC_ATUALIZACOES_LEADVW does not hold its key column USUARIO: the row "
       "cannot be updated"},
      {{"ID_LEAD_VW", "SEQUENCIA"}, 0, "Record not found or changed by another user"}};
  for (const Caso& c : casos) {
    RecordingConnection firebird("Firebird");
    if (!c.key.empty()) firebird.setPrimaryKey(kJournal, c.key);
    firebird.setAffectedRows(c.affected);
    TClientDataSet dataset(journalRows(), firebird, kJournal);
    dataset.Edit();
    dataset.SetField("ENVIOU", SqlValue::text("S"));
    EXPECT_EQ(c.message, test::errorOf([&] { dataset.Post(); }));
    EXPECT_EQ(TClientDataSet::State::Edit, dataset.state());
  }
}

TEST(TClientDataSet, BrowsingCancelAndReadOnlyDatasets) {
  TClientDataSet dataset(SqlRowSet{{"N"}, {{SqlValue::integer(1)}, {SqlValue::integer(2)}}});
  EXPECT_FALSE(dataset.Eof());
  EXPECT_EQ(2, dataset.RecordCount());
  dataset.Next();
  dataset.Next();
  EXPECT_TRUE(dataset.Eof());
  EXPECT_EQ(SqlValue::integer(2), dataset.FieldByName("N"));  // stays on the last row
  dataset.First();
  EXPECT_EQ(SqlValue::integer(1), dataset.FieldByName("N"));
  EXPECT_EQ("Field 'X' not found", test::errorOf([&] { dataset.FieldByName("X"); }));
  EXPECT_THROW(dataset.Edit(), VornError);
  EXPECT_THROW(dataset.Append(), VornError);
  EXPECT_EQ("Dataset not in edit or insert mode",
            test::errorOf([&] { dataset.SetField("N", SqlValue::integer(3)); }));
  TClientDataSet empty(SqlRowSet{{"USUARIOS_NOTIF_CONTATO_VEI"}, {}});
  EXPECT_TRUE(empty.Eof());
  EXPECT_TRUE(empty.FieldByName("USUARIOS_NOTIF_CONTATO_VEI").isNull());

  RecordingConnection firebird("Firebird");
  TClientDataSet journal(journalRows(), firebird, kJournal);
  journal.Edit();
  journal.SetField("ENVIOU", SqlValue::text("S"));
  journal.Cancel();
  EXPECT_EQ(SqlValue::text("N"), journal.FieldByName("ENVIOU"));
  journal.Append();
  EXPECT_EQ(2, journal.RecordCount());
  journal.Cancel();
  EXPECT_EQ(1, journal.RecordCount());
  EXPECT_EQ(SqlValue::integer(555), journal.FieldByName("ID_LEAD_VW"));
  EXPECT_TRUE(firebird.statements().empty());
}

TEST(TConexaoSimplificada, DialectsAndDatasetsWithoutATable) {
  for (const auto& [driver, banco] : {std::pair{"MSSQL", "SQLSERVER"}, {"ORACLE", "ORACLE"}}) {
    RecordingConnection connection(driver);
    EXPECT_EQ(banco, TConexaoSimplificada(connection).banco());
  }
  RecordingConnection oracle("ORACLE");
  oracle.respond("SELECT", test::singleValue("A", SqlValue::integer(1)));
  auto dataset = TConexaoSimplificada(oracle).RetornaDataset("SELECT A FROM T");
  EXPECT_FALSE(dataset->editable());
  EXPECT_THROW(dataset->Edit(), VornError);
}

class OnFirebird : public test::FirebirdSuite<true, false> {};

TEST_F(OnFirebird, ConexaoSimplificadaMissingRowsNullsAndTransactions) {
  TConexaoSimplificada conexao(*connection_);
  const std::vector<std::pair<std::string, int32_t>> inteiros = {
      {"SELECT VENDEDOR FROM FAT_VENDEDOR WHERE USUARIO = 404", -1},
      {"SELECT MAX(SEQUENCIA) FROM CAC_ATUALIZACOES_LEADVW WHERE ID_LEAD_VW = 1", 0},
      {"SELECT VENDEDOR FROM FAT_VENDEDOR WHERE USUARIO = 12", 12},
      {"SELECT NUMERO_DN FROM VWB_PARAMETRO WHERE EMPRESA = 1", 1234}};
  for (const auto& [sql, value] : inteiros) EXPECT_EQ(value, conexao.executaSQLInteger(sql)) << sql;
  EXPECT_THROW(conexao.executaSQLInteger("SELECT NOME FROM FAT_VENDEDOR WHERE USUARIO = 12"),
               ConversionError);
  const std::vector<std::pair<std::string, std::string>> textos = {
      {"SELECT CPF FROM FAT_VENDEDOR WHERE USUARIO = 404", ""},
      {"SELECT CAST(NULL AS VARCHAR(10)) FROM GER_DBVERSAO", ""},
      {"SELECT NOME_FANTASIA FROM GER_REVENDA WHERE EMPRESA = 1", "Vorn Veículos"},
      {"SELECT ORIGEM_TRAFEGO_LEADVW FROM CAC_PARAMETRO WHERE EMPRESA = 1", "7"}};
  for (const auto& [sql, value] : textos) EXPECT_EQ(value, conexao.executaSQLString(sql)) << sql;
  // DML is true when rows changed or the statement has none.
  EXPECT_TRUE(conexao.executaDML("UPDATE GER_USUARIO SET NOME = NOME WHERE USUARIO = 15"));
  EXPECT_FALSE(conexao.executaDML("UPDATE GER_USUARIO SET NOME = NOME WHERE USUARIO = 404"));
  EXPECT_TRUE(conexao.executaDML("CREATE TABLE SEM_LINHAS (A INTEGER)"));
  EXPECT_THROW(conexao.executaDML("UPDATE NENHUMA SET A = 1"), DatabaseError);
  EXPECT_EQ("INTERBASE", conexao.banco());
  EXPECT_EQ(connection_.get(), &conexao.retornaSQLConnection());
  conexao.iniciaTransacao();
  EXPECT_THROW(conexao.iniciaTransacao(), VornError);
  conexao.executaDML("DELETE FROM VEI_MODELO WHERE DES_MODELO = 'GOL'");
  EXPECT_EQ("", conexao.executaSQLString("SELECT MODELO FROM VEI_MODELO WHERE DES_MODELO = 'GOL'"));
  conexao.rollbackTransacao();
  EXPECT_EQ("1001",
            conexao.executaSQLString("SELECT MODELO FROM VEI_MODELO WHERE DES_MODELO = 'GOL'"));
  EXPECT_THROW(conexao.comitaTransacao(), VornError);
}

TEST_F(OnFirebird, EditAndAppendJoinTheCallersTransaction) {
  auto observer = db_->connect();
  TConexaoSimplificada conexao(*connection_);
  TConexaoSimplificada outra(*observer);
  conexao.iniciaTransacao();
  auto journal = conexao.RetornaDataset(
      "SELECT * FROM CAC_ATUALIZACOES_LEADVW WHERE ID_LEAD_VW = 777 AND SEQUENCIA = -1", kJournal);
  journal->Append();
  journal->SetField("ID_LEAD_VW", SqlValue::integer(777));
  journal->SetField("SEQUENCIA", SqlValue::integer(1));
  journal->SetField("DTA_ATUALIZACAO", SqlValue::dateTime(test::leadDate()));
  journal->Post();
  journal->Edit();
  journal->SetField("ENVIOU", SqlValue::text("S"));
  journal->Post();
  auto parametro = conexao.RetornaDataset(
      "SELECT * FROM CAC_PARAMETRO WHERE EMPRESA = 1 AND REVENDA = 1", "CAC_PARAMETRO");
  parametro->Edit();
  parametro->SetField("USUARIOS_NOTIF_CONTATO_VEI", SqlValue::text("15"));
  parametro->Post();
  const std::string journalRow = "FROM CAC_ATUALIZACOES_LEADVW WHERE ID_LEAD_VW = 777";
  EXPECT_EQ("S", conexao.executaSQLString("SELECT ENVIOU " + journalRow));
  EXPECT_EQ("05/03/2024 14:07:09",
            conexao.executaSQLString("SELECT DTA_ATUALIZACAO " + journalRow));
  EXPECT_EQ(-1, outra.executaSQLInteger("SELECT SEQUENCIA " + journalRow));
  conexao.rollbackTransacao();
  EXPECT_EQ(-1, conexao.executaSQLInteger("SELECT SEQUENCIA " + journalRow));
  EXPECT_EQ("12,15",
            outra.executaSQLString("SELECT USUARIOS_NOTIF_CONTATO_VEI FROM CAC_PARAMETRO"));
  // The same edit, committed, is what the other connection sees.
  conexao.iniciaTransacao();
  auto again =
      conexao.RetornaDataset("SELECT * FROM CAC_PARAMETRO WHERE EMPRESA = 1", "CAC_PARAMETRO");
  again->Edit();
  again->SetField("ORIGEM_TRAFEGO_LEADVW", SqlValue::integer(8));
  again->Post();
  conexao.comitaTransacao();
  EXPECT_EQ(8, outra.executaSQLInteger("SELECT ORIGEM_TRAFEGO_LEADVW FROM CAC_PARAMETRO"));
}

TEST_F(OnFirebird, EditOfAnEmptyDatasetInsertsAndARefusedPostKeepsTheRow) {
  TConexaoSimplificada conexao(*connection_);
  auto novo = conexao.RetornaDataset("SELECT * FROM GER_USUARIO WHERE USUARIO = 99", "GER_USUARIO");
  novo->Edit();
  EXPECT_EQ(TClientDataSet::State::Insert, novo->state());
  novo->SetField("USUARIO", SqlValue::integer(99));
  novo->SetField("NOME", SqlValue::text("JOSÉ D'ÁVILA"));
  novo->Post();
  EXPECT_EQ("JOSÉ D'ÁVILA",
            conexao.executaSQLString("SELECT NOME FROM GER_USUARIO WHERE USUARIO = 99"));

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
