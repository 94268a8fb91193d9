// Numbering on a real embedded Firebird database: the counter table, its transactions, and
// the service-order counters.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "support/firebird_db.h"
#include "vornleads/data/numeracao.h"
#include "vornleads/error.h"

namespace vornleads {
namespace {

using test::TestDatabase;

class NumeracaoFirebird : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { db_ = std::make_unique<TestDatabase>(false); }
  static void TearDownTestSuite() { db_.reset(); }

  void SetUp() override { connection_ = db_->connect(); }

  // PROXIMO_NUMERO of a counter row read on a connection of its own (what is committed);
  // -1 without a row.
  static int64_t committed(int32_t empresa, int32_t revenda, const std::string& numerador,
                           const std::string& tabela) {
    auto other = db_->connect();
    SqlRowSet rows = other->query(
        "select PROXIMO_NUMERO from GER_NUMERADOR where EMPRESA = " + std::to_string(empresa) +
        " and REVENDA = " + std::to_string(revenda) + " and NUMERADOR = '" + numerador +
        "' and TABELA = '" + tabela + "'");
    return rows.empty() ? -1 : rows.value(0, "PROXIMO_NUMERO").asInteger();
  }

  static std::unique_ptr<TestDatabase> db_;
  std::unique_ptr<SqlConnection> connection_;
};

std::unique_ptr<TestDatabase> NumeracaoFirebird::db_;

TEST_F(NumeracaoFirebird, NewCounterRowHandsOutTheBlockSizeAndStoresOneMore) {
  EXPECT_EQ(3, BuscaProximoNumero(*connection_, 1, 1, "OFI_ORCAMENTO", "ORCAMENTO", 3, true));
  EXPECT_EQ(4, committed(1, 1, "ORCAMENTO", "OFI_ORCAMENTO"));
  EXPECT_EQ(1, BuscaProximoNumero(*connection_, 1, 2, "OFI_ORCAMENTO", "ORCAMENTO", 1, true));
  EXPECT_EQ(2, committed(1, 2, "ORCAMENTO", "OFI_ORCAMENTO"));
  EXPECT_FALSE(connection_->inTransaction());
}

TEST_F(NumeracaoFirebird, ExistingCounterAdvancesByTheBlock) {
  connection_->execute("insert into GER_NUMERADOR values (2,1,'NOTA','FAT_NOTA',10)");
  EXPECT_EQ(10, BuscaProximoNumero(*connection_, 2, 1, "FAT_NOTA", "NOTA", 1, true));
  EXPECT_EQ(11, BuscaProximoNumero(*connection_, 2, 1, "FAT_NOTA", "NOTA", 5, false));
  EXPECT_EQ(16, committed(2, 1, "NOTA", "FAT_NOTA"));
  // Firebird has no sequence path: contacts are counted in the table too.
  EXPECT_EQ(1, BuscaProximoNumero(*connection_, 2, 1, "CAC_CONTATO", "CONTATO", 1, true));
  EXPECT_EQ(2, committed(2, 1, "CONTATO", "CAC_CONTATO"));
}

TEST_F(NumeracaoFirebird, ServiceInvoiceBatchesOfANewBranchContinueBranchOne) {
  connection_->execute("insert into GER_NUMERADOR values (3,1,'LOTE','FAT_NFSE',50)");
  EXPECT_EQ(50, BuscaProximoNumero(*connection_, 3, 4, "FAT_NFSE", "LOTE", 2, true));
  EXPECT_EQ(52, committed(3, 4, "LOTE", "FAT_NFSE"));
  EXPECT_EQ(50, committed(3, 1, "LOTE", "FAT_NFSE"));  // branch 1 is not advanced
  EXPECT_EQ(52, BuscaProximoNumero(*connection_, 3, 4, "FAT_NFSE", "LOTE", 1, true));

  // Neither branch has a row: the batch starts at 1 and the next is quantidade + 1.
  EXPECT_EQ(1, BuscaProximoNumero(*connection_, 4, 2, "FAT_NFSE", "LOTE", 3, true));
  EXPECT_EQ(4, committed(4, 2, "LOTE", "FAT_NFSE"));
  EXPECT_EQ(-1, committed(4, 1, "LOTE", "FAT_NFSE"));

  // Only the LOTE series follows branch 1.
  EXPECT_EQ(2, BuscaProximoNumero(*connection_, 3, 4, "FAT_NFSE", "NUMERO", 2, true));
}

TEST_F(NumeracaoFirebird, ServiceOrderCountersAdvanceByOneWhateverTheQuantity) {
  connection_->execute(
      "insert into OFI_ORDEM_SERVICO (EMPRESA, REVENDA, NRO_OS, PROXIMA_PECA, PROXIMO_SERVICO) "
      "values (1, 1, 900, 5, 20)");
  EXPECT_EQ(5, BuscaProximoNumero(*connection_, 1, 1, "OFI_PECA_OS", "900", 10, true));
  EXPECT_EQ(20, BuscaProximoNumero(*connection_, 1, 1, "OFI_SERVICO_OS", "900", 1, false));
  SqlRowSet os = db_->connect()->query(
      "select PROXIMA_PECA, PROXIMO_SERVICO from OFI_ORDEM_SERVICO where NRO_OS = 900");
  EXPECT_EQ(6, os.value(0, "PROXIMA_PECA").asInteger());
  EXPECT_EQ(21, os.value(0, "PROXIMO_SERVICO").asInteger());
  EXPECT_EQ(0, BuscaProximoNumero(*connection_, 1, 1, "OFI_PECA_OS", "901", 1, true));
}

// The caller's transaction stands for a lead being written: with transacao the draw is
// committed at once on its own and survives the lead's rollback (a gap, never a number handed
// out twice); without it the draw is the caller's and goes back with it.
TEST_F(NumeracaoFirebird, TransacaoDecidesWhetherTheDrawOutlivesTheCallersTransaction) {
  connection_->execute("insert into GER_NUMERADOR values (5,1,'PEDIDO','FAT_PEDIDO',7)");
  connection_->beginTransaction();
  EXPECT_EQ(7, BuscaProximoNumero(*connection_, 5, 1, "FAT_PEDIDO", "PEDIDO", 1, true));
  EXPECT_TRUE(connection_->inTransaction());
  EXPECT_EQ(8, committed(5, 1, "PEDIDO", "FAT_PEDIDO"));  // committed while the caller is open
  // Another connection draws the same counter at once: the row is not held by the caller.
  EXPECT_EQ(8, BuscaProximoNumero(*db_->connect(), 5, 1, "FAT_PEDIDO", "PEDIDO", 1, true));
  connection_->rollback();
  EXPECT_EQ(9, committed(5, 1, "PEDIDO", "FAT_PEDIDO"));

  connection_->beginTransaction();
  EXPECT_EQ(9, BuscaProximoNumero(*connection_, 5, 1, "FAT_PEDIDO", "PEDIDO", 1, false));
  EXPECT_EQ(9, committed(5, 1, "PEDIDO", "FAT_PEDIDO"));
  connection_->rollback();
  EXPECT_EQ(9, committed(5, 1, "PEDIDO", "FAT_PEDIDO"));
}

TEST_F(NumeracaoFirebird, FailureInItsOwnTransactionRollsBackAndReachesTheCaller) {
  const std::string longo(80, 'N');  // NUMERADOR holds 60 characters
  EXPECT_THROW(BuscaProximoNumero(*connection_, 6, 1, "FAT_PEDIDO", longo, 1, true), DatabaseError);
  EXPECT_FALSE(connection_->inTransaction());
  EXPECT_EQ(1, BuscaProximoNumero(*connection_, 6, 1, "FAT_PEDIDO", "PEDIDO", 1, true));
}

}  // namespace
}  // namespace vornleads
