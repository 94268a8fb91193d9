// Numbering: Oracle, SQL Server and the application server statement by statement through the
// recording connection; the counter table, its transactions and concurrent drawers on Firebird.
#include "vornleads/data/numeracao.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <exception>
#include <string>
#include <thread>

#include "fixture.h"
#include "vornleads/data/host_settings.h"

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
    return refuse.empty() || sql.find(refuse) == std::string::npos;
  }
  void IniciaTransacao() override { calls.push_back("IniciaTransacao"); }
  void ComitaTransacao() override { calls.push_back("ComitaTransacao"); }
  void RollbackTransacao() override { calls.push_back("RollbackTransacao"); }
  Statements calls;
  std::string refuse;  // statements containing this text are answered false
};

std::string where(const std::string& numerador, const std::string& tabela, int revenda = 1) {
  return " where EMPRESA   = 1 and   REVENDA   = " + std::to_string(revenda) +
         " and   NUMERADOR = '" + numerador + "' and   TABELA    = '" + tabela + "'";
}
const std::string kVersao = "select SERVERPROPERTY('productversion') VERSAO";
const std::string kLer = "select PROXIMO_NUMERO from GER_NUMERADOR";
std::string avanca(int quantidade) {
  return "update GER_NUMERADOR set PROXIMO_NUMERO = PROXIMO_NUMERO + " + std::to_string(quantidade);
}
std::string cria(const std::string& nome, int inicio) {
  return "create sequence " + nome + " minvalue 1 maxvalue 999999999 start with " +
         std::to_string(inicio) + " increment by 1 cache 20";
}
std::string proximoOra(const std::string& nome) {
  return "select " + nome + ".nextval PROXIMO_NUMERO from dual";
}
std::string proximoSql(const std::string& nome) { return "select next value for " + nome + " PROXIMO_NUMERO"; }
SqlRowSet versao(const char* text) { return singleValue("VERSAO", SqlValue::text(text)); }

