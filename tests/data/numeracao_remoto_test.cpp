// Numbering in remote mode (VarTecnologia "DATASNAP"): updates and the routine's own
// transactions go to the host's application server, queries read the local connection.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "support/recording_connection.h"
#include "vornleads/data/host_settings.h"
#include "vornleads/data/numeracao.h"
#include "vornleads/error.h"

namespace vornleads {
namespace {

using test::RecordingConnection;
using test::singleValue;
using Statements = std::vector<std::string>;

class RecordingRemote : public RemoteServerConnection {
 public:
  bool ExecutaDML(const std::string& sql) override {
    calls.push_back(sql);
    return sql.find(refuse) == std::string::npos || refuse.empty();
  }
  void IniciaTransacao() override { calls.push_back("IniciaTransacao"); }
  void ComitaTransacao() override { calls.push_back("ComitaTransacao"); }
  void RollbackTransacao() override { calls.push_back("RollbackTransacao"); }

  Statements calls;
  std::string refuse;  // statements containing this text are answered false
};

class NumeracaoRemota : public ::testing::Test {
 protected:
  void SetUp() override {
    remote_ = std::make_shared<RecordingRemote>();
    setHostSettings({"DATASNAP", "servidor-aplicacao", remote_});
  }
  void TearDown() override { setHostSettings({}); }

  std::shared_ptr<RecordingRemote> remote_;
  const std::string condicao_ =
      " where EMPRESA   = 1 and   REVENDA   = 1 and   NUMERADOR = 'ORCAMENTO' and   TABELA    = "
      "'OFI_ORCAMENTO'";
};

TEST_F(NumeracaoRemota, CounterUpdateAndItsTransactionRunOnTheServer) {
  RecordingConnection local("Firebird");
  local.respond("select PROXIMO_NUMERO from GER_NUMERADOR where",
                singleValue("PROXIMO_NUMERO", SqlValue::integer(20)));
  local.respond("select PROXIMO_NUMERO from GER_NUMERADOR  where",
                singleValue("PROXIMO_NUMERO", SqlValue::integer(22)));

  EXPECT_EQ(20, BuscaProximoNumero(local, 1, 1, "OFI_ORCAMENTO", "ORCAMENTO", 2, true));
  EXPECT_EQ((Statements{"select PROXIMO_NUMERO from GER_NUMERADOR" + condicao_,
                        "select PROXIMO_NUMERO from GER_NUMERADOR " + condicao_}),
            local.statements());
  EXPECT_EQ((Statements{"IniciaTransacao",
                        "update GER_NUMERADOR set PROXIMO_NUMERO = PROXIMO_NUMERO + 2" + condicao_,
                        "ComitaTransacao"}),
            remote_->calls);
}

TEST_F(NumeracaoRemota, RefusedStatementRaisesAndRollsTheServerTransactionBack) {
  RecordingConnection local("Firebird");
  remote_->refuse = "insert into GER_NUMERADOR";
  const std::string insert = "insert into GER_NUMERADOR values (1,1,'ORCAMENTO','OFI_ORCAMENTO',2)";
  try {
    BuscaProximoNumero(local, 1, 1, "OFI_ORCAMENTO", "ORCAMENTO", 1, true);
    FAIL() << "a refused statement must raise";
  } catch (const DatabaseError&) {
    FAIL() << "a refusal is not a database error of the local connection";
  } catch (const VornError& error) {
    EXPECT_EQ("O servidor de aplicação não executou o comando:\r\n" + insert,
              std::string(error.what()));
  }
  EXPECT_EQ((Statements{"IniciaTransacao", insert, "RollbackTransacao"}), remote_->calls);
  EXPECT_FALSE(local.inTransaction());
}

TEST_F(NumeracaoRemota, WithoutItsOwnTransactionOnlyTheStatementIsSent) {
  RecordingConnection local("Firebird");
  BuscaProximoNumero(local, 1, 1, "OFI_ORCAMENTO", "ORCAMENTO", 1, false);
  EXPECT_EQ((Statements{"insert into GER_NUMERADOR values (1,1,'ORCAMENTO','OFI_ORCAMENTO',2)"}),
            remote_->calls);
}

TEST_F(NumeracaoRemota, SequenceCreationAndServiceOrderUpdateGoToTheServer) {
  RecordingConnection oracle("ORACLE");
  BuscaProximoNumero(oracle, 1, 1, "CAC_CONTATO", "CONTATO", 1, true);
  oracle.respond("select PROXIMA_PECA", singleValue("PROXIMA_PECA", SqlValue::integer(5)));
  oracle.respond("select PROXIMA_PECA", singleValue("PROXIMA_PECA", SqlValue::integer(6)));
  EXPECT_EQ(5, BuscaProximoNumero(oracle, 1, 1, "OFI_PECA_OS", "12", 1, true));
  EXPECT_EQ((Statements{"create sequence CAC_CONTATOE1R1 minvalue 1 maxvalue 999999999 start "
                        "with 1 increment by 1 cache 20",
                        "update OFI_ORDEM_SERVICO set    PROXIMA_PECA = PROXIMA_PECA + 1 where "
                        "EMPRESA  = 1 and   REVENDA  = 1 and   NRO_OS   = 12"}),
            remote_->calls);
  for (const auto& statement : oracle.statements()) {
    EXPECT_EQ(0u, statement.rfind("select ", 0)) << statement;
  }
}

TEST_F(NumeracaoRemota, RemoteModeWithoutAServerConnectionIsRefused) {
  setHostSettings({"DATASNAP", "", nullptr});
  RecordingConnection local("Firebird");
  EXPECT_THROW(BuscaProximoNumero(local, 1, 1, "OFI_ORCAMENTO", "ORCAMENTO", 1, true), VornError);
  EXPECT_TRUE(local.statements().empty());
}

TEST(HostSettings, AnyOtherTechnologyIsLocalMode) {
  EXPECT_FALSE(modoRemoto(hostSettings()));
  EXPECT_FALSE(modoRemoto({"datasnap", "", nullptr}));
  EXPECT_TRUE(modoRemoto({"DATASNAP", "", nullptr}));
}

}  // namespace
}  // namespace vornleads
