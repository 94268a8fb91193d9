// One lead: data from outside stored as sent, a lead that cannot be taken in failing alone,
// what a linked lead's status does to its contact, and the customer it is matched to.
#include <algorithm>
#include <string>
#include <vector>

#include "intake/intake_harness.h"

namespace vornleads::test {
namespace {

// A lead that cannot be taken in is rolled back whole and logged, and every other lead of the
// cycle is created and confirmed; SQL, XML and JSON syntax in a lead's text is stored as sent
// (the name in upper case, without quotes).
TEST_F(IntakeTest, EachBadLeadFailsAloneAndAwkwardTextIsStoredAsSent) {
  // A second dealership whose number was stored without its leading zero: its leads are asked
  // for, but the number is looked up padded ('04321') and not found.
  execute("INSERT INTO GER_REVENDA (EMPRESA, REVENDA, NOME_FANTASIA) VALUES (2, 1, 'Filial')");
  execute("INSERT INTO VWB_PARAMETRO (EMPRESA, REVENDA, NUMERO_DN) VALUES (2, 1, '4321')");
  execute(
      "INSERT INTO CAC_PARAMETRO (EMPRESA, REVENDA, UTILIZA_INTEGRACAO_LEADVW, "
      "USUARIOS_NOTIF_CONTATO_VEI, ORIGEM_TRAFEGO_LEADVW) VALUES (2, 1, 'S', '12', 7)");
  // The database itself refuses one interest row, after the contact and the link were written.
  db_->isql(
      "CREATE EXCEPTION E_RECUSADO 'Interesse recusado pelo banco';\nSET TERM ^ ;\n"
      "CREATE TRIGGER T_RECUSADO FOR CAC_INTERESSE BEFORE INSERT AS\nBEGIN\n"
      "  IF (NEW.PRECO = 13.13) THEN EXCEPTION E_RECUSADO;\nEND^\nSET TERM ; ^\n");
  const std::string falha = "Não foi possível incluir o lead ";
  const std::vector<std::pair<Json, std::string>> failing = {
      {leadItem("70O2"), "\"70O2\" is not a valid integer value\r\n"},
      {leadItem("7004", {{"DataIntencao", ""}}), "\"\" is not a valid date and time\r\n"},
      {leadItem("7006", {{"DataIntencao", "31/02/2025 10:00:00"}}),
       "\"31/02/2025 10:00:00\" is not a valid date and time\r\n"},
      {leadItem("7008", {{"DealerNumber", "4321"}}),
       falha + "7008\r\nDN 4321 não encontrado no banco de dados\r\n"},
      {leadItem("7010", {{"Origem", std::string(101, 'x')}}), ""},
      {leadItem("7016", {{"Nome", std::string(10240, 'N')}}), ""},
      {leadItem("7018", {{"Mensagem", std::string(10240, 'M')}}), ""},
      {leadItem("7020", {{"Nome", std::string("Ana\0", 4)}}),
       falha + "7020\r\nO campo Nome contém o caractere nulo (código 0), que o banco de dados "
               "não grava\r\n"},
      {leadItem("7012", {{"Preco", "13,13"}}), ""},
      {leadItem("7014", {{"Preco", "R$ 1.000,00"}}),
       "\"R$ 1.000,00\" is not a valid floating point value\r\n"}};
  const std::string awkward = "'\\;');-- /*x*/<a>&amp;</a>\"\n\t\\u00e9";
  Json items = Json::array();
  Strings good;
  for (const auto& [bad, message] : failing) {
    good.push_back(std::to_string(7001 + items.size()));
    items.push_back(leadItem(good.back(), {{"Nome", "Ana " + awkward},
                                           {"Email", good.back() + awkward},
                                           {"Modelo", awkward},
                                           {"Mensagem", awkward},
                                           {"CpfCnpj", good.back() + "');--"}}));
    items.push_back(bad);
  }
  sandbox().addLeads(items);
  EXPECT_EQ(cycle(), "Ocorreram repetidos erros ao integrar os leads, o serviço será reiniciado");

  Strings confirmed = confirmedLeads();
  std::sort(confirmed.begin(), confirmed.end());
  EXPECT_EQ(confirmed, good);
  // Prospects of the leads that failed after registering them went back with their leads.
  for (const char* table :
       {"CAC_LEAD_CONTATO", "CAC_CONTATO", "CAC_INTERESSE", "GER_MENSAGEM", "FAT_CLIENTE"}) {
    EXPECT_EQ(count(table), static_cast<int64_t>(good.size())) << table;
  }
  EXPECT_EQ(row("SELECT C.NOME, T.EMAIL, T.DES_CONTATO, L.MENSAGEM, J.CGC FROM CAC_LEAD_CONTATO L "
                "JOIN CAC_CONTATO T ON T.CONTATO = L.CONTATO JOIN FAT_CLIENTE C ON C.CLIENTE = "
                "T.CLIENTE JOIN FAT_PESSOA_JURIDICA J ON J.CLIENTE = C.CLIENTE WHERE "
                "L.ID_LEAD_VW = 7003"),
            "ANA \\;);-- /*X*/<A>&AMP;</A>\n\t\\U00E9|7003" + awkward +
                "|CONTATO CRIADO A PARTIR DE LEAD VW\r\nMODELO: " + awkward +
                "\r\nTELEFONE: 11-900007003\r\nE-MAIL: 7003" + awkward + "|" + awkward +
                "|7003');--");
  const std::string log = logText();
  for (const auto& [bad, message] : failing) {
    EXPECT_NE(log.find("Requisição: \r\n\r\n\r\nResposta:\r\n" + message), std::string::npos)
        << bad["IdLead"];
  }
  for (const char* logged : {"Interesse recusado pelo banco", "SQL: INSERT INTO CAC_INTERESSE",
                             "SQL: INSERT INTO CAC_LEAD_CONTATO"}) {
    EXPECT_NE(log.find(logged), std::string::npos) << logged;
  }
}

// A linked lead's status: 0 moves its contact to the new intended date, 1, 9 and 10 keep it,
// 7 (a sale) closes it as realised, any other final status as lost. Never a second contact.
TEST_F(IntakeTest, StatusOfALinkedLeadKeepsUpdatesOrClosesItsContact) {
  sandbox().addLeads(Json::array({leadItem("8001"), leadItem("8002")}));
  EXPECT_EQ(cycle(), "");
  struct Case {
    std::string id;
    int status;
    std::string contato;  // DTA_CONTATO|SITUACAO|SITUACAO_FECHAMENTO|DTA_FECHAMENTO
    int revisados;
  };
  for (const Case& c : {Case{"8001", 0, "12/06/2025 14:00:00|A|<null>|<null>", 1},
                        Case{"8001", 1, "12/06/2025 14:00:00|A|<null>|<null>", 1},
                        Case{"8001", 9, "12/06/2025 14:00:00|A|<null>|<null>", 1},
                        Case{"8001", 7, "12/06/2025 14:00:00|F|R|09/06/2025 09:00:00", 0},
                        Case{"8002", 3, "10/06/2025 10:00:00|F|P|09/06/2025 09:00:00", 0}}) {
    SCOPED_TRACE(c.status);
    const std::string data = c.status ? "13/06/2025 08:00:00" : "12/06/2025 14:00:00";
    sandbox().addLeads(
        Json::array({leadItem(c.id, {{"Status", c.status}, {"DataIntencao", data}})}));
    EXPECT_EQ(cycle(), "");
    EXPECT_EQ(c.contato, row("SELECT C.DTA_CONTATO, C.SITUACAO, C.SITUACAO_FECHAMENTO, "
                             "C.DTA_FECHAMENTO FROM CAC_CONTATO C JOIN CAC_LEAD_CONTATO L ON "
                             "L.CONTATO = C.CONTATO WHERE L.ID_LEAD_VW = " +
                             c.id));
    EXPECT_EQ(c.revisados, worker_->totais().revisados);
    EXPECT_EQ(1 - c.revisados, worker_->totais().encerrados);
  }
  for (const char* table : {"CAC_CONTATO", "CAC_INTERESSE", "GER_MENSAGEM", "FAT_CLIENTE"}) {
    EXPECT_EQ(count(table), 2) << table;
  }
  // Naming another customer now, the lead registers a new prospect for its contact.
  sandbox().addLeads(Json::array({leadItem("8001", {{"CpfCnpj", "70000000001"},
                                                    {"Email", "outra@exemplo.com.br"},
                                                    {"Telefone", 911112222},
                                                    {"Nome", "Outra Pessoa"}})}));
  EXPECT_EQ(cycle(), "");
  EXPECT_EQ(row("SELECT T.CLIENTE, C.NOME, F.CPF FROM CAC_CONTATO T, FAT_CLIENTE C, "
                "FAT_PESSOA_FISICA F WHERE T.CONTATO = 1 AND C.CLIENTE = T.CLIENTE AND "
                "F.CLIENTE = C.CLIENTE"),
            "3|OUTRA PESSOA|70000000001");
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
  EXPECT_EQ(cycle(), "");
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
    TContatoLeadVW lead;
    lead.cpfcnpj = c.cpfcnpj;
    lead.email = c.email;
    lead.DDD = c.ddd;
    lead.telefone = c.telefone;
    EXPECT_EQ(c.cliente, worker_->retornaCliente(lead)) << c.cpfcnpj << c.email << c.telefone;
  }
  TContatoLeadVW lead;
  lead.empresa = lead.revenda = lead.vendedorInclusao = 1;
  lead.nome = "joão da silva";
  lead.email = "joao@x.com";
  lead.DDD = 31;
  lead.telefone = 988887777;
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
