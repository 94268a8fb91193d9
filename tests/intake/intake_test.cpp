// Whole intake cycles against the sample database and the sandbox, through the library edition
// (what a lead becomes, receipts, repeated and failed cycles, bad leads failing alone, linked
// leads and their contacts, customers), and the lookups and conversions on the fake database.
#include <algorithm>
#include <cmath>
#include <filesystem>
#include <string>
#include <vector>

#include "intake/conversoes.h"
#include "intake/intake_harness.h"
#include "vornleads/intake/fecha_contato.h"
#include "vornleads/package/log_failures.h"
#include "vornleads/package/log_file.h"

namespace vornleads::test {
namespace {

std::string logEntry(const std::string& requisicao, const std::string& resposta) {
  return logSeparator() + "\r\n09-06-25 09:00:00.000\r\nRequisição: \r\n" + requisicao +
         "\r\n\r\nResposta:\r\n" + resposta + "\r\n";
}
const std::string kSucesso = R"({"Status":{"Codigo":0,"Descricao":"Sucesso","Versao":"1.0"},)";
constexpr char kReinicio[] =
    "Ocorreram repetidos erros ao integrar os leads, o serviço será reiniciado";

TEST_F(IntakeTest, CleanCycleWritesContactInterestMessageLinkAndCustomerThenConfirms) {
  const Json item = leadItem("5001");
  sandbox().addLeads(Json::array({item}));
  EXPECT_EQ(cycle(), "no error");
  EXPECT_EQ(row("SELECT EMPRESA, REVENDA, CONTATO, DTA_CONTATO, SITUACAO, DES_CONTATO, "
                "ATIVO_PASSIVO, DEPARTAMENTO, TIPO_CONTATO, SUB_TIPO_CONTATO, USUARIO_ABRIU, "
                "USUARIO_ENCAMINHADO_ORIGINAL, USUARIO_ENCAMINHADO, CLIENTE, FORMA_CONTATO, "
                "ORIGEM, ORIGEM_INTEGRACAO, EMAIL, DDD_1, TELEFONE_1, ORIGEM_TRAFEGO "
                "FROM CAC_CONTATO"),
            "1|1|1|10/06/2025 10:00:00|A|CONTATO CRIADO A PARTIR DE LEAD VW\r\nMODELO: POLO\r\n"
            "TELEFONE: 11-900005001\r\nE-MAIL: cliente5001@exemplo.com.br|P|3|1|2|0|0|0|1|4|V|S|"
            "cliente5001@exemplo.com.br|11|900005001|7");
  EXPECT_EQ(row("SELECT * FROM CAC_LEAD_CONTATO"),
            "1|1|1|5001|Site VW|Gostaria de agendar um test drive|11/06/2025 15:30:00|WhatsApp|"
            "Loja Centro|S");
  EXPECT_EQ(row("SELECT * FROM CAC_INTERESSE"), "1|1|1|1|1002|1|2|N|98500,9|R");
  EXPECT_EQ(row("SELECT DTA_MENSAGEM, USUARIO_ORIGEM, USUARIO_DESTINO, ASSUNTO, MENSAGEM, "
                "SITUACAO FROM GER_MENSAGEM"),
            "09/06/2025 09:00:00|0|12|Novo Contato Lead|Incluído contato 1.1 para o cliente 1: "
            "Maria da Silva|N");
  EXPECT_EQ(row("SELECT C.CLIENTE, C.NOME, C.PROSPECT, C.E_MAIL_CASA, C.DDD_TELEFONE, "
                "C.TELEFONE, C.VENDEDOR, F.CPF, F.CONTADOR FROM FAT_CLIENTE C "
                "JOIN FAT_PESSOA_FISICA F ON F.CLIENTE = C.CLIENTE"),
            "1|MARIA DA SILVA|S|cliente5001@exemplo.com.br|11|900005001|1|50000005001|0");
  const std::string receipt =
      R"({"Cpf":"22233344405","DataAtualizacao":"09/06/2025 09:00:00","DataReagendamento":"",)"
      R"("IdLead":5001,"Status":-1})";
  EXPECT_EQ(sandbox().updates().dump(), "[" + receipt + "]");
  EXPECT_EQ(confirmedLeads(), Strings{"5001"});
  EXPECT_EQ(logText(),
            logEntry(R"({"DNs":"01234","Status":"0","Nome":"Vorn Veículos"})",
                     kSucesso + R"("Leads":[)" + item.dump() + "]}") +
                logEntry(receipt, kSucesso + R"("Retorno":{"Mensagem":"Recebimento do lead )"
                                             R"(5001 confirmado","Retorno":"OK"}})"));
  EXPECT_EQ(worker_->sPbPasso(), "09");
  EXPECT_FALSE(worker_->listaDN().has_value());
  EXPECT_EQ(Strings({"lead:", "1/1 5001", "confirming lead:", "1/1 5001"}), host_->reported);
  const TotaisIntake& t = worker_->totais();
  EXPECT_EQ((std::vector<int>{1, 1, 1, 1, 0, 1}),
            (std::vector<int>{t.ciclos, t.revendas, t.leadsLidos, t.contatosCriados, t.falhas,
                              t.confirmados}));
}

