// The writers of a lead's records: contacts (full and short form), prospects with their
// customer codes, and the paying sources of a service order.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <string>

#include "fixture.h"
#include "vornleads/clock.h"
#include "vornleads/data/cliente_prospect.h"
#include "vornleads/data/fonte_pagadora.h"
#include "vornleads/data/novo_contato.h"

namespace vornleads {
namespace {

using test::linha;
using test::RecordingConnection;
using test::singleValue;
using test::Statements;

const std::string kColunas =
    "EMPRESA, REVENDA, CONTATO, DTA_CONTATO, SITUACAO, DES_CONTATO, ATIVO_PASSIVO, DEPARTAMENTO, "
    "TIPO_CONTATO, SUB_TIPO_CONTATO, USUARIO_ABRIU, USUARIO_ENCAMINHADO_ORIGINAL, "
    "USUARIO_ENCAMINHADO, CLIENTE, FORMA_CONTATO, ORIGEM_TRAFEGO, ";
const std::string kCompletas =
    kColunas +
    "TIPO_TRAFEGO, ORIGEM, CONTATO_ORIGEM, MES_AGENDAMENTO, ANO_AGENDAMENTO, DDD_1, TELEFONE_1, "
    "MELHOR_TELEFONE, DDD_2, TELEFONE_2, CAMPANHA, CODIGO_LEAD_NA_RENAULT, CODIGO_LEAD_NA_ORIGEM, "
    "STATUS_LEADS, NUMERO_DN, EH_CLIENTE_RENAULT, DTA_LEADS_ORIGEM, SITUACAO_CONTEMPLACAO, "
    "HORARIO_ATENDIMENTO, TIPO_ATENDIMENTO, PRE_VENDA";
const std::string kSequencia =
    "select SEQUENCE_NAME from USER_SEQUENCES where SEQUENCE_NAME = 'CAC_CONTATOE1R2'";
const std::string kCliente =
    "select NOME, DDD_TELEFONE, TELEFONE, DDD_CELULAR, CELULAR, "
    "CLIENTE_VIP, USU_INDICOU_VIP, DDD_FAX, FAX from FAT_CLIENTE where CLIENTE = ";
const std::string kRelogio =
    "select TO_CHAR(SYSDATE, 'DD/MM/YYYY HH24:MI:SS') from GER_DBVERSAO where VERSAO > ' '";
const std::string kTelefones =
    "select DDD_TELEFONE, TELEFONE, DDD_CELULAR, CELULAR from FAT_CLIENTE  where CLIENTE = ";

SqlRowSet telefones(int64_t celular) {
  return {{"DDD_TELEFONE", "TELEFONE", "DDD_CELULAR", "CELULAR"},
          {{SqlValue::integer(11), SqlValue::integer(33334444), SqlValue::integer(21),
            SqlValue::integer(celular)}}};
}

TEST(NovoContato, StatementsOnOracleAndSqlServer) {
  struct Caso {
    const char* driver;
    test::Answers respostas;
    std::function<int32_t(SqlConnection&)> grava;
    std::string esperado;
    Statements sql;
  };
  const test::Answers sequencia = {
      {"select SEQUENCE_NAME", singleValue("SEQUENCE_NAME", SqlValue::text("CAC_CONTATOE1R2"))},
      {"select CAC_CONTATOE1R2.nextval", test::numero(81)}};
  auto oracle = [&](test::Answers extra) {
    extra.insert(extra.end(), sequencia.begin(), sequencia.end());
    return extra;
  };
  const std::string proximo = "select CAC_CONTATOE1R2.nextval PROXIMO_NUMERO from dual";
  const std::string onde =
      " where EMPRESA   = 1 and   REVENDA   = 1 and   NUMERADOR = 'CONTATO' "
      "and   TABELA    = 'CAC_CONTATO'";
  const std::string curto =
      "INSERT INTO CAC_CONTATO (" + kColunas +
      "ORIGEM, DDD_1, TELEFONE_1, MELHOR_TELEFONE, DDD_2, TELEFONE_2, TIPO_TRAFEGO)  VALUES (1, 2, "
      "80, TO_DATE('06/03/2024 09:10:11','dd/mm/yyyy HH24:MI:SS'), 'A', ";
  const SqlRowSet agora = singleValue("X", SqlValue::text("06/03/2024 09:10:11"));
  const Caso casos[] = {
      {"ORACLE",
       oracle({{"select NOME", telefones(0)}}),
       [](SqlConnection& c) {
         return Geral::NovoContato(c, "A", "Lead Web", "P", "V", 3, 4, 5, 6, 7, 500, 8, 9, 1, 2,
                                   test::leadDate());
       },
       "80",
       {kSequencia, proximo, kCliente + "500",
        "insert into CAC_CONTATO  (" + kCompletas +
            ") values (1,2,80,TO_DATE('05/03/2024 14:07:09','dd/mm/yyyy HH24:MI:SS'),'A','Lead "
            "Web',"
            "'P',3,4,5,6,7,7,500,8,9,NULL,'V',NULL,NULL,NULL,11,33334444,1,21,NULL,NULL,NULL,NULL,"
            "NULL,"
            "NULL,NULL,NULL,NULL,NULL,NULL,NULL)"}},
      // SQL Server 10: the number is drawn and committed on the second attachment while the
      // caller's transaction stays open for the INSERT. Unknown customer, midnight.
      {"MSSQL",
       {{"select SERVERPROPERTY", singleValue("VERSAO", SqlValue::text("10.0.1600.22"))},
        {"select PROXIMO_NUMERO from GER_NUMERADOR where", test::numero(30)},
        {"select PROXIMO_NUMERO from GER_NUMERADOR  where", test::numero(31)}},
       [](SqlConnection& c) {
         c.beginTransaction();
         return Geral::NovoContato(c, "A", "", "A", "", 0, 1, 2, 3, 4, 77, 5, 6, 1, 1,
                                   EncodeDate(2024, 3, 5));
       },
       "30",
       {"BEGIN", "select SERVERPROPERTY('productversion') VERSAO",
        "select PROXIMO_NUMERO from GER_NUMERADOR" + onde, "BEGIN*",
        "update GER_NUMERADOR set PROXIMO_NUMERO = PROXIMO_NUMERO + 1" + onde,
        "select PROXIMO_NUMERO from GER_NUMERADOR " + onde, "COMMIT*", kCliente + "77",
        "insert into CAC_CONTATO  (" + kCompletas +
            ") values (1,1,30,CAST('05-03-2024' AS DATETIME),"
            "'A',NULL,'A',0,1,2,3,4,4,77,5,6,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,"
            "NULL,"
            "NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL)"}},
      // The short form writes the server's clock and wider telephones (eleven digits are not).
      {"ORACLE",
       oracle({{"select DDD_TELEFONE", telefones(11999998888)}, {"select TO_CHAR", agora}}),
       [](SqlConnection& c) {
         return Dados::NovoContato(c, test::leadDate(), "A", "Lead", "P", "V", 1, 2, 3, 4, 5, 6, 7,
                                   500, 8, 9, 2);
       },
       "80",
       {kTelefones + "500", kRelogio, kSequencia, proximo,
        curto + "'Lead', 'P', 3, 4, 5, 6, 7, 7, 500, 8, 9, 'V', 11, 33334444, 1, 21, null, 2)"}},
  };
  for (const Caso& c : casos) {
    RecordingConnection connection(c.driver);
    test::script(connection, c.respostas);
    EXPECT_EQ(c.esperado, std::to_string(c.grava(connection)));
    EXPECT_EQ(c.sql, connection.statements());
  }
  // A refused INSERT of the short form raises its own text naming the statement.
  RecordingConnection refused("ORACLE");
  test::script(refused, oracle({{"select TO_CHAR", agora}}));
  refused.failOn("INSERT INTO CAC_CONTATO", "ORA-00001: unique constraint violated");
  std::string sql;
  const std::string insert =
      curto + "'', 'P', 0, 0, 0, 0, 0, 0, 9, 0, 0, '', null, null, null, null, null, null)";
  EXPECT_EQ("Erro NovoContato: ORA-00001: unique constraint violated [" + insert + "]",
            test::errorOf([&] {
              Dados::NovoContato(refused, 0.0, "A", "", "P", "", 1, 2, 0, 0, 0, 0, 0, 9, 0, 0, -3,
                                 sql);
            }));
  EXPECT_EQ(insert, sql);
  RecordingConnection mssql("MSSQL");
  const TDateTime relogio = EncodeDateTime({2024, 1, 2, 3, 4, 5, 0});
  mssql.respond("SELECT CURRENT_TIMESTAMP", singleValue("CAMPO1", SqlValue::dateTime(relogio)));
  EXPECT_DOUBLE_EQ(relogio, Dados::DataHora(mssql));
  EXPECT_EQ(
      (Statements{"SELECT CURRENT_TIMESTAMP Campo1 from GER_DBVERSAO where VERSAO is not null"}),
      mssql.statements());
  EXPECT_THROW(Dados::DataHora(mssql), VornError);  // no version row
}

class ContatoFirebird : public test::FirebirdSuite<false, true> {
 protected:
  static void SetUpTestSuite() {
    FirebirdSuite::SetUpTestSuite();
    auto setup = db_->connect();
    setup->execute("insert into GER_DBVERSAO (VERSAO) values ('1.0')");
    setup->execute(
        "insert into FAT_CLIENTE (CLIENTE, NOME, DDD_TELEFONE, TELEFONE, DDD_CELULAR, "
        "CELULAR) values (500, 'ANA', 11, 33334444, 21, 999998888)");
    setup->execute(
        "insert into FAT_CLIENTE (CLIENTE, NOME, DDD_TELEFONE, TELEFONE, DDD_CELULAR, "
        "CELULAR) values (501, 'BETO', 0, 123456789, 0, 12345678)");
  }
  SqlRowSet contato(int32_t empresa, int32_t numero) {
    return connection_->query(
        "select * from CAC_CONTATO where EMPRESA = " + std::to_string(empresa) +
        " and REVENDA = 1 and CONTATO = " + std::to_string(numero));
  }
};

TEST_F(ContatoFirebird, BothFormsWriteTheirColumnsAndGuardTheTelephones) {
  const std::string colunas =
      "DDD_1 TELEFONE_1 MELHOR_TELEFONE DDD_2 TELEFONE_2 TIPO_TRAFEGO DES_CONTATO";
  const TDateTime ultimo = EncodeDate(2024, 12, 31) + 86399999.6 / 86400000.0;
  struct Caso {
    bool curta;
    int32_t cliente, tipoTrafego;
    TDateTime data;
    std::string valores;
  };
  const Caso casos[] = {
      {false, 500, 0, test::leadDate(), "11|33334444|1|21|-|-|-"},  // nine-digit mobile: not copied
      {false, 501, 0, test::leadDate(), "-|-|1|-|12345678|-|-"},    // nine-digit landline
      {false, 999, 0, ultimo, "-|-|-|-|-|-|-"},                     // no such customer
      {true, 501, 0, 0, "-|123456789|1|-|12345678|-|"},             // empty text, not NULL
      {true, 500, 2, 0, "11|33334444|1|21|999998888|2|"}};
  int32_t empresa = 10;
  for (const Caso& c : casos) {
    ++empresa;
    const int32_t numero =
        c.curta ? Dados::NovoContato(*connection_, c.data, "A", "", "P", "B", empresa, 1, 3, 4, 5,
                                     6, 7, c.cliente, 8, 9, c.tipoTrafego)
                : Geral::NovoContato(*connection_, "A", "", "P", "B", 3, 4, 5, 6, 7, c.cliente, 8,
                                     9, empresa, 1, c.data);
    ASSERT_EQ(1, numero);
    const SqlRowSet row = contato(empresa, numero);
    EXPECT_EQ(c.valores, linha(row, colunas)) << c.cliente;
    EXPECT_EQ("A|P|3|4|5|6|7|7|" + std::to_string(c.cliente) + "|8|9|B",
              linha(row,
                    "SITUACAO ATIVO_PASSIVO DEPARTAMENTO TIPO_CONTATO SUB_TIPO_CONTATO "
                    "USUARIO_ABRIU USUARIO_ENCAMINHADO_ORIGINAL USUARIO_ENCAMINHADO CLIENTE "
                    "FORMA_CONTATO ORIGEM_TRAFEGO ORIGEM"));
    if (!c.curta) {
      // The full form writes the date given, cut to the second; the short form the server's.
      EXPECT_EQ(c.data == ultimo ? "31/12/2024 23:59:59" : "05/03/2024 14:07:09",
                row.value(0, "DTA_CONTATO").asString());
    } else {
      EXPECT_LT(std::fabs(row.value(0, "DTA_CONTATO").asDateTime() - Now()), 1.0 / 24);
    }
  }
  // The full form's counter moves on inside the caller's transaction.
  EXPECT_EQ(2, Geral::NovoContato(*connection_, "A", "X", "P", "V", 0, 0, 0, 0, 0, 500, 0, 0, 11, 1,
                                  test::leadDate()));
}

TEST_F(ContatoFirebird, FailuresReachTheCallerAndNoNumberWritesNothing) {
  const std::string contatos = "select count(*) from CAC_CONTATO";
  EXPECT_THROW(
      Geral::NovoContato(*connection_, "A", "", "P", "V", 1, 1, 1, 1, 1, 500, 1, 1, 3, 1, 0.0),
      ConversionError);
  // A contact already holding the next number: the INSERT is refused.
  connection_->execute("insert into CAC_CONTATO (EMPRESA, REVENDA, CONTATO) values (3, 1, 2)");
  connection_->execute("insert into CAC_CONTATO (EMPRESA, REVENDA, CONTATO) values (6, 1, 1)");
  EXPECT_THROW(Geral::NovoContato(*connection_, "A", "", "P", "V", 1, 1, 1, 1, 1, 500, 1, 1, 3, 1,
                                  test::leadDate()),
               DatabaseError);
  const std::string message = test::errorOf([&] {
    Dados::NovoContato(*connection_, 0, "A", "", "P", "B", 6, 1, 0, 0, 0, 0, 0, 500, 0, 0, 0);
  });
  EXPECT_EQ(0u, message.rfind("Erro NovoContato: ", 0)) << message;
  EXPECT_NE(std::string::npos, message.find("PRIMARY or UNIQUE KEY")) << message;
  EXPECT_NE(std::string::npos, message.find(" [INSERT INTO CAC_CONTATO (")) << message;
  EXPECT_EQ(2, count(contatos));
  // A counter at 0 draws no number: nothing is written. Committed first: the number is drawn
  // outside the caller's transaction.
  connection_->rollback();
  connection_->execute("insert into GER_NUMERADOR values (4,1,'CONTATO','CAC_CONTATO',0)");
  connection_->execute("insert into GER_NUMERADOR values (7,1,'CONTATO','CAC_CONTATO',0)");
  connection_->beginTransaction();
  EXPECT_EQ(0, Geral::NovoContato(*connection_, "A", "", "P", "V", 1, 1, 1, 1, 1, 500, 1, 1, 4, 1,
                                  test::leadDate()));
  EXPECT_EQ(
      0, Dados::NovoContato(*connection_, 0, "A", "", "P", "B", 7, 1, 0, 0, 0, 0, 0, 500, 0, 0, 0));
  EXPECT_EQ(0, count(contatos));
}

class ClienteProspect : public test::FirebirdSuite<false, false> {
 protected:
  int32_t grava(int32_t empresa, const std::string& nome = "ANA") {
    return GravaClienteProspect(*connection_, test::leadDate(), empresa, 1, 12, 11, 987654321, 0, 0,
                                0, 0, nome, "", "", "", "", "", "", "", "a@b.c", -1);
  }
};

TEST_F(ClienteProspect, WritesEveryPositionAndQuotesIntactOrFailsWithTheReason) {
  connection_->execute("insert into GER_NUMERADOR values (0,0,'CLIENTE','FAT_CLIENTE',700)");
  const std::string nome = "JOANA D'ARC'); DELETE FROM FAT_CLIENTE; --";
  ASSERT_EQ(700, grava(1, nome)) << Dados::MensagemErroException;
  EXPECT_EQ(701, GravaClienteProspect(*connection_, test::leadDate(), 2, 3, 4, 1, 33334444, 21,
                                      999998888, 31, 32323232, "O'HARA", "RUA A", "10", "AP 1",
                                      "CENTRO", "SAO PAULO", "SP", "01000-000", "o'h@x.com", 0));
  const std::string colunas =
      "NOME PROSPECT CATEGORIA DTA_CADASTRO EMPRESA_CADASTRO REVENDA_CADASTRO VENDEDOR "
      "DDD_TELEFONE TELEFONE DDD_CELULAR CELULAR DDD_COMERCIAL TELEFONE_COMERCIAL ENDERECO "
      "NUMERO_ENDERECO COMPLEMENTO BAIRRO CIDADE UF CEP E_MAIL_CASA";
  EXPECT_EQ(nome + "|S|-|05/03/2024 14:07:09|1|1|12|11|987654321|-|-|-|-|-|-|-|-|-|-|-|a@b.c",
            linha(connection_->query("select * from FAT_CLIENTE where CLIENTE = 700"), colunas));
  EXPECT_EQ(
      "O'HARA|S|0|05/03/2024 14:07:09|2|3|4|1|33334444|21|999998888|31|32323232|RUA A|10|"
      "AP 1|CENTRO|SAO PAULO|SP|01000-000|o'h@x.com",
      linha(connection_->query("select * from FAT_CLIENTE where CLIENTE = 701"), colunas));
  EXPECT_EQ("", Dados::MensagemErroException);

  EXPECT_EQ(0, grava(1, std::string(200, 'X')));  // NOME holds 150 characters
  EXPECT_NE(std::string::npos, Dados::MensagemErroException.find("string right truncation"));
  EXPECT_EQ(std::string::npos, Dados::MensagemErroException.find("INSERT"))
      << "the reason is the database's message, not the statement";
  EXPECT_EQ(703, grava(1));  // a later success clears the reason
  EXPECT_EQ("", Dados::MensagemErroException);
  EXPECT_EQ(3, count("select count(*) from FAT_CLIENTE"));
}

// One series for the whole DMS, always above the customers it already holds, whichever state
// the counter is found in. Two companies register a prospect each, then a lead rolls back.
TEST_F(ClienteProspect, CodesAreUniqueAcrossCompaniesAndAboveEveryExistingCustomer) {
  const std::string contador = "insert into GER_NUMERADOR values (";
  const std::string cliente = "insert into FAT_CLIENTE (CLIENTE) values (";
  const std::tuple<const char*, Statements, int32_t> estados[] = {
      {"empty DMS", {}, 1},
      {"customers numbered elsewhere", {cliente + "3)", cliente + "500)"}, 501},
      {"counter behind the table",
       {contador + "0,0,'CLIENTE','FAT_CLIENTE',10)", cliente + "40)"},
       41},
      {"counter null", {contador + "0,0,'CLIENTE','FAT_CLIENTE',null)", cliente + "7)"}, 8},
      {"per-branch counter of an older version",
       {contador + "1,1,'CLIENTE','FAT_CLIENTE',5)", cliente + "9)"},
       10},
      {"counter ahead of the table",
       {contador + "0,0,'CLIENTE','FAT_CLIENTE',100)", cliente + "9)"},
       100},
      {"counter that is not a number",
       {"alter table GER_NUMERADOR alter column PROXIMO_NUMERO type varchar(20)",
        contador + "0,0,'CLIENTE','FAT_CLIENTE','abc')"},
       0}};
  for (const auto& [descricao, sql, primeiro] : estados) {
    SCOPED_TRACE(descricao);
    connection_->execute("delete from FAT_CLIENTE");
    connection_->execute("delete from GER_NUMERADOR");
    for (const std::string& statement : sql) connection_->execute(statement);
    connection_->beginTransaction();
    EXPECT_EQ(primeiro, grava(1)) << Dados::MensagemErroException;
    if (primeiro == 0) {
      EXPECT_EQ(0u, Dados::MensagemErroException.find(
                        "Erro no numerador de clientes (GER_NUMERADOR EMPRESA 0, REVENDA 0, "
                        "NUMERADOR 'CLIENTE', TABELA 'FAT_CLIENTE'): "))
          << Dados::MensagemErroException;
      EXPECT_EQ(0, count("select count(*) from FAT_CLIENTE"));
      break;
    }
    EXPECT_EQ(primeiro + 1, grava(2)) << Dados::MensagemErroException;
    connection_->commit();
    // A lead rolled back after its draw leaves a gap: the code is never handed out again.
    connection_->beginTransaction();
    EXPECT_EQ(primeiro + 2, grava(1));
    connection_->rollback();
    EXPECT_EQ(primeiro + 3, grava(2));
  }
}

// Categories: 1 ordinary (source 4), 2 fleet without a source, 3 insurer (source 7), 4 fleet
// with source 8. Service types of 1.1: 10 (source 2), 11 (none). Customer 900 is an insurer.
TEST(FontePagadora, AutoServiceSwitchAndTheSourceOfEachRequest) {
  test::TestDatabase db(false);
  auto c = db.connect();
  const std::string categoria =
      "insert into FAT_CATEGORIA_CLIENTE (CATEGORIA, INDICA_SEGURADORA, "
      "FROTISTA, FONTE_PAGADORA_AUTOSERVICE) values (";
  const std::string vwb =
      "insert into VWB_PARAMETRO (EMPRESA, REVENDA, API_AUTOSERVICE_ATIVA) values (1, ";
  for (const std::string& sql :
       {categoria + "1, 'N', 'N', 4)", categoria + "2, 'N', 'S', 0)", categoria + "3, 'S', 'N', 7)",
        categoria + "4, NULL, 'S', 8)", categoria + "5, 'S', 'N', 0)",
        std::string("insert into OFI_TIPO_SERVICO (EMPRESA, REVENDA, TIPO_SERVICO, "
                    "FONTE_PAGADORA_AUTOSERVICE) values (1, 1, 10, 2)"),
        std::string(
            "insert into OFI_TIPO_SERVICO (EMPRESA, REVENDA, TIPO_SERVICO) values (1, 1, 11)"),
        std::string("insert into FAT_CLIENTE (CLIENTE, CATEGORIA) values (900, 3)"),
        vwb + "1, 'S')", vwb + "2, 'N')", vwb + "4, NULL)"}) {
    c->execute(sql);
  }
  for (const auto& [revenda, ativo] : {std::pair{1, true}, {2, false}, {3, false}, {4, false}}) {
    EXPECT_EQ(ativo, Retorna_AutoService_Ativo(*c, 1, revenda)) << revenda;
  }
  struct Caso {
    int32_t categoria, seguradora;
    Statements solicitacoes;      // TIPO_SERVICO, TIPO_SERVICO_OS
    std::string ultimas, fontes;  // the answers accepted ("|"); EXT|INT|GAR|REV, "?" the answer
  };
  const Caso casos[] = {
      {2, 0, {"10, 'E'", "11, 'I'"}, "2|0", "2|0|-|-"},  // fleet without a source: the type's
      {2, 900, {"10, 'G'"}, "7", "-|-|7|-"},             // the attendance's insurer first
      {4, 900, {"10, 'R'"}, "8", "-|-|-|8"},             // a special category with a source wins
      {5, 0, {"10, 'E'"}, "2", "2|-|-|-"},               // insurer category without a source
      {1, 0, {"10, 'E'", "11, 'I'"}, "2|4", "2|4|-|-"},  // an ordinary one does not win
      {1, 0, {"10, 'E'", "11, 'E'"}, "2|4", "?|-|-|-"},  // the last request of a type wins
      {3, 0, {}, "0", "-|-|-|-"},
      {1, 0, {"10, 'X'"}, "", ""}};  // an unknown letter makes the update fail
  int32_t contato = 100;
  for (const Caso& caso : casos) {
    const std::string n = std::to_string(++contato);
    c->execute("insert into FAT_CLIENTE (CLIENTE, CATEGORIA) values (" + n + ", " +
               std::to_string(caso.categoria) + ")");
    c->execute("insert into CAC_CONTATO (EMPRESA, REVENDA, CONTATO, CLIENTE) values (1, 1, " + n +
               ", " + n + ")");
    c->execute("insert into OFI_ORDEM_SERVICO (EMPRESA, REVENDA, NRO_OS, CONTATO) values (1, 1, " +
               n + ", " + n + ")");
    c->execute(
        "insert into OFI_ATENDIMENTO (EMPRESA, REVENDA, CONTATO, SEGURADORA) values (1, 1, " + n +
        ", " + (caso.seguradora ? std::to_string(caso.seguradora) : "NULL") + ")");
    int32_t numero = 0;
    for (const std::string& s : caso.solicitacoes) {
      c->execute(
          "insert into OFI_SOLICITACAO (EMPRESA, REVENDA, CONTATO, SOLICITACAO, TIPO_SERVICO, "
          "TIPO_SERVICO_OS) values (1, 1, " +
          n + ", " + std::to_string(++numero) + ", " + s + ")");
    }
    if (caso.fontes.empty()) {
      EXPECT_THROW(GravaFontePagadoraVW(*c, 1, 1, contato), DatabaseError);
      continue;
    }
    const std::string ultima = GravaFontePagadoraVW(*c, 1, 1, contato);
    EXPECT_NE(std::string::npos, ("|" + caso.ultimas + "|").find("|" + ultima + "|"))
        << n << ": " << ultima;
    std::string fontes = caso.fontes;
    if (fontes[0] == '?') fontes.replace(0, 1, ultima);
    EXPECT_EQ(fontes,
              linha(c->query("select * from OFI_ORDEM_SERVICO where CONTATO = " + n),
                    "FONTE_PAGADORA_EXT FONTE_PAGADORA_INT FONTE_PAGADORA_GAR FONTE_PAGADORA_REV"))
        << n;
  }
}

}  // namespace
}  // namespace vornleads