TEST(Numeracao, StatementByStatementOnOracleSqlServerAndTheApplicationServer) {
  struct Caso {
    const char* nome;
    const char* driver;
    test::Answers respostas;
    std::string tabela, numerador;
    int quantidade;
    bool transacao;
    std::string esperado;  // the number, or the error's message
    Statements sql;
    bool remoto = false;
    Statements servidor = {};  // the application server's calls
    std::string recusa = {};
  };
  const std::string ordem = " where EMPRESA  = 1 and   REVENDA  = 1 and   NRO_OS   = 12";
  const std::string contato = " where EMPRESA   = 1 and   REVENDA   = 1 and   TABELA    = 'CAC_CONTATO'";
  const Caso casos[] = {
      {"new Oracle sequence starts above the counter and runs one ahead", "ORACLE",
       {{"select SEQUENCE_NAME", {}}, {kLer, numero(100)}, {"select CAC_CONTATOE1R1", numero(101)},
        {"select CAC_CONTATOE1R1", numero(102)}},
       "CAC_CONTATO", "CONTATO", 1, true, "101",
       {"select SEQUENCE_NAME from USER_SEQUENCES where SEQUENCE_NAME = 'CAC_CONTATOE1R1'",
        kLer + contato, cria("CAC_CONTATOE1R1", 101), proximoOra("CAC_CONTATOE1R1"),
        proximoOra("CAC_CONTATOE1R1")}},
      {"existing Oracle sequence: last drawn minus the block", "ORACLE",
       {{"select SEQUENCE_NAME", singleValue("SEQUENCE_NAME", SqlValue::text("X"))},
        {"select GER_LOG", numero(10)}, {"select GER_LOG", numero(11)}, {"select GER_LOG", numero(12)}},
       "GER_LOG_CADASTROS", "LOG", 3, true, "9",
       {"select SEQUENCE_NAME from USER_SEQUENCES where SEQUENCE_NAME = 'GER_LOG_CADASTROSE1R1'",
        proximoOra("GER_LOG_CADASTROSE1R1"), proximoOra("GER_LOG_CADASTROSE1R1"),
        proximoOra("GER_LOG_CADASTROSE1R1")}},
      {"new sequence without a counter row starts at 1", "ORACLE", {}, "GER_OPERACAO", "OPERACAO",
       1, false, "1",
       {"select SEQUENCE_NAME from USER_SEQUENCES where SEQUENCE_NAME = 'GER_OPERACAOE1R1'",
        kLer + where("OPERACAO", "GER_OPERACAO"), cria("GER_OPERACAOE1R1", 1),
        proximoOra("GER_OPERACAOE1R1"), proximoOra("GER_OPERACAOE1R1")}},
      {"drawing nothing from a sequence is field not found", "ORACLE",
       {{"select SEQUENCE_NAME", singleValue("SEQUENCE_NAME", SqlValue::text("X"))}}, "CAC_CONTATO",
       "CONTATO", 0, true, "Field 'PROXIMO_NUMERO' not found",
       {"select SEQUENCE_NAME from USER_SEQUENCES where SEQUENCE_NAME = 'CAC_CONTATOE1R1'"}},
      {"other Oracle tables: the counter table on the second attachment", "ORACLE",
       {{kLer + " where", numero(40)}, {kLer + "  where", numero(41)}}, "FAT_CLIENTE", "CLIENTE", 1,
       true, "40",
       {kLer + where("CLIENTE", "FAT_CLIENTE"), "BEGIN*", avanca(1) + where("CLIENTE", "FAT_CLIENTE"),
        kLer + " " + where("CLIENTE", "FAT_CLIENTE"), "COMMIT*"}},
      {"SQL Server 10 counts contacts in the table", "MSSQL",
       {{"select SERVERPROPERTY", versao("10.50.1600.1")}, {kLer + " where", numero(7)},
        {kLer + "  where", numero(8)}},
       "CAC_CONTATO", "CONTATO", 1, true, "7",
       {kVersao, kLer + where("CONTATO", "CAC_CONTATO"), "BEGIN*",
        avanca(1) + where("CONTATO", "CAC_CONTATO"), kLer + " " + where("CONTATO", "CAC_CONTATO"),
        "COMMIT*"}},
      {"SQL Server 11 uses sequences", "MSSQL",
       {{"select SERVERPROPERTY", versao("11.0.2100.60")},
        {"select NAME", singleValue("NAME", SqlValue::text("CAC_CONTATOE1R1"))},
        {"select next value for", numero(57)}},
       "CAC_CONTATO", "CONTATO", 1, true, "56",
       {kVersao, "select NAME from SYS.SEQUENCES where NAME = 'CAC_CONTATOE1R1'",
        proximoSql("CAC_CONTATOE1R1")}},
      {"new sequence on SQL Server 15", "DevartSQLServer",
       {{"select SERVERPROPERTY", versao("15.0.2000.5")}, {kLer, numero(9)}}, "GER_OPERACAO",
       "OPERACAO", 1, true, "10",
       {kVersao, "select NAME from SYS.SEQUENCES where NAME = 'GER_OPERACAOE1R1'",
        kLer + where("OPERACAO", "GER_OPERACAO"), cria("GER_OPERACAOE1R1", 10),
        proximoSql("GER_OPERACAOE1R1"), proximoSql("GER_OPERACAOE1R1")}},
      {"service order counters read the version first", "MSSQL",
       {{"select SERVERPROPERTY", versao("14.0.1000.169")},
        {"select PROXIMO_SERVICO", singleValue("PROXIMO_SERVICO", SqlValue::integer(3))},
        {"select PROXIMO_SERVICO", singleValue("PROXIMO_SERVICO", SqlValue::integer(4))}},
       "OFI_SERVICO_OS", "12", 5, true, "3",
       {kVersao, "select PROXIMO_SERVICO from OFI_ORDEM_SERVICO" + ordem,
        "update OFI_ORDEM_SERVICO set    PROXIMO_SERVICO = PROXIMO_SERVICO + 1" + ordem,
        "select PROXIMO_SERVICO from OFI_ORDEM_SERVICO" + ordem}},
      {"remote: the counter update and its transaction run on the server", "Firebird",
       {{kLer + " where", numero(20)}, {kLer + "  where", numero(22)}}, "OFI_ORCAMENTO", "ORCAMENTO",
       2, true, "20",
       {kLer + where("ORCAMENTO", "OFI_ORCAMENTO"), kLer + " " + where("ORCAMENTO", "OFI_ORCAMENTO")},
       true,
       {"IniciaTransacao", avanca(2) + where("ORCAMENTO", "OFI_ORCAMENTO"), "ComitaTransacao"}},
      {"remote: a refused statement rolls the server's transaction back", "Firebird", {},
       "OFI_ORCAMENTO", "ORCAMENTO", 1, true,
       "O servidor de aplicação não executou o comando:\r\ninsert into GER_NUMERADOR values "
       "(1,1,'ORCAMENTO','OFI_ORCAMENTO',2)",
       {kLer + where("ORCAMENTO", "OFI_ORCAMENTO")}, true,
       {"IniciaTransacao", "insert into GER_NUMERADOR values (1,1,'ORCAMENTO','OFI_ORCAMENTO',2)",
        "RollbackTransacao"},
       "insert"},
      {"remote without its own transaction: only the statement", "Firebird", {}, "OFI_ORCAMENTO",
       "ORCAMENTO", 1, false, "1", {kLer + where("ORCAMENTO", "OFI_ORCAMENTO")}, true,
       {"insert into GER_NUMERADOR values (1,1,'ORCAMENTO','OFI_ORCAMENTO',2)"}},
      {"remote: sequence creation goes to the server", "ORACLE", {}, "CAC_CONTATO", "CONTATO", 1,
       true, "1",
       {"select SEQUENCE_NAME from USER_SEQUENCES where SEQUENCE_NAME = 'CAC_CONTATOE1R1'",
        kLer + contato, proximoOra("CAC_CONTATOE1R1"), proximoOra("CAC_CONTATOE1R1")},
       true, {cria("CAC_CONTATOE1R1", 1)}},
      {"remote: the service order update goes to the server", "ORACLE",
       {{"select PROXIMA_PECA", singleValue("PROXIMA_PECA", SqlValue::integer(5))},
        {"select PROXIMA_PECA", singleValue("PROXIMA_PECA", SqlValue::integer(6))}},
       "OFI_PECA_OS", "12", 1, true, "5",
       {"select PROXIMA_PECA from OFI_ORDEM_SERVICO" + ordem,
        "select PROXIMA_PECA from OFI_ORDEM_SERVICO" + ordem},
       true, {"update OFI_ORDEM_SERVICO set    PROXIMA_PECA = PROXIMA_PECA + 1" + ordem}},
  };
  for (const Caso& c : casos) {
    SCOPED_TRACE(c.nome);
    auto remote = std::make_shared<RecordingRemote>();
    remote->refuse = c.recusa;
    if (c.remoto) setHostSettings({"DATASNAP", "servidor-aplicacao", remote});
    RecordingConnection connection(c.driver);
    test::script(connection, c.respostas);
    std::string resultado;
    try {
      resultado = std::to_string(
          BuscaProximoNumero(connection, 1, 1, c.tabela, c.numerador, c.quantidade, c.transacao));
    } catch (const DatabaseError& error) {
      resultado = "DatabaseError " + std::string(error.what());
    } catch (const VornError& error) {
      resultado = error.what();
    }
    setHostSettings({});
    EXPECT_EQ(c.esperado, resultado);
    EXPECT_EQ(c.sql, connection.statements());
    EXPECT_EQ(c.servidor, remote->calls);
    EXPECT_EQ(0u, connection.pendingAnswers());
    EXPECT_FALSE(connection.inTransaction());
  }
}

