// Numbering: Oracle, SQL Server and the application server statement by statement; the counter
// table, its transactions and concurrent drawers on a real database.
#include "vornleads/data/numeracao.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <future>
#include <numeric>
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
    bool transacao;
    std::string esperado;  // the number, or the error's message
    Statements sql;
    bool remoto = false;
    Statements servidor = {};  // the application server's calls
  };
  const std::string ordem = " where EMPRESA  = 1 and   REVENDA  = 1 and   NRO_OS   = 12";
  const std::string seqContato =
      "select SEQUENCE_NAME from USER_SEQUENCES where SEQUENCE_NAME = 'CAC_CONTATOE1R1'";
  const std::string contato = kLer +
                              " where EMPRESA   = 1 and   REVENDA   = 1 and   TABELA    = "
                              "'CAC_CONTATO'";
  const std::string orcamento = where("ORCAMENTO", "OFI_ORCAMENTO");
  const std::string insert = "insert into GER_NUMERADOR values (1,1,'ORCAMENTO','OFI_ORCAMENTO',2)";
  const SqlRowSet x = texto("SEQUENCE_NAME", "X");
  // clang-format off
  const Caso casos[] = {
      {"new Oracle sequence: above the counter, one ahead", "ORACLE",
       {{"select SEQUENCE_NAME", {}}, {kLer, numero(100)}, {"select CAC", numero(101)},
        {"select CAC", numero(102)}},
       "CAC_CONTATO", "CONTATO", 1, true, "101",
       {seqContato, contato, cria("CAC_CONTATOE1R1", 101), ora("CAC_CONTATOE1R1"),
        ora("CAC_CONTATOE1R1")}},
      {"existing Oracle sequence: last drawn minus the block", "ORACLE",
       {{"select SEQUENCE_NAME", x}, {"select GER", numero(10)}, {"select GER", numero(11)},
        {"select GER", numero(12)}},
       "GER_LOG_CADASTROS", "LOG", 3, true, "9",
       {"select SEQUENCE_NAME from USER_SEQUENCES where SEQUENCE_NAME = 'GER_LOG_CADASTROSE1R1'",
        ora("GER_LOG_CADASTROSE1R1"), ora("GER_LOG_CADASTROSE1R1"), ora("GER_LOG_CADASTROSE1R1")}},
      {"other Oracle tables: the counter table on the second attachment", "ORACLE",
       {{kLer + " where", numero(40)}, {kLer + "  where", numero(41)}}, "FAT_CLIENTE", "CLIENTE",
       1, true, "40",
       {kLer + where("CLIENTE", "FAT_CLIENTE"), "BEGIN*",
        "update GER_NUMERADOR set PROXIMO_NUMERO = PROXIMO_NUMERO + 1" +
            where("CLIENTE", "FAT_CLIENTE"),
        kLer + " " + where("CLIENTE", "FAT_CLIENTE"), "COMMIT*"}},
      {"new sequence on SQL Server 15", "DevartSQLServer",
       {{"select SERVER", texto("VERSAO", "15.0.2000.5")}, {kLer, numero(9)}},
       "GER_OPERACAO", "OPERACAO", 1, true, "10",
       {kVersao, "select NAME from SYS.SEQUENCES where NAME = 'GER_OPERACAOE1R1'",
        kLer + where("OPERACAO", "GER_OPERACAO"), cria("GER_OPERACAOE1R1", 10),
        "select next value for GER_OPERACAOE1R1 PROXIMO_NUMERO",
        "select next value for GER_OPERACAOE1R1 PROXIMO_NUMERO"}},
      {"remote: the counter update and its transaction run on the server", "Firebird",
       {{kLer + " where", numero(20)}, {kLer + "  where", numero(22)}},
       "OFI_ORCAMENTO", "ORCAMENTO", 2, true, "20", {kLer + orcamento, kLer + " " + orcamento},
       true, {"IniciaTransacao",
              "update GER_NUMERADOR set PROXIMO_NUMERO = PROXIMO_NUMERO + 2" + orcamento,
              "ComitaTransacao"}},
      {"remote: a refused statement rolls the server's transaction back", "Firebird", {},
       "OFI_ORCAMENTO", "ORCAMENTO", 1, true,
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
      return BuscaProximoNumero(connection, 1, 1, c.tabela, c.numerador, c.quantidade, c.transacao);
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

class NumeracaoFirebird : public test::FirebirdSuite<false, false> {
 protected:
  // PROXIMO_NUMERO as committed, read on a connection of its own; -1 without a row.
  static int64_t committed(int empresa, int revenda, const std::string& numerador) {
    SqlRowSet rows = db_->connect()->query(
        "select PROXIMO_NUMERO from GER_NUMERADOR where EMPRESA = " + std::to_string(empresa) +
        " and REVENDA = " + std::to_string(revenda) + " and NUMERADOR = '" + numerador + "'");
    return rows.empty() ? -1 : rows.value(0, "PROXIMO_NUMERO").asInteger();
  }
  int32_t draw(int empresa, int revenda, const char* tabela, const std::string& numerador,
               int quantidade, bool transacao = true) {
    return BuscaProximoNumero(*connection_, empresa, revenda, tabela, numerador, quantidade,
                              transacao);
  }
};

TEST_F(NumeracaoFirebird, CounterRowsBlocksBatchesAndServiceOrders) {
  connection_->execute("insert into GER_NUMERADOR values (2,1,'NOTA','FAT_NOTA',10)");
  connection_->execute("insert into GER_NUMERADOR values (3,1,'LOTE','FAT_NFSE',50)");
  connection_->execute(
      "insert into OFI_ORDEM_SERVICO (EMPRESA, REVENDA, NRO_OS, PROXIMA_PECA, "
      "PROXIMO_SERVICO) values (1, 1, 900, 5, 20)");
  struct Caso {
    int empresa, revenda;
    const char *tabela, *numerador;
    int quantidade, esperado, guardado;  // returned, and stored in the counter row
  };
  const Caso casos[] = {
      {1, 1, "OFI_ORCAMENTO", "ORCAMENTO", 3, 3, 4},  // new row: the block's size
      {2, 1, "FAT_NOTA", "NOTA", 1, 10, 11},         {2, 1, "FAT_NOTA", "NOTA", 5, 11, 16},
      {2, 1, "CAC_CONTATO", "CONTATO", 1, 1, 2},  // no sequences on Firebird
      {3, 4, "FAT_NFSE", "LOTE", 2, 50, 52},      // a new branch continues branch 1's batches
      {4, 2, "FAT_NFSE", "LOTE", 3, 1, 4},           {3, 4, "FAT_NFSE", "NUMERO", 2, 2, 3}};
  for (const Caso& c : casos) {
    EXPECT_EQ(c.esperado, draw(c.empresa, c.revenda, c.tabela, c.numerador, c.quantidade));
    EXPECT_EQ(c.guardado, committed(c.empresa, c.revenda, c.numerador)) << c.tabela;
  }
  EXPECT_EQ(50, committed(3, 1, "LOTE"));  // branch 1 is not advanced
  EXPECT_EQ(-1, committed(4, 1, "LOTE"));
  // Service orders advance by one whatever the quantity; an unknown order gives 0.
  EXPECT_EQ(5, draw(1, 1, "OFI_PECA_OS", "900", 10));
  EXPECT_EQ(20, draw(1, 1, "OFI_SERVICO_OS", "900", 1, false));
  EXPECT_EQ(0, draw(1, 1, "OFI_PECA_OS", "901", 1));
  EXPECT_EQ(6, count("select PROXIMA_PECA from OFI_ORDEM_SERVICO where NRO_OS = 900"));
  EXPECT_EQ(21, count("select PROXIMO_SERVICO from OFI_ORDEM_SERVICO where NRO_OS = 900"));
}

// With transacao the draw is committed at once on its own and survives the caller's rollback
// (a gap, never a number handed out twice); without it the draw goes back with the caller's.
TEST_F(NumeracaoFirebird, TransacaoDecidesWhetherTheDrawOutlivesTheCallersTransaction) {
  connection_->execute("insert into GER_NUMERADOR values (5,1,'PEDIDO','FAT_PEDIDO',7)");
  connection_->beginTransaction();
  EXPECT_EQ(7, draw(5, 1, "FAT_PEDIDO", "PEDIDO", 1));
  EXPECT_TRUE(connection_->inTransaction());
  EXPECT_EQ(8, committed(5, 1, "PEDIDO"));
  // Another connection draws at once: the row is not held by the caller.
  EXPECT_EQ(8, BuscaProximoNumero(*db_->connect(), 5, 1, "FAT_PEDIDO", "PEDIDO", 1, true));
  connection_->rollback();
  connection_->beginTransaction();
  EXPECT_EQ(9, draw(5, 1, "FAT_PEDIDO", "PEDIDO", 1, false));
  connection_->rollback();
  EXPECT_EQ(9, committed(5, 1, "PEDIDO"));
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
  std::thread primeiro(drawer, 0), segundo(drawer, 1);
  primeiro.join();
  segundo.join();
  for (int i : {0, 1}) {
    if (falhas[i]) std::rethrow_exception(falhas[i]);
    EXPECT_TRUE(std::is_sorted(numeros[i].begin(), numeros[i].end()));  // each drawer's rise
  }
  std::vector<int32_t> todos = numeros[0], esperados(2 * kPorDrawer);
  todos.insert(todos.end(), numeros[1].begin(), numeros[1].end());
  std::sort(todos.begin(), todos.end());
  std::iota(esperados.begin(), esperados.end(), 1);
  EXPECT_EQ(esperados, todos);
  EXPECT_EQ(2 * kPorDrawer + 1, committed(9, 1, "CONTATO"));
}

// A counter draw must never wait forever on a lock that only its own connection's open
// transaction could release: here A's lead holds a key that B's lead waits for, while B's lead
// holds the counter row A draws from. Whatever gives way, the draw must end.
TEST(LockWait, DrawWaitingOnALeadThatWaitsForTheDrawersOwnLeadEnds) {
  test::TestDatabase db(false);
  auto a = db.connect();
  auto b = db.connect();
  a->execute("insert into GER_NUMERADOR values (1, 1, 'CONTATO', 'CAC_CONTATO', 10)");
  const std::string novoContato =
      "insert into CAC_CONTATO (EMPRESA, REVENDA, CONTATO) values (1, 1, 500)";

  a->beginTransaction();
  a->execute(novoContato);
  b->beginTransaction();
  b->execute("update GER_NUMERADOR set PROXIMO_NUMERO = 10 where NUMERADOR = 'CONTATO'");
  // B's lead now waits for A's (the same contact key).
  auto leadB = std::async(std::launch::async, [&] {
    try {
      b->execute(novoContato);
    } catch (const DatabaseError&) {
      // Chosen as the deadlock's victim: gives way.
    }
    b->rollback();
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(500));

  // A's draw waits for B's counter row; nobody else would ever end B's lead.
  auto draw = std::async(std::launch::async, [&]() -> std::string {
    try {
      return std::to_string(BuscaProximoNumero(*a, 1, 1, "CAC_CONTATO", "CONTATO", 1, true));
    } catch (const DatabaseError& error) {
      return error.databaseMessage();
    }
  });
  if (draw.wait_for(std::chrono::seconds(60)) != std::future_status::ready) {
    // The threads cannot be stopped: report and end the program rather than hang.
    std::fprintf(stderr, "LockWait: the counter draw still waits after 60 s\n");
    std::_Exit(1);
  }
  const std::string outcome = draw.get();
  // Either A's draw gave way (a lock time-out, A's lead rolls back) or B's lead did (then the
  // draw got the counter's number).
  EXPECT_TRUE(outcome == "10" || outcome.find("lock") != std::string::npos) << outcome;
  a->rollback();
  leadB.get();
}

}  // namespace
}  // namespace vornleads
