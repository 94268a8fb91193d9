// Lead data comes from outside: awkward characters are stored as sent, and a lead that cannot
// be taken in fails alone (rolled back, logged, not confirmed) while every other lead of the
// cycle is created and confirmed.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "intake_harness.h"

namespace vornleads::test {
namespace {

using BadInputTest = IntakeCycleTest;

struct Awkward {
  std::string id;
  std::string field;
  std::string text;
};

// SQL, XML and JSON syntax in every text field is data: stored as it was sent.
TEST_F(BadInputTest, SqlXmlAndJsonSyntaxInEveryTextFieldIsStoredAsSent) {
  const std::vector<std::string> fields = {"Nome",   "Email",    "CpfCnpj",  "Modelo",
                                           "Origem", "Mensagem", "Showroom", "PreferenciaContato"};
  const std::vector<std::string> characters = {
      "'", "\\", ";", "');--", "-- x", "/*x*/", "<a>&amp;</a>", "\"\n\t\\u00e9"};
  std::vector<Awkward> cases;
  Json items = Json::array();
  int number = 6000;
  for (const auto& field : fields) {
    for (const auto& character : characters) {
      const std::string id = std::to_string(++number);
      const std::string cpf = "6000000" + id;
      std::string text;
      if (field == "Nome") text = "Ana " + character + " Souza";
      if (field == "Email") text = "cli" + character + "ente" + id + "@exemplo.com.br";
      if (field == "CpfCnpj") text = id + character;  // CGC holds 20 characters
      if (field == "Modelo") text = "POLO" + character;
      if (field == "Origem") text = "Site " + character + " VW";
      if (field == "Mensagem") text = "Quero " + character + " ver";
      if (field == "Showroom") text = "Loja " + character;
      if (field == "PreferenciaContato") text = "Tel" + character;
      cases.push_back({id, field, text});
      Json item = leadItem(id, {{"CpfCnpj", cpf}});
      item[field] = text;
      items.push_back(item);
    }
  }
  sandbox().addLeads(items);
  runCycle();

  EXPECT_EQ(worker().totais().falhas, 0) << logText();
  EXPECT_EQ(worker().totais().contatosCriados, static_cast<int>(cases.size()));
  EXPECT_EQ(confirmedLeads().size(), cases.size());
  for (const auto& c : cases) {
    SCOPED_TRACE(c.field + " " + c.text);
    const std::string link =
        "SELECT ORIGEM, MENSAGEM, SHOWROOM, PREFERENCIA_CONTATO, CONTATO "
        "FROM CAC_LEAD_CONTATO WHERE ID_LEAD_VW = " +
        c.id;
    const SqlRowSet linked = query(link);
    ASSERT_EQ(linked.rows.size(), 1u);
    const std::string contato = linked.value(0, "CONTATO").asString();
    const std::string cliente = value("SELECT CLIENTE FROM CAC_CONTATO WHERE CONTATO = " + contato);
    if (c.field == "Origem") {
      EXPECT_EQ(linked.value(0, "ORIGEM").asString(), c.text);
    }
    if (c.field == "Mensagem") {
      EXPECT_EQ(linked.value(0, "MENSAGEM").asString(), c.text);
    }
    if (c.field == "Showroom") {
      EXPECT_EQ(linked.value(0, "SHOWROOM").asString(), c.text);
    }
    if (c.field == "PreferenciaContato") {
      EXPECT_EQ(linked.value(0, "PREFERENCIA_CONTATO").asString(), c.text);
    }
    if (c.field == "Email") {
      EXPECT_EQ(value("SELECT EMAIL FROM CAC_CONTATO WHERE CONTATO = " + contato), c.text);
      EXPECT_EQ(value("SELECT E_MAIL_CASA FROM FAT_CLIENTE WHERE CLIENTE = " + cliente), c.text);
    }
    if (c.field == "Nome") {
      std::string stored = "ANA " + c.text.substr(4, c.text.size() - 10) + " SOUZA";
      for (char aspa : {'\'', '"'})
        stored.erase(std::remove(stored.begin(), stored.end(), aspa), stored.end());
      std::transform(stored.begin(), stored.end(), stored.begin(), ::toupper);
      EXPECT_EQ(value("SELECT NOME FROM FAT_CLIENTE WHERE CLIENTE = " + cliente), stored);
    }
    if (c.field == "CpfCnpj") {
      // Any length but eleven makes a CNPJ.
      EXPECT_EQ(value("SELECT CGC FROM FAT_PESSOA_JURIDICA WHERE CLIENTE = " + cliente), c.text);
    }
    if (c.field == "Modelo") {
      EXPECT_EQ(value("SELECT MODELO FROM CAC_INTERESSE WHERE CONTATO = " + contato), "");
      EXPECT_NE(value("SELECT DES_CONTATO FROM CAC_CONTATO WHERE CONTATO = " + contato)
                    .find("MODELO: " + c.text + "\r\n"),
                std::string::npos);
    }
  }
}

struct Failing {
  std::string id;
  Json changes;
  std::string message;  // the whole logged message, or its start when `prefix`
  bool prefix = false;
};

TEST_F(BadInputTest, EachBadLeadFailsAloneAndEveryOtherLeadIsCreatedAndConfirmed) {
  // A second dealership whose number was stored without its leading zero: its leads are asked
  // for, but the number is looked up padded ('04321') and not found.
  execute("INSERT INTO GER_REVENDA (EMPRESA, REVENDA, NOME_FANTASIA) VALUES (2, 1, 'Filial')");
  execute("INSERT INTO VWB_PARAMETRO (EMPRESA, REVENDA, NUMERO_DN) VALUES (2, 1, '4321')");
  execute(
      "INSERT INTO CAC_PARAMETRO (EMPRESA, REVENDA, UTILIZA_INTEGRACAO_LEADVW, "
      "USUARIOS_NOTIF_CONTATO_VEI, ORIGEM_TRAFEGO_LEADVW) VALUES (2, 1, 'S', '12', 7)");
  // The database itself refuses one interest row, after the contact and the link were written.
  db_->isql(
      "CREATE EXCEPTION E_INTERESSE_RECUSADO 'Interesse recusado pelo banco';\n"
      "SET TERM ^ ;\n"
      "CREATE TRIGGER T_INTERESSE_RECUSADO FOR CAC_INTERESSE BEFORE INSERT AS\n"
      "BEGIN\n  IF (NEW.PRECO = 13.13) THEN EXCEPTION E_INTERESSE_RECUSADO;\nEND^\n"
      "SET TERM ; ^\n");

  const std::vector<Failing> failing = {
      {"70O2", Json::object(), "\"70O2\" is not a valid integer value"},
      {"7004", {{"DataIntencao", ""}}, "\"\" is not a valid date and time"},
      {"7006",
       {{"DataIntencao", "31/02/2025 10:00:00"}},
       "\"31/02/2025 10:00:00\" is not a valid date and time"},
      {"7008",
       {{"DealerNumber", "4321"}},
       "Não foi possível incluir o lead 7008\r\nDN 4321 não encontrado no banco de dados"},
      {"7010", {{"Origem", std::string(101, 'x')}}, "", true},
      {"7016", {{"Nome", std::string(10240, 'N')}}, "", true},
      {"7018", {{"Mensagem", std::string(10240, 'M')}}, "", true},
      {"7020",
       {{"Nome", std::string("Ana\0", 4)}},
       "Não foi possível incluir o lead 7020\r\nO campo Nome contém o caractere nulo (código 0), "
       "que o banco de dados não grava"},
      {"7012", {{"Preco", "13,13"}}, "", true},
      {"7014", {{"Preco", "R$ 1.000,00"}}, "\"R$ 1.000,00\" is not a valid floating point value"},
  };
  Json items = Json::array();
  std::vector<std::string> good;
  int goodNumber = 7001;
  for (const auto& bad : failing) {
    good.push_back(std::to_string(goodNumber));
    items.push_back(leadItem(good.back()));
    items.push_back(leadItem(bad.id, bad.changes));
    goodNumber += 2;
  }
  items.push_back(leadItem("7099"));
  good.push_back("7099");
  sandbox().addLeads(items);

  EXPECT_EQ(runCycleExpectingError(),
            "Ocorreram repetidos erros ao integrar os leads, o serviço será reiniciado");

  std::vector<std::string> confirmed = confirmedLeads();
  std::sort(confirmed.begin(), confirmed.end());
  std::sort(good.begin(), good.end());
  EXPECT_EQ(confirmed, good);
  const auto goodCount = static_cast<int64_t>(good.size());
  EXPECT_EQ(count("SELECT COUNT(*) FROM CAC_LEAD_CONTATO"), goodCount);
  EXPECT_EQ(count("SELECT COUNT(*) FROM CAC_CONTATO"), goodCount);
  EXPECT_EQ(count("SELECT COUNT(*) FROM CAC_INTERESSE"), goodCount);
  EXPECT_EQ(count("SELECT COUNT(*) FROM GER_MENSAGEM"), goodCount);
  // Prospects of the leads that failed after registering them went back with their leads.
  // Their contact and interest numbers were committed on their own: gaps, never reused.
  EXPECT_EQ(count("SELECT COUNT(*) FROM FAT_CLIENTE"), goodCount);

  const std::string log = logText();
  for (const auto& bad : failing) {
    SCOPED_TRACE(bad.id);
    const std::string entry = "Requisição: \r\n\r\n\r\nResposta:\r\n" + bad.message;
    EXPECT_NE(log.find(bad.prefix ? entry : entry + "\r\n"), std::string::npos);
  }
  EXPECT_NE(log.find("Interesse recusado pelo banco"), std::string::npos);
  EXPECT_NE(log.find("SQL: INSERT INTO CAC_INTERESSE"), std::string::npos);
  EXPECT_NE(log.find("SQL: INSERT INTO CAC_LEAD_CONTATO"), std::string::npos);
}

}  // namespace
}  // namespace vornleads::test