// A failed lead makes the worker repeat the whole cycle five more times, pausing before each,
// and the sixth failed count raises the restart message.
TEST_F(IntakeTest, FailedLeadRepeatsTheCycleFiveTimesThenRaises) {
  execute("DELETE FROM CAC_FORMA_CONTATO WHERE TIPO_FORMA_CONTATO = 1");
  sandbox().addLeads(Json::array({leadItem("5010")}));
  newWorker().setIntervaloRepeticao(1500);
  EXPECT_EQ(outcome([&] { worker_->buscarLeads(); }), kReinicio);
  EXPECT_EQ(host_->waits, std::vector<int>(6, 1500));
  const TotaisIntake& t = worker_->totais();
  // One failed lead, whatever the number of cycles it failed in.
  EXPECT_EQ((std::vector<int>{6, 6, 1, 1, 6, 0}),
            (std::vector<int>{worker_->qtdErros(), t.ciclos, t.leadsLidos, t.falhas,
                              t.tentativasFalhas, t.contatosCriados}));
  EXPECT_EQ(worker_->sPbPasso(), "08");
  EXPECT_TRUE(confirmedLeads().empty());
}

// A refused receipt ends the receipt pass: logged, and the cycle repeats; the contact was
// committed before it, and the next cycle confirms the lead.
TEST_F(IntakeTest, RefusedReceiptIsLoggedAndTheRepeatedCycleConfirms) {
  sandbox().addLeads(Json::array({leadItem("5030")}));
  sandbox().fault({{"operation", "AtualizaLeads"},
                   {"mode", "reject"},
                   {"codigo", 204},
                   {"descricao", "Lead já recebido"}});
  EXPECT_EQ(cycle(), kReinicio);
  EXPECT_EQ(count("CAC_CONTATO"), 1);
  EXPECT_EQ(confirmedLeads(), Strings{"5030"});
  EXPECT_NE(logText().find("Requisição: \r\n\r\n\r\nResposta:\r\nRecebimento do lead 5030 "
                           "(contato 1.1.1) não confirmado\r\nLead já recebido\r\n"),
            std::string::npos);
}

