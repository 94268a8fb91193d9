// Leads and the customers and contacts already there: a linked lead's later statuses, a contact
// already scheduled for the lead's date, and how a customer is matched or registered.
#include <string>
#include <utility>

#include "intake/intake_harness.h"

namespace vornleads::test {
namespace {

// A linked lead's status: 0 moves its contact to the new intended date, 1 and 9 keep it,
// 7 (a sale) closes it as realised, any other final status as lost. Never a second contact.
TEST_F(IntakeTest, StatusOfALinkedLeadKeepsUpdatesOrClosesItsContact) {
  sandbox().addLeads(Json::array({leadItem("8001"), leadItem("8002")}));
  EXPECT_EQ(cycle(), "no error");
  struct Case {
    std::string id, contato;  // contato: DTA_CONTATO|SITUACAO|SITUACAO_FECHAMENTO|DTA_FECHAMENTO
    int status, revisados;
  };
  for (const Case& c : {Case{"8001", "12/06/2025 14:00:00|A|-|-", 0, 1},
                        Case{"8001", "12/06/2025 14:00:00|A|-|-", 1, 1},
                        Case{"8001", "12/06/2025 14:00:00|A|-|-", 9, 1},
                        Case{"8001", "12/06/2025 14:00:00|F|R|09/06/2025 09:00:00", 7, 0},
                        Case{"8002", "10/06/2025 10:00:00|F|P|09/06/2025 09:00:00", 3, 0}}) {
    SCOPED_TRACE(c.status);
    const std::string data = c.status ? "13/06/2025 08:00:00" : "12/06/2025 14:00:00";
    sandbox().addLeads(
        Json::array({leadItem(c.id, {{"Status", c.status}, {"DataIntencao", data}})}));
    EXPECT_EQ(cycle(), "no error");
    EXPECT_EQ(c.contato, row("SELECT C.DTA_CONTATO, C.SITUACAO, C.SITUACAO_FECHAMENTO, "
                             "C.DTA_FECHAMENTO FROM CAC_CONTATO C JOIN CAC_LEAD_CONTATO L ON "
                             "L.CONTATO = C.CONTATO WHERE L.ID_LEAD_VW = " +
                             c.id));
    EXPECT_EQ(c.revisados, worker_->totais().revisados);
    EXPECT_EQ(1 - c.revisados, worker_->totais().encerrados);
  }
  for (const char* table : {"CAC_CONTATO", "CAC_INTERESSE", "GER_MENSAGEM", "FAT_CLIENTE"})
    EXPECT_EQ(count(table), 2) << table;
  // Naming another customer now, the lead registers a new prospect for its contact.
  sandbox().addLeads(Json::array({leadItem("8001", {{"CpfCnpj", "70000000001"},
                                                    {"Email", "outra@exemplo.com.br"},
                                                    {"Telefone", 911112222},
                                                    {"Nome", "Outra Pessoa"}})}));
  EXPECT_EQ(cycle(), "no error");
  EXPECT_EQ(row("SELECT T.CLIENTE, C.NOME, F.CPF FROM CAC_CONTATO T, FAT_CLIENTE C, "
                "FAT_PESSOA_FISICA F WHERE T.CONTATO = 1 AND C.CLIENTE = T.CLIENTE AND "
                "F.CLIENTE = C.CLIENTE"),
            "4|OUTRA PESSOA|70000000001");  // code 3 was left in the first worker's block
  EXPECT_EQ(count("CAC_CONTATO"), 2);
}

// A customer with a contact scheduled for the lead's date gets only the link, and VW hears
// status 10 (journalled) before the receipt.
TEST_F(IntakeTest, CustomerWithAContactScheduledForTheDateGetsOnlyTheLinkAndStatus10) {
  execute("INSERT INTO FAT_CLIENTE (CLIENTE, NOME) VALUES (700, 'CLIENTE AGENDADO')");
  execute("INSERT INTO FAT_PESSOA_FISICA (CLIENTE, CPF) VALUES (700, '50000008100')");
  execute(
      "INSERT INTO CAC_CONTATO (EMPRESA, REVENDA, CONTATO, DTA_CONTATO, SITUACAO, CLIENTE, "
      "DTA_NOVO_CONTATO) VALUES (1, 1, 900, CAST('2025-06-01 09:00:00' AS TIMESTAMP), 'A', "
      "700, CAST('2025-06-10 10:00:00' AS TIMESTAMP))");
  sandbox().addLeads(Json::array({leadItem("8100")}));
  EXPECT_EQ(cycle(), "no error");
  EXPECT_EQ(count("CAC_CONTATO") + count("CAC_INTERESSE") + count("GER_MENSAGEM"), 1);
  EXPECT_EQ(row("SELECT CONTATO FROM CAC_LEAD_CONTATO WHERE ID_LEAD_VW = 8100"), "900");
  EXPECT_EQ(worker_->totais().vinculados, 1);
  const std::string update = R"({"Cpf":"22233344405","DataAtualizacao":"09/06/2025 09:00:00",)"
                             R"("DataReagendamento":"","IdLead":8100,"Status":)";
  EXPECT_EQ(sandbox().updates().dump(), "[" + update + "10}," + update + "-1}]");
  EXPECT_EQ(row("SELECT STATUS_LEAD, ENVIOU, USUARIO, COUNT(*) FROM CAC_ATUALIZACOES_LEADVW "
                "GROUP BY 1, 2, 3"),
            "10|S|12|1");
  EXPECT_EQ(confirmedLeads(), Strings{"8100"});
}

// Customers are matched by tax number (11 characters: a CPF, else a CNPJ), then e-mail (home or
// work, exactly), then phone (mobile or landline, only with a DDD and a number); a prospect
// with a CPF gets a person row, with any other tax number a firm row.
TEST_F(IntakeTest, CustomerIsMatchedByTaxNumberEmailOrPhoneElseRegistered) {
  for (const char* values :
       {"501, 'a@x.com', NULL, NULL, NULL, NULL, NULL", "502, NULL, NULL, NULL, NULL, NULL, NULL",
        "503, NULL, 'w@x.com', NULL, NULL, NULL, NULL", "504, NULL, NULL, NULL, NULL, NULL, NULL",
        "505, NULL, NULL, 11, 999990001, NULL, NULL", "506, NULL, NULL, NULL, NULL, 21, 33334444",
        "507, NULL, NULL, NULL, NULL, 31, 1", "508, NULL, NULL, NULL, NULL, 41, 0",
        "509, 'o''b@x.com', NULL, NULL, NULL, NULL, NULL"}) {
    execute(std::string("INSERT INTO FAT_CLIENTE (CLIENTE, E_MAIL_CASA, E_MAIL_TRABALHO, "
                        "DDD_CELULAR, CELULAR, DDD_TELEFONE, TELEFONE, NOME) VALUES (") +
            values + ", 'X')");
  }
  execute("INSERT INTO FAT_PESSOA_FISICA (CLIENTE, CPF) VALUES (502, '11144477735')");
  execute("INSERT INTO FAT_PESSOA_JURIDICA (CLIENTE, CGC) VALUES (504, '111.444.777-35')");
  struct Case {
    const char *cpfcnpj, *email;
    int32_t ddd, telefone, cliente;
  };
  for (const Case& c :
       {Case{"11144477735", "a@x.com", 0, 0, 502}, Case{"99988877766", "a@x.com", 0, 0, 501},
        Case{"99988877766", "w@x.com", 0, 0, 503}, Case{"", "W@x.com", 0, 0, -1},
        Case{"111.444.777-35", "", 0, 0, 504}, Case{"", "", 11, 999990001, 505},
        Case{"", "", 21, 33334444, 506}, Case{"", "", 0, 33334444, -1}, Case{"", "", 31, 1, 507},
        Case{"", "", 41, 0, -1}, Case{"1234567890'", "o'b@x.com", 0, 0, 509}}) {
    const Json fields = {
        {"cpfcnpj", c.cpfcnpj}, {"email", c.email}, {"DDD", c.ddd}, {"telefone", c.telefone}};
    EXPECT_EQ(c.cliente, worker_->retornaCliente(TContatoLeadVW::FromJSON(fields.dump())))
        << fields;
  }
  TContatoLeadVW lead = TContatoLeadVW::FromJSON(
      R"({"empresa":1,"revenda":1,"vendedorInclusao":1,"nome":"joão da silva","DDD":31,)"
      R"("telefone":988887777,"email":"joao@x.com"})");
  for (const auto& [documento, pessoa] :
       {std::make_pair("22233344405", "22233344405|0"),
        std::make_pair("222.333.444-05", "222.333.444-05|3| |0"), std::make_pair("", "|3| |0")}) {
    lead.cpfcnpj = documento;
    const std::string cliente = std::to_string(worker_->cadastraCliente(lead));
    EXPECT_EQ(row("SELECT NOME, PROSPECT, E_MAIL_CASA, DDD_TELEFONE, TELEFONE, VENDEDOR, "
                  "EMPRESA_CADASTRO, REVENDA_CADASTRO FROM FAT_CLIENTE WHERE CLIENTE = " +
                  cliente),
              "JOÃO DA SILVA|S|joao@x.com|31|988887777|1|1|1");
    EXPECT_EQ(row("SELECT CPF, CONTADOR FROM FAT_PESSOA_FISICA WHERE CLIENTE = " + cliente) +
                  row("SELECT CGC, INDICADOR_INSCRICAO_ESTADUAL, INSCRICAO_ESTADUAL, CONTADOR "
                      "FROM FAT_PESSOA_JURIDICA WHERE CLIENTE = " +
                      cliente),
              pessoa);
  }
}

}  // namespace
}  // namespace vornleads::test
