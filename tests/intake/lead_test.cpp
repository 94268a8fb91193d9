// One lead: data from outside, a lead that cannot be taken in failing alone, what a linked
// lead's status does to its contact, its customer, and the lookups and conversions on the way.
#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "intake/conversoes.h"
#include "intake/intake_harness.h"
#include "vornleads/intake/fecha_contato.h"

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
    std::string id, contato;  // contato: DTA_CONTATO|SITUACAO|SITUACAO_FECHAMENTO|DTA_FECHAMENTO
    int status, revisados;
  };
  for (const Case& c : {Case{"8001", "12/06/2025 14:00:00|A|<null>|<null>", 0, 1},
                        Case{"8001", "12/06/2025 14:00:00|A|<null>|<null>", 1, 1},
                        Case{"8001", "12/06/2025 14:00:00|A|<null>|<null>", 9, 1},
                        Case{"8001", "12/06/2025 14:00:00|F|R|09/06/2025 09:00:00", 7, 0},
                        Case{"8002", "10/06/2025 10:00:00|F|P|09/06/2025 09:00:00", 3, 0}}) {
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

TEST_F(IntakeTest, ConversionsReadNumbersAsTheHostDoes) {
  using namespace intake;
  for (const auto& [texto, valor] :
       {std::make_pair("5001", 5001), std::make_pair("  19", 19), std::make_pair("+7", 7),
        std::make_pair("-8", -8), std::make_pair("-2147483648", INT32_MIN)}) {
    EXPECT_EQ(TextoParaInteiro(texto), valor);
  }
  for (const char* bad :
       {"", " ", "12 ", "1e3", "12a", "2147483648", "99999999999999999999", "-"}) {
    EXPECT_EQ(failure([&] { TextoParaInteiro(bad); }),
              "\"" + std::string(bad) + "\" is not a valid integer value");
  }
  for (const auto& [valor, inteiro] :
       {std::make_pair(2.5, 2), std::make_pair(3.5, 4), std::make_pair(-2.5, -2),
        std::make_pair(987654321.4, 987654321), std::make_pair(2147483647.4, INT32_MAX)}) {
    EXPECT_EQ(ArredondaInteiro(valor), inteiro) << valor;
  }
  EXPECT_EQ(failure([] { ArredondaInteiro(11987654321.0); }),
            "\"11987654321\" is not a valid integer value");
  EXPECT_THROW(ArredondaInteiro(std::nan("")), ConversionError);
  for (const auto& [texto, valor] :
       {std::make_pair("150000,75", 150000.75), std::make_pair("150000.75", 150000.75),
        std::make_pair(" -3 ", -3.0), std::make_pair("1,5E2", 150.0), std::make_pair("+1e-1", 0.1),
        std::make_pair("9", 9.0)}) {
    EXPECT_DOUBLE_EQ(TextoParaReal(texto), valor) << texto;
  }
  for (const char* bad : {"", "abc", "1.000,00", "R$ 10", "1,5,0", "1e", "1e+", "1e999"}) {
    EXPECT_EQ(failure([&] { TextoParaReal(bad); }),
              "\"" + std::string(bad) + "\" is not a valid floating point value");
  }
}

SqlRowSet rows(Strings columns, std::vector<SqlValue> values) {
  SqlRowSet set;
  set.columns = std::move(columns);
  set.rows = {std::move(values)};
  return set;
}
// Each lookup that finds nothing fails the lead with a message of its own; what it finds fills
// the lead. Each case is one scripted answer of the fake, or none.
TEST_F(IntakeTest, LookupsFillTheLeadOrNameWhatIsMissing) {
  using V = SqlValue;
  TContatoLeadVW lead;
  lead.leadID = 4711;
  lead.empresa = 2;
  lead.revenda = 3;
  const auto cac = [&](SqlValue usuarios, SqlValue origem, Strings cpfs) {
    fake_.respond("SELECT USUARIOS_NOTIF_CONTATO_VEI,        ORIGEM_TRAFEGO_LEADVW",
                  rows({"USUARIOS_NOTIF_CONTATO_VEI", "ORIGEM_TRAFEGO_LEADVW"},
                       {std::move(usuarios), std::move(origem)}));
    for (const auto& cpf : cpfs) fake_.respond("SELECT CPF", singleValue("CPF", V::text(cpf)));
    lead.usuarioCorreio = 12;
    return failure([&] { onFake_.buscaParametrosCAC(lead); });
  };
  const auto veiculos = [&](SqlValue tipo, SqlValue subTipo, SqlValue departamento) {
    fake_.respond("select TIPO_CONTATO",
                  rows({"TIPO_CONTATO", "SUB_TIPO_CONTATO", "DEPARTAMENTO"},
                       {std::move(tipo), std::move(subTipo), std::move(departamento)}));
    return failure([&] { onFake_.buscaParametrosVeiculos(lead); });
  };
  const std::string head = "Não foi possível incluir o lead 4711\r\n";
  const std::string crm = "] não definido nos parâmetros de CRM da empresa/revenda 2.3";
  const std::string veiculo = "] não definido nos parâmetros de veículo da empresa/revenda 2.3";
  const std::string cpf = "CPF para o vendedor do usuário 12 não cadastrado na empresa/revenda 2.3";
  FechamentoContato fechamento{1, 2, 5, 77, "P", testNow()};
  const std::pair<std::string, std::string> cases[] = {
      {cac(V(), V(), {}), head + "Parâmetro [Usuário destino do correio" + crm},
      {cac(V::text("12"), V::text(""), {}),
       head + "Parâmetro [Origem de tráfego para Leads VW" + crm},
      {cac(V::text("12,15"), V::integer(7), {"0", "0"}), head + cpf},
      {cac(V::text("12,15"), V::integer(7), {}), head + cpf},
      {cac(V::text("doze,15"), V::integer(7), {}), "\"doze\" is not a valid integer value"},
      {cac(V::text(" 12,x"), V::integer(8), {"1", "22233344405"}), ""},
      {veiculos(V(), V::integer(2), V()), head + "Parâmetro [Tipo de Contato" + veiculo},
      {veiculos(V::integer(1), V::text(""), V::integer(3)),
       head + "Parâmetro [Subtipo de contato" + veiculo},
      {veiculos(V::integer(1), V::integer(2), V()), head + "Parâmetro [Departamento" + veiculo},
      {veiculos(V::integer(1), V::integer(2), V::integer(3)), ""},
      {failure([&] { onFake_.buscaEmpresaRevendaLead(777, lead); }),
       head + "DN 777 não encontrado no banco de dados"},
      {failure([&] { onFake_.buscaFormaContatoWeb(lead); }),
       head + "Não existe forma de contato do tipo E-mail não cadastrada na empresa 2"},
      {failure([&] { onFake_.buscaVendedorAdministrador(lead); }),
       head + "Vendedor para o usuário 0 não cadastrado na empresa/revenda 2.3"},
      {failure([&] {
         fake_.setAffectedRows(0);
         FechaContatoCRM(fake_, fechamento);
       }),
       "Erro ao encerrar o contato para o lead 77\r\nContato 1.2.5 não encontrado"},
      {failure([&] {
         fake_.failOn("select PROXIMO_NUMERO", "Table unknown");
         onFake_.BuscaProximoNumeroTran(1, 1, 1, "INTERESSE", "CAC_INTERESSE");
       }),
       "Erro ao buscar o próximo numero da tabela CAC_INTERESSE\r\nTable unknown"},
  };
  for (const auto& [message, expected] : cases) {
    EXPECT_EQ(expected, message.substr(0, expected.size()));  // database errors add the SQL
  }
  EXPECT_EQ((std::vector<int>{12, 8, 1, 2, 3}),
            (std::vector<int>{lead.usuarioCorreio, lead.origemTrafego, lead.tipoContato,
                              lead.subTipoContato, lead.departamento}));

  // Found: form 0 is a form; the dealer number is looked up padded to five digits.
  fake_.respond("SELECT FORMA_CONTATO", singleValue("FORMA_CONTATO", V::integer(0)));
  fake_.respond("SELECT EMPRESA,        REVENDA   FROM VWB_PARAMETRO  WHERE NUMERO_DN = '00777'",
                rows({"EMPRESA", "REVENDA"}, {V::integer(5), V::integer(6)}));
  onFake_.buscaFormaContatoWeb(lead);
  onFake_.buscaEmpresaRevendaLead(777, lead);
  EXPECT_EQ((std::vector<int>{0, 5, 6}),
            (std::vector<int>{lead.formaContato, lead.empresa, lead.revenda}));
}

}  // namespace
}  // namespace vornleads::test