TEST(Numeracao, FailuresAndSqlServerVersions) {
  RecordingConnection oracle("ORACLE");
  oracle.failOn("create sequence", "ORA-01031: insufficient privileges");
  EXPECT_THROW(BuscaProximoNumero(oracle, 1, 1, "CAC_CONTATO", "CONTATO", 1, true), DatabaseError);
  EXPECT_EQ(3u, oracle.statements().size());  // nothing drawn after the failure
  setHostSettings({"DATASNAP", "", nullptr});
  RecordingConnection local("Firebird");
  EXPECT_THROW(BuscaProximoNumero(local, 1, 1, "OFI_ORCAMENTO", "ORCAMENTO", 1, true), VornError);
  setHostSettings({});
  EXPECT_TRUE(local.statements().empty());
  EXPECT_FALSE(modoRemoto({"datasnap", "", nullptr}));

  RecordingConnection mssql("MSSQL");
  for (const char* text : {"12.0.2000.8", "16", "-3.1", "1234567890.1"}) {
    mssql.respond("select SERVERPROPERTY", versao(text));
  }
  EXPECT_EQ(12, VersaoSqlServer(mssql, "SQLSERVER"));
  EXPECT_EQ(-1, VersaoSqlServer(mssql, "SQLSERVER"));  // no "."
  EXPECT_EQ(-3, VersaoSqlServer(mssql, "SQLSERVER"));
  EXPECT_THROW(VersaoSqlServer(mssql, "SQLSERVER"), ConversionError);  // ten digits
  EXPECT_EQ(-1, VersaoSqlServer(mssql, "SQLSERVER"));  // no row
  for (const char* text : {"x.1", "+.1", "1a.0"}) {
    mssql.respond("select SERVERPROPERTY", versao(text));
    EXPECT_THROW(VersaoSqlServer(mssql, "SQLSERVER"), ConversionError) << text;
  }
  EXPECT_EQ(-1, VersaoSqlServer(mssql, "ORACLE"));  // other dialects never ask
  EXPECT_EQ(8u, mssql.statements().size());
}

