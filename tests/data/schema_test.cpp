// The schema script, CreateDatabase and `vornleads init-db`.
#include "vornleads/data/schema.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <set>
#include <string>

#include "data/schema_text.h"
#include "support/firebird_db.h"
#include "support/paths.h"
#include "vornleads/error.h"

namespace vornleads {
namespace {

namespace fs = std::filesystem;

// isql's output with every run of blanks and line ends made one blank, trimmed.
std::string collapsed(const std::string& text) {
  std::string result;
  for (char ch : text) {
    if (ch == ' ' || ch == '\n' || ch == '\r' || ch == '\t') {
      if (!result.empty() && result.back() != ' ') result += ' ';
    } else {
      result += ch;
    }
  }
  if (!result.empty() && result.back() == ' ') result.pop_back();
  return result;
}

TEST(SplitSqlScript, SplitsAtSemicolonsOutsideTextAndComments) {
  EXPECT_EQ(
      (std::vector<std::string>{"CREATE TABLE A (X INTEGER)",
                                "INSERT INTO A VALUES ('a;b'' -- not a comment; ')",
                                "INSERT INTO A VALUES (2)"}),
      splitSqlScript("-- heading; with a semicolon\n"
                     "CREATE TABLE A (X INTEGER);\n"
                     "/* block; comment */ INSERT INTO A VALUES ('a;b'' -- not a comment; ');\n"
                     "INSERT INTO A VALUES (2) -- trailing\n;\n  ;\n-- end"));
}

TEST(Schema, EveryTableTheIntegrationUsesIsCreated) {
  std::set<std::string> tables;
  for (const std::string& statement : SchemaStatements()) {
    if (statement.rfind("CREATE TABLE ", 0) != 0) continue;
    tables.insert(statement.substr(13, statement.find(' ', 13) - 13));
  }
  for (const char* table :
       {"CAC_CONTATO",         "CAC_LEAD_CONTATO",     "CAC_INTERESSE",
        "GER_MENSAGEM",        "FAT_CLIENTE",          "FAT_PESSOA_FISICA",
        "FAT_PESSOA_JURIDICA", "CAC_PARAMETRO",        "VEI_PARAMETRO",
        "VWB_PARAMETRO",       "FAT_VENDEDOR",         "GER_REVENDA",
        "VEI_MODELO",          "CAC_FORMA_CONTATO",    "CAC_ATUALIZACOES_LEADVW",
        "GER_NUMERADOR",       "GER_USUARIO",          "GER_DBVERSAO",
        "OFI_ORDEM_SERVICO",   "OFI_SOLICITACAO",      "OFI_TIPO_SERVICO",
        "OFI_ATENDIMENTO",     "FAT_CATEGORIA_CLIENTE"}) {
    EXPECT_EQ(1u, tables.count(table)) << table;
  }
}

class SchemaOnFirebird : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { db_ = std::make_unique<test::TestDatabase>(true); }
  static void TearDownTestSuite() { db_.reset(); }
  static std::unique_ptr<test::TestDatabase> db_;
};

std::unique_ptr<test::TestDatabase> SchemaOnFirebird::db_;

TEST_F(SchemaOnFirebird, FirebirdsOwnToolReadsTheSampleCompany) {
  EXPECT_EQ(
      "NUMERO_DN 01234 NOME_FANTASIA Vorn Veículos UTILIZA_INTEGRACAO_LEADVW S "
      "USUARIOS_NOTIF_CONTATO_VEI 12,15",
      collapsed(
          db_->isql("SET LIST ON;\n"
                    "SELECT VWB.NUMERO_DN, REV.NOME_FANTASIA, CAC.UTILIZA_INTEGRACAO_LEADVW,\n"
                    "       CAC.USUARIOS_NOTIF_CONTATO_VEI\n"
                    "  FROM VWB_PARAMETRO VWB JOIN GER_REVENDA REV ON REV.EMPRESA = VWB.EMPRESA\n"
                    "   AND REV.REVENDA = VWB.REVENDA JOIN CAC_PARAMETRO CAC\n"
                    "    ON CAC.EMPRESA = VWB.EMPRESA AND CAC.REVENDA = VWB.REVENDA;")));
  EXPECT_EQ(
      "USUARIO 0 CPF 11122233396 USUARIO 12 CPF 22233344405 USUARIO 15 CPF 33344455514",
      collapsed(db_->isql("SET LIST ON; SELECT USUARIO, CPF FROM FAT_VENDEDOR WHERE EMPRESA = 1 "
                          "AND REVENDA = 1 ORDER BY USUARIO;")));
  EXPECT_EQ(
      "DES_MODELO GOL DES_MODELO NIVUS DES_MODELO POLO DES_MODELO T-CROSS",
      collapsed(db_->isql("SET LIST ON; SELECT DES_MODELO FROM VEI_MODELO ORDER BY DES_MODELO;")));
  EXPECT_EQ("FORMA_CONTATO 4",
            collapsed(db_->isql(
                "SET LIST ON; SELECT FORMA_CONTATO FROM CAC_FORMA_CONTATO WHERE EMPRESA = 1 "
                "AND TIPO_FORMA_CONTATO = 1;")));
  EXPECT_EQ(
      "TIPO_CONTATO 1 SUB_TIPO_CONTATO 2 DEPARTAMENTO 3 VERSAO 2.1.7",
      collapsed(db_->isql("SET LIST ON; SELECT TIPO_CONTATO, SUB_TIPO_CONTATO, DEPARTAMENTO, "
                          "(SELECT VERSAO FROM GER_DBVERSAO) AS VERSAO FROM VEI_PARAMETRO;")));
}

TEST_F(SchemaOnFirebird, DefaultsAndKeysTheIntegrationReliesOn) {
  auto connection = db_->connect();
  connection->execute(
      "INSERT INTO CAC_LEAD_CONTATO (EMPRESA, REVENDA, CONTATO, ID_LEAD_VW) VALUES (1, 1, 5, 900)");
  EXPECT_EQ("S", connection->query("SELECT INTEGRANDO FROM CAC_LEAD_CONTATO WHERE ID_LEAD_VW = 900")
                     .rows.at(0)
                     .at(0)
                     .asString());
  // A lead is linked once per company/branch.
  EXPECT_THROW(connection->execute("INSERT INTO CAC_LEAD_CONTATO (EMPRESA, REVENDA, CONTATO, "
                                   "ID_LEAD_VW) VALUES (1, 1, 6, 900)"),
               DatabaseError);
  // Messages number themselves.
  connection->execute(
      "INSERT INTO GER_MENSAGEM (USUARIO_DESTINO, ASSUNTO) VALUES (12, 'Novo Contato Lead')");
  connection->execute(
      "INSERT INTO GER_MENSAGEM (USUARIO_DESTINO, ASSUNTO) VALUES (15, 'Novo Contato Lead')");
  const SqlRowSet messages =
      connection->query("SELECT MENSAGEM_ID, SITUACAO FROM GER_MENSAGEM ORDER BY MENSAGEM_ID");
  ASSERT_EQ(2u, messages.rows.size());
  EXPECT_LT(messages.rows[0][0].asInteger(), messages.rows[1][0].asInteger());
  EXPECT_EQ("N", messages.rows[0][1].asString());
  // The numbering routine inserts counter rows without a column list.
  connection->execute("insert into GER_NUMERADOR values (1,1,'CONTATO','CAC_CONTATO',2)");
  EXPECT_EQ((std::vector<std::string>{"EMPRESA", "REVENDA", "CONTATO"}),
            connection->primaryKey("CAC_CONTATO"));
  EXPECT_EQ((std::vector<std::string>{"ID_LEAD_VW", "SEQUENCIA"}),
            connection->primaryKey("CAC_ATUALIZACOES_LEADVW"));
  // The journal keeps VW's rejection text (cut to 500 characters) and a longer local reason,
  // such as a transport failure's message, without refusing the outcome write.
  const std::string reason(1200, 'x');
  connection->execute(
      "INSERT INTO CAC_ATUALIZACOES_LEADVW (ID_LEAD_VW, SEQUENCIA, DESCRICAO_ERRO) VALUES (900, 1, '" +
      reason + "')");
  EXPECT_EQ(reason, connection
                        ->query("SELECT DESCRICAO_ERRO FROM CAC_ATUALIZACOES_LEADVW "
                                "WHERE ID_LEAD_VW = 900 AND SEQUENCIA = 1")
                        .rows.at(0)
                        .at(0)
                        .asString());
}

TEST(CreateDatabase, AnEmptyDatabaseHasTheTablesAndNoRows) {
  test::TestDatabase db(false);
  EXPECT_EQ("N 0", collapsed(db.isql("SET LIST ON; SELECT COUNT(*) AS N FROM GER_REVENDA;")));
  EXPECT_EQ("N 23", collapsed(db.isql("SET LIST ON; SELECT COUNT(*) AS N FROM RDB$RELATIONS "
                                      "WHERE RDB$SYSTEM_FLAG = 0;")));
  EXPECT_EQ("CHARSET UTF8",
            collapsed(db.isql("SET LIST ON; SELECT TRIM(RDB$CHARACTER_SET_NAME) AS CHARSET "
                              "FROM RDB$DATABASE;")));
}

TEST(CreateDatabase, AnExistingFileIsRefusedAndLeftAlone) {
  test::TempDir dir;
  const fs::path path = dir / "dms.fdb";
  test::writeFile(path, "not a database");
  try {
    CreateDatabase(path.string(), true);
    FAIL() << "an existing file was overwritten";
  } catch (const VornError& error) {
    EXPECT_EQ("The database file " + path.string() + " already exists; it was left untouched",
              std::string(error.what()));
  }
  EXPECT_EQ("not a database", test::readFile(path));
}

TEST(CreateDatabase, AFolderThatDoesNotExistIsADatabaseError) {
  test::TempDir dir;
  const fs::path path = dir / "missing" / "dms.fdb";
  EXPECT_THROW(CreateDatabase(path.string(), false), DatabaseError);
  EXPECT_FALSE(fs::exists(path));
}

TEST(InitDbCommand, CreatesTheSampleDatabaseAndRefusesToOverwriteIt) {
  const fs::path program = test::binDir() / "vornleads";
  if (!fs::exists(program)) GTEST_SKIP() << "bin/vornleads is not built";
  test::TempDir dir;
  const fs::path path = dir / "nova base.fdb";
  const fs::path out = dir / "out.txt";
  const fs::path err = dir / "err.txt";
  const std::string command = "'" + program.string() + "' --db 'firebird:" + path.string() +
                              "' init-db --sample > '" + out.string() + "' 2> '" + err.string() +
                              "'";
  ASSERT_EQ(0, std::system(command.c_str())) << test::readFile(err);
  EXPECT_EQ(
      "created " + path.string() +
          ": 23 DMS tables, sample company/branch 1.1 (dealer number 01234) added (18 rows)\n",
      test::readFile(out));
  auto connection = OpenConnection(path.string());
  EXPECT_EQ("01234",
            connection->query("SELECT NUMERO_DN FROM VWB_PARAMETRO").rows.at(0).at(0).asString());
  connection.reset();

  const int status = std::system(command.c_str());
  EXPECT_EQ(1, WEXITSTATUS(status));
  EXPECT_EQ("", test::readFile(out));
  // The sanitizer may add its own report after the program's message.
  const std::string message =
      "vornleads: The database file " + path.string() + " already exists; it was left untouched\n";
  EXPECT_EQ(message, test::readFile(err).substr(0, message.size()));
}

}  // namespace
}  // namespace vornleads
