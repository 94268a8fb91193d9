// Numbering on Oracle, SQL Server and the application server, statement by statement: single
// draws and reservations (numeracao_firebird_test.cpp runs them on a real database).
#include "vornleads/data/numeracao.h"

#include <gtest/gtest.h>

#include <string>

#include "support/firebird_suite.h"
#include "vornleads/data/host_settings.h"
#include "vornleads/data/numeracao_reserva.h"

namespace vornleads {
namespace {

using test::numero;
using test::RecordingConnection;
using test::singleValue;
using test::Statements;

class RecordingRemote : public RemoteServerConnection {
 public:
  bool ExecutaDML(const std::string& sql) override {
    calls.push_back(sql);
    return sql.find("insert") == std::string::npos;  // inserts are refused
  }
  void IniciaTransacao() override { calls.push_back("IniciaTransacao"); }
  void ComitaTransacao() override { calls.push_back("ComitaTransacao"); }
  void RollbackTransacao() override { calls.push_back("RollbackTransacao"); }
  Statements calls;
};

std::string where(const std::string& numerador, const std::string& tabela) {
  return " where EMPRESA   = 1 and   REVENDA   = 1 and   NUMERADOR = '" + numerador +
         "' and   TABELA    = '" + tabela + "'";
}
const std::string kLer = "select PROXIMO_NUMERO from GER_NUMERADOR";
const char* const kVersao = "select SERVERPROPERTY('productversion') VERSAO";
std::string cria(const std::string& nome, int inicio) {
  return "create sequence " + nome + " minvalue 1 maxvalue 999999999 start with " +
         std::to_string(inicio) + " increment by 1 cache 20";
}
std::string ora(const std::string& nome) {
  return "select " + nome + ".nextval PROXIMO_NUMERO from dual";
}
SqlRowSet texto(const char* column, const char* v) {
  return singleValue(column, SqlValue::text(v));
}

TEST(Numeracao, StatementByStatementOnOracleSqlServerAndTheApplicationServer) {
  struct Caso {
    const char *nome, *driver;
    test::Answers respostas;
    std::string tabela, numerador;
    int quantidade;
    std::string esperado;  // the number, or the error's message
    Statements sql;
    bool remoto = false;
    Statements servidor = {};  // the application server's calls
  };
  const std::string contato =
      kLer + " where EMPRESA   = 1 and   REVENDA   = 1 and   TABELA    = 'CAC_CONTATO'";
  const std::string orcamento = where("ORCAMENTO", "OFI_ORCAMENTO"),
                    cliente = where("CLIENTE", "FAT_CLIENTE");
  const std::string insert = "insert into GER_NUMERADOR values (1,1,'ORCAMENTO','OFI_ORCAMENTO',2)";
  const std::string existe = "select SEQUENCE_NAME from USER_SEQUENCES where SEQUENCE_NAME = '";
  // clang-format off
  const Caso casos[] = {
      {"new Oracle sequence: above the counter, one ahead", "ORACLE",
       {{"select SEQUENCE_NAME", {}}, {kLer, numero(100)}, {"select CAC", numero(101)},
        {"select CAC", numero(102)}},
       "CAC_CONTATO", "CONTATO", 1, "101",
       {existe + "CAC_CONTATOE1R1'", contato, cria("CAC_CONTATOE1R1", 101), ora("CAC_CONTATOE1R1"),
        ora("CAC_CONTATOE1R1")}},
      {"existing Oracle sequence: last drawn minus the block", "ORACLE",
       {{"select SEQUENCE_NAME", texto("SEQUENCE_NAME", "X")}, {"select GER", numero(10)},
        {"select GER", numero(11)}, {"select GER", numero(12)}},
       "GER_LOG_CADASTROS", "LOG", 3, "9",
       {existe + "GER_LOG_CADASTROSE1R1'", ora("GER_LOG_CADASTROSE1R1"),
        ora("GER_LOG_CADASTROSE1R1"), ora("GER_LOG_CADASTROSE1R1")}},
      {"other Oracle tables: the counter table on the second attachment", "ORACLE",
       {{kLer + " where", numero(40)}, {kLer + "  where", numero(41)}}, "FAT_CLIENTE", "CLIENTE",
       1, "40",
       {kLer + cliente, "BEGIN*",
        "update GER_NUMERADOR set PROXIMO_NUMERO = PROXIMO_NUMERO + 1" + cliente,
        kLer + " " + cliente, "COMMIT*"}},
      {"new sequence on SQL Server 15", "DevartSQLServer",
       {{"select SERVER", texto("VERSAO", "15.0.2000.5")}, {kLer, numero(9)}},
       "GER_OPERACAO", "OPERACAO", 1, "10",
       {kVersao, "select NAME from SYS.SEQUENCES where NAME = 'GER_OPERACAOE1R1'",
        kLer + where("OPERACAO", "GER_OPERACAO"), cria("GER_OPERACAOE1R1", 10),
        "select next value for GER_OPERACAOE1R1 PROXIMO_NUMERO",
        "select next value for GER_OPERACAOE1R1 PROXIMO_NUMERO"}},
      {"remote: the counter update and its transaction run on the server", "Firebird",
       {{kLer + " where", numero(20)}, {kLer + "  where", numero(22)}},
       "OFI_ORCAMENTO", "ORCAMENTO", 2, "20", {kLer + orcamento, kLer + " " + orcamento},
       true, {"IniciaTransacao",
              "update GER_NUMERADOR set PROXIMO_NUMERO = PROXIMO_NUMERO + 2" + orcamento,
              "ComitaTransacao"}},
      {"remote: a refused statement rolls the server's transaction back", "Firebird", {},
       "OFI_ORCAMENTO", "ORCAMENTO", 1,
       "O servidor de aplicação não executou o comando:\r\n" + insert, {kLer + orcamento},
       true, {"IniciaTransacao", insert, "RollbackTransacao"}},
  };
  // clang-format on
  for (const Caso& c : casos) {
    SCOPED_TRACE(c.nome);
    auto remote = std::make_shared<RecordingRemote>();
    if (c.remoto) setHostSettings({"DATASNAP", "servidor-aplicacao", remote});
    RecordingConnection connection(c.driver);
    for (const auto& [prefix, rows] : c.respostas) connection.respond(prefix, rows);
    const std::string resultado = test::outcome([&] {
      return BuscaProximoNumero(connection, 1, 1, c.tabela, c.numerador, c.quantidade, true);
    });
    setHostSettings({});
    EXPECT_EQ(c.esperado, resultado);
    EXPECT_EQ(c.sql, connection.statements());
    EXPECT_EQ(c.servidor, remote->calls);
    EXPECT_EQ(0u, connection.pendingAnswers());
    EXPECT_FALSE(connection.inTransaction());
  }
}

TEST(Numeracao, FailuresAndSqlServerVersions) {
  setHostSettings({"DATASNAP", "", nullptr});  // remote mode without a server connection
  RecordingConnection local("Firebird");
  EXPECT_THROW(BuscaProximoNumero(local, 1, 1, "OFI_ORCAMENTO", "ORCAMENTO", 1, true), VornError);
  setHostSettings({});
  EXPECT_TRUE(local.statements().empty());
  EXPECT_FALSE(modoRemoto({"datasnap", "", nullptr}));

  RecordingConnection mssql("MSSQL");
  for (const char* v : {"12.0.2000.8", "16", "-3.1", "1234567890.1", "x.1", "+.1", "1a.0"})
    mssql.respond("select SERVERPROPERTY", texto("VERSAO", v));
  EXPECT_EQ(12, VersaoSqlServer(mssql, "SQLSERVER"));
  EXPECT_EQ(-1, VersaoSqlServer(mssql, "SQLSERVER"));  // no "."
  EXPECT_EQ(-3, VersaoSqlServer(mssql, "SQLSERVER"));
  for (int i = 0; i < 4; ++i) EXPECT_THROW(VersaoSqlServer(mssql, "SQLSERVER"), ConversionError);
  EXPECT_EQ(-1, VersaoSqlServer(mssql, "SQLSERVER"));  // no row
  EXPECT_EQ(-1, VersaoSqlServer(mssql, "ORACLE"));     // other dialects never ask
  EXPECT_EQ(8u, mssql.statements().size());
}

TEST(ReservaNumeros, BlocksOnCounterRowsOneByOneOnSequences) {
  struct Caso {
    const char *nome, *driver, *versao;  // versao: the SQL Server version answered, or null
    test::Answers respostas;
    int primeiro;         // four numbers in a row from here
    Statements sorteios;  // the statements that draw
  };
  // Sequences: an existence check and a draw per number, the draws from `de` on.
  auto porNumero = [](const char* existe, const char* coluna, const char* sorteio, int de) {
    test::Answers respostas;
    for (int n = de; n < de + 4; ++n)
      respostas.insert(respostas.end(), {{existe, texto(coluna, "S")}, {sorteio, numero(n)}});
    return respostas;
  };
  test::Answers blocos;
  for (int n : {30, 31, 31, 33, 33, 37}) blocos.push_back({"select PROXIMO_NUMERO", numero(n)});
  const std::string soma = "update GER_NUMERADOR set PROXIMO_NUMERO = PROXIMO_NUMERO + ",
                    contato = where("CONTATO", "CAC_CONTATO");
  const Caso casos[] = {{"SQL Server 10: the counter row, blocks of 1, 2, 4",
                         "MSSQL",
                         "10.50.1600.1",
                         blocos,
                         30,
                         {soma + "1" + contato, soma + "2" + contato, soma + "4" + contato}},
                        {"Oracle sequence: one draw per number", "ORACLE", nullptr,
                         porNumero("select SEQUENCE_NAME", "SEQUENCE_NAME", "select CAC", 5), 4,
                         Statements(4, ora("CAC_CONTATOE1R1"))},
                        {"SQL Server 11: the sequence", "MSSQL", "11.0.2100.60",
                         porNumero("select NAME", "NAME", "select next", 9), 8,
                         Statements(4, "select next value for CAC_CONTATOE1R1 PROXIMO_NUMERO")}};
  for (const Caso& c : casos) {
    SCOPED_TRACE(c.nome);
    RecordingConnection connection(c.driver);
    // The reservation asks the version once, then each draw of BuscaProximoNumero again.
    for (int i = 0; c.versao && i < 5; ++i)
      connection.respond("select SERVERPROPERTY", texto("VERSAO", c.versao));
    for (const auto& [prefix, rows] : c.respostas) connection.respond(prefix, rows);
    ReservaNumeros reserva(connection);
    for (int i = 0; i < 4; ++i)
      EXPECT_EQ(c.primeiro + i, reserva.proximo(1, 1, "CAC_CONTATO", "CONTATO"));
    Statements sorteios;
    for (const std::string& sql : connection.statements())
      for (const char* sorteio : {"update", "select CAC", "select next"})
        if (sql.rfind(sorteio, 0) == 0) sorteios.push_back(sql);
    EXPECT_EQ(c.sorteios, sorteios);
  }
}

}  // namespace
}  // namespace vornleads