// How and at which step a cycle ends: the service's refusal (through the library edition), the
// replies a bridge may give, a dealer list that cannot be asked for. Nothing is written, and a
// worker serves one top-level call.
TEST_F(IntakeTest, FetchFailuresEndTheCycleAtTheirStep) {
  sandbox().addLeads(Json::array({leadItem("5020")}));
  struct Case {
    const char *setup, *reply;  // a fault mode of the sandbox (no reply) or SQL; a bridge's reply
    std::string outcome, passo;
    int calls;
  };
  for (const Case& c :
       {Case{"reject", nullptr, "Concessionária sem permissão", "08", 0},
        Case{"", "<html>Service Unavailable</html>", "ConversionError", "07", 1},
        Case{"", R"({"Status":{"Codigo":0.5,"Descricao":"Meio erro"},"Leads":[]})", "Meio erro",
             "08", 1},
        Case{"", R"({"Leads":[]})", R"(Resposta do serviço de leads sem Status: {"Leads":[]})",
             "08", 1},
        Case{"DELETE FROM GER_REVENDA", "", "Erro ao buscar nome fantasia da revenda 1.1", "03", 0},
        Case{"UPDATE CAC_PARAMETRO SET UTILIZA_INTEGRACAO_LEADVW = 'N'", "", "", "01.03", 0}}) {
    std::vector<int> calls;
    newWorker();
    if (c.reply) {
      worker_->IntegraLeadsVW = [&](int32_t servico, const AnsiString&) -> AnsiString {
        calls.push_back(servico);
        return c.reply;
      };
      if (*c.setup) execute(c.setup);
    } else {
      sandbox().fault({{"operation", "BuscaLeadsStatus"},
                       {"mode", c.setup},
                       {"descricao", "Concessionária sem permissão"}});
    }
    std::string outcome;
    try {
      worker_->buscarLeads();
    } catch (const ConversionError&) {
      outcome = "ConversionError";
    } catch (const VornError& error) {
      outcome = error.what();
    }
    EXPECT_EQ(c.outcome, outcome) << c.setup << (c.reply ? c.reply : "");
    EXPECT_EQ(c.passo, worker_->sPbPasso());
    EXPECT_EQ(std::vector<int>(c.calls, 4), calls);
    EXPECT_EQ(1, worker_->totais().ciclos);
    EXPECT_THROW(worker_->buscarLeads(), VornError);
  }
  EXPECT_NE(logText().find("Concessionária sem permissão"), std::string::npos);
  EXPECT_TRUE(host_->waits.empty());
  EXPECT_EQ(count("CAC_CONTATO") + count("FAT_CLIENTE"), 0);
}

TEST_F(IntakeTest, ReceiptNeedsABridgeAndAnAnswerWithAStatus) {
  TContatoLeadVW lead;
  lead.empresa = lead.revenda = 1;
  lead.usuarioCorreio = 12;
  lead.leadID = 77;
  worker_->IntegraLeadsVW = nullptr;
  EXPECT_EQ(outcome([&] { worker_->marcaLeadComoRecebido(lead); }),
            "Função IntegraLeadsVW não definida");
  worker_->IntegraLeadsVW = [](int32_t, const AnsiString&) -> AnsiString {
    return R"({"Status":null})";
  };
  EXPECT_EQ(outcome([&] { worker_->marcaLeadComoRecebido(lead); }),
            R"(Resposta do serviço de leads sem Status: {"Status":null})");
  EXPECT_EQ(0, worker_->totais().confirmados);
}

