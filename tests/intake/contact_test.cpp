// Contacts and links: a lead already linked is revised or closed by its status, a lead whose
// customer has a contact scheduled for its date is only linked (and VW hears status 10), and
// the failures of the contact steps carry their own messages.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "intake_harness.h"
#include "support/recording_connection.h"
#include "vornleads/error.h"
#include "vornleads/intake/fecha_contato.h"

namespace vornleads::test {
namespace {

using ContactTest = IntakeCycleTest;

TEST_F(ContactTest, StatusOfALinkedLeadKeepsUpdatesOrClosesItsContact) {
  sandbox().addLeads(Json::array({leadItem("8001"), leadItem("8002")}));
  runCycle();
  const std::string sql8001 =
      "SELECT C.DTA_CONTATO, C.SITUACAO, C.DTA_FECHAMENTO, C.CLIENTE FROM CAC_CONTATO C "
      "JOIN CAC_LEAD_CONTATO L ON L.CONTATO = C.CONTATO WHERE L.ID_LEAD_VW = 8001";
  EXPECT_EQ(query(sql8001).rows[0][0].asString(), "10/06/2025 10:00:00");

  // Status 0 moves the contact to the new intended date.
  sandbox().addLeads(Json::array({leadItem("8001", {{"DataIntencao", "12/06/2025 14:00:00"}})}));
  runCycle();
  EXPECT_EQ(query(sql8001).rows[0][0].asString(), "12/06/2025 14:00:00");
  EXPECT_EQ(worker().totais().revisados, 1);

  // Status 1 keeps it.
  sandbox().addLeads(
      Json::array({leadItem("8001", {{"Status", 1}, {"DataIntencao", "13/06/2025 08:00:00"}})}));
  runCycle();
  EXPECT_EQ(query(sql8001).rows[0][0].asString(), "12/06/2025 14:00:00");
  EXPECT_EQ(query(sql8001).rows[0][1].asString(), "A");

  // 7 (a sale) closes as realised, any other final status as lost.
  sandbox().addLeads(
      Json::array({leadItem("8001", {{"Status", 7}}), leadItem("8002", {{"Status", 3}})}));
  runCycle();
  EXPECT_EQ(worker().totais().encerrados, 2);
  const SqlRowSet fechados = query(
      "SELECT L.ID_LEAD_VW, C.SITUACAO, C.SITUACAO_FECHAMENTO, C.DTA_FECHAMENTO FROM CAC_CONTATO C "
      "JOIN CAC_LEAD_CONTATO L ON L.CONTATO = C.CONTATO ORDER BY L.ID_LEAD_VW");
  ASSERT_EQ(fechados.rows.size(), 2u);
  EXPECT_EQ(fechados.rows[0][1].asString() + fechados.rows[0][2].asString(), "FR");
  EXPECT_EQ(fechados.rows[1][1].asString() + fechados.rows[1][2].asString(), "FP");
  EXPECT_EQ(fechados.rows[0][3].asString(), "09/06/2025 09:00:00");
  EXPECT_EQ(count("SELECT COUNT(*) FROM CAC_CONTATO"), 2);
}

TEST_F(ContactTest, LinkedLeadOfAnotherCustomerRegistersANewProspectForTheContact) {
  sandbox().addLeads(Json::array({leadItem("8010")}));
  runCycle();
  EXPECT_EQ(value("SELECT CLIENTE FROM CAC_CONTATO"), "1");

  sandbox().addLeads(Json::array({leadItem("8010", {{"CpfCnpj", "70000000001"},
                                                    {"Email", "outra@exemplo.com.br"},
                                                    {"Telefone", 911112222},
                                                    {"Nome", "Outra Pessoa"}})}));
  runCycle();
  EXPECT_EQ(value("SELECT CLIENTE FROM CAC_CONTATO"), "2");
  EXPECT_EQ(value("SELECT NOME FROM FAT_CLIENTE WHERE CLIENTE = 2"), "OUTRA PESSOA");
  EXPECT_EQ(value("SELECT CPF FROM FAT_PESSOA_FISICA WHERE CLIENTE = 2"), "70000000001");
  EXPECT_EQ(count("SELECT COUNT(*) FROM CAC_CONTATO"), 1);
}

TEST_F(ContactTest, CustomerWithAContactScheduledForTheDateGetsOnlyTheLinkAndStatus10) {
  execute("INSERT INTO FAT_CLIENTE (CLIENTE, NOME) VALUES (700, 'CLIENTE AGENDADO')");
  execute("INSERT INTO FAT_PESSOA_FISICA (CLIENTE, CPF) VALUES (700, '50000008100')");
  execute(
      "INSERT INTO CAC_CONTATO (EMPRESA, REVENDA, CONTATO, DTA_CONTATO, SITUACAO, CLIENTE, "
      "DTA_NOVO_CONTATO) VALUES (1, 1, 900, CAST('2025-06-01 09:00:00' AS TIMESTAMP), 'A', "
      "700, CAST('2025-06-10 10:00:00' AS TIMESTAMP))");
  sandbox().addLeads(Json::array({leadItem("8100")}));
  runCycle();

  EXPECT_EQ(count("SELECT COUNT(*) FROM CAC_CONTATO"), 1);
  EXPECT_EQ(count("SELECT COUNT(*) FROM CAC_INTERESSE"), 0);
  EXPECT_EQ(count("SELECT COUNT(*) FROM GER_MENSAGEM"), 0);
  EXPECT_EQ(value("SELECT CONTATO FROM CAC_LEAD_CONTATO WHERE ID_LEAD_VW = 8100"), "900");
  EXPECT_EQ(worker().totais().vinculados, 1);
  EXPECT_EQ(sandbox().updates().dump(),
            R"([{"Cpf":"22233344405","DataAtualizacao":"09/06/2025 09:00:00",)"
            R"("DataReagendamento":"","IdLead":8100,"Status":10},)"
            R"({"Cpf":"22233344405","DataAtualizacao":"09/06/2025 09:00:00",)"
            R"("DataReagendamento":"","IdLead":8100,"Status":-1}])");
  EXPECT_EQ(query("SELECT ID_LEAD_VW, SEQUENCIA, STATUS_LEAD, ENVIOU, USUARIO FROM "
                  "CAC_ATUALIZACOES_LEADVW")
                .rows.size(),
            1u);
  EXPECT_EQ(
      value("SELECT STATUS_LEAD || '/' || ENVIOU || '/' || USUARIO FROM CAC_ATUALIZACOES_LEADVW"),
      "10/S/12");
  EXPECT_EQ(confirmedLeads(), std::vector<std::string>{"8100"});
}

TEST_F(ContactTest, ContactNumberFailureNamesTheLead) {
  execute("INSERT INTO FAT_CLIENTE (CLIENTE, NOME) VALUES (700, 'CLIENTE')");
  execute("INSERT INTO FAT_PESSOA_FISICA (CLIENTE, CPF) VALUES (700, '50000008200')");
  execute("DROP TABLE GER_NUMERADOR");
  sandbox().addLeads(Json::array({leadItem("8200")}));
  runCycleExpectingError();
  const std::string entry =
      "Resposta:\r\nErro ao integrar lead 8200\r\nErro ao buscar o próximo numero da tabela "
      "CAC_CONTATO\r\n";
  EXPECT_NE(logText().find(entry), std::string::npos) << logText();
  EXPECT_EQ(count("SELECT COUNT(*) FROM CAC_CONTATO"), 0);
}

TEST(ContactSqlTest, LeadLinkThatWritesNothingAbortsQuietly) {
  RecordingConnection connection("Firebird");
  connection.setAffectedRows(0);
  TAplicacaoLibrary aplicacao;
  TLeadsVWMetodosClass worker(aplicacao, connection);
  TContatoLeadVW lead;
  lead.empresa = 1;
  lead.revenda = 2;
  lead.codigoContato = 5;
  lead.leadID = 77;
  lead.origem = "Site";
  lead.mensagem = "D'Ávila; \\ ok";
  EXPECT_THROW(worker.incluiLeadContato(lead), AbortError);
  EXPECT_EQ(connection.statements(),
            std::vector<std::string>{
                "INSERT INTO CAC_LEAD_CONTATO (EMPRESA, REVENDA, CONTATO, ID_LEAD_VW, ORIGEM, "
                "MENSAGEM, DTA_INTENCAO_AGENDAMENTO, PREFERENCIA_CONTATO, SHOWROOM) VALUES (1, 2, "
                "5, 77, 'Site', 'D''Ávila; \\ ok', CAST('1899-12-30' AS DATE), '', '')"});
}

TEST(ContactSqlTest, ClosingOnSqlServerReadsTheVersionFirst) {
  RecordingConnection connection("MSSQL");
  connection.respond("select SERVERPROPERTY('productversion') VERSAO",
                     singleValue("VERSAO", SqlValue::text("15.0.2000.5")));
  TAplicacaoLibrary aplicacao;
  TLeadsVWMetodosClass worker(aplicacao, connection);
  worker.setClock(std::make_shared<FixedClock>(testNow()));
  TContatoLeadVW lead;
  lead.empresa = 1;
  lead.revenda = 2;
  lead.codigoContato = 5;
  lead.leadID = 77;
  lead.status = 7;
  worker.fechaContato(lead);
  EXPECT_EQ(aplicacao.versaoBanco, 15);
  EXPECT_EQ(
      connection.statements(),
      (std::vector<std::string>{
          "select SERVERPROPERTY('productversion') VERSAO",
          "UPDATE CAC_CONTATO SET SITUACAO = 'F', DTA_FECHAMENTO = CAST('09-06-2025 "
          "09:00:00' AS DATETIME), SITUACAO_FECHAMENTO = 'R' WHERE EMPRESA = 1 AND REVENDA = 2 "
          "AND CONTATO = 5"}));
}

TEST(ContactSqlTest, ClosingFailuresNameTheLead) {
  RecordingConnection connection("Firebird");
  FechamentoContato fechamento;
  fechamento.empresa = 1;
  fechamento.revenda = 2;
  fechamento.contato = 5;
  fechamento.leadID = 77;
  fechamento.resultado = "P";
  fechamento.dataFechamento = testNow();
  connection.setAffectedRows(0);
  try {
    FechaContatoCRM(connection, fechamento);
    FAIL() << "FechaContatoCRM did not raise";
  } catch (const VornError& error) {
    EXPECT_STREQ(error.what(),
                 "Erro ao encerrar o contato para o lead 77\r\nContato 1.2.5 não encontrado");
  }
  connection.failOn("UPDATE CAC_CONTATO", "lock conflict on no wait transaction");
  try {
    FechaContatoCRM(connection, fechamento);
    FAIL() << "FechaContatoCRM did not raise";
  } catch (const VornError& error) {
    const std::string head =
        "Erro ao encerrar o contato para o lead 77\r\nlock conflict on no wait transaction\r\n";
    EXPECT_EQ(std::string(error.what()).substr(0, head.size()), head);
  }
}

TEST(ContactSqlTest, NumberingFailureCarriesTheTable) {
  RecordingConnection connection("Firebird");
  connection.failOn("select PROXIMO_NUMERO", "Table unknown");
  TAplicacaoLibrary aplicacao;
  TLeadsVWMetodosClass worker(aplicacao, connection);
  try {
    worker.BuscaProximoNumeroTran(1, 1, 1, "INTERESSE", "CAC_INTERESSE");
    FAIL() << "BuscaProximoNumeroTran did not raise";
  } catch (const VornError& error) {
    const std::string head =
        "Erro ao buscar o próximo numero da tabela CAC_INTERESSE\r\nTable unknown";
    EXPECT_EQ(std::string(error.what()).substr(0, head.size()), head);
  }
}

}  // namespace
}  // namespace vornleads::test