class NumeracaoFirebird : public test::FirebirdSuite<false, false> {
 protected:
  // PROXIMO_NUMERO as committed, read on a connection of its own; -1 without a row.
  static int64_t committed(int revenda, const std::string& numerador, const std::string& tabela,
                           int empresa) {
    SqlRowSet rows = db_->connect()->query(
        "select PROXIMO_NUMERO from GER_NUMERADOR where EMPRESA = " + std::to_string(empresa) +
        " and REVENDA = " + std::to_string(revenda) + " and NUMERADOR = '" + numerador +
        "' and TABELA = '" + tabela + "'");
    return rows.empty() ? -1 : rows.value(0, "PROXIMO_NUMERO").asInteger();
  }
  int32_t draw(int empresa, int revenda, const char* tabela, const std::string& numerador, int quantidade,
               bool transacao = true) {
    return BuscaProximoNumero(*connection_, empresa, revenda, tabela, numerador, quantidade, transacao);
  }
};

TEST_F(NumeracaoFirebird, CounterRowsBlocksBatchesAndServiceOrders) {
  connection_->execute("insert into GER_NUMERADOR values (2,1,'NOTA','FAT_NOTA',10)");
  connection_->execute("insert into GER_NUMERADOR values (3,1,'LOTE','FAT_NFSE',50)");
  connection_->execute("insert into OFI_ORDEM_SERVICO (EMPRESA, REVENDA, NRO_OS, PROXIMA_PECA, "
                       "PROXIMO_SERVICO) values (1, 1, 900, 5, 20)");
  struct Caso {
    int empresa, revenda;
    const char *tabela, *numerador;
    int quantidade, esperado, guardado;  // returned, and stored in the counter row
  };
  const Caso casos[] = {
      {1, 1, "OFI_ORCAMENTO", "ORCAMENTO", 3, 3, 4},  // new row: the block's size
      {1, 2, "OFI_ORCAMENTO", "ORCAMENTO", 1, 1, 2},
      {2, 1, "FAT_NOTA", "NOTA", 1, 10, 11},
      {2, 1, "FAT_NOTA", "NOTA", 5, 11, 16},
      {2, 1, "CAC_CONTATO", "CONTATO", 1, 1, 2},  // no sequences on Firebird
      {3, 4, "FAT_NFSE", "LOTE", 2, 50, 52},     // a new branch continues branch 1's batches
      {3, 4, "FAT_NFSE", "LOTE", 1, 52, 53},
      {4, 2, "FAT_NFSE", "LOTE", 3, 1, 4},
      {3, 4, "FAT_NFSE", "NUMERO", 2, 2, 3}};
  for (const Caso& c : casos) {
    EXPECT_EQ(c.esperado, draw(c.empresa, c.revenda, c.tabela, c.numerador, c.quantidade)) << c.tabela;
    EXPECT_EQ(c.guardado, committed(c.revenda, c.numerador, c.tabela, c.empresa)) << c.tabela;
  }
  EXPECT_EQ(50, committed(1, "LOTE", "FAT_NFSE", 3));  // branch 1 is not advanced
  EXPECT_EQ(-1, committed(1, "LOTE", "FAT_NFSE", 4));
  // Service orders advance by one whatever the quantity; an unknown order gives 0.
  EXPECT_EQ(5, draw(1, 1, "OFI_PECA_OS", "900", 10));
  EXPECT_EQ(20, draw(1, 1, "OFI_SERVICO_OS", "900", 1, false));
  EXPECT_EQ(0, draw(1, 1, "OFI_PECA_OS", "901", 1));
  EXPECT_EQ(6, count("select PROXIMA_PECA from OFI_ORDEM_SERVICO where NRO_OS = 900"));
  EXPECT_EQ(21, count("select PROXIMO_SERVICO from OFI_ORDEM_SERVICO where NRO_OS = 900"));
  EXPECT_FALSE(connection_->inTransaction());
}

