// A counter draw must never wait forever on a lock that only its own connection's open
// transaction could release: here A's lead holds a key that B's lead waits for, while B's lead
// holds the counter row A draws from. Whatever gives way, the draw must end.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <string>
#include <thread>

#include "support/firebird_db.h"
#include "vornleads/data/numeracao.h"
#include "vornleads/error.h"

namespace vornleads {
namespace {

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
