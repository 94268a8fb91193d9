// Numbering on a real database: the counter table, its transactions, reservations in blocks,
// concurrent drawers and a draw caught in a lock cycle.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <numeric>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "support/firebird_suite.h"
#include "vornleads/data/cliente_prospect.h"
#include "vornleads/data/numeracao.h"
#include "vornleads/data/numeracao_reserva.h"

namespace vornleads {
namespace {

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
  // Transactions the engine has started so far.
  int64_t transacoes() { return count("select current_transaction from rdb$database"); }
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
  // Service orders advance by one whatever the quantity, in a reservation too; an unknown order
  // gives 0.
  EXPECT_EQ(5, draw(1, 1, "OFI_PECA_OS", "900", 10));
  EXPECT_EQ(20, draw(1, 1, "OFI_SERVICO_OS", "900", 1, false));
  EXPECT_EQ(0, draw(1, 1, "OFI_PECA_OS", "901", 1));
  ReservaNumeros pecas(*connection_);
  for (int peca : {6, 7, 8}) EXPECT_EQ(peca, pecas.proximo(1, 1, "OFI_PECA_OS", "900"));
  EXPECT_EQ(9, count("select PROXIMA_PECA from OFI_ORDEM_SERVICO where NRO_OS = 900"));
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
  test::inTwoThreads([&](int index) {
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
  });
  for (const auto& mine : numeros) EXPECT_TRUE(std::is_sorted(mine.begin(), mine.end()));
  std::vector<int32_t> todos = numeros[0], esperados(2 * kPorDrawer);
  todos.insert(todos.end(), numeros[1].begin(), numeros[1].end());
  std::sort(todos.begin(), todos.end());
  std::iota(esperados.begin(), esperados.end(), 1);
  EXPECT_EQ(esperados, todos);
  EXPECT_EQ(2 * kPorDrawer + 1, committed(9, 1, "CONTATO"));
}

// Blocks grow 1, 2, 4, 8, 16, then stay at 20; a counter row ahead is respected; a reservation
// dropped with numbers in hand (as in a crash) leaves them as a gap, never handed out again.
TEST_F(NumeracaoFirebird, BlocksGrowToTwentyAndWhatIsLeftInHandIsAGap) {
  connection_->execute("insert into GER_NUMERADOR values (1,1,'PEDIDO','FAT_PEDIDO',100)");
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
    const int64_t inicio = c.numerador == std::string("NOVO") ? 1 : committed(1, 1, c.numerador);
    ReservaNumeros reserva(*connection_);
    for (int i = 0; i < c.quantos; ++i)
      EXPECT_EQ(inicio + i, reserva.proximo(1, 1, "FAT_PEDIDO", c.numerador));
    EXPECT_EQ(inicio + c.avanco, committed(1, 1, c.numerador));
    EXPECT_EQ(c.sorteios, reserva.sorteios());
  }
}

// Two connections write leads at the same time, each lead in its transaction with a contact
// number, an interest number and a new customer drawn from its connection's reservation: no
// number is handed out twice, and the engine starts at most about two transactions per lead.
TEST_F(NumeracaoFirebird, TwoDrawersNeverShareANumberAndCostAboutOneCommitPerLead) {
  constexpr int kLeads = 150;
  struct Drawer {
    std::vector<int32_t> contatos, interesses, clientes;
  } drawers[2];
  connection_->execute("insert into FAT_CLIENTE (CLIENTE) values (40)");  // numbered elsewhere
  const int64_t antes = transacoes();
  test::inTwoThreads([&](int index) {
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
      drawers[index].contatos.push_back(contato);
      drawers[index].interesses.push_back(interesse);
      drawers[index].clientes.push_back(cliente);
    }
  });
  const double porLead = double(transacoes() - antes) / (2 * kLeads);
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

// A counter draw must never wait forever on a lock only its own connection's open transaction
// could release: A's lead holds a key B's lead waits for, while B's lead holds the counter row
// A draws from. Whatever gives way, the draw must end.
TEST(LockWait, DrawWaitingOnALeadThatWaitsForTheDrawersOwnLeadEnds) {
  test::TestDatabase db(false);
  auto a = db.connect(), b = db.connect();
  a->execute("insert into GER_NUMERADOR values (1, 1, 'CONTATO', 'CAC_CONTATO', 10)");
  const std::string novoContato =
      "insert into CAC_CONTATO (EMPRESA, REVENDA, CONTATO) values (1, 1, 500)";
  a->beginTransaction();
  a->execute(novoContato);
  b->beginTransaction();
  b->execute("update GER_NUMERADOR set PROXIMO_NUMERO = 10 where NUMERADOR = 'CONTATO'");
  auto leadB = std::async(std::launch::async, [&] {  // waits for A's contact key
    try {
      b->execute(novoContato);
    } catch (const DatabaseError&) {  // chosen as the deadlock's victim: gives way
    }
    b->rollback();
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(500));
  auto draw = std::async(std::launch::async, [&]() -> std::string {  // waits for B's row
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
  // Either A's draw gave way (a lock time-out) or B's lead did (the draw got the number).
  const std::string outcome = draw.get();
  EXPECT_TRUE(outcome == "10" || outcome.find("lock") != std::string::npos) << outcome;
  a->rollback();
  leadB.get();
}

}  // namespace
}  // namespace vornleads