// A lead that cannot be taken in is rolled back whole and logged naming the lead (its number,
// else its place in the reply) and the member, and every other lead of the cycle is created
// and confirmed: members of the wrong JSON type, missing or unconvertible, database refusals.
// SQL, XML and JSON syntax in a lead's text is stored as sent (the name in upper case, without
// quotes). The counts take each lead once, its failed cycles apart.
TEST_F(IntakeTest, EachBadLeadFailsAloneNamedAndAwkwardTextIsStoredAsSent) {
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
  const auto falha = [](const std::string& id) {
    return "Não foi possível incluir o lead " + id + "\r\n";
  };
  const std::string item = " of TItemBuscaLeadsClass must be ";
  const std::string email(102400, 'e');
  const std::vector<std::pair<Json, std::string>> failing = {
      {leadItem("70O2"),
       "Não foi possível incluir o lead da posição 2 da resposta (IdLead "
       "\"70O2\")\r\nCampo IdLead: \"70O2\" is not a valid integer value\r\n"},
      {leadItem("7004", {{"DataIntencao", ""}}),
       falha("7004") + "Campo DataIntencao: \"\" is not a valid date and time\r\n"},
      {leadItem("7006", {{"DataIntencao", "31/02/2025 10:00:00"}}),
       falha("7006") + "Campo DataIntencao: \"31/02/2025 10:00:00\" is not a valid date and time"},
      {leadItem("7008", {{"DealerNumber", "4321"}}),
       falha("7008") + "DN 4321 não encontrado no banco de dados\r\n"},
      {leadItem("7010", {{"Origem", std::string(101, 'x')}}), falha("7010")},
      {leadItem("7016", {{"Nome", std::string(10240, 'N')}}), falha("7016")},
      {leadItem("7018", {{"Mensagem", std::string(10240, 'M')}}), falha("7018")},
      {leadItem("7020", {{"Nome", std::string("Ana\0", 4)}}),
       falha("7020") + "O campo Nome contém o caractere nulo (código 0), que o banco de dados "
                       "não grava\r\n"},
      {leadItem("7012", {{"Preco", "13,13"}}), falha("7012")},
      {leadItem("7014", {{"Preco", "R$ 1.000,00"}}),
       falha("7014") + "Campo Preco: \"R$ 1.000,00\" is not a valid floating point value\r\n"},
      {leadItem("7022", {{"Telefone", "abc"}}),
       falha("7022") + "JSON member \"Telefone\"" + item + "a number\r\n"},
      {leadItem("7024", {{"Ddd", {{"codigo", 11}}}}),
       falha("7024") + "JSON member \"Ddd\"" + item + "a number\r\n"},
      {leadItem("7026", {{"Nome", 42}}),
       falha("7026") + "JSON member \"Nome\"" + item + "text\r\n"},
      {leadItem("7028", {{"Status", "1"}}),
       falha("7028") + "JSON member \"Status\"" + item + "a number\r\n"},
      {leadItem("7030", {{"Telefone", 1e12}}),
       falha("7030") + "Campo Telefone: \"1000000000000\" is not a valid integer value\r\n"},
      {leadItem("7032", {{"DataIntencao", nullptr}}),
       falha("7032") + "Campo DataIntencao: \"\" is not a valid date and time\r\n"},
      {leadItem("7034", {{"Email", email}}), falha("7034")}};
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
       {"CAC_LEAD_CONTATO", "CAC_CONTATO", "CAC_INTERESSE", "GER_MENSAGEM", "FAT_CLIENTE"})
    EXPECT_EQ(count(table), static_cast<int64_t>(good.size())) << table;
  EXPECT_EQ(row("SELECT C.NOME, T.EMAIL, T.DES_CONTATO, L.MENSAGEM, J.CGC FROM CAC_LEAD_CONTATO L "
                "JOIN CAC_CONTATO T ON T.CONTATO = L.CONTATO JOIN FAT_CLIENTE C ON C.CLIENTE = "
                "T.CLIENTE JOIN FAT_PESSOA_JURIDICA J ON J.CLIENTE = C.CLIENTE WHERE "
                "L.ID_LEAD_VW = 7003"),
            "ANA \\;);-- /*X*/<A>&AMP;</A>\n\t\\U00E9|7003" + awkward +
                "|CONTATO CRIADO A PARTIR DE LEAD VW\r\nMODELO: " + awkward +
                "\r\nTELEFONE: 11-900007003\r\nE-MAIL: 7003" + awkward + "|" + awkward +
                "|7003');--");
  const TotaisIntake t = worker_->totais();
  const int bad = static_cast<int>(failing.size());
  EXPECT_EQ((std::vector<int>{6, bad * 2, bad, bad, bad, bad * 6}),
            (std::vector<int>{t.ciclos, t.leadsLidos, t.contatosCriados, t.confirmados, t.falhas,
                              t.tentativasFalhas}));
  const std::string log = logText();
  for (const auto& [bad, message] : failing)
    EXPECT_NE(log.find("Requisição: \r\n\r\n\r\nResposta:\r\n" + message), std::string::npos)
        << bad["IdLead"];
  for (const char* logged : {"Interesse recusado pelo banco", "SQL: INSERT INTO CAC_INTERESSE",
                             "SQL: INSERT INTO CAC_LEAD_CONTATO"})
    EXPECT_NE(log.find(logged), std::string::npos) << logged;
  // The huge e-mail is quoted as an excerpt: its failure does not grow the log by its size.
  const size_t entry = log.find("Resposta:\r\n" + falha("7034"));
  ASSERT_NE(entry, std::string::npos);
  const std::string failure = log.substr(entry, log.find(logSeparator(), entry) - entry);
  EXPECT_LT(failure.size(), 9000u) << failure.substr(0, 300);
}

