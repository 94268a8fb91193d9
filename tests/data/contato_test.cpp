// The writers of a lead's records: contacts, prospects and a service order's paying sources.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "support/firebird_suite.h"
#include "vornleads/data/cliente_prospect.h"
#include "vornleads/data/fonte_pagadora.h"
#include "vornleads/data/novo_contato.h"
#include "vornleads/text/clock.h"

namespace vornleads {
namespace {

using test::linha;
using test::RecordingConnection;
using test::singleValue;
using test::Statements;

SqlRowSet telefones(int64_t celular) {
  return {{"DDD_TELEFONE", "TELEFONE", "DDD_CELULAR", "CELULAR"},
          {{SqlValue::integer(11), SqlValue::integer(33334444), SqlValue::integer(21),
            SqlValue::integer(celular)}}};
}

// The values each form sends on Oracle inside the lead's transaction (the columns they land in
// are read back from a real database below; the numbering's statements are its tests').
TEST(NovoContato, InsertsOnOracle) {
  RecordingConnection completa("ORACLE"), curta("ORACLE");
  for (RecordingConnection* oracle : {&completa, &curta}) {
    oracle->respond("select SEQUENCE_NAME",
                    singleValue("SEQUENCE_NAME", SqlValue::text("CAC_CONTATOE1R2")));
    oracle->respond("select CAC_CONTATOE1R2.nextval", test::numero(81));
    oracle->beginTransaction();
  }
  completa.respond("select NOME", telefones(0));
  EXPECT_EQ(80, Geral::NovoContato(completa, "A", "Lead Web", "P", "V", 3, 4, 5, 6, 7, 500, 8, 9, 1,
                                   2, test::leadDate()));
  const auto valores = [](const std::string& insert) {
    return insert.substr(std::min(insert.find("values ("), insert.find("VALUES (")));
  };
  EXPECT_EQ(
      "values (1,2,80,TO_DATE('05/03/2024 14:07:09','dd/mm/yyyy HH24:MI:SS'),'A',"
      "'Lead Web','P',3,4,5,6,7,7,500,8,9,NULL,'V',NULL,NULL,NULL,11,33334444,1,21,NULL,"
      "NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL)",
      valores(completa.statements().back()));
  // The short form writes the server's clock and wider telephones (eleven digits are not).
  curta.respond("select DDD_TELEFONE", telefones(11999998888));
  curta.respond("select TO_CHAR", singleValue("X", SqlValue::text("06/03/2024 09:10:11")));
  EXPECT_EQ(80, Dados::NovoContato(curta, test::leadDate(), "A", "Lead", "P", "V", 1, 2, 3, 4, 5, 6,
                                   7, 500, 8, 9, 2));
  EXPECT_EQ(
      "VALUES (1, 2, 80, TO_DATE('06/03/2024 09:10:11','dd/mm/yyyy HH24:MI:SS'), 'A', "
      "'Lead', 'P', 3, 4, 5, 6, 7, 7, 500, 8, 9, 'V', 11, 33334444, 1, 21, null, 2)",
      valores(curta.statements().back()));
  for (RecordingConnection* oracle : {&completa, &curta}) {
    EXPECT_TRUE(oracle->inTransaction());
    EXPECT_EQ(0u, oracle->pendingAnswers());
  }
  RecordingConnection semVersao("ORACLE");
  EXPECT_THROW(Dados::DataHora(semVersao), VornError);  // no version row: no server clock
}

// Customers 500 (8-digit landline, 9-digit mobile) and 501 (9-digit landline, 8-digit mobile).
class LeadWriters : public test::FirebirdSuite<false, true> {
 protected:
  static void SetUpTestSuite() {
    FirebirdSuite::SetUpTestSuite();
    auto setup = db_->connect();
    setup->execute("insert into GER_DBVERSAO (VERSAO) values ('1.0')");
    for (const char* valores :
         {"500, 11, 33334444, 21, 999998888", "501, 0, 123456789, 0, 12345678"}) {
      setup->execute(
          "insert into FAT_CLIENTE (CLIENTE, DDD_TELEFONE, TELEFONE, DDD_CELULAR, "
          "CELULAR) values (" +
          std::string(valores) + ")");
    }
  }
  int32_t curta(int32_t empresa, int32_t cliente, int32_t tipoTrafego = 0) {
    return Dados::NovoContato(*connection_, 0, "A", "", "P", "B", empresa, 1, 3, 4, 5, 6, 7,
                              cliente, 8, 9, tipoTrafego);
  }
  int32_t completa(int32_t empresa, int32_t cliente, TDateTime data) {
    return Geral::NovoContato(*connection_, "A", "", "P", "B", 3, 4, 5, 6, 7, cliente, 8, 9,
                              empresa, 1, data);
  }
};

TEST_F(LeadWriters, BothContactFormsWriteTheirColumnsAndGuardTheTelephones) {
  const TDateTime ultimo = EncodeDate(2024, 12, 31) + 86399999.6 / 86400000.0;
  // clang-format off
  const std::vector<std::tuple<std::function<int32_t(int32_t)>, std::string>> casos = {
      // DDD_1|TELEFONE_1|MELHOR_TELEFONE|DDD_2|TELEFONE_2|TIPO_TRAFEGO|DES_CONTATO|DTA_CONTATO
      {[&](int32_t e) { return completa(e, 500, test::leadDate()); },
       "11|33334444|1|21|-|-|-|05/03/2024 14:07:09"},
      {[&](int32_t e) { return completa(e, 501, test::leadDate()); },
       "-|-|1|-|12345678|-|-|05/03/2024 14:07:09"},
      {[&](int32_t e) { return completa(e, 999, ultimo); }, "-|-|-|-|-|-|-|31/12/2024 23:59:59"},
      // The short form: wider telephones, an empty text is no NULL, the server's clock.
      {[&](int32_t e) { return curta(e, 501); }, "-|123456789|1|-|12345678|-||"},
      {[&](int32_t e) { return curta(e, 500, 2); }, "11|33334444|1|21|999998888|2||"}};
  // clang-format on
  int32_t empresa = 10;
  for (const auto& [grava, valores] : casos) {
    ASSERT_EQ(1, grava(++empresa));
    const SqlRowSet row =
        connection_->query("select * from CAC_CONTATO where EMPRESA = " + std::to_string(empresa));
    std::string esperado = valores;
    if (esperado.back() == '|') {
      EXPECT_LT(std::fabs(row.value(0, "DTA_CONTATO").asDateTime() - Now()), 1.0 / 24);
      esperado += row.value(0, "DTA_CONTATO").asString();
    }
    EXPECT_EQ(esperado, linha(row,
                              "DDD_1 TELEFONE_1 MELHOR_TELEFONE DDD_2 TELEFONE_2 "
                              "TIPO_TRAFEGO DES_CONTATO DTA_CONTATO"));
    EXPECT_EQ("A|P|3|4|5|6|7|7|8|9|B",
              linha(row,
                    "SITUACAO ATIVO_PASSIVO DEPARTAMENTO TIPO_CONTATO SUB_TIPO_CONTATO "
                    "USUARIO_ABRIU USUARIO_ENCAMINHADO_ORIGINAL USUARIO_ENCAMINHADO "
                    "FORMA_CONTATO ORIGEM_TRAFEGO ORIGEM"));
  }
  EXPECT_EQ(2, completa(11, 500, test::leadDate()));  // the counter moved on
}

TEST_F(LeadWriters, ContactFailuresReachTheCallerAndNoNumberWritesNothing) {
  EXPECT_THROW(completa(3, 500, 0.0), ConversionError);  // drew 1
  // Contacts already holding the next numbers: the INSERTs are refused.
  connection_->execute("insert into CAC_CONTATO (EMPRESA, REVENDA, CONTATO) values (3, 1, 2)");
  connection_->execute("insert into CAC_CONTATO (EMPRESA, REVENDA, CONTATO) values (6, 1, 1)");
  EXPECT_THROW(completa(3, 500, test::leadDate()), DatabaseError);
  const std::string message = test::outcome([&] { curta(6, 500); });
  EXPECT_EQ(0u, message.find("Erro NovoContato: ")) << message;
  EXPECT_NE(std::string::npos, message.find("PRIMARY or UNIQUE KEY")) << message;
  EXPECT_NE(std::string::npos, message.find(" [INSERT INTO CAC_CONTATO (")) << message;
  // A counter at 0 draws no number and nothing is written. Committed first: the draw is
  // outside the caller's transaction.
  connection_->rollback();
  connection_->execute("insert into GER_NUMERADOR values (4,1,'CONTATO','CAC_CONTATO',0)");
  connection_->execute("insert into GER_NUMERADOR values (7,1,'CONTATO','CAC_CONTATO',0)");
  connection_->beginTransaction();
  EXPECT_EQ(0, completa(4, 500, test::leadDate()));
  EXPECT_EQ(0, curta(7, 500));
  EXPECT_EQ(0, count("select count(*) from CAC_CONTATO"));
}

TEST_F(LeadWriters, AutoServiceSwitchAndTheSourceOfEachRequest) {
  const auto insere = [&](const std::string& tabela, const std::string& valores) {
    const std::map<std::string, std::string> colunas = {
        {"FAT_CATEGORIA_CLIENTE",
         "CATEGORIA, INDICA_SEGURADORA, FROTISTA, FONTE_PAGADORA_AUTOSERVICE"},
        {"OFI_TIPO_SERVICO", "EMPRESA, REVENDA, TIPO_SERVICO, FONTE_PAGADORA_AUTOSERVICE"},
        {"VWB_PARAMETRO", "EMPRESA, REVENDA, API_AUTOSERVICE_ATIVA"},
        {"FAT_CLIENTE", "CLIENTE, CATEGORIA"},
        {"CAC_CONTATO", "EMPRESA, REVENDA, CONTATO, CLIENTE"},
        {"OFI_ORDEM_SERVICO", "EMPRESA, REVENDA, NRO_OS, CONTATO"},
        {"OFI_ATENDIMENTO", "EMPRESA, REVENDA, CONTATO, SEGURADORA"},
        {"OFI_SOLICITACAO",
         "EMPRESA, REVENDA, CONTATO, SOLICITACAO, TIPO_SERVICO, TIPO_SERVICO_OS"}};
    connection_->execute("insert into " + tabela + " (" + colunas.at(tabela) + ") values (" +
                         valores + ")");
  };
  // Categories: 1 ordinary (source 4), 2 fleet without a source, 3 insurer (source 7), 4 fleet
  // with source 8. Service types of 1.1: 10 (source 2), 11 (none). Customer 900 is an insurer.
  for (const char* categoria :
       {"1, 'N', 'N', 4", "2, 'N', 'S', 0", "3, 'S', 'N', 7", "4, NULL, 'S', 8"})
    insere("FAT_CATEGORIA_CLIENTE", categoria);
  for (const char* tipo : {"1, 1, 10, 2", "1, 1, 11, NULL"}) insere("OFI_TIPO_SERVICO", tipo);
  for (const char* vwb : {"1, 1, 'S'", "1, 2, 'N'", "1, 4, NULL"}) insere("VWB_PARAMETRO", vwb);
  insere("FAT_CLIENTE", "900, 3");
  for (const auto& [revenda, ativo] : {std::pair{1, true}, {2, false}, {3, false}, {4, false}})
    EXPECT_EQ(ativo, Retorna_AutoService_Ativo(*connection_, 1, revenda)) << revenda;
  // clang-format off
  const std::tuple<int, const char*, Statements, const char*, std::string> casos[] = {
      // category, insurer, requests (TIPO_SERVICO, TIPO_SERVICO_OS), the answers accepted,
      // EXT|INT|GAR|REV written ("?": the answer)
      {2, "NULL", {"10, 'E'", "11, 'I'"}, "|2|0|", "2|0|-|-"},  // fleet, no source: the type's
      {2, "900", {"10, 'G'"}, "|7|", "-|-|7|-"},                // the attendance's insurer first
      {4, "900", {"10, 'R'"}, "|8|", "-|-|-|8"},                // a special category with a source
      {1, "NULL", {"10, 'E'", "11, 'I'"}, "|2|4|", "2|4|-|-"},  // an ordinary one does not win
      {3, "NULL", {}, "|0|", "-|-|-|-"}};
  // clang-format on
  int32_t contato = 100;
  for (const auto& [cat, seguradora, solicitacoes, ultimas, fontes] : casos) {
    const std::string n = std::to_string(++contato), chave = "1, 1, " + n + ", ";
    insere("FAT_CLIENTE", n + ", " + std::to_string(cat));
    for (const char* tabela : {"CAC_CONTATO", "OFI_ORDEM_SERVICO"}) insere(tabela, chave + n);
    insere("OFI_ATENDIMENTO", chave + seguradora);
    int32_t numero = 0;
    for (const std::string& s : solicitacoes)
      insere("OFI_SOLICITACAO", chave + std::to_string(++numero) + ", " + s);
    const std::string ultima = GravaFontePagadoraVW(*connection_, 1, 1, contato);
    EXPECT_NE(std::string::npos, std::string(ultimas).find("|" + ultima + "|")) << n;
    EXPECT_EQ(fontes,
              linha(connection_->query("select * from OFI_ORDEM_SERVICO where CONTATO = " + n),
                    "FONTE_PAGADORA_EXT FONTE_PAGADORA_INT FONTE_PAGADORA_GAR FONTE_PAGADORA_REV"));
  }
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
  const SqlRowSet rows = connection_->query("select * from FAT_CLIENTE order by CLIENTE");
  EXPECT_EQ(nome + "|S|-|05/03/2024 14:07:09|1|1|12|11|987654321|-|-|-|-|-|-|-|-|-|-|-|a@b.c",
            linha(rows, colunas));  // empty texts and zeros are NULL
  EXPECT_EQ(
      "O'HARA|S|0|05/03/2024 14:07:09|2|3|4|1|33334444|21|999998888|31|32323232|RUA A|10|"
      "AP 1|CENTRO|SAO PAULO|SP|01000-000|o'h@x.com",
      linha(rows, colunas, 1));
  EXPECT_EQ(0, grava(1, std::string(200, 'X')));  // NOME holds 150 characters: the database's
  EXPECT_EQ(0u, Dados::MensagemErroException.find("arithmetic exception"));  // reason, no SQL
  EXPECT_EQ(703, grava(1));  // a later success clears the reason
  EXPECT_EQ("", Dados::MensagemErroException);
}

// One series for the whole DMS, always above the customers it already holds, whichever state
// the counter is found in. Two companies register a prospect each, then a lead rolls back.
TEST_F(ClienteProspect, CodesAreUniqueAcrossCompaniesAndAboveEveryExistingCustomer) {
  const std::string contador = "insert into GER_NUMERADOR values (",
                    cliente = "insert into FAT_CLIENTE (CLIENTE) values (";
  // clang-format off
  const std::tuple<const char*, Statements, int32_t> estados[] = {
      {"empty DMS", {}, 1},
      {"customers numbered elsewhere", {cliente + "3)", cliente + "500)"}, 501},
      {"counter behind", {contador + "0,0,'CLIENTE','FAT_CLIENTE',10)", cliente + "40)"}, 41},
      {"counter null", {contador + "0,0,'CLIENTE','FAT_CLIENTE',null)", cliente + "7)"}, 8},
      {"old per-branch counter", {contador + "1,1,'CLIENTE','FAT_CLIENTE',5)", cliente + "9)"}, 10},
      {"counter ahead", {contador + "0,0,'CLIENTE','FAT_CLIENTE',100)", cliente + "9)"}, 100},
      // Failures: the expected reason stands for the state.
      {"\"abc\" is not a valid integer value", {"alter table GER_NUMERADOR alter column "
       "PROXIMO_NUMERO type varchar(20)", contador + "0,0,'CLIENTE','FAT_CLIENTE','abc')"}, 0},
      {"violates CHECK constraint", {"alter table GER_NUMERADOR add constraint LIMITE check "
       "(PROXIMO_NUMERO < 100)", cliente + "500)"}, 0}};
  // clang-format on
  for (const auto& [descricao, sql, primeiro] : estados) {
    SCOPED_TRACE(descricao);
    connection_->execute("delete from FAT_CLIENTE");
    connection_->execute("delete from GER_NUMERADOR");
    for (const std::string& statement : sql) connection_->execute(statement);
    connection_->beginTransaction();
    EXPECT_EQ(primeiro, grava(1)) << Dados::MensagemErroException;
    const std::string& motivo = Dados::MensagemErroException;
    if (primeiro == 0) {
      EXPECT_EQ(0u, motivo.find("Erro no numerador de clientes (GER_NUMERADOR EMPRESA 0, "
                                "REVENDA 0, NUMERADOR 'CLIENTE', TABELA 'FAT_CLIENTE'): "));
      EXPECT_NE(std::string::npos, motivo.find(descricao)) << motivo;
      connection_->rollback();
      continue;
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

}  // namespace
}  // namespace vornleads
