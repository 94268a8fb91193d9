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
using State = TClientDataSet::State;

const char* const kJournal = "CAC_ATUALIZACOES_LEADVW";

SqlRowSet journalRows() {
  return {{"ID_LEAD_VW", "SEQUENCIA", "ENVIOU", "CODIGO_ERRO", "DESCRICAO_ERRO", "DTA_ATUALIZACAO"},
          {{SqlValue::integer(555), SqlValue::integer(2), SqlValue::text("N"),
            SqlValue::integer(297), SqlValue::text("em envio"), SqlValue()}}};
}

TEST(TClientDataSet, PostsOneUpdateOfTheChangedColumnsOrOneInsertOfTheFieldsSet) {
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
  EXPECT_EQ(State::Browse, dataset.state());
  EXPECT_EQ(SqlValue::text("S"), dataset.FieldByName("enviou"));
  dataset.Edit();
  dataset.SetField("ENVIOU", SqlValue::text("S"));
  dataset.Post();  // nothing changed: no statement
  dataset.Append();
  dataset.SetField("ID_LEAD_VW", SqlValue::integer(556));
  dataset.SetField("CODIGO_ERRO", SqlValue::real(297));
  dataset.Post();
  dataset.Append();
  dataset.Post();
  EXPECT_EQ((Statements{"UPDATE CAC_ATUALIZACOES_LEADVW SET SEQUENCIA = 3, ENVIOU = 'S', "
                        "CODIGO_ERRO = NULL, DESCRICAO_ERRO = 'd''Ávila', DTA_ATUALIZACAO = "
                        "TO_DATE('05/03/2024 14:07:09','dd/mm/yyyy HH24:MI:SS') WHERE ID_LEAD_VW = "
                        "555 AND SEQUENCIA = 2 AND DTA_ATUALIZACAO IS NULL",
                        "INSERT INTO CAC_ATUALIZACOES_LEADVW (ID_LEAD_VW, CODIGO_ERRO) VALUES "
                        "(556, 297.0)",
                        "INSERT INTO CAC_ATUALIZACOES_LEADVW DEFAULT VALUES"}),
            oracle.statements());
  EXPECT_EQ(3, dataset.RecordCount());
  dataset.First();
  EXPECT_EQ(SqlValue::integer(3), dataset.FieldByName("SEQUENCIA"));
  dataset.Next();
  EXPECT_TRUE(dataset.FieldByName("ENVIOU").isNull());
}

TEST(TClientDataSet, UpdatesNeedAKeyAndARowAndARefusedPostKeepsTheEdit) {
  const std::tuple<Statements, int64_t, std::string> casos[] = {
      {{}, 1, "Table CAC_ATUALIZACOES_LEADVW has no primary key: its rows cannot be updated"},
      {{"ID_LEAD_VW", "USUARIO"},
       1,
       "The dataset of CAC_ATUALIZACOES_LEADVW does not hold its key column USUARIO: the row "
       "cannot be updated"},
      {{"ID_LEAD_VW", "SEQUENCIA"}, 0, "Record not found or changed by another user"},
      {{"ID_LEAD_VW"}, -1, "ORA-12899: value too large\r\nSQL: UPDATE"}};
  for (const auto& [key, affected, message] : casos) {
    RecordingConnection oracle("ORACLE");
    if (!key.empty()) oracle.setPrimaryKey(kJournal, key);
    oracle.setAffectedRows(affected);
    if (affected < 0) oracle.failOn("UPDATE", "ORA-12899: value too large");
    TClientDataSet dataset(journalRows(), oracle, kJournal);
    dataset.Edit();
    dataset.SetField("ENVIOU", SqlValue::text("S"));
    EXPECT_EQ(0u, test::outcome([&] { dataset.Post(); }).find(message)) << message;
    EXPECT_EQ(State::Edit, dataset.state());
    dataset.Cancel();
    EXPECT_EQ(SqlValue::text("N"), dataset.FieldByName("ENVIOU"));
  }
}

TEST(TClientDataSet, BrowsingCancelAndReadOnlyDatasets) {
  TClientDataSet dataset(SqlRowSet{{"N"}, {{SqlValue::integer(1)}, {SqlValue::integer(2)}}});
  EXPECT_FALSE(dataset.Eof());
  dataset.Next();
  dataset.Next();
  EXPECT_TRUE(dataset.Eof());
  EXPECT_EQ(SqlValue::integer(2), dataset.FieldByName("N"));  // stays on the last row
  dataset.First();
  EXPECT_EQ(SqlValue::integer(1), dataset.FieldByName("N"));
  EXPECT_EQ("Field 'X' not found", test::outcome([&] { dataset.FieldByName("X"); }));
  EXPECT_THROW(dataset.Edit(), VornError);
  EXPECT_THROW(dataset.Append(), VornError);
  EXPECT_EQ("Dataset not in edit or insert mode",
            test::outcome([&] { dataset.SetField("N", SqlValue::integer(3)); }));
  RecordingConnection oracle("ORACLE");
  oracle.respond("SELECT", test::singleValue("A", SqlValue::integer(1)));
  EXPECT_FALSE(TConexaoSimplificada(oracle).RetornaDataset("SELECT A FROM T")->editable());
  // An empty dataset reads nulls; its Edit is an Append, cancelled here.
  TClientDataSet empty(SqlRowSet{{"A"}, {}}, oracle, kJournal);
  EXPECT_TRUE(empty.Eof());
  EXPECT_TRUE(empty.FieldByName("A").isNull());
  empty.Edit();
  EXPECT_EQ(State::Insert, empty.state());
  EXPECT_EQ(1, empty.RecordCount());
  empty.Cancel();
  EXPECT_TRUE(empty.IsEmpty());
  EXPECT_EQ(1u, oracle.statements().size());
}