// Items that cannot even name their lead are named by their place in the reply; an item
// whose identifier is a number is named by it. The other leads of the reply go in.
TEST_F(IntakeTest, ItemsWithoutAUsableIdAreNamedByTheirPosition) {
  const Json reply = {{"Status", {{"Codigo", 0}, {"Descricao", "Sucesso"}}},
                      {"Leads",
                       {leadItem("7101"), 5, leadItem("x", {{"IdLead", {{"n", 1}}}}),
                        leadItem("7104", {{"IdLead", 7104}})}}};
  newWorker().IntegraLeadsVW = [&](int32_t servico, const AnsiString&) -> AnsiString {
    return servico == 4 ? reply.dump() : kSucesso + R"("Retorno":null})";
  };
  std::vector<std::string> reported;
  worker_->aoFalharLead = [&](const FalhaLead& f) { reported.push_back(f.idLead); };
  EXPECT_EQ(outcome([&] { worker_->buscarLeads(); }), kReinicio);
  EXPECT_EQ(row("SELECT ID_LEAD_VW FROM CAC_LEAD_CONTATO"), "7101");
  EXPECT_EQ(Strings({"posição 2", "posição 3", "7104"}),
            Strings(reported.begin(), reported.begin() + 3));
  const std::string log = logText();
  const std::string head = "Resposta:\r\nNão foi possível incluir o lead ";
  for (const std::string& message :
       {head + "da posição 2 da resposta\r\nJSON for TItemBuscaLeadsClass must be an object",
        head + "da posição 3 da resposta\r\nJSON member \"IdLead\" of TItemBuscaLeadsClass",
        head + "7104\r\nJSON member \"IdLead\" of TItemBuscaLeadsClass must be text"})
    EXPECT_NE(log.find(message), std::string::npos) << message;
}

