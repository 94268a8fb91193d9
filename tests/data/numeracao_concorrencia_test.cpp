// Two connections drawing from the same counter at the same time never get the same number,
// and never fail over it, even when every draw happens inside a longer transaction of the
// caller's (as a contact is numbered in the middle of a lead).
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <exception>
#include <string>
#include <thread>
#include <vector>

#include "support/firebird_db.h"
#include "vornleads/data/numeracao.h"

namespace vornleads {
namespace {

using test::TestDatabase;

TEST(NumeracaoConcorrente, TwoDrawersGetDistinctConsecutiveNumbers) {
  TestDatabase db(false);
  constexpr int kPorDrawer = 200;
  std::vector<int32_t> numeros[2];
  std::exception_ptr falhas[2];

  auto drawer = [&](int index) {
    try {
      auto connection = db.connect();
      for (int i = 0; i < kPorDrawer; ++i) {
        Transaction lead(*connection);
        const int32_t numero =
            BuscaProximoNumero(*connection, 1, 1, "CAC_CONTATO", "CONTATO", 1, true);
        connection->execute("insert into CAC_CONTATO (EMPRESA, REVENDA, CONTATO) values (1, 1, " +
                            std::to_string(numero) + ")");
        // The rest of the lead's work keeps the transaction open a little longer.
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        lead.commit();
        numeros[index].push_back(numero);
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
  for (size_t i = 0; i < todos.size(); ++i) {
    ASSERT_EQ(static_cast<int32_t>(i + 1), todos[i]) << "numbers must be 1..400 exactly once";
  }
  // Each drawer's own numbers rise.
  for (const auto& proprios : numeros) {
    EXPECT_TRUE(std::is_sorted(proprios.begin(), proprios.end()));
  }
  SqlRowSet contador =
      db.connect()->query("select PROXIMO_NUMERO from GER_NUMERADOR where TABELA = 'CAC_CONTATO'");
  ASSERT_EQ(1u, contador.rows.size());
  EXPECT_EQ(2 * kPorDrawer + 1, contador.value(0, "PROXIMO_NUMERO").asInteger());
}

}  // namespace
}  // namespace vornleads
