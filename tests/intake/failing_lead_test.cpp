// Leads that fail alone: rolled back whole, logged naming the lead (its number, else its place
// in the reply) and the member, while every other lead of the cycle is created and confirmed.
#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "intake/intake_harness.h"
#include "vornleads/package/log_file.h"

namespace vornleads::test {
namespace {

// Members of the wrong JSON type, missing or unconvertible, database refusals. SQL, XML and
// JSON syntax in a lead's text is stored as sent (the name in upper case, without quotes). A
// failed lead repeats the whole cycle five more times, pausing before each, and the sixth failed
// count raises the restart message; the counts take each lead once, its failed cycles apart. A
// refused receipt is logged and ends the receipt pass; a later cycle confirms its lead.
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
  // clang-format off
  const std::vector<std::pair<Json, std::string>> failing = {
      {leadItem("70O2"), "Não foi possível incluir o lead da posição 2 da resposta (IdLead "
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
      {leadItem("7020", {{"Nome", std::string("Ana\0", 4)}}), falha("7020") +
       "O campo Nome contém o caractere nulo (código 0), que o banco de dados não grava\r\n"},
      {leadItem("7012", {{"Preco", "13,13"}}), falha("7012")},
      {leadItem("7014", {{"Preco", "R$ 1.000,00"}}),
       falha("7014") + "Campo Preco: \"R$ 1.000,00\" is not a valid floating point value\r\n"},
      {leadItem("7022", {{"Telefone", "abc"}}), falha("7022") + "JSON member \"Telefone\"" + item + "a number\r\n"},
      {leadItem("7024", {{"Ddd", {{"codigo", 11}}}}), falha("7024") + "JSON member \"Ddd\"" + item + "a number\r\n"},
      {leadItem("7026", {{"Nome", 42}}), falha("7026") + "JSON member \"Nome\"" + item + "text\r\n"},
      {leadItem("7028", {{"Status", "1"}}), falha("7028") + "JSON member \"Status\"" + item + "a number\r\n"},
      {leadItem("7030", {{"Telefone", 1e12}}),
       falha("7030") + "Campo Telefone: \"1000000000000\" is not a valid integer value\r\n"},
      {leadItem("7032", {{"DataIntencao", nullptr}}),
       falha("7032") + "Campo DataIntencao: \"\" is not a valid date and time\r\n"},
      {leadItem("7034", {{"Email", std::string(102400, 'e')}}), falha("7034")}};
  // clang-format on
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
  sandbox().fault({{"operation", "AtualizaLeads"},  // the first receipt
                   {"mode", "reject"},
                   {"codigo", 204},
                   {"descricao", "Lead já recebido"}});
  newWorker().setIntervaloRepeticao(1500);
  EXPECT_EQ(outcome([&] { worker_->buscarLeads(); }), kReinicio);
  EXPECT_EQ(host_->waits, std::vector<int>(6, 1500)) << "five repeats, each after a pause";
  EXPECT_EQ(worker_->qtdErros(), 6);
  EXPECT_EQ(worker_->sPbPasso(), "08");

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
  for (const char* logged :
       {"Interesse recusado pelo banco", "SQL: INSERT INTO CAC_INTERESSE",
        "SQL: INSERT INTO CAC_LEAD_CONTATO",
        "Requisição: \r\n\r\n\r\nResposta:\r\nRecebimento do lead 7001 (contato 1.1.1) não "
        "confirmado\r\nLead já recebido\r\n"})
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

// A DMS user who registers a customer and leaves the screen open holds an uncommitted
// FAT_CLIENTE row at the code the intake draws next; the host's pause before the repeated
// cycle is when the user leaves the screen.
class Leaving : public Pause {
 public:
  Leaving(std::shared_ptr<Pause> inner, SqlConnection& holder) : inner_(inner), holder_(holder) {}
  void sleep(int milliseconds) override {
    inner_->sleep(milliseconds);
    if (holder_.inTransaction()) holder_.rollback();
  }

 private:
  std::shared_ptr<Pause> inner_;
  SqlConnection& holder_;
};

TEST_F(IntakeTest, LeadBehindAHeldCustomerRowFailsAloneThenComesInOnceTheRowIsFree) {
  connection_ = OpenConnection(db_->uri(), {2, 30});
  auto holder = db_->connect();
  holder->beginTransaction();
  holder->execute("INSERT INTO FAT_CLIENTE (CLIENTE, NOME) VALUES (1, 'CADASTRO EM ABERTO')");
  sandbox().addLeads(Json::array({leadItem("6001"), leadItem("6002"), leadItem("6003")}));
  EXPECT_EQ(outcome([&] {
              newWorker().setPause(std::make_shared<Leaving>(host_, *holder));
              worker_->buscarLeads();
            }),
            kReinicio);
  const std::string log = logText();
  const size_t waited =
      log.find("Waited 2 s for a row locked by another transaction on table FAT_CLIENTE: ");
  EXPECT_NE(waited, std::string::npos) << log;
  EXPECT_EQ(log.find("Waited", waited + 1), std::string::npos) << "one lead failed, once";
  // Each lead once, with its own contact and customer, confirmed once; the held code unused.
  EXPECT_EQ(row("SELECT COUNT(*), COUNT(DISTINCT ID_LEAD_VW), COUNT(DISTINCT CONTATO) "
                "FROM CAC_LEAD_CONTATO"),
            "3|3|3");
  EXPECT_EQ(count("CAC_CONTATO"), 3);
  EXPECT_EQ(row("SELECT COUNT(*), MIN(CLIENTE) FROM FAT_CLIENTE"), "3|2");
  EXPECT_EQ(confirmedLeads(), (Strings{"6001", "6002", "6003"}));
  EXPECT_EQ(sandbox().updates().size(), 3u);
}

}  // namespace
}  // namespace vornleads::test
