// The contact writers' SQL text on Oracle and SQL Server, through the recording connection.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/recording_connection.h"
#include "vornleads/data/novo_contato.h"
#include "vornleads/error.h"
#include "vornleads/text/datetime.h"

namespace vornleads {
namespace {

using test::RecordingConnection;
using test::singleValue;
using Statements = std::vector<std::string>;

const char* const kColunasCompletas =
    "EMPRESA, REVENDA, CONTATO, DTA_CONTATO, SITUACAO, DES_CONTATO, ATIVO_PASSIVO, "
    "DEPARTAMENTO, TIPO_CONTATO, SUB_TIPO_CONTATO, USUARIO_ABRIU, "
    "USUARIO_ENCAMINHADO_ORIGINAL, USUARIO_ENCAMINHADO, CLIENTE, FORMA_CONTATO, "
    "ORIGEM_TRAFEGO, TIPO_TRAFEGO, ORIGEM, CONTATO_ORIGEM, MES_AGENDAMENTO, ANO_AGENDAMENTO, "
    "DDD_1, TELEFONE_1, MELHOR_TELEFONE, DDD_2, TELEFONE_2, CAMPANHA, "
    "CODIGO_LEAD_NA_RENAULT, CODIGO_LEAD_NA_ORIGEM, STATUS_LEADS, NUMERO_DN, "
    "EH_CLIENTE_RENAULT, DTA_LEADS_ORIGEM, SITUACAO_CONTEMPLACAO, HORARIO_ATENDIMENTO, "
    "TIPO_ATENDIMENTO, PRE_VENDA";

const char* const kColunasCurtas =
    "EMPRESA, REVENDA, CONTATO, DTA_CONTATO, SITUACAO, DES_CONTATO, ATIVO_PASSIVO, "
    "DEPARTAMENTO, TIPO_CONTATO, SUB_TIPO_CONTATO, USUARIO_ABRIU, "
    "USUARIO_ENCAMINHADO_ORIGINAL, USUARIO_ENCAMINHADO, CLIENTE, FORMA_CONTATO, "
    "ORIGEM_TRAFEGO, ORIGEM, DDD_1, TELEFONE_1, MELHOR_TELEFONE, DDD_2, TELEFONE_2, "
    "TIPO_TRAFEGO";

SqlRowSet telefones() {
  SqlRowSet rows;
  rows.columns = {"DDD_TELEFONE", "TELEFONE", "DDD_CELULAR", "CELULAR"};
  rows.rows.push_back({SqlValue::integer(11), SqlValue::integer(33334444), SqlValue::integer(21),
                       SqlValue::integer(999998888)});
  return rows;
}

void contatoNaSequencia(RecordingConnection& oracle, int64_t proximo) {
  oracle.respond("select SEQUENCE_NAME",
                 singleValue("SEQUENCE_NAME", SqlValue::text("CAC_CONTATOE1R2")));
  oracle.respond("select CAC_CONTATOE1R2.nextval",
                 singleValue("PROXIMO_NUMERO", SqlValue::integer(proximo)));
}

class NovoContatoDialetos : public ::testing::Test {
 protected:
  const TDateTime data_ = EncodeDateTime({2024, 3, 5, 14, 7, 9, 0});
};

TEST_F(NovoContatoDialetos, FullFormOnOracle) {
  RecordingConnection oracle("ORACLE");
  contatoNaSequencia(oracle, 81);
  oracle.respond("select NOME, DDD_TELEFONE", telefones());

  EXPECT_EQ(80, Geral::NovoContato(oracle, "A", "Lead Web", "P", "V", 3, 4, 5, 6, 7, 500, 8, 9, 1,
                                   2, data_));
  EXPECT_EQ(
      (Statements{
          "select SEQUENCE_NAME from USER_SEQUENCES where SEQUENCE_NAME = 'CAC_CONTATOE1R2'",
          "select CAC_CONTATOE1R2.nextval PROXIMO_NUMERO from dual",
          "select NOME, DDD_TELEFONE, TELEFONE, DDD_CELULAR, CELULAR, CLIENTE_VIP, "
          "USU_INDICOU_VIP, DDD_FAX, FAX from FAT_CLIENTE where CLIENTE = 500",
          std::string("insert into CAC_CONTATO  (") + kColunasCompletas +
              ") values (1,2,80,TO_DATE('05/03/2024 14:07:09','dd/mm/yyyy HH24:MI:SS'),'A',"
              "'Lead Web','P',3,4,5,6,7,7,500,8,9,NULL,'V',NULL,NULL,NULL,11,33334444,1,21,NULL,"
              "NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL)"}),
      oracle.statements());
}

// The contact number is drawn on the second attachment ("BEGIN*") and committed there while
// the caller's transaction stays open for the INSERT.
TEST_F(NovoContatoDialetos, FullFormOnSqlServer10DrawsOnItsOwnBesideTheCallersTransaction) {
  RecordingConnection mssql("MSSQL");
  mssql.respond("select SERVERPROPERTY", singleValue("VERSAO", SqlValue::text("10.0.1600.22")));
  mssql.respond("select PROXIMO_NUMERO from GER_NUMERADOR where",
                singleValue("PROXIMO_NUMERO", SqlValue::integer(30)));
  mssql.respond("select PROXIMO_NUMERO from GER_NUMERADOR  where",
                singleValue("PROXIMO_NUMERO", SqlValue::integer(31)));
  mssql.beginTransaction();

  // Customer unknown, midnight date: date-only literal, five NULL telephone columns.
  EXPECT_EQ(30, Geral::NovoContato(mssql, "A", "", "A", "", 0, 1, 2, 3, 4, 77, 5, 6, 1, 1,
                                   EncodeDate(2024, 3, 5)));
  const std::string condicao =
      " where EMPRESA   = 1 and   REVENDA   = 1 and   NUMERADOR = 'CONTATO' and   TABELA    = "
      "'CAC_CONTATO'";
  EXPECT_EQ(
      (Statements{
          "BEGIN", "select SERVERPROPERTY('productversion') VERSAO",
          "select PROXIMO_NUMERO from GER_NUMERADOR" + condicao, "BEGIN*",
          "update GER_NUMERADOR set PROXIMO_NUMERO = PROXIMO_NUMERO + 1" + condicao,
          "select PROXIMO_NUMERO from GER_NUMERADOR " + condicao, "COMMIT*",
          "select NOME, DDD_TELEFONE, TELEFONE, DDD_CELULAR, CELULAR, CLIENTE_VIP, "
          "USU_INDICOU_VIP, DDD_FAX, FAX from FAT_CLIENTE where CLIENTE = 77",
          std::string("insert into CAC_CONTATO  (") + kColunasCompletas +
              ") values (1,1,30,CAST('05-03-2024' AS DATETIME),'A',NULL,'A',0,1,2,3,4,4,77,5,6,"
              "NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,"
              "NULL,NULL,NULL,NULL,NULL)"}),
      mssql.statements());
  EXPECT_TRUE(mssql.inTransaction());
}

TEST_F(NovoContatoDialetos, ShortFormOnOracle) {
  RecordingConnection oracle("ORACLE");
  oracle.respond("select DDD_TELEFONE", telefones());
  oracle.respond("select TO_CHAR", singleValue("X", SqlValue::text("06/03/2024 09:10:11")));
  contatoNaSequencia(oracle, 81);

  std::string sql;
  EXPECT_EQ(80, Dados::NovoContato(oracle, data_, "A", "Lead", "P", "V", 1, 2, 3, 4, 5, 6, 7, 500,
                                   8, 9, 2, sql));
  const std::string insert =
      std::string("INSERT INTO CAC_CONTATO (") + kColunasCurtas +
      ")  VALUES (1, 2, 80, TO_DATE('06/03/2024 09:10:11','dd/mm/yyyy HH24:MI:SS'), 'A', "
      "'Lead', 'P', 3, 4, 5, 6, 7, 7, 500, 8, 9, 'V', 11, 33334444, 1, 21, 999998888, 2)";
  EXPECT_EQ(insert, sql);
  EXPECT_EQ(
      (Statements{
          "select DDD_TELEFONE, TELEFONE, DDD_CELULAR, CELULAR from FAT_CLIENTE  where CLIENTE "
          "= 500",
          "select TO_CHAR(SYSDATE, 'DD/MM/YYYY HH24:MI:SS') from GER_DBVERSAO where VERSAO > ' '",
          "select SEQUENCE_NAME from USER_SEQUENCES where SEQUENCE_NAME = 'CAC_CONTATOE1R2'",
          "select CAC_CONTATOE1R2.nextval PROXIMO_NUMERO from dual", insert}),
      oracle.statements());
}

TEST_F(NovoContatoDialetos, ShortFormErrorTextNamesTheStatement) {
  RecordingConnection oracle("ORACLE");
  oracle.respond("select TO_CHAR", singleValue("X", SqlValue::text("06/03/2024 09:10:11")));
  contatoNaSequencia(oracle, 81);
  oracle.failOn("INSERT INTO CAC_CONTATO", "ORA-00001: unique constraint violated");

  std::string sql;
  const std::string insert =
      std::string("INSERT INTO CAC_CONTATO (") + kColunasCurtas +
      ")  VALUES (1, 2, 80, TO_DATE('06/03/2024 09:10:11','dd/mm/yyyy HH24:MI:SS'), 'A', '', "
      "'P', 0, 0, 0, 0, 0, 0, 9, 0, 0, '', null, null, null, null, null, null)";
  try {
    Dados::NovoContato(oracle, data_, "A", "", "P", "", 1, 2, 0, 0, 0, 0, 0, 9, 0, 0, -3, sql);
    FAIL() << "the refused INSERT must raise";
  } catch (const DatabaseError&) {
    FAIL() << "re-raised as the routine's own error";
  } catch (const VornError& error) {
    EXPECT_EQ("Erro NovoContato: ORA-00001: unique constraint violated [" + insert + "]",
              std::string(error.what()));
  }
  EXPECT_EQ(insert, sql);
}

TEST_F(NovoContatoDialetos, ServerClockPerDialect) {
  RecordingConnection mssql("MSSQL");
  mssql.respond(
      "SELECT CURRENT_TIMESTAMP",
      singleValue("CAMPO1", SqlValue::dateTime(EncodeDateTime({2024, 1, 2, 3, 4, 5, 0}))));
  EXPECT_DOUBLE_EQ(EncodeDateTime({2024, 1, 2, 3, 4, 5, 0}), Dados::DataHora(mssql));
  EXPECT_EQ((Statements{"SELECT CURRENT_TIMESTAMP Campo1 from GER_DBVERSAO where VERSAO is not "
                        "null"}),
            mssql.statements());
  // No version row: the clock cannot be read.
  EXPECT_THROW(Dados::DataHora(mssql), VornError);
}

}  // namespace
}  // namespace vornleads
