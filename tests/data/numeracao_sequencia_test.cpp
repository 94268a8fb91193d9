// Numbering on the databases this machine cannot run: Oracle and SQL Server, through the
// recording connection. Every statement sent is compared in full.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/recording_connection.h"
#include "vornleads/data/numeracao.h"
#include "vornleads/error.h"

namespace vornleads {
namespace {

using test::RecordingConnection;
using test::singleValue;
using Statements = std::vector<std::string>;

SqlRowSet numero(int64_t value) { return singleValue("PROXIMO_NUMERO", SqlValue::integer(value)); }

TEST(NumeracaoOracle, NewContactSequenceStartsAboveTheCounterAndRunsOneAhead) {
  RecordingConnection oracle("ORACLE");
  oracle.respond("select SEQUENCE_NAME", SqlRowSet{});
  oracle.respond("select PROXIMO_NUMERO from GER_NUMERADOR", numero(100));
  oracle.respond("select CAC_CONTATOE1R2.nextval", numero(101));
  oracle.respond("select CAC_CONTATOE1R2.nextval", numero(102));

  EXPECT_EQ(101, BuscaProximoNumero(oracle, 1, 2, "CAC_CONTATO", "CONTATO", 1, true));
  EXPECT_EQ((Statements{
                "select SEQUENCE_NAME from USER_SEQUENCES where SEQUENCE_NAME = 'CAC_CONTATOE1R2'",
                "select PROXIMO_NUMERO from GER_NUMERADOR where EMPRESA   = 1 and   REVENDA   = 2 "
                "and   TABELA    = 'CAC_CONTATO'",
                "create sequence CAC_CONTATOE1R2 minvalue 1 maxvalue 999999999 start with 101 "
                "increment by 1 cache 20",
                "select CAC_CONTATOE1R2.nextval PROXIMO_NUMERO from dual",
                "select CAC_CONTATOE1R2.nextval PROXIMO_NUMERO from dual"}),
            oracle.statements());

  // The sequence now exists and stands at 102: the next draw gives 103 and hands out 102.
  oracle.clearStatements();
  oracle.respond("select SEQUENCE_NAME",
                 singleValue("SEQUENCE_NAME", SqlValue::text("CAC_CONTATOE1R2")));
  oracle.respond("select CAC_CONTATOE1R2.nextval", numero(103));
  EXPECT_EQ(102, BuscaProximoNumero(oracle, 1, 2, "CAC_CONTATO", "CONTATO", 1, true));
  EXPECT_EQ((Statements{
                "select SEQUENCE_NAME from USER_SEQUENCES where SEQUENCE_NAME = 'CAC_CONTATOE1R2'",
                "select CAC_CONTATOE1R2.nextval PROXIMO_NUMERO from dual"}),
            oracle.statements());
  EXPECT_EQ(0u, oracle.pendingAnswers());
}

TEST(NumeracaoOracle, NewSequenceWithoutCounterRowStartsAtOneAndKeepsTheNumerador) {
  RecordingConnection oracle("ORACLE");
  BuscaProximoNumero(oracle, 3, 4, "GER_OPERACAO", "OPERACAO", 2, false);
  EXPECT_EQ((Statements{
                "select SEQUENCE_NAME from USER_SEQUENCES where SEQUENCE_NAME = 'GER_OPERACAOE3R4'",
                "select PROXIMO_NUMERO from GER_NUMERADOR where EMPRESA   = 3 and   REVENDA   = 4 "
                "and   NUMERADOR = 'OPERACAO' and   TABELA    = 'GER_OPERACAO'",
                "create sequence GER_OPERACAOE3R4 minvalue 1 maxvalue 999999999 start with 1 "
                "increment by 1 cache 20",
                "select GER_OPERACAOE3R4.nextval PROXIMO_NUMERO from dual",
                "select GER_OPERACAOE3R4.nextval PROXIMO_NUMERO from dual",
                "select GER_OPERACAOE3R4.nextval PROXIMO_NUMERO from dual"}),
            oracle.statements());
}

TEST(NumeracaoOracle, BlockFromExistingSequenceReturnsLastDrawnMinusTheBlock) {
  RecordingConnection oracle("ORACLE");
  oracle.respond("select SEQUENCE_NAME", singleValue("SEQUENCE_NAME", SqlValue::text("X")));
  oracle.respond("select GER_LOG_CADASTROSE1R1.nextval", numero(10));
  oracle.respond("select GER_LOG_CADASTROSE1R1.nextval", numero(11));
  oracle.respond("select GER_LOG_CADASTROSE1R1.nextval", numero(12));
  EXPECT_EQ(9, BuscaProximoNumero(oracle, 1, 1, "GER_LOG_CADASTROS", "LOG", 3, true));
  EXPECT_EQ(4u, oracle.statements().size());
}

TEST(NumeracaoOracle, DrawingNothingFromAnExistingSequenceIsFieldNotFound) {
  RecordingConnection oracle("ORACLE");
  oracle.respond("select SEQUENCE_NAME", singleValue("SEQUENCE_NAME", SqlValue::text("X")));
  try {
    BuscaProximoNumero(oracle, 1, 1, "CAC_CONTATO", "CONTATO", 0, true);
    FAIL() << "a draw of nothing must fail";
  } catch (const VornError& error) {
    EXPECT_STREQ("Field 'PROXIMO_NUMERO' not found", error.what());
  }
  EXPECT_EQ(1u, oracle.statements().size());
}

TEST(NumeracaoOracle, OtherTablesUseTheCounterTableWithoutAVersionQuery) {
  RecordingConnection oracle("ORACLE");
  oracle.respond("select PROXIMO_NUMERO from GER_NUMERADOR where", numero(40));
  oracle.respond("select PROXIMO_NUMERO from GER_NUMERADOR  where", numero(41));
  EXPECT_EQ(40, BuscaProximoNumero(oracle, 1, 1, "FAT_CLIENTE", "CLIENTE", 1, true));
  const std::string condicao =
      " where EMPRESA   = 1 and   REVENDA   = 1 and   NUMERADOR = 'CLIENTE' and   TABELA    = "
      "'FAT_CLIENTE'";
  // The whole draw runs on the second attachment ("BEGIN*"), in a transaction of its own.
  EXPECT_EQ((Statements{"select PROXIMO_NUMERO from GER_NUMERADOR" + condicao, "BEGIN*",
                        "update GER_NUMERADOR set PROXIMO_NUMERO = PROXIMO_NUMERO + 1" + condicao,
                        "select PROXIMO_NUMERO from GER_NUMERADOR " + condicao, "COMMIT*"}),
            oracle.statements());
}

TEST(NumeracaoOracle, FailedSequenceCreationReachesTheCaller) {
  RecordingConnection oracle("ORACLE");
  oracle.failOn("create sequence", "ORA-01031: insufficient privileges");
  try {
    BuscaProximoNumero(oracle, 1, 1, "CAC_CONTATO", "CONTATO", 1, true);
    FAIL() << "the creation error must propagate";
  } catch (const DatabaseError& error) {
    EXPECT_EQ("ORA-01031: insufficient privileges", error.databaseMessage());
  }
  EXPECT_EQ(3u, oracle.statements().size());  // nothing drawn after the failure
}

TEST(NumeracaoSqlServer, Version10UsesTheCounterTableEvenForContacts) {
  RecordingConnection mssql("MSSQL");
  mssql.respond("select SERVERPROPERTY", singleValue("VERSAO", SqlValue::text("10.50.1600.1")));
  mssql.respond("select PROXIMO_NUMERO from GER_NUMERADOR where", numero(7));
  mssql.respond("select PROXIMO_NUMERO from GER_NUMERADOR  where", numero(8));
  EXPECT_EQ(7, BuscaProximoNumero(mssql, 1, 1, "CAC_CONTATO", "CONTATO", 1, true));
  const std::string condicao =
      " where EMPRESA   = 1 and   REVENDA   = 1 and   NUMERADOR = 'CONTATO' and   TABELA    = "
      "'CAC_CONTATO'";
  EXPECT_EQ((Statements{"select SERVERPROPERTY('productversion') VERSAO",
                        "select PROXIMO_NUMERO from GER_NUMERADOR" + condicao, "BEGIN*",
                        "update GER_NUMERADOR set PROXIMO_NUMERO = PROXIMO_NUMERO + 1" + condicao,
                        "select PROXIMO_NUMERO from GER_NUMERADOR " + condicao, "COMMIT*"}),
            mssql.statements());
}

TEST(NumeracaoSqlServer, Version11UsesSequences) {
  RecordingConnection mssql("MSSQL");
  mssql.respond("select SERVERPROPERTY", singleValue("VERSAO", SqlValue::text("11.0.2100.60")));
  mssql.respond("select NAME from SYS.SEQUENCES",
                singleValue("NAME", SqlValue::text("CAC_CONTATOE1R1")));
  mssql.respond("select next value for", numero(57));
  EXPECT_EQ(56, BuscaProximoNumero(mssql, 1, 1, "CAC_CONTATO", "CONTATO", 1, true));
  EXPECT_EQ((Statements{"select SERVERPROPERTY('productversion') VERSAO",
                        "select NAME from SYS.SEQUENCES where NAME = 'CAC_CONTATOE1R1'",
                        "select next value for CAC_CONTATOE1R1 PROXIMO_NUMERO"}),
            mssql.statements());
}

TEST(NumeracaoSqlServer, NewSequenceOnVersion15) {
  RecordingConnection mssql("DevartSQLServer");
  mssql.respond("select SERVERPROPERTY", singleValue("VERSAO", SqlValue::text("15.0.2000.5")));
  mssql.respond("select PROXIMO_NUMERO from GER_NUMERADOR", numero(9));
  EXPECT_EQ(10, BuscaProximoNumero(mssql, 2, 5, "GER_OPERACAO", "OPERACAO", 1, true));
  EXPECT_EQ(
      (Statements{"select SERVERPROPERTY('productversion') VERSAO",
                  "select NAME from SYS.SEQUENCES where NAME = 'GER_OPERACAOE2R5'",
                  "select PROXIMO_NUMERO from GER_NUMERADOR where EMPRESA   = 2 and   REVENDA   "
                  "= 5 and   NUMERADOR = 'OPERACAO' and   TABELA    = 'GER_OPERACAO'",
                  "create sequence GER_OPERACAOE2R5 minvalue 1 maxvalue 999999999 start with 10 "
                  "increment by 1 cache 20",
                  "select next value for GER_OPERACAOE2R5 PROXIMO_NUMERO",
                  "select next value for GER_OPERACAOE2R5 PROXIMO_NUMERO"}),
      mssql.statements());
}

TEST(NumeracaoSqlServer, VersionTextDecidesTheMajorVersion) {
  RecordingConnection mssql("MSSQL");
  mssql.respond("select SERVERPROPERTY", singleValue("VERSAO", SqlValue::text("12.0.2000.8")));
  EXPECT_EQ(12, VersaoSqlServer(mssql, "SQLSERVER"));
  mssql.respond("select SERVERPROPERTY", singleValue("VERSAO", SqlValue::text("16")));
  EXPECT_EQ(-1, VersaoSqlServer(mssql, "SQLSERVER"));
  EXPECT_EQ(-1, VersaoSqlServer(mssql, "SQLSERVER"));  // no row
  mssql.respond("select SERVERPROPERTY", singleValue("VERSAO", SqlValue::text("x.1")));
  EXPECT_THROW(VersaoSqlServer(mssql, "SQLSERVER"), ConversionError);
  EXPECT_EQ(4u, mssql.statements().size());
  // Other dialects never ask.
  EXPECT_EQ(-1, VersaoSqlServer(mssql, "ORACLE"));
  EXPECT_EQ(4u, mssql.statements().size());
}

TEST(NumeracaoSqlServer, ServiceOrderCountersStillReadTheVersionFirst) {
  RecordingConnection mssql("MSSQL");
  mssql.respond("select SERVERPROPERTY", singleValue("VERSAO", SqlValue::text("14.0.1000.169")));
  mssql.respond("select PROXIMO_SERVICO", singleValue("PROXIMO_SERVICO", SqlValue::integer(3)));
  mssql.respond("select PROXIMO_SERVICO", singleValue("PROXIMO_SERVICO", SqlValue::integer(4)));
  EXPECT_EQ(3, BuscaProximoNumero(mssql, 1, 2, "OFI_SERVICO_OS", "777", 5, true));
  const std::string condicao = " where EMPRESA  = 1 and   REVENDA  = 2 and   NRO_OS   = 777";
  EXPECT_EQ((Statements{
                "select SERVERPROPERTY('productversion') VERSAO",
                "select PROXIMO_SERVICO from OFI_ORDEM_SERVICO" + condicao,
                "update OFI_ORDEM_SERVICO set    PROXIMO_SERVICO = PROXIMO_SERVICO + 1" + condicao,
                "select PROXIMO_SERVICO from OFI_ORDEM_SERVICO" + condicao}),
            mssql.statements());
}

}  // namespace
}  // namespace vornleads