// With transacao the draw is committed at once on its own and survives the caller's rollback
// (a gap, never a number handed out twice); without it the draw goes back with the caller's.
TEST_F(NumeracaoFirebird, TransacaoDecidesWhetherTheDrawOutlivesTheCallersTransaction) {
  connection_->execute("insert into GER_NUMERADOR values (5,1,'PEDIDO','FAT_PEDIDO',7)");
  connection_->beginTransaction();
  EXPECT_EQ(7, draw(5, 1, "FAT_PEDIDO", "PEDIDO", 1));
  EXPECT_TRUE(connection_->inTransaction());
  EXPECT_EQ(8, committed(1, "PEDIDO", "FAT_PEDIDO", 5));
  // Another connection draws at once: the row is not held by the caller.
  EXPECT_EQ(8, BuscaProximoNumero(*db_->connect(), 5, 1, "FAT_PEDIDO", "PEDIDO", 1, true));
  connection_->rollback();
  EXPECT_EQ(9, committed(1, "PEDIDO", "FAT_PEDIDO", 5));
  connection_->beginTransaction();
  EXPECT_EQ(9, draw(5, 1, "FAT_PEDIDO", "PEDIDO", 1, false));
  connection_->rollback();
  EXPECT_EQ(9, committed(1, "PEDIDO", "FAT_PEDIDO", 5));
  // A failure in its own transaction rolls back and reaches the caller (NUMERADOR holds 60).
  EXPECT_THROW(draw(6, 1, "FAT_PEDIDO", std::string(80, 'N'), 1), DatabaseError);
  EXPECT_FALSE(connection_->inTransaction());
  EXPECT_EQ(1, draw(6, 1, "FAT_PEDIDO", "PEDIDO", 1));
}

// Two connections drawing the same counter at once, each inside a longer transaction of its
// own (as a contact is numbered in the middle of a lead), never get the same number nor fail.
TEST_F(NumeracaoFirebird, TwoDrawersGetDistinctConsecutiveNumbers) {
  constexpr int kPorDrawer = 200;
  std::vector<int32_t> numeros[2];
  std::exception_ptr falhas[2];
  auto drawer = [&](int index) {
    try {
      auto connection = db_->connect();
      for (int i = 0; i < kPorDrawer; ++i) {
        Transaction lead(*connection);
        const int32_t n = BuscaProximoNumero(*connection, 9, 1, "CAC_CONTATO", "CONTATO", 1, true);
        connection->execute("insert into CAC_CONTATO (EMPRESA, REVENDA, CONTATO) values (9, 1, " +
                            std::to_string(n) + ")");
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        lead.commit();
        numeros[index].push_back(n);
      }
    } catch (...) {
      falhas[index] = std::current_exception();
    }
  };
  std::thread primeiro(drawer, 0);
  std::thread segundo(drawer, 1);
  primeiro.join();
  segundo.join();
  for (const auto& falha : falhas) {
    if (falha) std::rethrow_exception(falha);
  }
  std::vector<int32_t> todos = numeros[0];
  todos.insert(todos.end(), numeros[1].begin(), numeros[1].end());
  std::sort(todos.begin(), todos.end());
  ASSERT_EQ(2u * kPorDrawer, todos.size());
  for (size_t i = 0; i < todos.size(); ++i) ASSERT_EQ(static_cast<int32_t>(i + 1), todos[i]);
  for (const auto& proprios : numeros) EXPECT_TRUE(std::is_sorted(proprios.begin(), proprios.end()));
  EXPECT_EQ(2 * kPorDrawer + 1, committed(1, "CONTATO", "CAC_CONTATO", 9));
}

}  // namespace
}  // namespace vornleads
