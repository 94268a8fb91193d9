// A DMS user who registers a customer and leaves the screen open holds an uncommitted
// FAT_CLIENTE row at the code the intake draws next.
#include <memory>
#include <string>

#include "intake/intake_harness.h"

namespace vornleads::test {
namespace {

// The host's pause before the repeated cycle is when the user leaves the screen.
class Leaving : public Pause {
 public:
  Leaving(std::shared_ptr<Pause> inner, SqlConnection& holder) : inner_(inner), holder_(holder) {}
  void sleep(int milliseconds) override {
    inner_->sleep(milliseconds);
    if (holder_.inTransaction()) holder_.rollback();
  }

 private:
  std::shared_ptr<Pause> inner_;
  SqlConnection& holder_;
};

TEST_F(IntakeTest, LeadBehindAHeldCustomerRowFailsAloneThenComesInOnceTheRowIsFree) {
  connection_ = OpenConnection(db_->uri(), {2, 30});
  auto holder = db_->connect();
  holder->beginTransaction();
  holder->execute("INSERT INTO FAT_CLIENTE (CLIENTE, NOME) VALUES (1, 'CADASTRO EM ABERTO')");
  sandbox().addLeads(Json::array({leadItem("6001"), leadItem("6002"), leadItem("6003")}));

  const std::string outcomeText = outcome([&] {
    newWorker().setPause(std::make_shared<Leaving>(host_, *holder));
    worker_->buscarLeads();
  });
  // The failed lead makes the worker repeat its cycle until the restart message.
  EXPECT_EQ(outcomeText,
            "Ocorreram repetidos erros ao integrar os leads, o serviço será reiniciado");
  const std::string log = logText();
  const size_t waited =
      log.find("Waited 2 s for a row locked by another transaction on table FAT_CLIENTE: ");
  EXPECT_NE(waited, std::string::npos) << log;
  EXPECT_EQ(log.find("Waited", waited + 1), std::string::npos) << "one lead failed, once";
  // Each lead once, with its own contact and customer, confirmed once; the held code unused.
  EXPECT_EQ(row("SELECT COUNT(*), COUNT(DISTINCT ID_LEAD_VW), COUNT(DISTINCT CONTATO) "
                "FROM CAC_LEAD_CONTATO"),
            "3|3|3");
  EXPECT_EQ(count("CAC_CONTATO"), 3);
  EXPECT_EQ(row("SELECT COUNT(*), MIN(CLIENTE) FROM FAT_CLIENTE"), "3|2");
  EXPECT_EQ(confirmedLeads(), (Strings{"6001", "6002", "6003"}));
  EXPECT_EQ(sandbox().updates().size(), 3u);
}

}  // namespace
}  // namespace vornleads::test