class OnFirebird : public test::FirebirdSuite<true, false> {};

TEST_F(OnFirebird, ConexaoSimplificadaMissingRowsNullsAndTransactions) {
  TConexaoSimplificada conexao(*connection_);
  const std::vector<std::pair<std::string, int32_t>> inteiros = {
      {"SELECT VENDEDOR FROM FAT_VENDEDOR WHERE USUARIO = 404", -1},
      {"SELECT MAX(SEQUENCIA) FROM CAC_ATUALIZACOES_LEADVW WHERE ID_LEAD_VW = 1", 0},
      {"SELECT NUMERO_DN FROM VWB_PARAMETRO WHERE EMPRESA = 1", 1234}};
  for (const auto& [sql, value] : inteiros) EXPECT_EQ(value, conexao.executaSQLInteger(sql));
  EXPECT_THROW(conexao.executaSQLInteger("SELECT NOME FROM FAT_VENDEDOR"), ConversionError);
  const std::vector<std::pair<std::string, std::string>> textos = {
      {"SELECT CPF FROM FAT_VENDEDOR WHERE USUARIO = 404", ""},
      {"SELECT CAST(NULL AS VARCHAR(10)) FROM GER_DBVERSAO", ""},
      {"SELECT NOME_FANTASIA FROM GER_REVENDA WHERE EMPRESA = 1", "Vorn Veículos"},
      {"SELECT ORIGEM_TRAFEGO_LEADVW FROM CAC_PARAMETRO WHERE EMPRESA = 1", "7"}};
  for (const auto& [sql, value] : textos) EXPECT_EQ(value, conexao.executaSQLString(sql));
  // DML is true when rows changed or the statement has none.
  EXPECT_TRUE(conexao.executaDML("UPDATE GER_USUARIO SET NOME = NOME WHERE USUARIO = 15"));
  EXPECT_FALSE(conexao.executaDML("UPDATE GER_USUARIO SET NOME = NOME WHERE USUARIO = 404"));
  EXPECT_TRUE(conexao.executaDML("CREATE TABLE SEM_LINHAS (A INTEGER)"));
  EXPECT_EQ("INTERBASE", conexao.banco());
  EXPECT_EQ(connection_.get(), &conexao.retornaSQLConnection());
}

TEST_F(OnFirebird, EditAndAppendJoinTheCallersTransaction) {
  auto observer = db_->connect();
  TConexaoSimplificada conexao(*connection_), outra(*observer);
  const std::string journal = "SELECT * FROM CAC_ATUALIZACOES_LEADVW WHERE ID_LEAD_VW = 777";
  conexao.iniciaTransacao();
  EXPECT_THROW(conexao.iniciaTransacao(), VornError);
  auto dataset = conexao.RetornaDataset(journal, kJournal);
  dataset->Edit();  // empty: an insert
  dataset->SetField("ID_LEAD_VW", SqlValue::integer(777));
  dataset->SetField("SEQUENCIA", SqlValue::integer(1));
  dataset->SetField("DTA_ATUALIZACAO", SqlValue::dateTime(test::leadDate()));
  dataset->Post();
  dataset->Edit();
  dataset->SetField("ENVIOU", SqlValue::text("S"));
  dataset->Post();
  EXPECT_EQ("S|05/03/2024 14:07:09",
            test::linha(connection_->query(journal), "ENVIOU DTA_ATUALIZACAO"));
  EXPECT_EQ(-1, outra.executaSQLInteger(journal));
  conexao.rollbackTransacao();
  EXPECT_EQ(-1, conexao.executaSQLInteger(journal));
  EXPECT_THROW(conexao.comitaTransacao(), VornError);
  // The same edit, committed, is what the other connection sees.
  conexao.iniciaTransacao();
  auto usuario =
      conexao.RetornaDataset("SELECT * FROM GER_USUARIO WHERE USUARIO = 12", "GER_USUARIO");
  usuario->Edit();
  usuario->SetField("NOME", SqlValue::text("JOSÉ D'ÁVILA"));
  usuario->Post();
  conexao.comitaTransacao();
  EXPECT_EQ("JOSÉ D'ÁVILA",
            outra.executaSQLString("SELECT NOME FROM GER_USUARIO WHERE USUARIO = 12"));
}

}  // namespace
}  // namespace vornleads
