// Numbers in blocks: the block sizes and which counters give none, statement by statement;
// uniqueness, gaps and commits per lead with two drawers on a real database.
#include "vornleads/data/numeracao_reserva.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <exception>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "fixture.h"
#include "vornleads/data/cliente_prospect.h"

namespace vornleads {
namespace {

using test::numero;
using test::RecordingConnection;
using test::Statements;

// The statements of a fake that start with `prefix`.
Statements comPrefixo(const RecordingConnection& connection, const std::string& prefix) {
  Statements found;
  for (const std::string& sql : connection.statements()) {
    if (sql.rfind(prefix, 0) == 0) found.push_back(sql);
  }
  return found;
}

TEST(ReservaNumeros, BlocksOnCounterRowsOneByOneOnSequencesAndServiceOrders) {
  struct Caso {
    const char *nome, *driver, *versao;  // versao: the SQL Server version answered, or null
    const char* tabela;
    test::Answers respostas;
    std::vector<int32_t> esperados;  // four numbers in a row
    Statements sorteios;             // the statements that draw
  };
  const std::string contato = "update GER_NUMERADOR set PROXIMO_NUMERO = PROXIMO_NUMERO + ";
  const std::string condicao =
      " where EMPRESA   = 1 and   REVENDA   = 1 and   NUMERADOR = 'CONTATO' and   TABELA    = "
      "'CAC_CONTATO'";
  const SqlRowSet sequencia = test::singleValue("SEQUENCE_NAME", SqlValue::text("S"));
  // clang-format off
  const Caso casos[] = {
      {"SQL Server 10: the counter row, blocks of 1, 2, 4", "MSSQL", "10.50.1600.1", "CAC_CONTATO",
       {{"select PROXIMO_NUMERO", numero(30)}, {"select PROXIMO_NUMERO", numero(31)},
        {"select PROXIMO_NUMERO", numero(31)}, {"select PROXIMO_NUMERO", numero(33)},
        {"select PROXIMO_NUMERO", numero(33)}, {"select PROXIMO_NUMERO", numero(37)}},
       {30, 31, 32, 33}, {contato + "1" + condicao, contato + "2" + condicao,
                          contato + "4" + condicao}},
      {"Oracle sequence: one draw per number", "ORACLE", nullptr, "CAC_CONTATO",
       {{"select SEQUENCE_NAME", sequencia}, {"select CAC", numero(5)},
        {"select SEQUENCE_NAME", sequencia}, {"select CAC", numero(6)},
        {"select SEQUENCE_NAME", sequencia}, {"select CAC", numero(7)},
        {"select SEQUENCE_NAME", sequencia}, {"select CAC", numero(8)}},
       {4, 5, 6, 7}, Statements(4, "select CAC_CONTATOE1R1.nextval PROXIMO_NUMERO from dual")},
      {"SQL Server 11: the sequence", "MSSQL", "11.0.2100.60", "CAC_CONTATO",
       {{"select NAME", test::singleValue("NAME", SqlValue::text("S"))},
        {"select next", numero(9)}, {"select NAME", test::singleValue("NAME", SqlValue::text("S"))},
        {"select next", numero(10)}, {"select NAME", test::singleValue("NAME", SqlValue::text("S"))},
        {"select next", numero(11)}, {"select NAME", test::singleValue("NAME", SqlValue::text("S"))},
        {"select next", numero(12)}},
       {8, 9, 10, 11}, Statements(4, "select next value for CAC_CONTATOE1R1 PROXIMO_NUMERO")},
  };
  // clang-format on
  for (const Caso& c : casos) {
    SCOPED_TRACE(c.nome);
    RecordingConnection connection(c.driver);
    // The reservation asks the version once, then each draw of BuscaProximoNumero again.
    for (int i = 0; c.versao && i < 5; ++i) {
      connection.respond("select SERVERPROPERTY",
                         test::singleValue("VERSAO", SqlValue::text(c.versao)));
    }
    for (const auto& [prefix, rows] : c.respostas) connection.respond(prefix, rows);
    ReservaNumeros reserva(connection);
    std::vector<int32_t> numeros;
    for (int i = 0; i < 4; ++i) numeros.push_back(reserva.proximo(1, 1, c.tabela, "CONTATO"));
    EXPECT_EQ(c.esperados, numeros);
    Statements sorteios = comPrefixo(connection, "update");
    if (sorteios.empty()) sorteios = comPrefixo(connection, "select CAC");
    if (sorteios.empty()) sorteios = comPrefixo(connection, "select next");
    EXPECT_EQ(c.sorteios, sorteios);
  }
}

class ReservaFirebird : public test::FirebirdSuite<false, false> {
 protected:
  int64_t guardado(const std::string& numerador) {
    return count("select PROXIMO_NUMERO from GER_NUMERADOR where NUMERADOR = '" + numerador + "'");
  }
  // Transactions the engine has started so far.
  int64_t transacoes() { return count("select current_transaction from rdb$database"); }
};

// Blocks grow 1, 2, 4, 8, 16, then stay at 20; a counter row ahead is respected; a reservation
// dropped with numbers in hand (as in a crash) leaves them as a gap, never handed out again;
// service orders still advance by one.
TEST_F(ReservaFirebird, BlocksGrowToTwentyAndWhatIsLeftInHandIsAGap) {
  connection_->execute("insert into GER_NUMERADOR values (1,1,'PEDIDO','FAT_PEDIDO',100)");
  connection_->execute(
      "insert into OFI_ORDEM_SERVICO (EMPRESA, REVENDA, NRO_OS, PROXIMA_PECA, PROXIMO_SERVICO) "
      "values (1, 1, 77, 5, 1)");
  struct Caso {
    const char* numerador;
    int quantos;     // numbers handed out by a reservation of its own
    int64_t avanco;  // how far the counter moved: the blocks drawn
    int64_t sorteios;
  };
  const Caso casos[] = {
      {"PEDIDO", 1, 1, 1},   {"PEDIDO", 3, 3, 2},   {"PEDIDO", 7, 7, 3},
      {"PEDIDO", 31, 31, 5}, {"PEDIDO", 60, 71, 7},  // 1+2+4+8+16+20+20: 11 left as a gap
      {"NOVO", 2, 3, 2},  // a new row gives 1 and stores 2, then a block of 2 from there
  };
  for (const Caso& c : casos) {
    SCOPED_TRACE(std::string(c.numerador) + " " + std::to_string(c.quantos));
    const bool novo = c.numerador == std::string("NOVO");
    const int64_t inicio = novo ? 1 : guardado(c.numerador);
    ReservaNumeros reserva(*connection_);
    for (int i = 0; i < c.quantos; ++i) {
      EXPECT_EQ(inicio + i, reserva.proximo(1, 1, "FAT_PEDIDO", c.numerador));
    }
    EXPECT_EQ(inicio + c.avanco, guardado(c.numerador));
    EXPECT_EQ(c.sorteios, reserva.sorteios());
  }
  ReservaNumeros pecas(*connection_);
  EXPECT_EQ(5, pecas.proximo(1, 1, "OFI_PECA_OS", "77"));
  EXPECT_EQ(6, pecas.proximo(1, 1, "OFI_PECA_OS", "77"));
  EXPECT_EQ(7, count("select PROXIMA_PECA from OFI_ORDEM_SERVICO where NRO_OS = 77"));
}

// Two connections write leads at the same time, each lead in its transaction with a contact
// number, an interest number and a new customer drawn from its connection's reservation: no
// number is handed out twice, and the engine starts at most about two transactions per lead.
TEST_F(ReservaFirebird, TwoDrawersNeverShareANumberAndCostAboutOneCommitPerLead) {
  constexpr int kLeads = 150;
  struct Drawer {
    std::vector<int32_t> contatos, interesses, clientes;
    std::exception_ptr falha;
  } drawers[2];
  auto leads = [&](Drawer& d) {
    try {
      auto connection = db_->connect();
      ReservaNumeros reserva(*connection);
      for (int i = 0; i < kLeads; ++i) {
        Transaction lead(*connection);
        const int32_t contato = reserva.proximo(3, 1, "CAC_CONTATO", "CONTATO");
        const int32_t interesse = reserva.proximo(1, 1, "CAC_INTERESSE", "INTERESSE");
        const int32_t cliente =
            GravaClienteProspect(*connection, test::leadDate(), 3, 1, 1, 11, 0, 0, 0, 0, 0, "P", "",
                                 "", "", "", "", "", "", "", -1, &reserva);
        if (cliente < 1) throw VornError(Dados::MensagemErroException);
        connection->execute(
            "insert into CAC_CONTATO (EMPRESA, REVENDA, CONTATO, CLIENTE) values "
            "(3, 1, " +
            std::to_string(contato) + ", " + std::to_string(cliente) + ")");
        lead.commit();
        d.contatos.push_back(contato);
        d.interesses.push_back(interesse);
        d.clientes.push_back(cliente);
      }
    } catch (...) {
      d.falha = std::current_exception();
    }
  };
  connection_->execute("insert into FAT_CLIENTE (CLIENTE) values (40)");  // numbered elsewhere
  const int64_t antes = transacoes();
  std::thread primeiro(leads, std::ref(drawers[0])), segundo(leads, std::ref(drawers[1]));
  primeiro.join();
  segundo.join();
  const double porLead = double(transacoes() - antes) / (2 * kLeads);
  for (const Drawer& d : drawers) {
    if (d.falha) std::rethrow_exception(d.falha);
  }
  for (auto membro : {&Drawer::contatos, &Drawer::interesses, &Drawer::clientes}) {
    std::vector<int32_t> todos = drawers[0].*membro;
    todos.insert(todos.end(), (drawers[1].*membro).begin(), (drawers[1].*membro).end());
    EXPECT_EQ(size_t{2 * kLeads}, std::set<int32_t>(todos.begin(), todos.end()).size());
    EXPECT_TRUE(std::is_sorted((drawers[0].*membro).begin(), (drawers[0].*membro).end()));
  }
  EXPECT_GT(*std::min_element(drawers[0].clientes.begin(), drawers[0].clientes.end()), 40);
  EXPECT_LE(porLead, 2.0);
  RecordProperty("TransactionsPerLead", std::to_string(porLead));
}

}  // namespace
}  // namespace vornleads