// A log that cannot be written (here a directory stands where the day's file should be)
// changes nothing: the leads go in and are confirmed, and each lost entry is recorded.
TEST_F(IntakeTest, LogThatCannotBeWrittenChangesNothing) {
  std::filesystem::create_directory(LogFile(kLogBuscaLeads, clock_).pathFor(testNow()));
  sandbox().addLeads(Json::array({leadItem("7201"), leadItem("7202")}));
  const uint64_t lost = logWriteFailureCount();
  EXPECT_EQ(cycle(), "no error");
  EXPECT_EQ(count("CAC_LEAD_CONTATO"), 2);
  EXPECT_EQ(confirmedLeads(), Strings({"7201", "7202"}));
  EXPECT_EQ(logWriteFailureCount() - lost, 3u) << "the fetch and two receipts";
  ASSERT_TRUE(currentLogWriteFailure().has_value());
  EXPECT_EQ(currentLogWriteFailure()->rfind("Não foi possível gravar o arquivo \"", 0), 0u);
}

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
       {std::pair{"5001", 5001}, {"  19", 19}, {"+7", 7}, {"-8", -8}, {"-2147483648", INT32_MIN}})
    EXPECT_EQ(TextoParaInteiro(texto), valor);
  for (const char* bad : {"", " ", "12 ", "1e3", "12a", "2147483648", "99999999999999999999", "-"})
    EXPECT_EQ(outcome([&] { TextoParaInteiro(bad); }),
              "\"" + std::string(bad) + "\" is not a valid integer value");
  for (const auto& [valor, inteiro] : std::initializer_list<std::pair<double, int>>{
           {2.5, 2}, {3.5, 4}, {-2.5, -2}, {987654321.4, 987654321}, {2147483647.4, INT32_MAX}})
    EXPECT_EQ(ArredondaInteiro(valor), inteiro) << valor;
  EXPECT_EQ(outcome([] { ArredondaInteiro(11987654321.0); }),
            "\"11987654321\" is not a valid integer value");
  EXPECT_THROW(ArredondaInteiro(std::nan("")), ConversionError);
  const std::vector<std::pair<const char*, double>> reais = {
      {"150000,75", 150000.75}, {"150000.75", 150000.75}, {" -3 ", -3.0},
      {"1,5E2", 150.0},         {"+1e-1", 0.1},           {"9", 9.0}};
  for (const auto& [texto, valor] : reais) EXPECT_DOUBLE_EQ(TextoParaReal(texto), valor) << texto;
  for (const char* bad : {"", "abc", "1.000,00", "R$ 10", "1,5,0", "1e", "1e+", "1e999"})
    EXPECT_EQ(outcome([&] { TextoParaReal(bad); }),
              "\"" + std::string(bad) + "\" is not a valid floating point value");
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
                  SqlRowSet{{"USUARIOS_NOTIF_CONTATO_VEI", "ORIGEM_TRAFEGO_LEADVW"},
                            {{std::move(usuarios), std::move(origem)}}});
    for (const auto& cpf : cpfs) fake_.respond("SELECT CPF", singleValue("CPF", V::text(cpf)));
    lead.usuarioCorreio = 12;
    return outcome([&] { onFake_.buscaParametrosCAC(lead); });
  };
  const auto veiculos = [&](SqlValue tipo, SqlValue subTipo, SqlValue departamento) {
    fake_.respond("select TIPO_CONTATO",
                  SqlRowSet{{"TIPO_CONTATO", "SUB_TIPO_CONTATO", "DEPARTAMENTO"},
                            {{std::move(tipo), std::move(subTipo), std::move(departamento)}}});
    return outcome([&] { onFake_.buscaParametrosVeiculos(lead); });
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
      {cac(V::text(" 12,x"), V::integer(8), {"1", "22233344405"}), "no error"},
      {veiculos(V(), V::integer(2), V()), head + "Parâmetro [Tipo de Contato" + veiculo},
      {veiculos(V::integer(1), V::text(""), V::integer(3)),
       head + "Parâmetro [Subtipo de contato" + veiculo},
      {veiculos(V::integer(1), V::integer(2), V()), head + "Parâmetro [Departamento" + veiculo},
      {veiculos(V::integer(1), V::integer(2), V::integer(3)), "no error"},
      {outcome([&] { onFake_.buscaEmpresaRevendaLead(777, lead); }),
       head + "DN 777 não encontrado no banco de dados"},
      {outcome([&] { onFake_.buscaFormaContatoWeb(lead); }),
       head + "Não existe forma de contato do tipo E-mail não cadastrada na empresa 2"},
      {outcome([&] { onFake_.buscaVendedorAdministrador(lead); }),
       head + "Vendedor para o usuário 0 não cadastrado na empresa/revenda 2.3"},
      {outcome([&] {
         fake_.setAffectedRows(0);
         FechaContatoCRM(fake_, fechamento);
       }),
       "Erro ao encerrar o contato para o lead 77\r\nContato 1.2.5 não encontrado"},
      {outcome([&] {
         fake_.failOn("select PROXIMO_NUMERO", "Table unknown");
         onFake_.BuscaProximoNumeroTran(1, 1, 1, "INTERESSE", "CAC_INTERESSE");
       }),
       "Erro ao buscar o próximo numero da tabela CAC_INTERESSE\r\nTable unknown"},
  };
  for (const auto& [message, expected] : cases)  // database errors add the SQL
    EXPECT_EQ(expected, message.substr(0, expected.size()));
  EXPECT_EQ((std::vector<int>{12, 8, 1, 2, 3}),
            (std::vector<int>{lead.usuarioCorreio, lead.origemTrafego, lead.tipoContato,
                              lead.subTipoContato, lead.departamento}));

  fake_.respond("SELECT FORMA_CONTATO", singleValue("FORMA_CONTATO", V::integer(0)));
  onFake_.buscaFormaContatoWeb(lead);
  EXPECT_EQ(0, lead.formaContato) << "form 0 is a form";
}

}  // namespace
}  // namespace vornleads::test
